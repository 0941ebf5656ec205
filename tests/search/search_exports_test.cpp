// The Search_* exports: their null conventions, the choice of the store, and the exception guard of Search_Build.
#include "failing_allocation.h"
#include "search_fixture.h"
#include "tessel.h"

namespace searchtest {
namespace {

using Strings = std::vector<std::string>;

class SearchExportsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
    }
    void TearDown() override { DeleteTessel(m_pLib); }

    CTessel *m_pLib = nullptr;
    PropDesc m_desc = Desc(kTagP, u"p");
    PropList m_props{1, &m_desc};
    OriginalDefinition m_od = Definition(OD_FIRST_ADDED);
};

TEST_F(SearchExportsTest, UnknownApiGivesNull)
{
    testsupport::CLogCapture log(2);
    EXPECT_EQ(Search_Create(m_pLib, 2, &m_props, &m_od), nullptr);
    Strings lines = log.Lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "Inf in Search_Create: ->");
    EXPECT_EQ(lines.back(), "Err in Search_Create: ASSERT failed in line 3");
}

TEST_F(SearchExportsTest, NullLibraryGivesNull)
{
    testsupport::CLogCapture log;
    EXPECT_EQ(Search_Create(nullptr, API_OE, &m_props, &m_od), nullptr);
    EXPECT_EQ(log.Lines(), Strings{"Err in pLib != NULL: ASSERT failed in line 501"});
}

TEST_F(SearchExportsTest, StoreNotInitializedIsOnlyAsserted)
{
    testsupport::CLogCapture log;
    CDuplicateSearch *pOE = Search_Create(m_pLib, API_OE, &m_props, &m_od);
    CDuplicateSearch *pWAB = Search_Create(m_pLib, API_WAB, &m_props, &m_od);
    EXPECT_NE(pOE, nullptr);
    EXPECT_NE(pWAB, nullptr);
    EXPECT_EQ(log.Lines(), (Strings{"Err in Search_Create: ASSERT failed in line 1",
                                    "Err in Search_Create: ASSERT failed in line 2"}));
    EXPECT_EQ(Search_GetOriginalCount(pOE), 0);
    EXPECT_EQ(Search_Build(pWAB), 0);
    Search_Delete(pOE);
    Search_Delete(pWAB);
}

TEST_F(SearchExportsTest, AllocationFailureGivesNull)
{
    FailAllocations(true);
    CDuplicateSearch *pSearch = Search_Create(m_pLib, API_OE, &m_props, &m_od);
    FailAllocations(false);
    EXPECT_EQ(pSearch, nullptr);
}

TEST(SearchExportsNullTest, NullSearchIsHarmless)
{
    testsupport::CLogCapture log(2);
    int32_t bHas = 7, nType = 7;
    const char *psz = "untouched";
    char szBuffer[8] = "x";
    uint32_t nSize = 8, nFolderSize = 8;
    EXPECT_EQ(Search_Add(nullptr, "A", "F", &bHas, 0), 0);
    EXPECT_EQ(Search_Build(nullptr), 0);
    EXPECT_EQ(Search_GetBuildChange(nullptr, 0, &nType, &psz, &psz, &psz, &psz, &nType), 0);
    EXPECT_EQ(Search_GetOriginalCount(nullptr), 0);
    Search_GetOriginal(nullptr, 0, szBuffer, &nSize, szBuffer, &nFolderSize);
    EXPECT_EQ(Search_GetDuplicateCount(nullptr, 0), 0);
    Search_GetDuplicate(nullptr, 0, 0, szBuffer, &nSize, szBuffer, &nFolderSize);
    Search_Delete(nullptr);
    EXPECT_EQ(bHas, 7);
    EXPECT_EQ(nType, 7);
    EXPECT_STREQ(psz, "untouched");
    EXPECT_EQ(nSize, 8u);

    // Each check names its export by number.
    Strings lines = log.Lines();
    ASSERT_GE(lines.size(), 9u);
    lines.erase(lines.begin(), lines.end() - 9);
    EXPECT_EQ(lines, (Strings{"Err in pSearch != NULL: ASSERT failed in line 502",
                              "Err in pSearch != NULL: ASSERT failed in line 503",
                              "Err in pSearch != NULL: ASSERT failed in line 504",
                              "Err in pSearch != NULL: ASSERT failed in line 505",
                              "Err in pSearch != NULL: ASSERT failed in line 506",
                              "Err in pSearch != NULL: ASSERT failed in line 507",
                              "Err in pSearch != NULL: ASSERT failed in line 508", "Inf in Search_Delete: ->",
                              "Err in pSearch != NULL: ASSERT failed in line 509"}));
    // Search_Build didn't enter its guard.
    EXPECT_EQ(log.Text().find("Exception"), std::string::npos);
}

