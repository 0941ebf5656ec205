// The attachment table: groups of equal attachments, their order by display name, the cells and the information
// handed out for each table row.
#include "matrix_fixture.h"

namespace matrixtest {
namespace {

using testsupport::kTagAttachDisplayName;
using testsupport::kTagAttachName;
using testsupport::kTagAttachSize;

class AttachMatrixTest : public MatrixTest {
protected:
    CCmpMatrix &MakeWithAttachments() {
        CTagList tags = AttachTags();
        return Make({Column(kTagSubject)}, tags.Get());
    }

    // The table as rows of cells, one row per attachment group.
    std::vector<std::vector<ULONG>> Table() const {
        LONG nRows = 0, nCols = 0;
        m_pMatrix->Size(&nRows, &nCols);
        std::vector<std::vector<ULONG>> table;
        for (LONG a = 0; a < m_pMatrix->AttachCount(); ++a) {
            std::vector<ULONG> row;
            for (LONG r = 0; r < nRows; ++r) row.push_back(m_pMatrix->GetAttachMatrixValue(r, static_cast<ULONG>(a)));
            table.push_back(row);
        }
        return table;
    }

    std::string DisplayNameOf(ULONG nAttach) const {
        AttachInfo info{};
        EXPECT_TRUE(m_pMatrix->GetAttachInfo(nAttach, &info));
        return info.szDisplayName != nullptr ? info.szDisplayName : "(none)";
    }
};

using Cells = std::vector<std::vector<ULONG>>;

TEST_F(AttachMatrixTest, EqualAttachmentsShareOneTableRowSortedByDisplayName) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F1", "I0").Text(kTagSubject, "s").Attach(11, "a.txt (1 KB)", 1000);
    m_store.AddItem("F2", "I1").Text(kTagSubject, "s").Attach(21, "A.TXT", 1000);
    m_store.AddItem("F3", "I2").Text(kTagSubject, "s").Attach(31, "b.txt", 50).Attach(32, "a.txt", 1000);
    ASSERT_TRUE(matrix.Add("I0", "F1"));
    ASSERT_TRUE(matrix.Add("I1", "F2"));
    ASSERT_TRUE(matrix.Add("I2", "F3"));
    EXPECT_EQ(matrix.AttachCount(), 0); // nothing until the build
    matrix.BuildAttachMatrix();

    ASSERT_EQ(matrix.AttachCount(), 2);
    EXPECT_EQ(Table(), (Cells{{1, 1, 1}, {0, 0, 3}}));

    AttachInfo info{};
    ASSERT_TRUE(matrix.GetAttachInfo(0, &info));
    EXPECT_STREQ(info.szItemID, "I0");
    EXPECT_STREQ(info.szFolderID, "F1");
    EXPECT_EQ(info.nAttachID, 11u);
    EXPECT_EQ(info.nIndex, 0u);
    EXPECT_STREQ(info.szDisplayName, "a.txt (1 KB)");
    ASSERT_TRUE(matrix.GetAttachInfo(1, &info));
    EXPECT_STREQ(info.szItemID, "I2");
    EXPECT_STREQ(info.szFolderID, "F3");
    EXPECT_EQ(info.nAttachID, 31u);
    EXPECT_EQ(info.nIndex, 0u);
    EXPECT_STREQ(info.szDisplayName, "b.txt");
    ExpectNothingHeld();
}

TEST_F(AttachMatrixTest, SameNameOtherSizeMakesTwoNeighbouringRows) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "report.pdf", 500).Attach(2, "z.txt", 5);
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "report.pdf", 700).Attach(2, "a.txt", 5);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    ASSERT_TRUE(matrix.Add("I1", "F"));
    matrix.BuildAttachMatrix();
    ASSERT_EQ(matrix.AttachCount(), 4);
    EXPECT_EQ(DisplayNameOf(0), "a.txt");
    EXPECT_EQ(DisplayNameOf(1), "report.pdf");
    EXPECT_EQ(DisplayNameOf(2), "report.pdf");
    EXPECT_EQ(DisplayNameOf(3), "z.txt");
    EXPECT_EQ(Table(), (Cells{{0, 2}, {1, 0}, {0, 2}, {1, 0}}));
}

TEST_F(AttachMatrixTest, AnItemHoldingAnAttachmentTwiceMakesOneRow) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s");
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "x.doc", 9).Attach(2, "X.DOC", 9);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    ASSERT_TRUE(matrix.Add("I1", "F"));
    matrix.BuildAttachMatrix();
    ASSERT_EQ(matrix.AttachCount(), 1);
    EXPECT_EQ(Table(), (Cells{{0, 2}}));
    AttachInfo info{};
    ASSERT_TRUE(matrix.GetAttachInfo(0, &info));
    EXPECT_EQ(info.nAttachID, 1u);
}

TEST_F(AttachMatrixTest, NamelessAttachmentsSortFirst) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0")
        .Text(kTagSubject, "s")
        .Attach(1, "a.txt", 10)
        .Attach(2, "unnamed", 20)
        .AttachPropError(2, kTagAttachDisplayName, MAPI_E_NOT_FOUND);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    matrix.BuildAttachMatrix();
    ASSERT_EQ(matrix.AttachCount(), 2);
    EXPECT_EQ(DisplayNameOf(0), "(none)");
    EXPECT_EQ(DisplayNameOf(1), "a.txt");
    AttachInfo info{};
    ASSERT_TRUE(matrix.GetAttachInfo(0, &info));
    EXPECT_EQ(info.nAttachID, 2u);
    EXPECT_EQ(info.nIndex, 1u);
}

