// Creating a matrix: which descriptors become columns, which attachment tags are accepted, what is copied.
#include "matrix_fixture.h"

namespace matrixtest {
namespace {

using testsupport::kTagAttachDisplayName;
using testsupport::kTagAttachName;
using testsupport::kTagAttachSize;

TEST_F(MatrixTest, CreateRefusesMissingAdaptorOrEmptyList) {
    PropDesc column = Column(kTagSubject);
    PropList list{1, &column};
    PropList empty{0, &column};
    PropList countWithoutArray{1, nullptr};
    CCmpMatrix matrix;
    EXPECT_FALSE(matrix.Create(nullptr, &list, nullptr));
    EXPECT_FALSE(matrix.Create(&m_store, nullptr, nullptr));
    EXPECT_FALSE(matrix.Create(&m_store, &empty, nullptr));
    EXPECT_FALSE(matrix.Create(&m_store, &countWithoutArray, nullptr));
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Create: Invalid Param(s)"), 4);
    LONG nRows = -1, nCols = -1;
    matrix.Size(&nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    EXPECT_EQ(nCols, 0);
}

TEST_F(MatrixTest, UnsupportedInterfacesAreLeftOutAndTheOthersCloseUp) {
    CCmpMatrix &matrix = Make({Column(kTagSubject, 0), Column(kTagFrom, 5), Column(kTagBody, 1)});
    EXPECT_TRUE(Logged("Err in CCmpMatrix::Create: Ignoring prop with not supported interface(5)"));
    LONG nRows = -1, nCols = -1;
    matrix.Size(&nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    EXPECT_EQ(nCols, 2);

    // The stream descriptor is now column 1.
    m_store.AddItem("F", "I1").Text(kTagSubject, "Hello").Text(kTagFrom, "ann").Stream(kTagBody, "body text");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 0), 5u);
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 1), 9u);
}

TEST_F(MatrixTest, NoSupportedColumnStillCreatesButRefusesEveryItem) {
    CCmpMatrix &matrix = Make({Column(kTagSubject, 2), Column(kTagFrom, 2)});
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Create: Ignoring prop with not supported interface(2)"), 2);
    LONG nRows = -1, nCols = -1;
    matrix.Size(&nRows, &nCols);
    EXPECT_EQ(nCols, 0);

    m_store.AddItem("F", "I1").Text(kTagSubject, "Hello");
    EXPECT_FALSE(matrix.Add("I1", "F"));
    EXPECT_FALSE(matrix.Add("I1", "F"));
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Add: Number of props = 0"), 2);
    EXPECT_EQ(CountLogged("War in CCmpMatrix::Add: bad item - ignoring"), 2);
    matrix.Size(&nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    ExpectNothingHeld();
}

TEST_F(MatrixTest, AttachTagsMustNameTheDisplayName) {
    PropDesc column = Column(kTagSubject);
    PropList list{1, &column};

    CTagList withoutDisplayName{kTagAttachName, kTagAttachSize};
    CCmpMatrix refused;
    EXPECT_FALSE(refused.Create(&m_store, &list, withoutDisplayName.Get()));
    EXPECT_TRUE(Logged("Err in CCmpMatrix::Create: DisplayName must be in lpAttachTags"));

    // Any position will do.
    CTagList displayNameLast{kTagAttachSize, kTagAttachName, kTagAttachDisplayName};
    CCmpMatrix accepted;
    EXPECT_TRUE(accepted.Create(&m_store, &list, displayNameLast.Get()));
}

TEST_F(MatrixTest, EmptyAttachTagListMeansNoAttachmentTable) {
    CTagList none{kTagAttachDisplayName};
    none.Get()->cValues = 0;
    CCmpMatrix &matrix = Make({Column(kTagSubject)}, none.Get());
    m_store.AddItem("F", "I1").Text(kTagSubject, "Hello").Attach(1, "a.txt", 10);
    ASSERT_TRUE(matrix.Add("I1", "F"));
    matrix.BuildAttachMatrix();
    EXPECT_EQ(matrix.AttachCount(), 0);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(MatrixTest, DescriptorsAreCopiedSoTheCallersListMayGo) {
    auto key = std::make_unique<std::u16string>(u"subject");
    auto guid = std::make_unique<std::string>("{00020329-0000-0000-C000-000000000046}");
    std::vector<PropDesc> columns{NamedColumn(guid->c_str(), 0x8001, key->c_str())};
    columns[0].Name = nullptr; // stays null in the copy
    CTagList attachTags = AttachTags();
    PropList list{1, columns.data()};
    CCmpMatrix matrix;
    ASSERT_TRUE(matrix.Create(&m_store, &list, attachTags.Get()));
    key.reset();
    guid.reset();
    columns.assign(1, PropDesc{});
    attachTags.Get()->cValues = 0;

    m_store.AddNamedProp("{00020329-0000-0000-c000-000000000046}", 0x8001, u"", 0x8005001E);
    m_store.AddItem("F", "I1").Text(0x8005001E, "named value").Attach(1, "a.txt", 10);
    ASSERT_TRUE(matrix.Add("I1", "F"));
    EXPECT_EQ(matrix.GetMatrixValue(0, 0), 1);
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 0), 11u);
    matrix.BuildAttachMatrix();
    EXPECT_EQ(matrix.AttachCount(), 1);
}

TEST_F(MatrixTest, SizeBeforeAnyRowGivesTheColumns) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom), Column(kTagBody, 1)});
    LONG nRows = -1, nCols = -1;
    matrix.Size(&nRows, &nCols);
    EXPECT_EQ(nRows, 0);
    EXPECT_EQ(nCols, 3);
}

} // namespace
} // namespace matrixtest
