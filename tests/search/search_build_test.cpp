// Cutting groups, the change records between builds, and reading the results.
#include <cstring>

#include "search_fixture.h"

namespace searchtest {
namespace {

using BuildTest = TwoPropSearchTest;
using Strings = std::vector<std::string>;
using Groups = std::vector<Strings>;

TEST_F(BuildTest, EmptySearchBuildsNothing)
{
    EXPECT_EQ(m_pSearch->GetOriginalCount(), 0);
    EXPECT_EQ(m_pSearch->Build(), 0);
    EXPECT_EQ(m_pSearch->GetOriginalCount(), 0);
    EXPECT_FALSE(m_pSearch->GetBuildChange(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(BuildTest, NoEqualItemsBuildNothing)
{
    Item("A", "1");
    Item("B", "2");
    Add("A");
    Add("B");
    EXPECT_EQ(m_pSearch->Build(), 0);
    EXPECT_TRUE(m_pSearch->Groups().empty());
}

TEST_F(BuildTest, FirstBuildDescribesAllGroups)
{
    Item("A", "1");
    Item("B", "1");
    Item("C", "2");
    Item("D", "2");
    Item("E", "2");
    for (const char *psz : {"A", "B", "C", "D", "E"})
        Add(psz);
    EXPECT_EQ(m_pSearch->Build(), 5);
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 A", "3 A B 0", "1 C", "3 C D 0", "3 C E 1"}));
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B"}, {"C", "D", "E"}}));
    EXPECT_EQ(m_pSearch->GetOriginalCount(), 2);
    EXPECT_EQ(m_pSearch->GetDuplicateCount(0), 1);
    EXPECT_EQ(m_pSearch->GetDuplicateCount(1), 2);
}

TEST_F(BuildTest, RepeatedBuildWithoutAddChangesNothing)
{
    Item("A", "1");
    Item("B", "1");
    Add("A");
    Add("B");
    EXPECT_EQ(m_pSearch->Build(), 2);
    EXPECT_EQ(m_pSearch->Build(), 0);
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B"}}));
    EXPECT_FALSE(m_pSearch->GetBuildChange(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(BuildTest, UniqueItemAddedBetweenBuildsChangesNothing)
{
    Item("A", "1");
    Item("B", "1");
    Item("U", "7");
    Add("A");
    Add("B");
    m_pSearch->Build();
    Add("U");
    EXPECT_EQ(m_pSearch->Build(), 0);
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B"}}));
}

TEST_F(BuildTest, AddLeavesResultsAloneUntilTheNextBuild)
{
    Item("A", "1");
    Item("B", "1");
    Item("C", "1");
    Add("A");
    Add("B");
    m_pSearch->Build();
    Add("C");
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B"}}));
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 A", "3 A B 0"}));
    EXPECT_EQ(m_pSearch->Build(), 1);
    EXPECT_EQ(ChangeTexts(*m_pSearch), Strings{"3 A C 1"});
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B", "C"}}));
}

TEST_F(BuildTest, NewOriginalTakesTheWholeGroup)
{
    Item("A", "1");
    Item("B", "1");
    Item("N", "1");
    Add("A");
    Add("B");
    m_pSearch->Build();
    Add("N", -1); // ranks before A
    EXPECT_EQ(m_pSearch->Build(), 4);
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 N", "3 N A 0", "3 N B 1", "2 A"}));
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"N", "A", "B"}}));
}

TEST_F(BuildTest, NewOriginalTakesOneMember)
{
    // A, B, C are equal through p; Z matches C through q alone and ranks before all.
    Item("A", "1", "");
    Item("B", "1", "");
    Item("C", "1", "5");
    Item("Z", "", "5");
    Add("A");
    Add("B");
    Add("C");
    EXPECT_EQ(m_pSearch->Build(), 3);
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B", "C"}}));
    Add("Z", -1);
    EXPECT_EQ(m_pSearch->Build(), 3);
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 Z", "3 Z C 0", "4 A C"}));
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"Z", "C"}, {"A", "B"}}));
}

TEST_F(BuildTest, NewOriginalLeavesTheOldOneAlone)
{
    Item("A", "1", "");
    Item("B", "1", "5");
    Item("Z", "", "5");
    Add("A");
    Add("B");
    m_pSearch->Build();
    Add("Z", -1);
    EXPECT_EQ(m_pSearch->Build(), 3);
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 Z", "3 Z B 0", "2 A"}));
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"Z", "B"}}));
}

TEST_F(BuildTest, NonTransitiveTripleLedByTheCommonItem)
{
    // A is equal to B and to C, which differ from each other.
    Item("A", "1", "");
    Item("B", "1", "2");
    Item("C", "1", "3");
    Add("A", 0);
    Add("B", 1);
    Add("C", 1);
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B", "C"}}));
}

TEST_F(BuildTest, NonTransitiveTripleLedByAnOuterItem)
{
    Item("A", "1", "");
    Item("B", "1", "2");
    Item("C", "1", "3");
    Add("A", 1);
    Add("B", 0);
    Add("C", 1);
    m_pSearch->Build();
    // B takes A; C has an equal item but no free partner, so it stays without a group.
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"B", "A"}}));
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 B", "3 B A 0"}));
}

