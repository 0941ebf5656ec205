// The TS_ exports over a mail store: a Maildir in a temporary directory with crafted messages (one with two
// attachments, one without a Message-ID) and a second folder. Everything through tessel.h.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "item_fixture.h"
#include "support/scoped_time_zone.h"

namespace fs = std::filesystem;

namespace {

const char kHello[] = "From: Alice <alice@example.org>\nTo: Bob <bob@example.org>\nSubject: Hello\n"
                      "Date: Sat, 29 Feb 2020 23:30:15 +0000\nMessage-ID: <hello@example.org>\nX-Priority: 1\n"
                      "MIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n\nHi Bob.\n";

const char kReport[] = "From: Carol <carol@example.org>\nTo: Bob <bob@example.org>\nSubject: Report\n"
                       "Date: Sun, 1 Mar 2020 08:00:00 +0100\nMessage-ID: <report@example.org>\nMIME-Version: 1.0\n"
                       "Content-Type: multipart/mixed; boundary=\"xx\"\n\n"
                       "--xx\nContent-Type: text/plain\n\nSee the files.\n"
                       "--xx\nContent-Type: text/plain; name=\"report.txt\"\n"
                       "Content-Disposition: attachment; filename=\"report.txt\"\n\nhello world\n"
                       "--xx\nContent-Type: application/octet-stream; name=\"data.bin\"\n"
                       "Content-Disposition: attachment; filename=\"data.bin\"\nContent-Transfer-Encoding: base64\n\n"
                       "AAECAw==\n--xx--\n";

const char kNoId[] = "From: Dan <dan@example.org>\nSubject: No id\nDate: Mon, 2 Mar 2020 10:00:00 +0000\n\nBody.\n";

void Write(const fs::path &path, const std::string &strText) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << strText;
}

// The number of message files in a folder of the store.
size_t CountFiles(const fs::path &folder) {
    size_t n = 0;
    for (const char *pszSub : {"cur", "new"})
        if (fs::exists(folder / pszSub))
            for (const auto &entry : fs::directory_iterator(folder / pszSub)) n += entry.is_regular_file() ? 1 : 0;
    return n;
}

class MailItems : public ItemExportsTest {
protected:
    void SetUp() override {
        ItemExportsTest::SetUp();
        Build(m_dir.path() / "Maildir");
    }
    void TearDown() override {
        ItemExportsTest::TearDown();
        unsetenv("TESSEL_MAILDIR");
    }

    // A store at root with the three messages in the Inbox and an empty Archive, opened.
    void Build(const fs::path &root) {
        m_root = root;
        for (const fs::path &folder : {root, root / ".Archive"})
            for (const char *pszSub : {"cur", "new", "tmp"}) fs::create_directories(folder / pszSub);
        Write(root / "cur" / "1583020215.1.test:2,S", kHello);
        Write(root / "cur" / "1583046000.2.test:2,S", kReport);
        Write(root / "cur" / "1583143200.3.test:2,", kNoId);
        setenv("TESSEL_MAILDIR", root.c_str(), 1);
        ASSERT_TRUE(OEInit(m_pLib, nullptr, 0));
        List();
        m_log.Clear();
    }

    // Entries by subject, and folders by name.
    void List() {
        m_entries.clear();
        OEFolders *pFolders = nullptr;
        OEGetFolders(m_pLib, &pFolders);
        ASSERT_NE(pFolders, nullptr);
        for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
            const OEFolder &folder = pFolders->pFolders[i];
            m_entries[folder.szName] = folder.szEntry;
            OEItems *pItems = nullptr;
            ASSERT_EQ(OEGetItems(m_pLib, &pItems, folder.szEntry, 0, nullptr, 0, 0), 0);
            for (uint32_t k = 0; pItems && k < pItems->cItems; ++k)
                m_entries[std::string(folder.szName) + "/" + (pItems->pItems[k].szSubject
                                                                  ? pItems->pItems[k].szSubject
                                                                  : "")] = pItems->pItems[k].szEntry;
            OEFreeItems(m_pLib, pItems);
        }
        OEFreeFolders(m_pLib, pFolders);
    }

    std::string Entry(const std::string &strKey) {
        EXPECT_TRUE(m_entries.count(strKey)) << strKey;
        return m_entries[strKey];
    }

    std::string ReadText(const std::string &strEntry, uint32_t nTag) {
        TS_HITEM hItem = Open(API_OE, strEntry);
        std::string str = Text(API_OE, hItem, Tagged(nTag));
        TS_CloseItem(m_pLib, API_OE, hItem);
        return str;
    }

    fs::path m_root;
    std::map<std::string, std::string> m_entries;
};

