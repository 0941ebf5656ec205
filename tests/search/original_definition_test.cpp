// The original definitions and their chains of tie-breaks, and the field test of FieldValue.
#include <algorithm>
#include <set>

#include "platform/time.h"
#include "search_fixture.h"

namespace searchtest {
namespace {

using Strings = std::vector<std::string>;
using Groups = std::vector<Strings>;

constexpr ULONG kTagField = PROP_TAG(PT_STRING8, 0x6010);
constexpr ULONG kTagNumber = PROP_TAG(PT_LONG, 0x6011);
constexpr ULONG kTagShort = PROP_TAG(PT_I2, 0x6012);
constexpr ULONG kTagDouble = PROP_TAG(PT_DOUBLE, 0x6013);
constexpr ULONG kTagFlag = PROP_TAG(PT_BOOLEAN, 0x6014);
constexpr ULONG kTagWhen = PROP_TAG(PT_SYSTIME, 0x6015);
constexpr ULONG kTagKeywords = PROP_TAG(PT_MV_STRING8, 0x6016);
constexpr ULONG kTagFloat = PROP_TAG(PT_R4, 0x6017);

class OriginalTest : public SearchTest {
protected:
    // Adds the entries in order, builds, and gives the one group's members, original first.
    Strings RankOf(const Strings &entries, const std::vector<int32_t> &priorities = {})
    {
        for (size_t i = 0; i < entries.size(); i++)
            Add(entries[i], i < priorities.size() ? priorities[i] : 0);
        m_pSearch->Build();
        auto groups = GroupTexts(*m_pSearch);
        return groups.size() == 1 ? groups[0] : Strings{"(not one group)"};
    }

    // Items that are all equal through p = "same".
    void SameItems(const Strings &entries)
    {
        for (const std::string &entry : entries)
            Item(entry, "same");
    }
};

TEST_F(OriginalTest, PriorityBeatsEveryDefinition)
{
    for (int32_t nDefinition : {0, 1, 2, 4, 5}) {
        OriginalDefinition od = Definition(nDefinition);
        od.nField = 0;
        od.nFieldType = PT_STRING8;
        od.szValue = "same";
        CreateSearch({Desc(kTagP, u"p")}, od);
        Item("A", "same");
        Item("B", "same");
        EXPECT_EQ(RankOf({"A", "B"}, {2, 1}), (Strings{"B", "A"})) << "definition " << nDefinition;
    }
}

TEST_F(OriginalTest, FirstAddedAndItsAliases)
{
    for (int32_t nDefinition : {1, 3, 6, 7}) {
        CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0)}, Definition(nDefinition));
        Item("A", "same");
        Item("B", "same", "more");
        EXPECT_EQ(RankOf({"A", "B"}), (Strings{"A", "B"})) << "definition " << nDefinition;
    }
}

TEST_F(OriginalTest, MostFilledThenFirstAdded)
{
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0), Desc(kTagR, u"r", 0, 0)}, Definition(OD_MOST_FILLED));
    Item("A", "same");
    Item("B", "same", "x");
    Item("C", "same", "", "y");
    Item("D", "same", "x", "y");
    EXPECT_EQ(RankOf({"A", "B", "C", "D"}), (Strings{"D", "B", "C", "A"}));
}

TEST_F(OriginalTest, MostFilledCountsStreamsAndInfoProperties)
{
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagBody, u"body", 1, 0)}, Definition(OD_MOST_FILLED));
    Item("A", "same");
    Item("B", "same").Stream(kTagBody, "text");
    Item("C", "same").Stream(kTagBody, "");
    EXPECT_EQ(RankOf({"A", "B", "C"}), (Strings{"B", "A", "C"}));
    EXPECT_EQ(Rank("B").nFilledProps, 2);
    EXPECT_EQ(Rank("C").nFilledProps, 1);
}

// Text streams that compare equal up to their first zero byte, padded to n bytes: equal values of different sizes.
std::string Padded(size_t n) { return "v" + std::string(n - 1, '\0'); }

