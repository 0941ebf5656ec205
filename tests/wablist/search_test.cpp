// Duplicate search and comparison matrix over the contacts of a vCard book, through the exports alone.
#include <algorithm>
#include <map>
#include <set>

#include "book_fixture.h"

using namespace wablist;

namespace {

// The tags a caller names, as MAPI publishes them.
constexpr uint32_t kDisplayName = 0x3001001E;
constexpr uint32_t kEmailAddress = 0x3003001E;
constexpr uint32_t kComment = 0x3004001E;

// Two planted groups (three Anns, two Bens) among distinct contacts, and a group entry that the search must
// refuse, since only contacts open for comparison.
std::string PlantedBook() {
    std::string strBook;
    auto add = [&](const char *pszUid, const char *pszName, const char *pszMail, const char *pszMore = "") {
        strBook += Card(std::string("VERSION:4.0\r\nUID:") + pszUid + "\r\nFN:" + pszName + "\r\nEMAIL:" + pszMail +
                        "\r\n" + pszMore);
    };
    add("ann1", "Ann Lee", "ann@example.org");
    add("cid", "Cid", "cid@example.org");
    add("ann2", "Ann Lee", "ann@example.org", "NOTE:second\r\n");
    add("ben1", "Ben Ode", "ben@example.org");
    add("ann3", "ANN LEE", "Ann@Example.org");
    add("ann4", "Ann Lee", "other@example.org");
    add("ben2", "Ben Ode", "ben@example.org");
    strBook += Card("VERSION:4.0\r\nUID:grp\r\nKIND:group\r\nFN:Ann Lee\r\nEMAIL:ann@example.org\r\n");
    return strBook;
}

PropDesc Desc(uint32_t nTag) {
    PropDesc desc{};
    desc.Tag = nTag;
    desc.nInterface = TS_INTERFACE_VALUE;
    desc.bCompare = 1;
    return desc;
}

class SearchTest : public BookFixture {
protected:
    void SetUp() override {
        WriteText(Path("book.vcf"), PlantedBook());
        Open(Path("book.vcf"));
        ASSERT_EQ(List(nullptr), 0);
        for (uint32_t i = 0; i < m_pItems->cItems; ++i) {
            m_entries.push_back(m_pItems->pItems[i].szEntry);
            m_uidOf[m_pItems->pItems[i].szEntry] = m_entries.size() - 1;
        }
        ASSERT_EQ(m_entries.size(), 8u);
    }
    std::string Original(CDuplicateSearch *pSearch, int nGroup) {
        char szID[512], szFolder[512];
        uint32_t nID = sizeof szID, nFolder = sizeof szFolder;
        Search_GetOriginal(pSearch, nGroup, szID, &nID, szFolder, &nFolder);
        return szID;
    }
    std::string Duplicate(CDuplicateSearch *pSearch, int nGroup, int nDup) {
        char szID[512], szFolder[512];
        uint32_t nID = sizeof szID, nFolder = sizeof szFolder;
        Search_GetDuplicate(pSearch, nGroup, nDup, szID, &nID, szFolder, &nFolder);
        return szID;
    }

    PropDesc m_props[2] = {Desc(kDisplayName), Desc(kEmailAddress)};
    PropList m_list{2, m_props};
    std::vector<std::string> m_entries; // in book order
    std::map<std::string, size_t> m_uidOf;
};

} // namespace

TEST_F(SearchTest, FindsThePlantedGroupsAmongContacts) {
    OriginalDefinition od{};
    od.nDefinition = OD_FIRST_ADDED;
    CDuplicateSearch *pSearch = Search_Create(m_pLib, API_WAB, &m_list, &od);
    ASSERT_NE(pSearch, nullptr);
    m_log.Clear();
    std::vector<int32_t> accepted;
    for (const std::string &strEntry : m_entries)
        accepted.push_back(Search_Add(pSearch, strEntry.c_str(), "", nullptr, 0));
    EXPECT_EQ(accepted, (std::vector<int32_t>{1, 1, 1, 1, 1, 1, 1, 0})); // the group entry is refused
    EXPECT_NE(m_log.Text().find("Err[0x8] in CWABCompare::OpenItem: objType != IMailUser\n"), std::string::npos);

    Search_Build(pSearch);
    ASSERT_EQ(Search_GetOriginalCount(pSearch), 2);
    std::vector<std::vector<size_t>> groups;
    for (int g = 0; g < 2; ++g) {
        std::vector<size_t> group{m_uidOf[Original(pSearch, g)]};
        for (int d = 0; d < Search_GetDuplicateCount(pSearch, g); ++d)
            group.push_back(m_uidOf[Duplicate(pSearch, g, d)]);
        groups.push_back(group);
    }
    std::sort(groups.begin(), groups.end());
    // Texts compare without regard to case: the third Ann belongs; the fourth has another address.
    EXPECT_EQ(groups, (std::vector<std::vector<size_t>>{{0, 2, 4}, {3, 6}}));
    Search_Delete(pSearch);
}

TEST_F(SearchTest, MatrixOverOneGroupShowsWhichRowsAgree) {
    PropDesc props[3] = {Desc(kDisplayName), Desc(kEmailAddress), Desc(kComment)};
    PropList list{3, props};
    CCmpMatrix *pMatrix = CmpMatrix_Create(m_pLib, API_WAB, &list);
    ASSERT_NE(pMatrix, nullptr);
    for (size_t i : {0, 2, 4, 5})
        EXPECT_EQ(CmpMatrix_Add(pMatrix, m_entries[i].c_str(), ""), 1);
    EXPECT_EQ(CmpMatrix_Add(pMatrix, m_entries[7].c_str(), ""), 0); // a group is no row
    int32_t nRows = 0, nCols = 0;
    CmpMatrix_Size(pMatrix, &nRows, &nCols);
    ASSERT_EQ(nRows, 4);
    ASSERT_EQ(nCols, 3);
    std::vector<std::vector<int32_t>> cells(4);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c) cells[r].push_back(CmpMatrix_Value(pMatrix, r, c));
    EXPECT_EQ(cells, (std::vector<std::vector<int32_t>>{{1, 1, 0}, {1, 1, 2}, {1, 1, 0}, {1, 4, 0}}));
    EXPECT_EQ(CmpMatrix_ValueSize(pMatrix, 1, 2), 6u); // the bytes of "second"
    CmpMatrix_Delete(pMatrix);
}