TEST_F(MailItems, ReadsTextNumbersAndDates) {
    testsupport::ScopedTimeZone zone("XST-2");
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Hello"));
    EXPECT_EQ(Text(API_OE, hItem, Tagged(TS_PR_OE_SUBJECT)), "Hello");
    EXPECT_EQ(Text(API_OE, hItem, Tagged(TS_PR_OE_SENDER_EMAIL)), "alice@example.org");
    EXPECT_EQ(Text(API_OE, hItem, Tagged(TS_PR_OE_REFERENCES)), "(0x8004010f)");

    PropDesc priority = Tagged(TS_PR_OE_PRIORITY), unread = Tagged(TS_PR_OE_UNREAD);
    int32_t n = -1;
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_OE, hItem, &priority, &n), 0);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_OE, hItem, &unread, &n), 0);
    EXPECT_EQ(n, 0);

    // The message store's dates come as they are, with or without bLocal.
    PropDesc sent = Tagged(TS_PR_OE_SENT);
    SYSTEMTIME st{};
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_OE, hItem, &sent, &st, 0), 0);
    const std::string strSent = Show(st);
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_OE, hItem, &sent, &st, 1), 0);
    EXPECT_EQ(Show(st), strSent);

    uint32_t nSize = 0;
    EXPECT_EQ(TS_GetItemSize(m_pLib, API_OE, hItem, &nSize), 0);
    EXPECT_GT(nSize, 100u);
    TS_CloseItem(m_pLib, API_OE, hItem);
    EXPECT_TRUE(Take().empty());
}

TEST_F(MailItems, NamedPropertiesDoNotResolve) {
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Hello"));
    PropDesc named{};
    named.GUID = "{5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60}";
    named.nID = 1;
    named.nType = TS_PT_SYSTIME;
    SYSTEMTIME st{};
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_OE, hItem, &named, &st, 0), -2);
    EXPECT_EQ(named.Tag, 0u);
    EXPECT_EQ(Take(), (std::vector<std::string>{"Err in COECompare::GetIDFromName: Not implemented!",
                                                "Err[0xffffffff] in _TS_GetItemProp: GetIDFromName failed"}));
    TS_CloseItem(m_pLib, API_OE, hItem);
}

TEST_F(MailItems, ItemIdOpensTheItemAgain) {
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Report"));
    const std::string strID = ItemID(API_OE, hItem);
    EXPECT_EQ(strID, Entry("Inbox/Report"));
    EXPECT_EQ(strID.size(), 16u);
    TS_CloseItem(m_pLib, API_OE, hItem);
    EXPECT_EQ(ReadText(strID, TS_PR_OE_SUBJECT), "Report");
}

TEST_F(MailItems, SavedChangesMakeANewMessage) {
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Hello"), true);
    PropDesc subject = Tagged(TS_PR_OE_SUBJECT), priority = Tagged(TS_PR_OE_PRIORITY),
             unread = Tagged(TS_PR_OE_UNREAD);
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_OE, hItem, &subject, "Hello again"), 0);
    EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_OE, hItem, &priority, 5), 0);
    EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_OE, hItem, &unread, 7), 0);
    EXPECT_EQ(TS_SaveItem(m_pLib, API_OE, hItem, -1), 0);
    const std::string strNew = ItemID(API_OE, hItem);
    EXPECT_NE(strNew, Entry("Inbox/Hello"));
    TS_CloseItem(m_pLib, API_OE, hItem);

    hItem = Open(API_OE, strNew);
    EXPECT_EQ(Text(API_OE, hItem, subject), "Hello again");
    int32_t n = 0;
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_OE, hItem, &priority, &n), 0);
    EXPECT_EQ(n, 5);
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_OE, hItem, &unread, &n), 0);
    EXPECT_EQ(n, 1);
    TS_CloseItem(m_pLib, API_OE, hItem);
    // The default flags dropped the old message into Deleted Items.
    EXPECT_EQ(CountFiles(m_root), 3u);
    EXPECT_EQ(CountFiles(m_root / ".Trash"), 1u);
}