class LargestValuesTest : public OriginalTest {
protected:
    void SetUp() override
    {
        CreateSearch({Desc(kTagS1, u"s1", 1), Desc(kTagS2, u"s2", 1), Desc(kTagS3, u"s3", 1),
                      Desc(kTagQ, u"q", 0, 0)},
                     Definition(OD_LARGEST_VALUES));
    }
    void Sized(const std::string &entry, size_t n1, size_t n2, size_t n3)
    {
        m_store.AddItem(kFolder, entry).Stream(kTagS1, Padded(n1)).Stream(kTagS2, Padded(n2)).Stream(kTagS3,
                                                                                                   Padded(n3));
    }
};

TEST_F(LargestValuesTest, MoreLargerPropertiesWinNotTheLargerSum)
{
    Sized("A", 9, 4, 100);
    Sized("B", 10, 5, 7);
    EXPECT_EQ(RankOf({"A", "B"}), (Strings{"B", "A"}));
    ASSERT_NE(Rank("A").pValuesSizes, nullptr);
    EXPECT_EQ(Rank("A").pValuesSizes[2], 100u);
}

TEST_F(LargestValuesTest, TiedVoteGoesToMostFilled)
{
    Sized("A", 9, 6, 7);
    Sized("B", 10, 5, 7);
    Sized("C", 10, 5, 7);
    m_store.ItemFor("C").Text(kTagQ, "filled");
    EXPECT_EQ(RankOf({"A", "B", "C"}), (Strings{"C", "A", "B"}));
}

TEST_F(LargestValuesTest, EmptyPropertyCountsAsSizeZero)
{
    Sized("A", 10, 10, 10);
    m_store.AddItem(kFolder, "B").Stream(kTagS1, Padded(10)).Stream(kTagS2, Padded(11));
    EXPECT_EQ(RankOf({"A", "B"}), (Strings{"A", "B"}));
    EXPECT_EQ(Rank("B").pValuesSizes[2], 0u);
}

TEST_F(LargestValuesTest, PlainPropertiesComeBeforeStreamsInTheSizes)
{
    CreateSearch({Desc(kTagS1, u"s1", 1), Desc(kTagP, u"p")}, Definition(OD_LARGEST_VALUES));
    m_store.AddItem(kFolder, "A").Stream(kTagS1, Padded(20)).Text(kTagP, "x");
    m_store.AddItem(kFolder, "B").Stream(kTagS1, Padded(30));
    RankOf({"A", "B"});
    EXPECT_EQ(Rank("A").pValuesSizes[0], 1u);
    EXPECT_EQ(Rank("A").pValuesSizes[1], 20u);
    EXPECT_EQ(Rank("B").pValuesSizes[0], 0u);
    EXPECT_EQ(Rank("B").pValuesSizes[1], 30u);
}

TEST_F(LargestValuesTest, VoteIsNotTransitive)
{
    // Each beats the next: A > B on s1, s2; B > C on s2, s3; C > A on s1, s3. The order follows the ranking
    // tree's comparisons, and each item is placed exactly once.
    Sized("A", 30, 20, 10);
    Sized("B", 20, 10, 30);
    Sized("C", 10, 30, 20);
    Strings rank = RankOf({"A", "B", "C"});
    ASSERT_EQ(rank.size(), 3u);
    EXPECT_EQ(std::set<std::string>(rank.begin(), rank.end()), (std::set<std::string>{"A", "B", "C"}));
}

TEST_F(OriginalTest, LargestMessageThenMostFilled)
{
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0)}, Definition(OD_LARGEST_MESSAGE));
    Item("A", "same").Size(9000, 100);
    Item("B", "same").Size(1000, 200);
    Item("C", "same", "x").Size(1000, 200);
    EXPECT_EQ(RankOf({"A", "B", "C"}), (Strings{"C", "B", "A"}));
    EXPECT_EQ(Rank("A").nMessageSize, 100);
}

TEST_F(OriginalTest, UnknownMessageSizeIsLoggedAndPassedOn)
{
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0)}, Definition(OD_LARGEST_MESSAGE));
    Item("A", "same").Size(0, 500);
    Item("B", "same", "x").FailGetSize(MAPI_E_CALL_FAILED);
    testsupport::CLogCapture log;
    EXPECT_EQ(RankOf({"A", "B"}), (Strings{"B", "A"}));
    EXPECT_EQ(Rank("B").nMessageSize, -1);
    EXPECT_EQ(log.Lines().front(), "Err in CDuplicateSearch::fnCompareOriginal: nMessageSize not initialized");
}

