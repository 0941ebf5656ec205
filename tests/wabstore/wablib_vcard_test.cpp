// CWABLib over the built-in vCard provider, on books made in a temporary directory: connect, list containers,
// open entries, read and write their properties, save, and read them back after connecting again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "oestore/hex.h"
#include "support/fake_wab.h"
#include "support/log_capture.h"
#include "support/paths.h"
#include "wabstore/wablib.h"

namespace fs = std::filesystem;

namespace {

const char kCards[] = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:ada\r\nFN:Ada Lovelace\r\nN:Lovelace;Ada;;;\r\n"
                      "EMAIL;TYPE=INTERNET:ada@example.org\r\nTEL;TYPE=WORK:+44 1\r\nX-KEEP:untouched\r\n"
                      "END:VCARD\r\n"
                      "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:bob\r\nFN:Bob\r\nEND:VCARD\r\n"
                      "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:team\r\nKIND:group\r\nFN:Team\r\n"
                      "MEMBER:urn:uuid:ada\r\nEND:VCARD\r\n";

void WriteText(const fs::path &path, const std::string &strText) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << strText;
}

std::string ReadText(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string Hex(const SBinary &bin) {
    char *psz = Bin2Hex(bin.lpb, bin.cb);
    std::string str(psz ? psz : "");
    std::free(psz);
    return str;
}

struct OneTag {
    ULONG cValues = 1;
    ULONG aulPropTag[1];
    explicit OneTag(ULONG ulTag) : aulPropTag{ulTag} {}
    operator SPropTagArray *() { return reinterpret_cast<SPropTagArray *>(this); }
};

class WabVCardTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::SetWabDllPath(kszVCardModuleName); }
    void TearDown() override {
        WABFreeFolders(m_pFolders);
        m_lib.Done();
    }

    fs::path Path(const char *pszName) const { return m_dir.path() / pszName; }

    void Connect(const fs::path &path) {
        m_lib.Done();
        ASSERT_TRUE(m_lib.Init(path.c_str(), false, false));
        ASSERT_TRUE(m_lib.Initialized());
    }

    void ListFolders() {
        WABFreeFolders(m_pFolders);
        m_pFolders = nullptr;
        ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
        ASSERT_NE(m_pFolders, nullptr);
    }

    // The entry texts of a container's entries, in the table's order.
    std::vector<std::string> EntryTexts(const char *szFolderEntry) {
        std::vector<std::string> texts;
        IUnknown *pUnknown = nullptr;
        ULONG ulType = 0;
        EXPECT_EQ(m_lib.OpenEntry(szFolderEntry, &pUnknown, &ulType, false, nullptr), S_OK);
        if (!pUnknown) return texts;
        EXPECT_EQ(ulType, MAPI_ABCONT);
        IMAPITable *pTable = nullptr;
        EXPECT_EQ(static_cast<IABContainer *>(pUnknown)->GetContentsTable(0, &pTable), S_OK);
        SRowSet *pRows = nullptr;
        EXPECT_EQ(pTable->QueryRows(1000, 0, &pRows), S_OK);
        for (ULONG i = 0; pRows && i < pRows->cRows; ++i) {
            for (ULONG k = 0; k < pRows->aRow[i].cValues; ++k)
                if (pRows->aRow[i].lpProps[k].ulPropTag == PR_ENTRYID)
                    texts.push_back(Hex(pRows->aRow[i].lpProps[k].Value.bin));
            m_lib.FreeBuffer(pRows->aRow[i].lpProps);
        }
        if (pRows) m_lib.FreeBuffer(pRows);
        pTable->Release();
        pUnknown->Release();
        return texts;
    }

    // One 8-bit text property of an open entry; "(missing)" if it has none.
    std::string ReadString(IMAPIProp *pItem, ULONG ulTag) {
        OneTag tag(ulTag);
        ULONG cValues = 0;
        SPropValue *pValues = nullptr;
        HRESULT hr = m_lib.GetItemProps(pItem, tag, &cValues, &pValues, false);
        std::string str = "(failed)";
        if (SUCCEEDED(hr) && cValues == 1)
            str = PROP_TYPE(pValues[0].ulPropTag) == PT_ERROR ? "(missing)" : pValues[0].Value.lpszA;
        if (pValues) m_lib.FreeBuffer(pValues);
        return str;
    }

    testsupport::TempDir m_dir;
    testsupport::CLogCapture m_log;
    CWABLib m_lib;
    WABFolders *m_pFolders = nullptr;
};

} // namespace