TEST_F(BuildTest, OuterOriginalTakesItemsThatDifferFromEachOther)
{
    // B equal to A and C, A and C not equal: if B ranks first its group holds both.
    Item("A", "1", "2");
    Item("B", "1", "");
    Item("C", "1", "3");
    Add("A", 1);
    Add("B", 0);
    Add("C", 1);
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"B", "A", "C"}}));
}

TEST_F(BuildTest, LowerPriorityLeadsTheGroup)
{
    Item("A", "1");
    Item("B", "1");
    Item("C", "1");
    Add("A", 5);
    Add("B", 2);
    Add("C", 9);
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"B", "A", "C"}}));
    EXPECT_EQ(Rank("B").nBuildIndex, 0);
    EXPECT_EQ(Rank("A").nBuildIndex, 1);
    EXPECT_EQ(Rank("C").nBuildIndex, 2);
}

TEST_F(BuildTest, RefusedItemsTakeOnlyTheirOwnPriorityAlong)
{
    Item("A", "1");
    Item("B", "1").FailOpen(E_FAIL);
    Item("C", "1").FailOpen(E_FAIL);
    Item("D", "1");
    Add("A", 5);
    EXPECT_EQ(Add("B"), 0);    // no priority of its own
    EXPECT_EQ(Add("C", 1), 0); // its priority goes with it
    Add("D", 2);
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"D", "A"}}));
    EXPECT_EQ(Rank("A").nPriority, 5);
    EXPECT_EQ(Rank("D").nPriority, 2);
}

TEST_F(BuildTest, DuplicatesAreListedInRankOrder)
{
    // Under MostFilled, a later item with more values ranks before earlier ones.
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q"), Desc(kTagR, u"r", 0, 0)}, Definition(OD_MOST_FILLED));
    Item("A", "1", "", "");
    Item("B", "1", "", "");
    Item("C", "1", "2", "x");
    Item("D", "1", "", "x");
    for (const char *psz : {"A", "B", "C", "D"})
        Add(psz);
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"C", "D", "A", "B"}}));
    EXPECT_EQ(ChangeTexts(*m_pSearch), (Strings{"1 C", "3 C D 0", "3 C A 1", "3 C B 2"}));
}

TEST_F(BuildTest, MemberThatOnlyMovesGivesNoRecord)
{
    CreateSearch({Desc(kTagP, u"p")}, Definition(OD_FIRST_ADDED));
    Item("A", "1");
    Item("B", "1");
    Item("C", "1");
    Add("A", 0);
    Add("B", 5);
    m_pSearch->Build();
    Add("C", 1); // comes in between A and B
    EXPECT_EQ(m_pSearch->Build(), 1);
    EXPECT_EQ(ChangeTexts(*m_pSearch), Strings{"3 A C 0"});
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "C", "B"}}));
}

TEST_F(BuildTest, BuildChangeOutputs)
{
    m_store.AddItem("", "A").Text(kTagP, "1");
    Item("B", "1");
    m_pSearch->Add("A", "", nullptr, 0);
    Add("B");
    ASSERT_EQ(m_pSearch->Build(), 2);

    int32_t nType = 0, nIndex = 7;
    const char *pszOriginal = nullptr, *pszOriginalFolder = "x", *pszDuplicate = "x", *pszDuplicateFolder = "x";
    ASSERT_TRUE(m_pSearch->GetBuildChange(0, &nType, &pszOriginal, &pszOriginalFolder, &pszDuplicate,
                                          &pszDuplicateFolder, &nIndex));
    EXPECT_EQ(nType, CHANGE_ORIGINAL_ADDED);
    EXPECT_STREQ(pszOriginal, "A");
    EXPECT_EQ(pszOriginalFolder, nullptr); // an empty text comes out as null
    EXPECT_EQ(pszDuplicate, nullptr);
    EXPECT_EQ(pszDuplicateFolder, nullptr);
    EXPECT_EQ(nIndex, -1);

    ASSERT_TRUE(m_pSearch->GetBuildChange(1, &nType, &pszOriginal, &pszOriginalFolder, &pszDuplicate,
                                          &pszDuplicateFolder, &nIndex));
    EXPECT_EQ(nType, CHANGE_DUPLICATE_ADDED);
    EXPECT_STREQ(pszOriginal, "A");
    EXPECT_STREQ(pszDuplicate, "B");
    EXPECT_STREQ(pszDuplicateFolder, kFolder);
    EXPECT_EQ(nIndex, 0);
}