class FieldValueTest : public OriginalTest {
protected:
    void Use(ULONG nTag, const OriginalDefinition &od, uint32_t nInterface = 0)
    {
        CreateSearch({Desc(kTagP, u"p"), Desc(nTag, u"field", nInterface, 0), Desc(kTagQ, u"q", 0, 0)}, od);
    }
    static OriginalDefinition Wanted(int32_t nFieldType)
    {
        OriginalDefinition od = Definition(OD_FIELD_VALUE);
        od.nField = 1;
        od.nFieldType = nFieldType;
        return od;
    }
    static OriginalDefinition WantedText(const char *psz)
    {
        OriginalDefinition od = Wanted(PT_STRING8);
        od.szValue = psz;
        return od;
    }
    int32_t HasFieldValue(const std::string &entry) { return Rank(entry).nHasFieldValue; }
};

TEST_F(FieldValueTest, TextIsFoundIgnoringCase)
{
    Use(kTagField, WantedText("HELLO"));
    SameItems({"A", "B", "C"});
    m_store.ItemFor("A").Text(kTagField, "nothing");
    m_store.ItemFor("B").Text(kTagField, "Well, hElLo there");
    EXPECT_EQ(RankOf({"A", "B", "C"}), (Strings{"B", "A", "C"}));
    EXPECT_EQ(HasFieldValue("A"), 0);
    EXPECT_EQ(HasFieldValue("B"), 1);
    EXPECT_EQ(HasFieldValue("C"), 0);
}

TEST_F(FieldValueTest, BothOrNeitherHoldingGoesToMostFilled)
{
    Use(kTagField, WantedText("x"));
    SameItems({"A", "B", "C", "D"});
    m_store.ItemFor("A").Text(kTagField, "x");
    m_store.ItemFor("B").Text(kTagField, "x").Text(kTagQ, "more");
    m_store.ItemFor("D").Text(kTagQ, "more");
    EXPECT_EQ(RankOf({"A", "B", "C", "D"}), (Strings{"B", "A", "D", "C"}));
}

TEST_F(FieldValueTest, CrLfIsSearchedLiterallyInASingleText)
{
    Use(kTagField, WantedText("a\r\nb"));
    SameItems({"A", "B"});
    m_store.ItemFor("A").Text(kTagField, "xa yb");
    m_store.ItemFor("B").Text(kTagField, "xa\r\nbz");
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 0);
    EXPECT_EQ(HasFieldValue("B"), 1);
}

SPropValue Keywords(std::vector<const char *> &strings)
{
    SPropValue value{};
    value.ulPropTag = kTagKeywords;
    value.Value.MVszA.cValues = static_cast<ULONG>(strings.size());
    value.Value.MVszA.lppszA = const_cast<char **>(strings.data());
    return value;
}

TEST_F(FieldValueTest, EveryTermMustOccurInSomeString)
{
    Use(kTagKeywords, WantedText("A\r\nb"));
    SameItems({"Both", "One", "Mixed"});
    std::vector<const char *> both{"xa", "yb"}, one{"xa"}, mixed{"yB", "XA"};
    m_store.ItemFor("Both").Value(Keywords(both));
    m_store.ItemFor("One").Value(Keywords(one));
    m_store.ItemFor("Mixed").Value(Keywords(mixed));
    RankOf({"Both", "One", "Mixed"});
    EXPECT_EQ(HasFieldValue("Both"), 1);
    EXPECT_EQ(HasFieldValue("One"), 0);
    EXPECT_EQ(HasFieldValue("Mixed"), 1);
}

TEST_F(FieldValueTest, EmptyTermsAreSkipped)
{
    Use(kTagKeywords, WantedText("a\r\n\r\n"));
    SameItems({"A", "B"});
    std::vector<const char *> one{"xa"}, other{"zz"};
    m_store.ItemFor("A").Value(Keywords(one));
    m_store.ItemFor("B").Value(Keywords(other));
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 1);
    EXPECT_EQ(HasFieldValue("B"), 0);
}

TEST_F(FieldValueTest, NoTermAtAllIsNoHit)
{
    Use(kTagKeywords, WantedText("\r\n"));
    SameItems({"A", "B"});
    std::vector<const char *> one{"xa"};
    m_store.ItemFor("A").Value(Keywords(one));
    m_store.ItemFor("B").Value(Keywords(one));
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 0);
}

