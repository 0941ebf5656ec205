// The provider's contents tables as the listing uses them: columns, RES_AND and RES_PROPERTY with every relation
// on any column, and a stable sort on any column in both directions, through CWABLib::GetItemsEx.
#include <algorithm>

#include "book_fixture.h"
#include "frame/tessel_record.h"

using namespace wablist;

namespace {

// Names sort A..E, e-mails the other way round; Cy and Dee share a title and a modification time.
const std::string kBook =
    Card("VERSION:4.0\r\nUID:1\r\nFN:Ann\r\nEMAIL:e@x\r\nTITLE:Boss\r\nREV:20200105T000000Z\r\n") +
    Card("VERSION:4.0\r\nUID:2\r\nFN:Cy\r\nEMAIL:c@x\r\nTITLE:Clerk\r\nREV:20200103T000000Z\r\n") +
    Card("VERSION:4.0\r\nUID:3\r\nFN:Bo\r\nEMAIL:d@x\r\nREV:20200104T000000Z\r\n") +
    Card("VERSION:4.0\r\nUID:4\r\nFN:Dee\r\nEMAIL:b@x\r\nTITLE:clerk\r\nREV:20200103T000000Z\r\n") +
    Card("VERSION:4.0\r\nUID:5\r\nFN:Eve\r\nEMAIL:a@x\r\nTITLE:Zed\r\nREV:20200101T000000Z\r\n");

struct Columns {
    ULONG cValues = 3;
    ULONG aulPropTag[3] = {PR_ENTRYID, PR_OBJECT_TYPE, PR_DISPLAY_NAME};
    SPropTagArray *Get() { return reinterpret_cast<SPropTagArray *>(this); }
};

class TableTest : public BookFixture {
protected:
    void SetUp() override {
        WriteText(Path("book.vcf"), kBook);
        Open(Path("book.vcf"));
    }
    std::vector<std::string> Query(SRestriction *pRes, SSortOrderSet *pSort) {
        Columns columns;
        WABFreeItems(m_pLib, m_pItems);
        m_pItems = nullptr;
        EXPECT_EQ(m_pLib->wab.m_Lib.GetItemsEx(&m_pItems, nullptr, 0, columns.Get(), pRes, pSort), 0);
        return Names();
    }
    std::vector<std::string> Where(ULONG relop, const SPropValue &value) {
        SPropValue copy = value;
        SRestriction res{};
        res.rt = RES_PROPERTY;
        res.res.resProperty = SPropertyRestriction{relop, value.ulPropTag, &copy};
        return Query(&res, nullptr);
    }
    std::vector<std::string> SortedBy(ULONG ulTag, ULONG ulOrder) {
        SSortOrderSet sort{};
        sort.cSorts = 1;
        sort.aSort[0] = SSortOrder{ulTag, ulOrder};
        return Query(nullptr, &sort);
    }
};

SPropValue Text(ULONG ulTag, const char *psz) {
    SPropValue value{};
    value.ulPropTag = ulTag;
    value.Value.lpszA = const_cast<char *>(psz);
    return value;
}

SPropValue Time(int nDay) { // midnight UTC of a day in January 2020
    SPropValue value{};
    value.ulPropTag = PR_LAST_MODIFICATION_TIME;
    uint64_t nTicks = 132223104000000000ull + static_cast<uint64_t>(nDay - 1) * 864000000000ull;
    value.Value.ft = FILETIME{static_cast<uint32_t>(nTicks), static_cast<uint32_t>(nTicks >> 32)};
    return value;
}

using Names_ = std::vector<std::string>;

} // namespace

TEST_F(TableTest, EveryRelationOnATextColumn) {
    SPropValue cy = Text(PR_DISPLAY_NAME, "Cy");
    EXPECT_EQ(Where(RELOP_LT, cy), (Names_{"Ann", "Bo"}));
    EXPECT_EQ(Where(RELOP_LE, cy), (Names_{"Ann", "Cy", "Bo"}));
    EXPECT_EQ(Where(RELOP_GT, cy), (Names_{"Dee", "Eve"}));
    EXPECT_EQ(Where(RELOP_GE, cy), (Names_{"Cy", "Dee", "Eve"}));
    EXPECT_EQ(Where(RELOP_EQ, cy), (Names_{"Cy"}));
    EXPECT_EQ(Where(RELOP_NE, cy), (Names_{"Ann", "Bo", "Dee", "Eve"}));
    EXPECT_EQ(Where(RELOP_RE, Text(PR_DISPLAY_NAME, "^[AB]")), (Names_{"Ann", "Bo"}));
}

