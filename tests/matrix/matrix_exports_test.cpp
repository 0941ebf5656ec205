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
    void SetUp() override { CreateTessel(&m_pLib); }
    void TearDown() override { DeleteTessel(m_pLib); }

    int CountLogged(const std::string &line) const {
        std::vector<std::string> lines = m_log.Lines();
        return static_cast<int>(std::count(lines.begin(), lines.end(), line));
    }
    // Assertion lines under a label, whatever place number they carry.
    int CountAssertions(const std::string &label) const {
        std::string prefix = "Err in " + label + ": ASSERT failed in line ";
        std::vector<std::string> lines = m_log.Lines();
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const std::string &line) {
            return line.compare(0, prefix.size(), prefix) == 0;
        }));
    }

    testsupport::CLogCapture m_log{2};
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
    EXPECT_EQ(CountAssertions("pMatrix != NULL"), 8);
    EXPECT_EQ(m_log.Lines().size(), 8u);
}

TEST_F(MatrixExportsTest, DeleteOfNullLogsItsEntryLineAndAnAssertion) {
    CmpMatrix_Delete(nullptr);
    std::vector<std::string> lines = m_log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Inf in CmpMatrix_Delete: ->");
    EXPECT_EQ(CountAssertions("pMatrix != NULL"), 1);
}

TEST_F(MatrixExportsTest, CreateWithoutLibraryGivesNull) {
    EXPECT_EQ(CmpMatrix_Create(nullptr, API_WAB, &m_list), nullptr);
    EXPECT_EQ(CountLogged("Inf in CmpMatrix_Create: ->"), 1);
    EXPECT_EQ(CountAssertions("pLib != NULL"), 1);
}

TEST_F(MatrixExportsTest, CreateWithUnknownStoreGivesNull) {
    EXPECT_EQ(CmpMatrix_Create(m_pLib, 2, &m_list), nullptr);
    std::vector<std::string> lines = m_log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Inf in CmpMatrix_Create: ->");
    EXPECT_EQ(lines[1], "Err in CmpMatrix_Create: ASSERT failed in line 3");
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
    EXPECT_EQ(CountLogged("Err in CmpMatrix_Create: ASSERT failed in line 2"), 1);

    int32_t nRows = -1, nCols = -1;
    CmpMatrix_Size(pMatrix, &nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    EXPECT_EQ(nCols, 1);

    m_log.Clear();
    EXPECT_EQ(CmpMatrix_Add(pMatrix, "0011", ""), 0);
    EXPECT_EQ(CountLogged("War in CCmpMatrix::Add: bad item - ignoring"), 1);

    m_log.Clear();
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
    EXPECT_EQ(m_log.Lines(), expected);

    m_log.Clear();
    CmpMatrix_Delete(pMatrix);
    EXPECT_EQ(m_log.Lines(), std::vector<std::string>{"Inf in CmpMatrix_Delete: ->"});
}

} // namespace