TEST_F(FieldValueTest, Numbers)
{
    OriginalDefinition od = Wanted(PT_LONG);
    od.nLongValue = 42;
    Use(kTagNumber, od);
    SameItems({"A", "B"});
    m_store.ItemFor("A").Long(kTagNumber, 41);
    m_store.ItemFor("B").Long(kTagNumber, 42);
    EXPECT_EQ(RankOf({"A", "B"}), (Strings{"B", "A"}));

    od = Wanted(PT_I2);
    od.nI2Value = -3;
    Use(kTagShort, od);
    SPropValue value{};
    value.ulPropTag = kTagShort;
    value.Value.i = -3;
    m_store.ItemFor("A").Value(value);
    value.Value.i = 3;
    m_store.ItemFor("B").Value(value);
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 1);
    EXPECT_EQ(HasFieldValue("B"), 0);

    od = Wanted(PT_DOUBLE);
    od.dValue = 2.5;
    Use(kTagDouble, od);
    value.ulPropTag = kTagDouble;
    value.Value.dbl = 2.5;
    m_store.ItemFor("A").Value(value);
    value.Value.dbl = 2.25;
    m_store.ItemFor("B").Value(value);
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 1);
    EXPECT_EQ(HasFieldValue("B"), 0);
}

TEST_F(FieldValueTest, BooleanCountsOnlyZeroOrNot)
{
    OriginalDefinition od = Wanted(PT_BOOLEAN);
    od.bValue = 5;
    Use(kTagFlag, od);
    SameItems({"A", "B"});
    SPropValue value{};
    value.ulPropTag = kTagFlag;
    value.Value.b = 1;
    m_store.ItemFor("A").Value(value);
    value.Value.b = 0;
    m_store.ItemFor("B").Value(value);
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 1);
    EXPECT_EQ(HasFieldValue("B"), 0);
}

TEST_F(FieldValueTest, TimeAgreesToTheSecond)
{
    OriginalDefinition od = Wanted(PT_SYSTIME);
    od.stValue = SYSTEMTIME{2024, 3, 0, 15, 10, 20, 30, 0};
    Use(kTagWhen, od);
    SameItems({"A", "B", "C"});
    SYSTEMTIME st = od.stValue;
    FILETIME ft{};
    st.wMilliseconds = 999;
    ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
    m_store.ItemFor("A").Time(kTagWhen, ft);
    st.wMilliseconds = 1;
    ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
    m_store.ItemFor("B").Time(kTagWhen, ft);
    st.wSecond = 31;
    ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
    m_store.ItemFor("C").Time(kTagWhen, ft);
    RankOf({"A", "B", "C"});
    EXPECT_EQ(HasFieldValue("A"), 1);
    EXPECT_EQ(HasFieldValue("B"), 1);
    EXPECT_EQ(HasFieldValue("C"), 0);
}

TEST_F(FieldValueTest, TextInAStream)
{
    Use(kTagBody, WantedText("Regards"), 1);
    SameItems({"A", "B"});
    m_store.ItemFor("A").Stream(kTagBody, "Kind REGARDS, me");
    m_store.ItemFor("B").Stream(kTagBody, "bye");
    EXPECT_EQ(RankOf({"B", "A"}), (Strings{"A", "B"}));
    EXPECT_EQ(m_store.BuffersOut(), 0);
}

TEST_F(FieldValueTest, EmptyValueIsNoHitMissingValueIsLogged)
{
    Use(kTagField, WantedText("x"));
    SameItems({"A", "B"});
    m_store.ItemFor("A").Text(kTagField, "");
    m_store.ItemFor("B").PropError(kTagField, MAPI_E_NOT_FOUND);
    testsupport::CLogCapture log;
    RankOf({"A", "B"});
    EXPECT_EQ(HasFieldValue("A"), 0);
    EXPECT_EQ(HasFieldValue("B"), 0);
    EXPECT_EQ(log.Lines(),
              Strings{"Err in CDuplicateSearch::CalcODProps(FieldValue): GetPropValue return -2147221233"});
}

