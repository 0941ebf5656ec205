// The TS_ exports over an address book: a vdir of vCards in a temporary directory, with two containers and named
// properties of every type the exports convert. Everything through tessel.h.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "item_fixture.h"
#include "support/scoped_time_zone.h"

namespace fs = std::filesystem;

namespace {

const char kSet[] = "{5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60}";

// Named properties the book already knows (an address book resolves names it has seen; the exports never create
// one).
const char kNames[] = "8000 {5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60} S Shoe-Size\n"
                      "8001 {5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60} S Aliases\n"
                      "8002 {5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60} S Met\n"
                      "8003 {5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60} I 7\n"
                      "8004 {5A0E3C11-7B2D-4E8F-9A61-0C2B3D4E5F60} S Vip\n";

void Write(const fs::path &path, const std::string &strText) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << strText;
}

std::string Read(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string Card(const char *pszUid, const char *pszName, const char *pszMore = "") {
    return std::string("BEGIN:VCARD\r\nVERSION:4.0\r\nUID:") + pszUid + "\r\nFN:" + pszName + "\r\n" + pszMore +
           "END:VCARD\r\n";
}

PropDesc Named(const char16_t *sID, uint32_t nType) {
    PropDesc desc{};
    desc.GUID = kSet;
    desc.sID = sID;
    desc.nType = nType;
    return desc;
}

class WabItems : public ItemExportsTest {
protected:
    void SetUp() override {
        ItemExportsTest::SetUp();
        m_book = m_dir.path() / "book";
        Write(m_book / "displayname", "Personal");
        Write(m_book / ".tessel-names", kNames);
        Write(m_book / "ada.vcf", Card("ada", "Ada Lovelace", "EMAIL:ada@example.org\r\nNOTE:Numbers\r\n"));
        Write(m_book / "bob.vcf", Card("bob", "Bob"));
        Write(m_book / "work" / "displayname", "Work");
        Write(m_book / "work" / "carol.vcf", Card("carol", "Carol"));
        ASSERT_TRUE(WABInit(m_pLib, m_book.c_str(), 0, 0));
        List();
        m_log.Clear();
    }

    // The entry texts of every container and entry, by name.
    void List() {
        m_entries.clear();
        WABFolders *pFolders = nullptr;
        ASSERT_EQ(WABGetFolders(m_pLib, &pFolders, 0), 0);
        ASSERT_NE(pFolders, nullptr);
        for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
            const WABFolder &folder = pFolders->pFolders[i];
            m_entries[folder.szName ? folder.szName : "?"] = folder.szEntry;
            WABItems *pItems = nullptr;
            ASSERT_EQ(WABGetItems(m_pLib, &pItems, folder.szEntry, 0, 0, 0, nullptr, 0, 0), 0);
            for (uint32_t k = 0; pItems && k < pItems->cItems; ++k)
                m_entries[pItems->pItems[k].szDisplayName] = pItems->pItems[k].szEntry;
            WABFreeItems(m_pLib, pItems);
        }
        WABFreeFolders(m_pLib, pFolders);
    }

    std::string Entry(const std::string &strName) {
        EXPECT_TRUE(m_entries.count(strName)) << strName;
        return m_entries[strName];
    }

    // Changes one entry through fn, saves it with the default flags and closes it.
    template <typename Fn> void Change(const std::string &strName, Fn fn) {
        TS_HITEM hItem = Open(API_WAB, Entry(strName), true);
        ASSERT_NE(hItem, nullptr);
        fn(hItem);
        EXPECT_EQ(TS_SaveItem(m_pLib, API_WAB, hItem, -1), 0);
        TS_CloseItem(m_pLib, API_WAB, hItem);
    }

    int32_t Number(const std::string &strName, PropDesc desc) {
        TS_HITEM hItem = Open(API_WAB, Entry(strName));
        int32_t n = -99;
        EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_WAB, hItem, &desc, &n), 0);
        TS_CloseItem(m_pLib, API_WAB, hItem);
        return n;
    }

    std::string ReadText(const std::string &strName, PropDesc desc) {
        TS_HITEM hItem = Open(API_WAB, Entry(strName));
        std::string str = Text(API_WAB, hItem, desc);
        TS_CloseItem(m_pLib, API_WAB, hItem);
        return str;
    }

    fs::path m_book;
    std::map<std::string, std::string> m_entries;
};