class SearchThroughExportsTest : public SearchTest {
protected:
    void SetUp() override
    {
        CreateSearch({Desc(kTagP, u"p")});
        Item("A", "1");
        Item("B", "1");
        Item("C", "2");
    }
};

TEST_F(SearchThroughExportsTest, ExportsPassOnToTheSearch)
{
    CDuplicateSearch *pSearch = m_pSearch.get();
    int32_t bHas = -1;
    EXPECT_EQ(Search_Add(pSearch, "A", kFolder, &bHas, 0), 1);
    EXPECT_EQ(bHas, 0);
    EXPECT_EQ(Search_Add(pSearch, "B", kFolder, &bHas, 0), 1);
    EXPECT_EQ(bHas, 1);
    EXPECT_EQ(Search_Add(pSearch, "C", kFolder, nullptr, 0), 1);
    EXPECT_EQ(Search_Add(pSearch, "missing", kFolder, &bHas, 0), 0);

    EXPECT_EQ(Search_Build(pSearch), 2);
    int32_t nType = 0, nIndex = 0;
    const char *pszOriginal = nullptr, *pszDuplicate = nullptr;
    EXPECT_EQ(Search_GetBuildChange(pSearch, 1, &nType, &pszOriginal, nullptr, &pszDuplicate, nullptr, &nIndex), 1);
    EXPECT_EQ(nType, CHANGE_DUPLICATE_ADDED);
    EXPECT_STREQ(pszOriginal, "A");
    EXPECT_STREQ(pszDuplicate, "B");
    EXPECT_EQ(Search_GetBuildChange(pSearch, 2, &nType, nullptr, nullptr, nullptr, nullptr, nullptr), 0);

    EXPECT_EQ(Search_GetOriginalCount(pSearch), 1);
    EXPECT_EQ(Search_GetDuplicateCount(pSearch, 0), 1);
    char szID[8] = "", szFolder[8] = "";
    uint32_t nID = sizeof szID, nFolder = sizeof szFolder;
    Search_GetOriginal(pSearch, 0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "A");
    EXPECT_STREQ(szFolder, kFolder);
    nID = 0;
    Search_GetDuplicate(pSearch, 0, 0, szID, &nID, szFolder, &nFolder);
    EXPECT_EQ(nID, 2u);
    EXPECT_STREQ(szID, "A");
    nID = sizeof szID;
    Search_GetDuplicate(pSearch, 0, 0, szID, &nID, szFolder, &nFolder);
    EXPECT_STREQ(szID, "B");

    Search_Delete(m_pSearch.release());
}

TEST_F(SearchThroughExportsTest, BuildThatThrowsIsCaught)
{
    CDuplicateSearch *pSearch = m_pSearch.get();
    Add("A");
    Add("B");
    testsupport::CLogCapture log;
    FailAllocations(true);
    int32_t nChanges = Search_Build(pSearch);
    FailAllocations(false);
    EXPECT_EQ(nChanges, 0);
    EXPECT_EQ(log.Lines(), Strings{"Err in Search_Build: Exception"});

    // The items and their equalities are intact: the next build makes the groups.
    EXPECT_EQ(Search_Build(pSearch), 2);
    EXPECT_EQ(GroupTexts(*pSearch), (std::vector<Strings>{{"A", "B"}}));
    Search_Delete(m_pSearch.release());
}

} // namespace
} // namespace searchtest