TEST_F(MailItems, LongSubjectRoundTrips) {
    std::string strLong;
    for (int i = 0; strLong.size() < 20000; ++i) strLong += "word" + std::to_string(i) + " ";
    strLong.pop_back();
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/No id"), true);
    PropDesc subject = Tagged(TS_PR_OE_SUBJECT);
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_OE, hItem, &subject, strLong.c_str()), 0);
    EXPECT_EQ(TS_SaveItem(m_pLib, API_OE, hItem, 2 | 1), 0); // the old message destroyed
    const std::string strNew = ItemID(API_OE, hItem);
    TS_CloseItem(m_pLib, API_OE, hItem);
    EXPECT_EQ(ReadText(strNew, TS_PR_OE_SUBJECT), strLong);
    EXPECT_EQ(CountFiles(m_root), 3u);
    EXPECT_EQ(CountFiles(m_root / ".Trash"), 0u);
}

TEST_F(MailItems, ReadOnlyDateIsRefusedByTheStore) {
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Hello"), true);
    PropDesc sent = Tagged(TS_PR_OE_SENT);
    const SYSTEMTIME st = testsupport::MakeSystemTime(2020, 1, 1, 0, 0, 0);
    EXPECT_NE(TS_SetItemDateProp(m_pLib, API_OE, hItem, &sent, &st, 0), 0);
    const SYSTEMTIME bad = testsupport::MakeSystemTime(2020, 13, 1, 0, 0, 0);
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_OE, hItem, &sent, &bad, 0), -4);
    TS_CloseItem(m_pLib, API_OE, hItem);
}

TEST_F(MailItems, DeleteHandsOutTheEntryInDeletedItems) {
    char *pszNew = nullptr;
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_OE, Entry("Inbox/Hello").c_str(), 0, &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    EXPECT_EQ(ReadText(pszNew, TS_PR_OE_SUBJECT), "Hello");
    TS_FreeBuffer(m_pLib, API_OE, pszNew);

    // Found by the hash of its source, as it has no Message-ID.
    pszNew = nullptr;
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_OE, Entry("Inbox/No id").c_str(), 0, &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    EXPECT_EQ(ReadText(pszNew, TS_PR_OE_SUBJECT), "No id");
    TS_FreeBuffer(m_pLib, API_OE, pszNew);
    EXPECT_EQ(CountFiles(m_root / ".Trash"), 2u);

    // Without a pointer, and for good.
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_OE, Entry("Inbox/Report").c_str(), 0, nullptr), 0);
    EXPECT_EQ(CountFiles(m_root), 0u);
    List();
    pszNew = nullptr;
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_OE, Entry("Trash/Hello").c_str(), 1, &pszNew), 0);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(CountFiles(m_root / ".Trash"), 2u);
}

