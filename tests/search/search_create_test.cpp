// Creating a search: the copies it takes and the corrections it makes to the caller's input.
#include <cstring>

#include "search_fixture.h"

namespace searchtest {
namespace {

using Strings = std::vector<std::string>;

class CreateTest : public SearchTest {};

OriginalDefinition FieldValueOn(int32_t nField, int32_t nFieldType = PT_LONG)
{
    OriginalDefinition od = Definition(OD_FIELD_VALUE);
    od.nField = nField;
    od.nFieldType = nFieldType;
    return od;
}

TEST_F(CreateTest, UnsupportedInterfaceIsDroppedAndTheFieldFollows)
{
    testsupport::CLogCapture log;
    CreateSearch({Desc(kTagP, u"p", 0), Desc(kTagQ, u"q", 5), Desc(kTagR, u"r", 1)}, FieldValueOn(2));
    EXPECT_EQ(m_pSearch->PropCount(), 2);
    EXPECT_EQ(m_pSearch->Props()[0].Tag, kTagP);
    EXPECT_EQ(m_pSearch->Props()[1].Tag, kTagR);
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_FIELD_VALUE);
    EXPECT_EQ(m_pSearch->Definition().nField, 1);
    EXPECT_EQ(log.Lines(), Strings{"Err in CDuplicateSearch::Create: Ignoring prop with not supported interface(5)"});
}

TEST_F(CreateTest, DroppedFieldFallsBackToMostFilled)
{
    testsupport::CLogCapture log;
    CreateSearch({Desc(kTagP, u"p", 0), Desc(kTagQ, u"q", 5), Desc(kTagR, u"r", 1)}, FieldValueOn(1));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
    EXPECT_EQ(m_pSearch->Definition().nField, -1);
    EXPECT_EQ(log.Lines(),
              (Strings{"Err in CDuplicateSearch::Create: Ignoring prop with not supported interface(5)",
                       "Err in CDuplicateSearch::Create: FieldValue original definition:bad field, using MostFilled"}));
}

TEST_F(CreateTest, FieldOutsideTheListFallsBackToMostFilled)
{
    CreateSearch({Desc(kTagP, u"p")}, FieldValueOn(3));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
}

TEST_F(CreateTest, UnknownDefinitionBecomesMostFilled)
{
    testsupport::CLogCapture log;
    CreateSearch({Desc(kTagP, u"p")}, Definition(8));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
    CreateSearch({Desc(kTagP, u"p")}, Definition(-1));
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::Create: Invalid original definition(8), using MostFilled",
                                    "Err in CDuplicateSearch::Create: Invalid original definition(-1), using "
                                    "MostFilled"}));
}