TEST_F(WabItems, ReadsTextAndTellsAMissingValue) {
    EXPECT_EQ(ReadText("Ada Lovelace", Tagged(TS_PR_DISPLAY_NAME)), "Ada Lovelace");
    EXPECT_EQ(ReadText("Ada Lovelace", Tagged(TS_PR_EMAIL_ADDRESS)), "ada@example.org");
    EXPECT_EQ(ReadText("Bob", Tagged(TS_PR_COMMENT)), "(0x8004010f)");
    EXPECT_TRUE(Take().empty());
}

TEST_F(WabItems, WritesTextThatLastsAfterTheSave) {
    Change("Bob", [&](TS_HITEM hItem) {
        PropDesc note = Tagged(TS_PR_COMMENT);
        EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &note, "Met at the museum"), 0);
    });
    EXPECT_NE(Read(m_book / "bob.vcf").find("NOTE:Met at the museum\r\n"), std::string::npos);
    WABDone(m_pLib);
    ASSERT_TRUE(WABInit(m_pLib, m_book.c_str(), 0, 0));
    EXPECT_EQ(ReadText("Bob", Tagged(TS_PR_COMMENT)), "Met at the museum");
}

TEST_F(WabItems, LongTextRoundTrips) {
    std::string strLong;
    for (int i = 0; strLong.size() < 200000; ++i) strLong += "line " + std::to_string(i) + ", ";
    Change("Bob", [&](TS_HITEM hItem) {
        PropDesc note = Tagged(TS_PR_COMMENT);
        EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &note, strLong.c_str()), 0);
    });
    EXPECT_EQ(ReadText("Bob", Tagged(TS_PR_COMMENT)), strLong);
}

TEST_F(WabItems, NamedNumbersOfTheThreeTypes) {
    PropDesc shoe = Named(u"Shoe-Size", TS_PT_LONG), vip = Named(u"Vip", TS_PT_BOOLEAN);
    PropDesc small = Named(nullptr, TS_PT_I2);
    small.nID = 7;
    Change("Ada Lovelace", [&](TS_HITEM hItem) {
        EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_WAB, hItem, &shoe, 123456789), 0);
        EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_WAB, hItem, &small, 0x1FFFE), 0); // lower 16 bits: -2
        EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_WAB, hItem, &vip, 42), 0);        // any non-zero is true
    });
    // The resolved tags were written back, with the wanted type in their lower half.
    EXPECT_EQ(shoe.Tag, 0x80000003u);
    EXPECT_EQ(small.Tag, 0x80030002u);
    EXPECT_EQ(vip.Tag, 0x8004000Bu);
    EXPECT_EQ(Number("Ada Lovelace", shoe), 123456789);
    EXPECT_EQ(Number("Ada Lovelace", small), -2);
    EXPECT_EQ(Number("Ada Lovelace", vip), 1);
    // A fresh descriptor resolves again to the same property.
    EXPECT_EQ(Number("Ada Lovelace", Named(u"Shoe-Size", TS_PT_LONG)), 123456789);
    EXPECT_TRUE(Take().empty());
}

TEST_F(WabItems, MultiValuedTextGoesThroughTheListSeparator) {
    PropDesc aliases = Named(u"Aliases", TS_PT_MV_STRING8);
    Change("Carol", [&](TS_HITEM hItem) {
        EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &aliases, "a;b;c"), 0);
    });
    EXPECT_EQ(ReadText("Carol", aliases), "a;b;c");
    Change("Carol", [&](TS_HITEM hItem) {
        EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &aliases, "first;;third;"), 0);
    });
    EXPECT_EQ(ReadText("Carol", aliases), "first;;third");
    Change("Carol", [&](TS_HITEM hItem) { EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &aliases, ""), 0); });
    EXPECT_EQ(ReadText("Carol", aliases), "");
}

