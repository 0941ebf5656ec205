// The rule of equality over two compared properties p and q; "-" below stands for an empty value.
#include <algorithm>
#include <functional>

#include "search_fixture.h"

namespace searchtest {
namespace {

using EqualityTest = TwoPropSearchTest;
using Strings = std::vector<std::string>;

TEST_F(EqualityTest, SameValuesAreEqual)
{
    Item("X", "1", "2");
    Item("Y", "1", "2");
    EXPECT_EQ(AddHas("X"), 0);
    EXPECT_EQ(AddHas("Y"), 1);
    EXPECT_EQ(EqualsOf("X"), Strings{"Y"});
    EXPECT_EQ(EqualsOf("Y"), Strings{"X"});
}

TEST_F(EqualityTest, OneDifferingPropertySeparates)
{
    Item("X", "1", "2");
    Item("Y", "1", "3");
    Add("X");
    EXPECT_EQ(AddHas("Y"), 0);
    EXPECT_TRUE(m_pSearch->ItemsWithEquals().empty());
}

TEST_F(EqualityTest, EmptyOnOneSideNeitherJoinsNorSeparates)
{
    Item("X", "1", "");
    Item("Y", "1", "2");
    Add("X");
    EXPECT_EQ(AddHas("Y"), 1);
}

TEST_F(EqualityTest, NothingInCommonIsNotEqual)
{
    Item("X", "", "2");
    Item("Y", "1", "");
    Add("X");
    EXPECT_EQ(AddHas("Y"), 0);
}

TEST_F(EqualityTest, EmptyAgainstEmptyCountsForNothing)
{
    Item("X");
    Item("Y");
    EXPECT_EQ(AddHas("X"), 0);
    EXPECT_EQ(AddHas("Y"), 0);
    EXPECT_TRUE(m_pSearch->ItemsWithEquals().empty());
    // Both are accepted and sit among the empty items of every property.
    for (size_t nProp = 0; nProp < m_pSearch->SearchProps().size(); nProp++) {
        EXPECT_EQ(m_pSearch->EmptySignatures().EmptyCount(nProp), 2u);
        EXPECT_EQ(m_pSearch->SearchProps()[nProp]->Tree.Root(), nullptr);
    }
}

TEST_F(EqualityTest, ValuesCompareWithoutRegardToCase)
{
    Item("X", "Hello World", "2");
    Item("Y", "hello world", "2");
    Item("Z", "hello world ", "2");
    Add("X");
    EXPECT_EQ(AddHas("Y"), 1);
    EXPECT_EQ(AddHas("Z"), 0);
}

TEST_F(EqualityTest, NewItemMatchedThroughEmptyAndThroughTree)
{
    // X (1, 2) added last against B (1, -) and C (-, 2): B comes through the empty items of q, C through the
    // items that were empty at p and match at q.
    Item("B", "1", "");
    Item("C", "", "2");
    Item("X", "1", "2");
    EXPECT_EQ(AddHas("B"), 0);
    EXPECT_EQ(AddHas("C"), 0);
    EXPECT_EQ(AddHas("X"), 1);
    EXPECT_EQ(EqualsOf("X"), (Strings{"B", "C"}));
    EXPECT_EQ(EqualsOf("B"), Strings{"X"});
    EXPECT_EQ(EqualsOf("C"), Strings{"X"});
}

TEST_F(EqualityTest, NewItemMatchedInEitherOrder)
{
    Item("X", "1", "2");
    Item("B", "1", "");
    Item("C", "", "2");
    Add("X");
    EXPECT_EQ(AddHas("B"), 1);
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(EqualsOf("X"), (Strings{"B", "C"}));
    EXPECT_EQ(EqualsOf("C"), Strings{"X"}); // C and B have nothing in common
}

TEST_F(EqualityTest, ItemDroppedAtOnePropertyStaysOut)
{
    Item("B", "3", "");
    Item("N", "1", "2");
    Add("B");
    EXPECT_EQ(AddHas("N"), 0);
}

TEST_F(EqualityTest, EmptyPropertyOfNewItemHidesTheOthersValue)
{
    Item("B", "9", "2");
    Item("N", "", "2");
    Add("B");
    EXPECT_EQ(AddHas("N"), 1);
}

TEST_F(EqualityTest, SameEntryTwiceMakesTwoEqualItems)
{
    Item("X", "1", "2");
    EXPECT_EQ(AddHas("X"), 0);
    EXPECT_EQ(AddHas("X"), 1);
    ASSERT_EQ(m_pSearch->Items().size(), 2u);
    EXPECT_EQ(m_pSearch->Items()[1]->nIndex, 1);
}

TEST_F(EqualityTest, RelationIsSymmetricAndNeverReflexive)
{
    Item("A", "1", "");
    Item("B", "1", "2");
    Item("C", "1", "3");
    Item("D", "", "2");
    for (const char *psz : {"A", "B", "C", "D"})
        Add(psz);
    for (SearchItem *pItem : m_pSearch->ItemsWithEquals()) {
        const EqualItems &equals = m_pSearch->EqualsOf(pItem);
        EXPECT_EQ(std::count(equals.begin(), equals.end(), pItem), 0);
        EXPECT_TRUE(std::is_sorted(equals.begin(), equals.end(), std::less<SearchItem *>()));
        for (SearchItem *pEqual : equals) {
            const EqualItems &back = m_pSearch->EqualsOf(pEqual);
            EXPECT_EQ(std::count(back.begin(), back.end(), pItem), 1);
        }
    }
    EXPECT_EQ(EqualsOf("A"), (Strings{"B", "C"}));
    EXPECT_EQ(EqualsOf("B"), (Strings{"A", "D"}));
    EXPECT_EQ(EqualsOf("C"), Strings{"A"});
    EXPECT_EQ(EqualsOf("D"), Strings{"B"});
}

TEST_F(EqualityTest, PropertyOrderDoesNotMatter)
{
    // The same items with the properties the other way round give the same relation.
    Item("A", "1", "");
    Item("B", "1", "2");
    Item("C", "", "2");
    Item("D", "5", "2");
    for (const char *psz : {"A", "B", "C", "D"})
        Add(psz);
    auto forward = m_pSearch->ItemsWithEquals().size();
    Strings forwardD = EqualsOf("D");

    CreateSearch({Desc(kTagQ, u"q"), Desc(kTagP, u"p")});
    for (const char *psz : {"A", "B", "C", "D"})
        Add(psz);
    EXPECT_EQ(m_pSearch->ItemsWithEquals().size(), forward);
    EXPECT_EQ(EqualsOf("D"), forwardD);
    EXPECT_EQ(EqualsOf("D"), Strings{"C"});
    EXPECT_EQ(EqualsOf("B"), (Strings{"A", "C"}));
}

TEST_F(EqualityTest, ErrorValueIsNeverEqual)
{
    // A value that could not be read for another reason than its absence is not empty, and compares with
    // nothing: it goes left at every node.
    testsupport::CLogCapture log;
    Item("X", "1", "");
    Item("Y", "", "").PropError(kTagP, MAPI_E_CALL_FAILED);
    Item("Z", "", "").PropError(kTagP, MAPI_E_CALL_FAILED);
    Add("X");
    EXPECT_EQ(AddHas("Y"), 0);
    EXPECT_EQ(AddHas("Z"), 0);
    SearchProp *pP = m_pSearch->SearchProps()[0];
    EXPECT_NE(pP->Tree.FindNode(Find("Y")), nullptr);
    EXPECT_EQ(pP->Tree.Distinct(), 3);
    EXPECT_NE(log.Text().find("Type=PT_ERROR, Value(0x80004005)!=MAPI_E_NOT_FOUND"), std::string::npos);
}

TEST_F(EqualityTest, NotFoundErrorCountsAsEmpty)
{
    Item("X", "1", "2");
    Item("Y", "", "2"); // p comes back as PT_ERROR with MAPI_E_NOT_FOUND
    Add("X");
    EXPECT_EQ(AddHas("Y"), 1);
    EXPECT_TRUE(m_pSearch->EmptySignatures().IsEmpty(Find("Y"), 0));
}

TEST_F(EqualityTest, ManyItemsMatchTheirPartnersOnly)
{
    // Every third item repeats the values of the one before; the rest are distinct.
    for (int i = 0; i < 300; i++) {
        int nValue = (i % 3 == 2) ? i - 1 : i;
        Item("I" + std::to_string(i), "p" + std::to_string(nValue), "q" + std::to_string(nValue));
    }
    for (int i = 0; i < 300; i++)
        EXPECT_EQ(AddHas("I" + std::to_string(i)), i % 3 == 2 ? 1 : 0) << i;
    EXPECT_EQ(m_pSearch->ItemsWithEquals().size(), 200u);
    EXPECT_EQ(EqualsOf("I2"), Strings{"I1"});
    for (SearchProp *pProp : m_pSearch->SearchProps())
        EXPECT_EQ(pProp->Tree.Distinct(), 200);
}

} // namespace
} // namespace searchtest
