// Listing a book through the WAB* exports: records, counts, the type and date filters, both sort orders, and
// entry texts that hold across runs.
#include <cstring>

#include "book_fixture.h"
#include "support/scoped_time_zone.h"
#include "support/system_time.h"

using namespace wablist;

namespace {

const std::string kBook = Card("VERSION:3.0\r\nUID:ada\r\nFN:Ada\r\nEMAIL:ada@example.org\r\n"
                               "TEL;TYPE=WORK:+1 1\r\nTEL;TYPE=HOME:+1 2\r\nREV:20200301T100000Z\r\n") +
                          Card("VERSION:4.0\r\nUID:bob\r\nFN:Bob\r\nREV:20200101T100000Z\r\n") +
                          Card("VERSION:4.0\r\nUID:team\r\nKIND:group\r\nFN:Team\r\nREV:20200201T100000Z\r\n") +
                          Card("VERSION:4.0\r\nUID:cy\r\nFN:Cy\r\nREV:20200201T100000Z\r\n");

class ListingTest : public BookFixture {};

} // namespace

TEST_F(ListingTest, FileBookListsEveryEntryAsARecord) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    ASSERT_EQ(List(nullptr), 0);
    ASSERT_NE(m_pItems, nullptr);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Ada", "Bob", "Team", "Cy"}));
    const WABItem &ada = m_pItems->pItems[0];
    EXPECT_EQ(ada.cbSize, sizeof(WABItem));
    EXPECT_EQ(ada.nObjectType, static_cast<uint32_t>(MAPI_MAILUSER));
    EXPECT_STREQ(ada.szEmailAddress, "ada@example.org");
    EXPECT_STREQ(ada.szBusinessPhone, "+1 1");
    EXPECT_STREQ(ada.szHomePhone, "+1 2");
    EXPECT_NE(ada.ftLastModification.dwHighDateTime, 0u);
    EXPECT_EQ(m_pItems->pItems[1].szEmailAddress, nullptr);
    EXPECT_EQ(m_pItems->pItems[2].nObjectType, static_cast<uint32_t>(MAPI_DISTLIST));

    // The folder's own text lists the same, and so does the empty text.
    std::vector<std::string> all = Names();
    ASSERT_EQ(Folders().size(), 1u);
    ASSERT_EQ(List(Folders()[0].first.c_str()), 0);
    EXPECT_EQ(Names(), all);
    ASSERT_EQ(List(""), 0);
    EXPECT_EQ(Names(), all);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ListingTest, TypeFilterListsOneKind) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    ASSERT_EQ(List(nullptr, MAPI_MAILUSER), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Ada", "Bob", "Cy"}));
    ASSERT_EQ(List(nullptr, MAPI_DISTLIST), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"Team"});
}

TEST_F(ListingTest, SortByModificationBothWaysKeepsTiesInBookOrder) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    ASSERT_EQ(List(nullptr, 0, nullptr, true, false), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Bob", "Team", "Cy", "Ada"}));
    ASSERT_EQ(List(nullptr, 0, nullptr, true, true), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Ada", "Team", "Cy", "Bob"}));
    // Only the low byte of the flags counts, and descending alone does not sort.
    WABFreeItems(m_pLib, m_pItems);
    m_pItems = nullptr;
    ASSERT_EQ(WABGetItems(m_pLib, &m_pItems, nullptr, 0, 0, 0, nullptr, 0x100, 1), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Ada", "Bob", "Team", "Cy"}));
}

TEST_F(ListingTest, DateFilterIsInclusiveInLocalTime) {
    testsupport::ScopedTimeZone zone("UTC-2"); // two hours east of UTC
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    SYSTEMTIME exact = testsupport::MakeSystemTime(2020, 2, 1, 12, 0, 0); // 10:00 UTC, the time of Team and Cy
    ASSERT_EQ(List(nullptr, 0, &exact, true, false), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Team", "Cy", "Ada"}));
    SYSTEMTIME after = testsupport::MakeSystemTime(2020, 2, 1, 12, 0, 1);
    ASSERT_EQ(List(nullptr, 0, &after), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"Ada"});
    ASSERT_EQ(List(nullptr, MAPI_DISTLIST, &exact), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"Team"});
}

TEST_F(ListingTest, InvalidDateListsNothing) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    SYSTEMTIME bad = testsupport::MakeSystemTime(2020, 13, 1, 0, 0, 0);
    m_log.Clear();
    EXPECT_EQ(List(nullptr, 0, &bad), -2);
    EXPECT_EQ(m_pItems, nullptr);
    bool bFound = false;
    for (const std::string &strLine : m_log.Lines())
        bFound = bFound || strLine.find("in WABGetItems: SystemTime2FileTime") != std::string::npos;
    EXPECT_TRUE(bFound) << m_log.Text();
}