TEST_F(WabItems, DatesInUniversalAndLocalTime) {
    testsupport::ScopedTimeZone zone("XST-2"); // two hours east of UTC, all year
    PropDesc met = Named(u"Met", TS_PT_SYSTIME);
    const SYSTEMTIME utc = testsupport::MakeSystemTime(2020, 2, 29, 23, 30, 15);
    Change("Bob", [&](TS_HITEM hItem) { EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, hItem, &met, &utc, 0), 0); });

    TS_HITEM hItem = Open(API_WAB, Entry("Bob"), true);
    SYSTEMTIME st{};
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_WAB, hItem, &met, &st, 0), 0);
    EXPECT_EQ(Show(st), "2020-02-29 23:30:15");
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_WAB, hItem, &met, &st, 1), 0);
    EXPECT_EQ(Show(st), "2020-03-01 01:30:15");
    EXPECT_EQ(st.wDayOfWeek, 0); // a Sunday

    // Written as local time, read back in UTC.
    const SYSTEMTIME local = testsupport::MakeSystemTime(2021, 7, 1, 9, 0, 0);
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, hItem, &met, &local, 1), 0);
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_WAB, hItem, &met, &st, 0), 0);
    EXPECT_EQ(Show(st), "2021-07-01 07:00:00");
    TS_CloseItem(m_pLib, API_WAB, hItem);
}

TEST_F(WabItems, DateThatDoesNotConvert) {
    PropDesc met = Named(u"Met", TS_PT_SYSTIME);
    TS_HITEM hItem = Open(API_WAB, Entry("Bob"), true);
    SYSTEMTIME st = testsupport::MakeSystemTime(2020, 13, 1, 0, 0, 0);
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, hItem, &met, &st, 0), -4);
    st = testsupport::MakeSystemTime(2020, 2, 30, 0, 0, 0);
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, hItem, &met, &st, 1), -4);
    EXPECT_EQ(Take(), (std::vector<std::string>{"Err[0x57] in SystemTime2FileTime: SystemTimeToFileTime",
                                                "Err[0x57] in SystemTime2FileTime: SystemTimeToFileTime"}));
    TS_CloseItem(m_pLib, API_WAB, hItem);
}

TEST_F(WabItems, NameTheBookDoesNotKnow) {
    PropDesc unknown = Named(u"Never-Seen", TS_PT_STRING8);
    TS_HITEM hItem = Open(API_WAB, Entry("Bob"), true);
    char *psz = nullptr;
    EXPECT_EQ(TS_GetItemTextProp(m_pLib, API_WAB, hItem, &unknown, &psz), -2);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &unknown, "x"), -2);
    EXPECT_EQ(unknown.Tag & 0xFFFF0000u, 0u);
    EXPECT_EQ(Take(), (std::vector<std::string>{"Err[0x40380] in _TS_GetItemProp: GetIDFromName failed",
                                                "Err[0x40380] in _TS_SetItemProp: GetIDFromName failed"}));
    TS_CloseItem(m_pLib, API_WAB, hItem);
}

TEST_F(WabItems, ItemIdOpensTheItemAgain) {
    TS_HITEM hItem = Open(API_WAB, Entry("Carol"));
    const std::string strID = ItemID(API_WAB, hItem);
    EXPECT_EQ(strID, Entry("Carol"));
    TS_CloseItem(m_pLib, API_WAB, hItem);
    hItem = Open(API_WAB, strID);
    EXPECT_EQ(Text(API_WAB, hItem, Tagged(TS_PR_DISPLAY_NAME)), "Carol");
    uint32_t nSize = 0;
    EXPECT_EQ(TS_GetItemSize(m_pLib, API_WAB, hItem, &nSize), 0);
    EXPECT_GT(nSize, 0u);
    TS_CloseItem(m_pLib, API_WAB, hItem);
}

TEST_F(WabItems, DeleteIsForGoodWithOrWithoutTheFlag) {
    char *pszNew = nullptr;
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_WAB, Entry("Bob").c_str(), 1, &pszNew), 0);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_TRUE(Take().empty());
    EXPECT_FALSE(fs::exists(m_book / "bob.vcf"));

    EXPECT_EQ(TS_DeleteItem(m_pLib, API_WAB, Entry("Carol").c_str(), 0, &pszNew), 0);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(Take(), std::vector<std::string>{"Err in TS_DeleteItem: WAB: Move to DeletedItems not supported"});
    EXPECT_FALSE(fs::exists(m_book / "work" / "carol.vcf"));

    TS_HITEM hItem = nullptr;
    EXPECT_NE(TS_OpenItem(m_pLib, API_WAB, Entry("Bob").c_str(), &hItem, 0), 0);
    EXPECT_EQ(hItem, nullptr);
}