TEST_F(CreateTest, DefinitionsThreeSixSevenAreAcceptedSilently)
{
    testsupport::CLogCapture log;
    for (int32_t n : {3, 6, 7}) {
        CreateSearch({Desc(kTagP, u"p")}, Definition(n));
        EXPECT_EQ(m_pSearch->Definition().nDefinition, n);
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(CreateTest, NumericFieldValueWithoutTextIsAccepted)
{
    OriginalDefinition od = FieldValueOn(0, PT_LONG);
    od.szValue = nullptr;
    od.nLongValue = 42;
    CreateSearch({Desc(kTagP, u"p")}, od);
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_FIELD_VALUE);
    EXPECT_EQ(m_pSearch->Definition().szValue, nullptr);
    EXPECT_EQ(m_pSearch->Definition().nLongValue, 42);
}

TEST_F(CreateTest, WantedTextIsKeptLowerCasedInACopy)
{
    char szCaller[] = "Hello WORLD";
    OriginalDefinition od = FieldValueOn(0, PT_STRING8);
    od.szValue = szCaller;
    CreateSearch({Desc(kTagP, u"p")}, od);
    std::strcpy(szCaller, "gone");
    ASSERT_NE(m_pSearch->Definition().szValue, nullptr);
    EXPECT_STREQ(m_pSearch->Definition().szValue, "hello world");
    EXPECT_NE(m_pSearch->Definition().szValue, szCaller);
}

TEST_F(CreateTest, WantedTextIsNotKeptForOtherDefinitions)
{
    OriginalDefinition od = Definition(OD_MOST_FILLED);
    od.nFieldType = PT_STRING8;
    od.szValue = "text";
    CreateSearch({Desc(kTagP, u"p")}, od);
    EXPECT_EQ(m_pSearch->Definition().szValue, nullptr);
}

TEST_F(CreateTest, DescriptorsAreDeepCopies)
{
    std::u16string key = u"key", name = u"name", sID = u"sid";
    std::string guid = "{guid}";
    PropDesc desc = Desc(kTagP, key.c_str());
    desc.Name = name.c_str();
    desc.GUID = guid.c_str();
    desc.sID = sID.c_str();
    desc.nUser = 77;
    desc.nID = 5;
    desc.nType = PT_STRING8;
    PropDesc bare = Desc(kTagQ, nullptr);
    bare.Name = nullptr;
    CreateSearch({desc, bare});
    key = u"XXX";
    guid = "XXXXXX";
    const PropDesc &copy = m_pSearch->Props()[0];
    EXPECT_EQ(std::u16string(copy.Key), u"key");
    EXPECT_EQ(std::u16string(copy.Name), u"name");
    EXPECT_EQ(std::u16string(copy.sID), u"sid");
    EXPECT_STREQ(copy.GUID, "{guid}");
    EXPECT_NE(copy.Key, key.c_str());
    EXPECT_EQ(copy.nUser, 77);
    EXPECT_EQ(copy.nID, 5);
    EXPECT_EQ(copy.nType, PT_STRING8);
    EXPECT_EQ(copy.Tag, kTagP);
    const PropDesc &copy2 = m_pSearch->Props()[1];
    EXPECT_EQ(copy2.Key, nullptr);
    EXPECT_EQ(copy2.Name, nullptr);
    EXPECT_EQ(copy2.GUID, nullptr);
    EXPECT_EQ(copy2.sID, nullptr);
}

TEST_F(CreateTest, NullListAndDefinitionAreEmptyAndMostFilled)
{
    m_pSearch = std::make_unique<CDuplicateSearch>();
    m_pSearch->Create(&m_store, nullptr, nullptr);
    EXPECT_EQ(m_pSearch->PropCount(), 0);
    EXPECT_EQ(m_pSearch->Definition().nDefinition, OD_MOST_FILLED);
    testsupport::CLogCapture log;
    Item("A", "1");
    EXPECT_EQ(Add("A"), 0);
    EXPECT_EQ(log.Lines().front(), "Err in CDuplicateSearch::Add: Number of props to compare = 0");
}

TEST_F(CreateTest, CreateAgainStartsAfresh)
{
    CreateSearch({Desc(kTagP, u"p")});
    Item("A", "1");
    Item("B", "1");
    Add("A");
    Add("B");
    m_pSearch->Build();
    PropList list{1, nullptr};
    std::vector<PropDesc> props{Desc(kTagQ, u"q")};
    list.pProps = props.data();
    OriginalDefinition od = Definition(OD_FIRST_ADDED);
    m_pSearch->Create(&m_store, &list, &od);
    EXPECT_TRUE(m_pSearch->Items().empty());
    EXPECT_TRUE(m_pSearch->ItemsWithEquals().empty());
    EXPECT_EQ(m_pSearch->GetOriginalCount(), 0);
    EXPECT_EQ(m_pSearch->OpenFolderCount(), 0u);
    EXPECT_EQ(m_store.FoldersOpen(), 0);
    EXPECT_EQ(m_store.PropArraysOut(), 0);
    EXPECT_EQ(m_pSearch->Props()[0].Tag, kTagQ);
}

} // namespace
} // namespace searchtest