TEST_F(MailItems, MoveWithAndWithoutTheNewEntry) {
    char *pszNew = nullptr;
    EXPECT_EQ(TS_MoveItem(m_pLib, API_OE, Entry("Inbox/Hello").c_str(), Entry("Archive").c_str(), &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    EXPECT_EQ(std::string(pszNew).substr(0, 8), Entry("Archive"));
    EXPECT_EQ(ReadText(pszNew, TS_PR_OE_SUBJECT), "Hello");
    TS_FreeBuffer(m_pLib, API_OE, pszNew);
    EXPECT_EQ(TS_MoveItem(m_pLib, API_OE, Entry("Inbox/Report").c_str(), Entry("Archive").c_str(), nullptr), 0);
    EXPECT_EQ(CountFiles(m_root), 1u);
    EXPECT_EQ(CountFiles(m_root / ".Archive"), 2u);
}

TEST_F(MailItems, AttachmentsFoundAndCopied) {
    TS_HITEM hReport = Open(API_OE, Entry("Inbox/Report"));
    TS_HBODY hBody = 0;
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hReport, &hBody, "report.txt", 0, 0), 0);
    EXPECT_NE(hBody, 0u);
    TS_HBODY hOther = 0;
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hReport, &hOther, "report.txt", 11, 0), 0);
    EXPECT_EQ(hOther, hBody);
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hReport, &hOther, "report.txt", 12, 0), 1);
    EXPECT_EQ(hOther, 0u);
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hReport, &hOther, "REPORT.TXT", 0, 0), 1);
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hReport, &hOther, "report.txt", 0, 1), 1);

    TS_HITEM hHello = Open(API_OE, Entry("Inbox/Hello"), true);
    TS_HBODY hNew = 0;
    EXPECT_EQ(TS_CopyAttachment(m_pLib, API_OE, hHello, &hNew, hReport, hBody), 0);
    EXPECT_EQ(TS_SaveItem(m_pLib, API_OE, hHello, 0), 0); // the old message stays
    const std::string strNew = ItemID(API_OE, hHello);
    TS_CloseItem(m_pLib, API_OE, hHello);
    TS_CloseItem(m_pLib, API_OE, hReport);

    hHello = Open(API_OE, strNew);
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_OE, hHello, &hOther, "report.txt", 11, 0), 0);
    TS_CloseItem(m_pLib, API_OE, hHello);
    EXPECT_EQ(CountFiles(m_root), 4u);
}

TEST_F(MailItems, ProfileFromTheStorePath) {
    char *pszProfile = nullptr, *pszDetail = nullptr;
    EXPECT_EQ(TS_GetProfileID(m_pLib, API_OE, &pszProfile, &pszDetail), 0);
    ASSERT_NE(pszProfile, nullptr);
    ASSERT_NE(pszDetail, nullptr);
    EXPECT_EQ(std::string(pszProfile), "DefaultIdentity");
    EXPECT_EQ(fs::path(pszDetail), m_root);
    TS_FreeBuffer(m_pLib, API_OE, pszProfile);
    TS_FreeBuffer(m_pLib, API_OE, pszDetail);

    for (const char *pszDir : {"{AB}", "{}"}) {
        Build(m_dir.path() / pszDir / "Maildir");
        EXPECT_EQ(TS_GetProfileID(m_pLib, API_OE, &pszProfile, &pszDetail), 0);
        EXPECT_EQ(std::string(pszProfile), pszDir[1] == 'A' ? "AB" : "DefaultIdentity");
        EXPECT_EQ(fs::path(pszDetail), m_root);
        TS_FreeBuffer(m_pLib, API_OE, pszProfile);
        TS_FreeBuffer(m_pLib, API_OE, pszDetail);
    }
}

TEST_F(MailItems, HandleOfTheOtherStoreIsRefused) {
    const fs::path book = m_dir.path() / "book.vcf";
    Write(book, "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:a\r\nFN:A\r\nEND:VCARD\r\n");
    ASSERT_TRUE(WABInit(m_pLib, book.c_str(), 0, 0));
    TS_HITEM hItem = Open(API_OE, Entry("Inbox/Hello"));
    m_log.Clear();
    char *psz = nullptr;
    PropDesc name = Tagged(TS_PR_DISPLAY_NAME);
    EXPECT_EQ(TS_GetItemTextProp(m_pLib, API_WAB, hItem, &name, &psz), -1);
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &name, "x"), -1);
    EXPECT_EQ(TS_SaveItem(m_pLib, API_WAB, hItem, -1), -1);
    EXPECT_EQ(TS_GetItemID(m_pLib, API_WAB, hItem, &psz), -1);
    EXPECT_EQ(psz, nullptr);
    for (const std::string &strLine : Take())
        EXPECT_NE(strLine.find("hItem was opened for another API or library handle"), std::string::npos) << strLine;
    TS_CloseItem(m_pLib, API_OE, hItem);
}

} // namespace
