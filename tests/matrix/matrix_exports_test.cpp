// The CmpMatrix_* exports: their answers to a null object or library, the choice of store, and the pass-through
// to the matrix.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "tessel.h"

namespace {

constexpr uint32_t kTagDisplayName = 0x3001001E;

class MatrixExportsTest : public ::testing::Test {
protected:
    void SetUp() override {
        CreateTessel(&m_pLib);
        Forget();
    }
    void TearDown() override { DeleteTessel(m_pLib); }

    // Starts afresh: lines so far, the banner of configuring the log among them, are left out from now on.
    void Forget() {
        m_log.Clear();
        m_nSeen = m_log.Lines().size();
    }
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines = m_log.Lines();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(m_nSeen, lines.size())));
        return lines;
    }
    int CountLogged(const std::string &line) const {
        std::vector<std::string> lines = Lines();
        return static_cast<int>(std::count(lines.begin(), lines.end(), line));
    }
    static std::string Assertion(const std::string &label, int nPlace) {
        return "Err in " + label + ": ASSERT failed in line " + std::to_string(nPlace);
    }

    testsupport::CLogCapture m_log{2};
    size_t m_nSeen = 0;
    CTessel *m_pLib = nullptr;
    PropDesc m_column{u"key", u"name", 0, kTagDisplayName, nullptr, 0, nullptr, 0, TS_INTERFACE_VALUE, 1};
    PropList m_list{1, &m_column};
};

TEST_F(MatrixExportsTest, NullMatrixIsHarmlessEverywhere) {
    int32_t nRows = 7, nCols = 8;
    AttachInfo info{};
    info.nIndex = 99;
    EXPECT_EQ(CmpMatrix_Add(nullptr, "I1", "F1"), 0);
    CmpMatrix_Size(nullptr, &nRows, &nCols);
    EXPECT_EQ(nRows, 7);
    EXPECT_EQ(nCols, 8);
    EXPECT_EQ(CmpMatrix_Value(nullptr, 0, 0), 0);
    EXPECT_EQ(CmpMatrix_ValueSize(nullptr, 0, 0), 0u);
    CmpMatrix_BuildAttachMatrix(nullptr);
    EXPECT_EQ(CmpMatrix_AttachCount(nullptr), 0);
    EXPECT_EQ(CmpMatrix_AttachInfo(nullptr, 0, &info), 0);
    EXPECT_EQ(info.nIndex, 99u);
    EXPECT_EQ(CmpMatrix_AttachValue(nullptr, 0, 0), 0u);
    // Each line names its export by number.
    std::vector<std::string> expected;
    for (int nPlace = 602; nPlace <= 609; ++nPlace) expected.push_back(Assertion("pMatrix != NULL", nPlace));
    EXPECT_EQ(Lines(), expected);
}

TEST_F(MatrixExportsTest, DeleteOfNullLogsItsEntryLineAndAnAssertion) {
    CmpMatrix_Delete(nullptr);
    std::vector<std::string> expected{"Inf in CmpMatrix_Delete: ->", Assertion("pMatrix != NULL", 610)};
    EXPECT_EQ(Lines(), expected);
}

TEST_F(MatrixExportsTest, CreateWithoutLibraryGivesNull) {
    EXPECT_EQ(CmpMatrix_Create(nullptr, API_WAB, &m_list), nullptr);
    std::vector<std::string> expected{"Inf in CmpMatrix_Create: ->", Assertion("pLib != NULL", 601)};
    EXPECT_EQ(Lines(), expected);
}

TEST_F(MatrixExportsTest, CreateWithUnknownStoreGivesNull) {
    EXPECT_EQ(CmpMatrix_Create(m_pLib, 2, &m_list), nullptr);
    std::vector<std::string> expected{"Inf in CmpMatrix_Create: ->", Assertion("CmpMatrix_Create", 3)};
    EXPECT_EQ(Lines(), expected);
}

TEST_F(MatrixExportsTest, CreateWithEmptyOrMissingListGivesNull) {
    PropList empty{0, nullptr};
    EXPECT_EQ(CmpMatrix_Create(m_pLib, API_WAB, &empty), nullptr);
    EXPECT_EQ(CmpMatrix_Create(m_pLib, API_WAB, nullptr), nullptr);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Create: Invalid Param(s)"), 2);
}

// The address book has no attachment table, and a store that is not initialized still gets its matrix: its
// reads then fail in the store, in order.
TEST_F(MatrixExportsTest, AddressBookMatrixPassesCallsThrough) {
    CCmpMatrix *pMatrix = CmpMatrix_Create(m_pLib, API_WAB, &m_list);
    ASSERT_NE(pMatrix, nullptr);
    EXPECT_EQ(CountLogged(Assertion("CmpMatrix_Create", 2)), 1);

    int32_t nRows = -1, nCols = -1;
    CmpMatrix_Size(pMatrix, &nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    EXPECT_EQ(nCols, 1);

    Forget();
    EXPECT_EQ(CmpMatrix_Add(pMatrix, "0011", ""), 0);
    EXPECT_EQ(CountLogged("War in CCmpMatrix::Add: bad item - ignoring"), 1);

    Forget();
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 0, 0), 0);
    EXPECT_EQ(CmpMatrix_ValueSize(pMatrix, 0, 0), 0u);
    CmpMatrix_BuildAttachMatrix(pMatrix);
    EXPECT_EQ(CmpMatrix_AttachCount(pMatrix), 0);
    AttachInfo info{};
    EXPECT_EQ(CmpMatrix_AttachInfo(pMatrix, 0, &info), 0);
    EXPECT_EQ(CmpMatrix_AttachValue(pMatrix, 0, 0), 0u);
    std::vector<std::string> expected{
        "Err in CCmpMatrix::GetMatrixValue: out of bounds",
        "Err in CCmpMatrix::GetMatrixValueLen: out of bounds",
        "Err in CCmpMatrix::GetAttachInfo: out of bounds",
        "Err in CCmpMatrix::GetAttachMatrixValue: ASSERT(m_pAttachMatrix != NULL)",
    };
    EXPECT_EQ(Lines(), expected);

    Forget();
    CmpMatrix_Delete(pMatrix);
    EXPECT_EQ(Lines(), std::vector<std::string>{"Inf in CmpMatrix_Delete: ->"});
}

} // namespace