TEST_F(WabVCardTest, FileBookIsOneContainerWithItsCount) {
    WriteText(Path("contacts.vcf"), kCards);
    Connect(Path("contacts.vcf"));
    ListFolders();
    ASSERT_EQ(m_pFolders->cFolders, 1u);
    EXPECT_EQ(m_pFolders->pFolders[0].cbSize, sizeof(WABFolder));
    EXPECT_STREQ(m_pFolders->pFolders[0].szName, "contacts");
    EXPECT_EQ(m_pFolders->pFolders[0].nItems, 3);
    EXPECT_GT(std::strlen(m_pFolders->pFolders[0].szEntry), 0u);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(WabVCardTest, DirectoryBookListsEveryContainerWithCounts) {
    WriteText(Path("book/work/a.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:a\nFN:A\nEND:VCARD\n");
    WriteText(Path("book/work/b.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:b\nFN:B\nEND:VCARD\n");
    WriteText(Path("book/home/c.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:c\nFN:C\nEND:VCARD\n");
    Connect(Path("book"));
    ListFolders();
    ASSERT_EQ(m_pFolders->cFolders, 3u);
    std::vector<std::pair<std::string, int>> folders;
    for (ULONG i = 0; i < m_pFolders->cFolders; ++i)
        folders.emplace_back(m_pFolders->pFolders[i].szName, m_pFolders->pFolders[i].nItems);
    EXPECT_EQ(folders, (std::vector<std::pair<std::string, int>>{{"book", 0}, {"home", 1}, {"work", 2}}));
    EXPECT_EQ(EntryTexts(m_pFolders->pFolders[2].szEntry).size(), 2u);
}

TEST_F(WabVCardTest, MissingBookIsCreatedEmpty) {
    Connect(Path("new/contacts.vcf"));
    ListFolders();
    ASSERT_EQ(m_pFolders->cFolders, 1u);
    EXPECT_EQ(m_pFolders->pFolders[0].nItems, 0);
    EXPECT_TRUE(fs::exists(Path("new/contacts.vcf")));
}

TEST_F(WabVCardTest, OpensContactsAndListsButNotContainers) {
    WriteText(Path("contacts.vcf"), kCards);
    Connect(Path("contacts.vcf"));
    ListFolders();
    std::vector<std::string> entries = EntryTexts(m_pFolders->pFolders[0].szEntry);
    ASSERT_EQ(entries.size(), 3u);

    IMAPIProp *pItem = nullptr;
    ULONG ulType = 0;
    ASSERT_EQ(m_lib.OpenItem(entries[0].c_str(), &pItem, &ulType, false), S_OK);
    EXPECT_EQ(ulType, static_cast<ULONG>(MAPI_MAILUSER));
    EXPECT_EQ(ReadString(pItem, PR_DISPLAY_NAME), "Ada Lovelace");
    EXPECT_EQ(ReadString(pItem, PR_EMAIL_ADDRESS), "ada@example.org");
    EXPECT_EQ(ReadString(pItem, PR_COMMENT), "(missing)");
    pItem->Release();

    ASSERT_EQ(m_lib.OpenItem(entries[2].c_str(), &pItem, &ulType, false), S_OK);
    EXPECT_EQ(ulType, static_cast<ULONG>(MAPI_DISTLIST));
    EXPECT_EQ(ReadString(pItem, PR_DISPLAY_NAME), "Team");
    pItem->Release();
    EXPECT_EQ(m_log.Text(), "");

    EXPECT_EQ(m_lib.OpenItem(m_pFolders->pFolders[0].szEntry, &pItem, &ulType, false), -1);
    EXPECT_EQ(pItem, nullptr);
    EXPECT_NE(m_log.Text().find("Err[0x4] in CWABLib::OpenItem: This function opens only MailUser or DistList "
                                "objects\n"),
              std::string::npos);

    m_log.Clear();
    EXPECT_LT(m_lib.OpenItem("00112233", &pItem, &ulType, false), 0); // no such entry: the provider's code
    EXPECT_EQ(pItem, nullptr);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(WabVCardTest, WrittenPropertiesAreSavedAndReadBack) {
    WriteText(Path("contacts.vcf"), kCards);
    Connect(Path("contacts.vcf"));
    ListFolders();
    std::string strEntry = EntryTexts(m_pFolders->pFolders[0].szEntry)[0];

    IMAPIProp *pItem = nullptr;
    ULONG ulType = 0;
    ASSERT_EQ(m_lib.OpenItem(strEntry.c_str(), &pItem, &ulType, true), S_OK);
    SPropValue value{};
    value.ulPropTag = PR_COMMENT;
    value.Value.lpszA = const_cast<char *>("met at the conference");
    EXPECT_EQ(m_lib.SetItemProp(pItem, &value), S_OK);
    value.ulPropTag = PR_HOME_TELEPHONE_NUMBER;
    value.Value.lpszA = const_cast<char *>("+44 2");
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(pItem, 1, &value, &pProblems), S_OK);
    if (pProblems) m_lib.FreeBuffer(pProblems);
    EXPECT_EQ(m_lib.SaveItem(pItem, false, false, false), S_OK);
    pItem->Release();

    std::string strText = ReadText(Path("contacts.vcf"));
    EXPECT_NE(strText.find("NOTE:met at the conference\r\n"), std::string::npos);
    EXPECT_NE(strText.find("X-KEEP:untouched\r\n"), std::string::npos);

    Connect(Path("contacts.vcf"));
    ASSERT_EQ(m_lib.OpenItem(strEntry.c_str(), &pItem, &ulType, false), S_OK); // the entry text still holds
    EXPECT_EQ(ReadString(pItem, PR_COMMENT), "met at the conference");
    EXPECT_EQ(ReadString(pItem, PR_HOME_TELEPHONE_NUMBER), "+44 2");
    EXPECT_EQ(ReadString(pItem, PR_DISPLAY_NAME), "Ada Lovelace");
    pItem->Release();
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(WabVCardTest, NamedPropertyIsCreatedWrittenAndFoundAgain) {
    const char *const kszGuid = "{00062004-0000-0000-C000-000000000046}";
    WriteText(Path("contacts.vcf"), kCards);
    Connect(Path("contacts.vcf"));
    ListFolders();
    std::string strEntry = EntryTexts(m_pFolders->pFolders[0].szEntry)[1];

    IMAPIProp *pItem = nullptr;
    ULONG ulType = 0;
    ASSERT_EQ(m_lib.OpenItem(strEntry.c_str(), &pItem, &ulType, true), S_OK);
    ULONG ulTag = 0;
    ASSERT_EQ(m_lib.GetIDFromName(pItem, &ulTag, kszGuid, 0, u"Tessel-Test", true), S_OK);
    EXPECT_GE(PROP_ID(ulTag), 0x8000u);
    SPropValue value{};
    value.ulPropTag = CHANGE_PROP_TYPE(ulTag, PT_STRING8);
    value.Value.lpszA = const_cast<char *>("named value");
    EXPECT_EQ(m_lib.SetItemProp(pItem, &value), S_OK);
    EXPECT_EQ(m_lib.SaveItem(pItem, false, false, false), S_OK);
    pItem->Release();

    Connect(Path("contacts.vcf"));
    ASSERT_EQ(m_lib.OpenItem(strEntry.c_str(), &pItem, &ulType, false), S_OK);
    ULONG ulFound = 0;
    ASSERT_EQ(m_lib.GetIDFromName(pItem, &ulFound, kszGuid, 0, u"Tessel-Test", false), S_OK);
    EXPECT_EQ(PROP_ID(ulFound), PROP_ID(ulTag));
    EXPECT_EQ(ReadString(pItem, CHANGE_PROP_TYPE(ulFound, PT_STRING8)), "named value");
    pItem->Release();
}