TEST_F(ListingTest, DirectoryBookListsEachContainerWithCounts) {
    WriteText(Path("vdir/top.vcf"), Card("VERSION:4.0\r\nUID:top\r\nFN:Top\r\n"));
    WriteText(Path("vdir/home/a.vcf"), Card("VERSION:4.0\r\nUID:a\r\nFN:A\r\n"));
    WriteText(Path("vdir/home/b.vcf"), Card("VERSION:4.0\r\nUID:b\r\nFN:B\r\n"));
    WriteText(Path("vdir/work/c.vcf"), Card("VERSION:4.0\r\nUID:c\r\nFN:C\r\nKIND:group\r\n"));
    Open(Path("vdir"));
    auto folders = Folders();
    ASSERT_EQ(folders.size(), 3u);
    std::vector<std::vector<std::string>> contents;
    for (const auto &folder : folders) {
        ASSERT_EQ(List(folder.first.c_str()), 0);
        contents.push_back(Names());
    }
    EXPECT_EQ(contents, (std::vector<std::vector<std::string>>{{"Top"}, {"A", "B"}, {"C"}}));
    ASSERT_EQ(List(nullptr), 0); // the personal book is the top directory
    EXPECT_EQ(Names(), std::vector<std::string>{"Top"});
    ASSERT_EQ(List(folders[2].first.c_str(), MAPI_MAILUSER), 0);
    EXPECT_EQ(m_pItems->cItems, 0u);
}

TEST_F(ListingTest, EntryTextsHoldAcrossRuns) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    ASSERT_EQ(List(nullptr), 0);
    std::vector<std::string> first;
    for (uint32_t i = 0; i < m_pItems->cItems; ++i) first.push_back(m_pItems->pItems[i].szEntry);
    Open(Path("book.vcf"));
    ASSERT_EQ(List(nullptr), 0);
    std::vector<std::string> second;
    for (uint32_t i = 0; i < m_pItems->cItems; ++i) second.push_back(m_pItems->pItems[i].szEntry);
    EXPECT_EQ(first, second);

    WABItem *pItem = nullptr;
    ASSERT_EQ(WABGetItem(m_pLib, &pItem, first[0].c_str()), 0);
    EXPECT_STREQ(pItem->szDisplayName, "Ada");
    EXPECT_STREQ(pItem->szEntry, first[0].c_str());
    EXPECT_STREQ(pItem->szHomePhone, "+1 2");
    WABFreeItem(m_pLib, pItem);
    ASSERT_EQ(WABGetItem(m_pLib, &pItem, first[1].c_str()), 0);
    EXPECT_EQ(pItem->szBusinessPhone, nullptr); // no telephone: null, and still 0
    WABFreeItem(m_pLib, pItem);
}

TEST_F(ListingTest, BadTextsFailWithoutAList) {
    WriteText(Path("book.vcf"), kBook);
    Open(Path("book.vcf"));
    m_log.Clear();
    EXPECT_LT(List("00000000435A"), 0); // a container that does not exist
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_NE(m_log.Text().find("in CWABLib::GetItemsEx: AddrBook->OpenEntry\n"), std::string::npos);
    EXPECT_LT(List("not hexadecimal"), 0);
    EXPECT_EQ(m_pItems, nullptr);

    ASSERT_EQ(List(nullptr), 0);
    std::string strEntry = EntryOf("Ada");
    WABItem *pItem = nullptr;
    EXPECT_EQ(WABGetItem(m_pLib, &pItem, Folders()[0].first.c_str()), -1); // a container
    EXPECT_EQ(pItem, nullptr);
    EXPECT_LT(WABGetItem(m_pLib, &pItem, "zz"), 0);
    EXPECT_EQ(pItem, nullptr);
    EXPECT_EQ(ReadText(Path("book.vcf")), kBook); // the book unchanged
}

TEST_F(ListingTest, NullHandleAndNullListsAreHarmless) {
    WABItems *pItems = nullptr;
    WABItem *pItem = nullptr;
    char *psz = nullptr;
    m_log.Clear();
    EXPECT_FALSE(WABInit(nullptr, nullptr, 0, 0));
    EXPECT_EQ(WABGetFolders(nullptr, nullptr, 0), -1);
    EXPECT_EQ(WABGetItems(nullptr, &pItems, nullptr, 0, 0, 0, nullptr, 0, 0), -1);
    EXPECT_EQ(WABGetItem(nullptr, &pItem, "00"), -1);
    EXPECT_EQ(WABFindItemFolder(nullptr, "00", &psz, 0), -1);
    EXPECT_EQ(WABMarkItem(nullptr, "00", "x"), -1);
    WABFreeFolders(nullptr, nullptr);
    WABFreeItems(nullptr, nullptr);
    WABFreeItem(nullptr, nullptr);
    std::vector<std::string> expected;
    for (int n : {301, 303, 305, 307, 308, 310, 304, 306, 309})
        expected.push_back("Err in pLib != NULL: ASSERT failed in line " + std::to_string(n));
    EXPECT_EQ(m_log.Lines(), expected);

    m_log.Clear();
    WABFreeFolders(m_pLib, nullptr);
    WABFreeItems(m_pLib, nullptr);
    WABFreeItem(m_pLib, nullptr);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ListingTest, NotInitializedFailsInOrder) {
    WABItems *pItems = nullptr;
    m_log.Clear();
    EXPECT_EQ(WABGetItems(m_pLib, &pItems, nullptr, 0, 0, 0, nullptr, 0, 0), -1);
    EXPECT_EQ(pItems, nullptr);
    EXPECT_NE(m_log.Text().find("WAB is not initialized"), std::string::npos);
}