TEST_F(WabItems, MoveWithAndWithoutTheNewEntry) {
    char *pszNew = nullptr;
    EXPECT_EQ(TS_MoveItem(m_pLib, API_WAB, Entry("Ada Lovelace").c_str(), Entry("Work").c_str(), &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    TS_HITEM hItem = Open(API_WAB, pszNew);
    EXPECT_EQ(Text(API_WAB, hItem, Tagged(TS_PR_EMAIL_ADDRESS)), "ada@example.org");
    EXPECT_EQ(Text(API_WAB, hItem, Tagged(TS_PR_COMMENT)), "Numbers");
    TS_CloseItem(m_pLib, API_WAB, hItem);
    TS_FreeBuffer(m_pLib, API_WAB, pszNew);

    EXPECT_EQ(TS_MoveItem(m_pLib, API_WAB, Entry("Bob").c_str(), Entry("Work").c_str(), nullptr), 0);
    List();
    EXPECT_EQ(m_entries.count("Bob"), 1u);
    EXPECT_FALSE(fs::exists(m_book / "bob.vcf"));
    EXPECT_FALSE(fs::exists(m_book / "ada.vcf"));
}

TEST_F(WabItems, ProfileIsThePersonalAddressBook) {
    char *pszProfile = nullptr, *pszDetail = nullptr;
    EXPECT_EQ(TS_GetProfileID(m_pLib, API_WAB, &pszProfile, &pszDetail), 0);
    ASSERT_NE(pszProfile, nullptr);
    EXPECT_EQ(std::string(pszProfile), Entry("Personal"));
    ASSERT_NE(pszDetail, nullptr);
    EXPECT_EQ(std::string(pszDetail), "Personal");
    TS_FreeBuffer(m_pLib, API_WAB, pszProfile);
    TS_FreeBuffer(m_pLib, API_WAB, pszDetail);
}

TEST_F(WabItems, HandlesBelongToTheirRecordAndApi) {
    CTessel *pOther = nullptr;
    CreateTessel(&pOther);
    ASSERT_TRUE(WABInit(pOther, m_book.c_str(), 0, 0));
    TS_HITEM hItem = Open(API_WAB, Entry("Bob"));
    char *psz = nullptr;
    PropDesc name = Tagged(TS_PR_DISPLAY_NAME);
    EXPECT_EQ(TS_GetItemTextProp(pOther, API_WAB, hItem, &name, &psz), -1);
    EXPECT_EQ(psz, nullptr);
    uint32_t nSize = 0;
    EXPECT_EQ(TS_GetItemSize(m_pLib, API_OE, hItem, &nSize), -1);
    TS_CloseItem(pOther, API_WAB, hItem); // refused: the handle stays open
    EXPECT_EQ(Take(), (std::vector<std::string>{
                          "Err[0x1] in TS_GetItemTextProp: hItem was opened for another API or library handle",
                          "Err[0x1] in TS_GetItemSize: hItem was opened for another API or library handle",
                          "Err[0x1] in TS_CloseItem: hItem was opened for another API or library handle"}));
    EXPECT_EQ(Text(API_WAB, hItem, name), "Bob");
    TS_CloseItem(m_pLib, API_WAB, hItem);
    DeleteTessel(pOther);
}

TEST_F(WabItems, AttachmentsAreNotOffered) {
    TS_HITEM hItem = Open(API_WAB, Entry("Bob"));
    TS_HBODY hBody = 5;
    EXPECT_EQ(TS_FindAttachment(m_pLib, API_WAB, hItem, &hBody, "a.txt", 0, 0), -1);
    EXPECT_EQ(Take(), std::vector<std::string>{"Err[0x1] in TS_FindAttachment: Not supported for this API"});
    TS_CloseItem(m_pLib, API_WAB, hItem);
}

TEST_F(WabItems, SaveFlagsReachTheBook) {
    // Forced save, then closed: the change is there after reconnecting.
    TS_HITEM hItem = Open(API_WAB, Entry("Carol"), true);
    PropDesc name = Tagged(TS_PR_DISPLAY_NAME);
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, hItem, &name, "Carol Baker"), 0);
    EXPECT_EQ(TS_SaveItem(m_pLib, API_WAB, hItem, 1), 0);
    TS_CloseItem(m_pLib, API_WAB, hItem);
    EXPECT_NE(Read(m_book / "work" / "carol.vcf").find("FN:Carol Baker\r\n"), std::string::npos);
    EXPECT_TRUE(Take().empty());
}

} // namespace