TEST_F(AttachMatrixTest, AttachmentsThatCannotBeToldApartAreLeftOut) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0")
        .Text(kTagSubject, "s")
        .Attach(1, "bad size.txt", 10)
        .AttachPropError(1, kTagAttachSize, MAPI_E_CALL_FAILED)
        .Attach(2, "unreadable.txt", 10)
        .FailGetAttachProps(2, E_FAIL)
        .Attach(3, "good.txt", 10);
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "listed.txt", 1).FailGetAttachments(E_FAIL);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    ASSERT_TRUE(matrix.Add("I1", "F")); // the row stands without its attachments
    m_log.Clear();
    matrix.BuildAttachMatrix();
    ASSERT_EQ(matrix.AttachCount(), 1);
    AttachInfo info{};
    ASSERT_TRUE(matrix.GetAttachInfo(0, &info));
    EXPECT_STREQ(info.szDisplayName, "good.txt");
    EXPECT_EQ(info.nIndex, 2u); // the two left out still count
    EXPECT_EQ(Table(), (Cells{{1, 0}}));
    EXPECT_TRUE(m_log.Lines().empty());
    ExpectNothingHeld();
    EXPECT_EQ(m_store.PropArraysOut(), 3); // two rows and one attachment
    m_pMatrix.reset();
    EXPECT_EQ(m_store.PropArraysOut(), 0);
}

TEST_F(AttachMatrixTest, AttachmentsWithoutACommonNameCompareAsDifferent) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "x.txt", 10).AttachPropError(1, kTagAttachName,
                                                                                              MAPI_E_NOT_FOUND);
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "x.txt", 10).AttachPropError(
        1, kTagAttachDisplayName, MAPI_E_NOT_FOUND);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    ASSERT_TRUE(matrix.Add("I1", "F"));
    EXPECT_TRUE(Logged("War[0xffffffff] in CCmpMatrix::fnCmpAttach: Cant compare attachment props"));
    matrix.BuildAttachMatrix();
    ASSERT_EQ(matrix.AttachCount(), 2);
    // The second has no display name, so it sorts first.
    EXPECT_EQ(Table(), (Cells{{0, 2}, {1, 0}}));
}

TEST_F(AttachMatrixTest, RepeatedBuildsGiveTheSameTable) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "b", 1).Attach(2, "a", 1);
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "a", 1);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    ASSERT_TRUE(matrix.Add("I1", "F"));
    matrix.BuildAttachMatrix();
    Cells first = Table();
    matrix.BuildAttachMatrix();
    EXPECT_EQ(Table(), first);
    EXPECT_EQ(first, (Cells{{1, 1}, {1, 0}}));
    EXPECT_EQ(matrix.AttachCount(), 2);
}

TEST_F(AttachMatrixTest, RowsAddedAfterTheBuildWaitForTheNextBuild) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "a", 1);
    m_store.AddItem("F", "I1").Text(kTagSubject, "s").Attach(1, "a", 1);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    matrix.BuildAttachMatrix();
    ASSERT_TRUE(matrix.Add("I1", "F"));
    m_log.Clear();
    EXPECT_EQ(matrix.GetAttachMatrixValue(0, 0), 1u);
    EXPECT_EQ(matrix.GetAttachMatrixValue(1, 0), 0u);
    EXPECT_TRUE(Logged("Err in CCmpMatrix::GetAttachMatrixValue: out of bounds"));
    matrix.BuildAttachMatrix();
    EXPECT_EQ(Table(), (Cells{{1, 1}}));
}

TEST_F(AttachMatrixTest, NoAttachmentsAtAllGiveNoTable) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s");
    ASSERT_TRUE(matrix.Add("I0", "F"));
    matrix.BuildAttachMatrix();
    EXPECT_EQ(matrix.AttachCount(), 0);
    EXPECT_EQ(matrix.GetAttachMatrixValue(0, 0), 0u);
    EXPECT_TRUE(Logged("Err in CCmpMatrix::GetAttachMatrixValue: ASSERT(m_pAttachMatrix != NULL)"));
}

TEST_F(AttachMatrixTest, MatrixWithoutAttachTagsReadsNoAttachments) {
    CCmpMatrix &matrix = Make({Column(kTagSubject)});
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "a", 1).FailGetAttachments(E_FAIL);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    matrix.BuildAttachMatrix();
    EXPECT_EQ(matrix.AttachCount(), 0);
    m_log.Clear();
    EXPECT_EQ(matrix.GetAttachMatrixValue(0, 0), 0u);
    EXPECT_TRUE(Logged("Err in CCmpMatrix::GetAttachMatrixValue: ASSERT(m_pAttachMatrix != NULL)"));
    AttachInfo info{};
    info.nIndex = 77;
    EXPECT_FALSE(matrix.GetAttachInfo(0, &info));
    EXPECT_EQ(info.nIndex, 77u);
    EXPECT_TRUE(Logged("Err in CCmpMatrix::GetAttachInfo: out of bounds"));
}

TEST_F(AttachMatrixTest, ReadsOutsideTheTableLogAndGiveZero) {
    CCmpMatrix &matrix = MakeWithAttachments();
    m_store.AddItem("F", "I0").Text(kTagSubject, "s").Attach(1, "a", 1);
    ASSERT_TRUE(matrix.Add("I0", "F"));
    matrix.BuildAttachMatrix();
    m_log.Clear();
    EXPECT_EQ(matrix.GetAttachMatrixValue(0, 1), 0u);
    EXPECT_EQ(matrix.GetAttachMatrixValue(-1, 0), 0u);
    EXPECT_EQ(matrix.GetAttachMatrixValue(1, 0), 0u);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::GetAttachMatrixValue: out of bounds"), 3);
    AttachInfo info{};
    EXPECT_FALSE(matrix.GetAttachInfo(1, &info));
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::GetAttachInfo: out of bounds"), 1);
}

} // namespace
} // namespace matrixtest