TEST_F(BuildTest, BuildChangeOutOfBounds)
{
    Item("A", "1");
    Item("B", "1");
    Add("A");
    Add("B");
    ASSERT_EQ(m_pSearch->Build(), 2);
    testsupport::CLogCapture log;
    int32_t nType = 99;
    const char *pszOriginal = "untouched";
    EXPECT_FALSE(m_pSearch->GetBuildChange(-1, &nType, &pszOriginal, nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(m_pSearch->GetBuildChange(2, &nType, &pszOriginal, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(nType, 99);
    EXPECT_STREQ(pszOriginal, "untouched");
    EXPECT_TRUE(m_pSearch->GetBuildChange(1, &nType, &pszOriginal, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(log.Lines(), (Strings{"Err[0xffffffff] in CDuplicateSearch::GetBuildChange: index is out of bounds",
                                    "Err[0x2] in CDuplicateSearch::GetBuildChange: index is out of bounds"}));
}

TEST_F(BuildTest, ChangeTextsStayWhileMoreItemsArrive)
{
    Item("A", "1");
    Item("B", "1");
    Add("A");
    Add("B");
    ASSERT_EQ(m_pSearch->Build(), 2);
    const char *pszOriginal = nullptr, *pszDuplicate = nullptr, *pszDuplicateFolder = nullptr;
    ASSERT_TRUE(m_pSearch->GetBuildChange(1, nullptr, &pszOriginal, nullptr, &pszDuplicate, &pszDuplicateFolder,
                                          nullptr));
    // Enough items to need more room for records and entries, every other one refused, before the next Build.
    for (int i = 0; i < 1000; i++) {
        std::string strEntry = "item-with-a-long-entry-" + std::to_string(i);
        auto item = Item(strEntry, "v" + std::to_string(i));
        if (i % 2)
            item.FailGetProps(MAPI_E_CALL_FAILED);
        Add(strEntry);
    }
    EXPECT_STREQ(pszOriginal, "A");
    EXPECT_STREQ(pszDuplicate, "B");
    EXPECT_STREQ(pszDuplicateFolder, kFolder);
    EXPECT_EQ(m_pSearch->Items().size(), 502u);
    EXPECT_STREQ(m_pSearch->Items().back()->ItemID, "item-with-a-long-entry-998");
}

class ResultSizeTest : public BuildTest {
protected:
    void SetUp() override
    {
        BuildTest::SetUp();
        Item("Orig", "1");
        m_store.AddItem("", "Dup").Text(kTagP, "1");
        Add("Orig");
        m_pSearch->Add("Dup", "", nullptr, 0);
        ASSERT_EQ(m_pSearch->Build(), 2);
    }
};

TEST_F(ResultSizeTest, ZeroSizesGiveTheSizesAndCopyNothing)
{
    char szID[16] = "untouched", szFolder[16] = "untouched";
    uint32_t nID = 0, nFolder = 0;
    m_pSearch->GetOriginal(0, szID, &nID, szFolder, &nFolder);
    EXPECT_EQ(nID, 5u);
    EXPECT_EQ(nFolder, 2u);
    EXPECT_STREQ(szID, "untouched");
    EXPECT_STREQ(szFolder, "untouched");
}

TEST_F(ResultSizeTest, ExactSizesCopyBoth)
{
    char szID[16] = "untouched", szFolder[16] = "untouched";
    uint32_t nID = 5, nFolder = 2;
    m_pSearch->GetOriginal(0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "Orig");
    EXPECT_STREQ(szFolder, kFolder);
    EXPECT_EQ(nID, 5u);
    EXPECT_EQ(nFolder, 2u);
}

TEST_F(ResultSizeTest, EachStringByItsOwnSize)
{
    char szID[16] = "untouched", szFolder[16] = "untouched";
    uint32_t nID = 5, nFolder = 1;
    m_pSearch->GetOriginal(0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "Orig");
    EXPECT_STREQ(szFolder, "untouched");
    EXPECT_EQ(nFolder, 2u);

    nID = 4; // one short
    std::strcpy(szID, "untouched");
    m_pSearch->GetOriginal(0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "untouched");
    EXPECT_EQ(nID, 5u);
    EXPECT_STREQ(szFolder, kFolder);
}

TEST_F(ResultSizeTest, EmptyFolderNeedsOneByte)
{
    char szID[16] = "untouched", szFolder[16] = "untouched";
    uint32_t nID = 16, nFolder = 16;
    m_pSearch->GetDuplicate(0, 0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "Dup");
    EXPECT_EQ(nID, 4u);
    EXPECT_STREQ(szFolder, "");
    EXPECT_EQ(nFolder, 1u);
}

TEST_F(ResultSizeTest, NumbersOutsideTheGroupsWriteNothing)
{
    char szID[16] = "untouched";
    uint32_t nID = 16, nFolder = 16;
    m_pSearch->GetOriginal(1, szID, &nID, nullptr, &nFolder);
    m_pSearch->GetDuplicate(0, 1, szID, &nID, nullptr, &nFolder);
    m_pSearch->GetDuplicate(-1, 0, szID, &nID, nullptr, &nFolder);
    EXPECT_STREQ(szID, "untouched");
    EXPECT_EQ(nID, 16u);
    EXPECT_EQ(m_pSearch->GetDuplicateCount(1), 0);
    EXPECT_EQ(m_pSearch->GetDuplicateCount(-1), 0);
}

} // namespace
} // namespace searchtest