TEST_F(TableTest, RelationsOnColumnsThatAreNotListed) {
    // Text compares without regard to case; an entry without the property matches no relation.
    EXPECT_EQ(Where(RELOP_EQ, Text(PR_TITLE, "CLERK")), (Names_{"Cy", "Dee"}));
    EXPECT_EQ(Where(RELOP_NE, Text(PR_TITLE, "clerk")), (Names_{"Ann", "Eve"}));
    EXPECT_EQ(Where(RELOP_GT, Text(PR_EMAIL_ADDRESS, "c@x")), (Names_{"Ann", "Bo"}));
    EXPECT_EQ(Where(RELOP_GE, Time(4)), (Names_{"Ann", "Bo"}));
    EXPECT_EQ(Where(RELOP_LT, Time(3)), (Names_{"Eve"}));
    EXPECT_EQ(Where(RELOP_EQ, Time(3)), (Names_{"Cy", "Dee"}));
    SPropValue type{};
    type.ulPropTag = PR_OBJECT_TYPE;
    type.Value.l = MAPI_MAILUSER;
    EXPECT_EQ(Where(RELOP_EQ, type).size(), 5u);
    EXPECT_EQ(Where(RELOP_NE, type).size(), 0u);
}

TEST_F(TableTest, AndJoinsConditions) {
    SPropValue since = Time(3), clerk = Text(PR_TITLE, "clerk");
    SRestriction parts[2]{};
    parts[0].rt = RES_PROPERTY;
    parts[0].res.resProperty = SPropertyRestriction{RELOP_GE, PR_LAST_MODIFICATION_TIME, &since};
    parts[1].rt = RES_PROPERTY;
    parts[1].res.resProperty = SPropertyRestriction{RELOP_NE, PR_TITLE, &clerk};
    SRestriction both{};
    both.rt = RES_AND;
    both.res.resAnd.cRes = 2;
    both.res.resAnd.lpRes = parts;
    EXPECT_EQ(Query(&both, nullptr), (Names_{"Ann"}));
    both.res.resAnd.cRes = 0; // an empty AND holds for every row
    EXPECT_EQ(Query(&both, nullptr).size(), 5u);
}

TEST_F(TableTest, StableSortOnAnyColumnBothWays) {
    EXPECT_EQ(SortedBy(PR_DISPLAY_NAME, TABLE_SORT_ASCEND), (Names_{"Ann", "Bo", "Cy", "Dee", "Eve"}));
    EXPECT_EQ(SortedBy(PR_DISPLAY_NAME, TABLE_SORT_DESCEND), (Names_{"Eve", "Dee", "Cy", "Bo", "Ann"}));
    EXPECT_EQ(SortedBy(PR_EMAIL_ADDRESS, TABLE_SORT_ASCEND), (Names_{"Eve", "Dee", "Cy", "Bo", "Ann"}));
    // Equal keys keep the book's order in both directions; a missing title sorts before any title.
    EXPECT_EQ(SortedBy(PR_TITLE, TABLE_SORT_ASCEND), (Names_{"Bo", "Ann", "Cy", "Dee", "Eve"}));
    EXPECT_EQ(SortedBy(PR_TITLE, TABLE_SORT_DESCEND), (Names_{"Eve", "Cy", "Dee", "Ann", "Bo"}));
    EXPECT_EQ(SortedBy(PR_LAST_MODIFICATION_TIME, TABLE_SORT_ASCEND), (Names_{"Eve", "Cy", "Dee", "Bo", "Ann"}));
    EXPECT_EQ(SortedBy(PR_LAST_MODIFICATION_TIME, TABLE_SORT_DESCEND), (Names_{"Ann", "Bo", "Cy", "Dee", "Eve"}));
}

TEST_F(TableTest, RestrictionAndSortTogether) {
    SPropValue since = Time(3);
    SRestriction res{};
    res.rt = RES_PROPERTY;
    res.res.resProperty = SPropertyRestriction{RELOP_GE, PR_LAST_MODIFICATION_TIME, &since};
    SSortOrderSet sort{};
    sort.cSorts = 1;
    sort.aSort[0] = SSortOrder{PR_DISPLAY_NAME, TABLE_SORT_DESCEND};
    EXPECT_EQ(Query(&res, &sort), (Names_{"Dee", "Cy", "Bo", "Ann"}));
    EXPECT_EQ(m_pItems->cItems, 4u);
}