TEST_F(FieldValueTest, UnreadableValueIsNoHit)
{
    OriginalDefinition od = Wanted(PT_LONG);
    Use(kTagNumber, od);
    SameItems({"A", "B"});
    m_store.ItemFor("A").PropError(kTagNumber, MAPI_E_CALL_FAILED);
    m_store.ItemFor("B").Long(kTagNumber, 0);
    testsupport::CLogCapture log;
    EXPECT_EQ(RankOf({"A", "B"}), (Strings{"B", "A"}));
    EXPECT_EQ(HasFieldValue("A"), 0);
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_FIELD_VALUE);
    Strings lines = log.Lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "Err in CDuplicateSearch::CalcODProps(FieldValue): GetPropValue return -2147467259"),
              1);
}

TEST_F(FieldValueTest, StreamOfWrongTypeFallsBackToMostFilled)
{
    OriginalDefinition od = Wanted(PT_LONG);
    Use(kTagBody, od, 1);
    SameItems({"A", "B", "C"});
    m_store.ItemFor("C").Stream(kTagBody, "text").Text(kTagQ, "more");
    testsupport::CLogCapture log;
    Add("A");
    Add("B"); // no stream in either: nothing is wrong yet
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_FIELD_VALUE);
    Add("C");
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::CalcODProps(FieldValue): TypeOfValue(0x3) != "
                                    "TypeOfProperty(0x1e)",
                                    "Err in CDuplicateSearch::CalcODProps(FieldValue): Cant use FieldValue original "
                                    "definition for Prop.Key=field, reset to MostFilled"}));
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"C", "A", "B"}}));
    EXPECT_EQ(m_store.BuffersOut(), 0);
}

TEST_F(FieldValueTest, TextStreamOnlyForStreams)
{
    Use(kTagKeywords, WantedText("x"), 1);
    SameItems({"A", "B"});
    m_store.ItemFor("A").Stream(kTagKeywords, "x");
    testsupport::CLogCapture log;
    Add("A");
    Add("B");
    // A's field is tested when B arrives: B's empty stream first, which is no fault.
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::CalcODProps(FieldValue): IID_IStream used other than "
                                    "PT_TSTRING?",
                                    "Err in CDuplicateSearch::CalcODProps(FieldValue): Cant use FieldValue original "
                                    "definition for Prop.Key=field, reset to MostFilled"}));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
}

TEST_F(FieldValueTest, TypeWithoutATestIsRefused)
{
    Use(kTagFloat, Wanted(PT_R4));
    SameItems({"A", "B"});
    SPropValue value{};
    value.ulPropTag = kTagFloat;
    value.Value.flt = 1.5f;
    m_store.ItemFor("A").Value(value);
    m_store.ItemFor("B").Value(value);
    testsupport::CLogCapture log;
    Add("A");
    Add("B");
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::CalcODProps(FieldValue): Invalid fieldtype=4",
                                    "Err in CDuplicateSearch::CalcODProps(FieldValue): Cant use FieldValue original "
                                    "definition for Prop.Key=field, reset to MostFilled"}));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
}

TEST_F(FieldValueTest, MismatchedPropertyTypeFallsBack)
{
    OriginalDefinition od = Wanted(PT_LONG);
    Use(kTagField, od);
    SameItems({"A", "B"});
    m_store.ItemFor("B").Text(kTagField, "text");
    testsupport::CLogCapture log;
    Add("A");
    Add("B");
    EXPECT_EQ(log.Lines().front(),
              "Err in CDuplicateSearch::CalcODProps(FieldValue): TypeOfValue(0x3) != TypeOfProperty(0x1e)");
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
}

TEST_F(OriginalTest, UncomputedNumbersAreLoggedAndPassedOn)
{
    // A can't be opened for its numbers: ranking logs and goes on by arrival.
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0)}, Definition(OD_MOST_FILLED));
    Item("A", "same");
    Item("B", "same", "x");
    Add("A");
    m_store.ItemFor("A").FailOpen(E_FAIL);
    Add("B");
    testsupport::CLogCapture log;
    m_pSearch->Build();
    EXPECT_EQ(GroupTexts(*m_pSearch), (Groups{{"A", "B"}}));
    EXPECT_EQ(log.Lines(), Strings{"Err in CDuplicateSearch::fnCompareOriginal: nFilledProps not initialized"});
}

} // namespace
} // namespace searchtest
