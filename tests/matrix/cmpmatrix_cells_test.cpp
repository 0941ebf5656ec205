// Rows and cells: which earlier row holds an equal value, sizes, refused items, stream columns, bounds.
#include "matrix_fixture.h"

namespace matrixtest {
namespace {

using ::testing::ElementsAre;

TEST_F(MatrixTest, FirstRowHasOneForEveryValueAndZeroForEveryGap) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom), Column(kTagSize), Column(kTagBody, 1)});
    m_store.AddItem("F", "I1").Text(kTagSubject, "Hello").Text(kTagFrom, "").Long(kTagSize, 0);
    ASSERT_TRUE(matrix.Add("I1", "F"));
    EXPECT_EQ(matrix.GetMatrixValue(0, 0), 1);
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 0), 5u);
    EXPECT_EQ(matrix.GetMatrixValue(0, 1), 0); // an empty text
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 1), 0u);
    EXPECT_EQ(matrix.GetMatrixValue(0, 2), 1); // a number 0 is a value
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 2), 4u);
    EXPECT_EQ(matrix.GetMatrixValue(0, 3), 0); // no body at all
    ExpectNothingHeld();
}

TEST_F(MatrixTest, EqualValuesShareTheNumberOfTheirFirstRow) {
    CCmpMatrix &matrix = Make({Column(kTagSubject)});
    const char *values[] = {"A", "B", "A", nullptr, "B"};
    for (int i = 0; i < 5; ++i) {
        std::string szEntry = "I" + std::to_string(i);
        auto item = m_store.AddItem("F", szEntry);
        if (values[i] != nullptr) item.Text(kTagSubject, values[i]);
        ASSERT_TRUE(matrix.Add(szEntry.c_str(), "F"));
    }
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 2, 1, 0, 2));
    EXPECT_EQ(matrix.GetMatrixValueLen(3, 0), 0u);
    EXPECT_EQ(matrix.GetMatrixValueLen(4, 0), 1u);
    ExpectNothingHeld();
}

TEST_F(MatrixTest, EqualityIsTheStoresComparisonNotTheBytes) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom)});
    m_store.AddItem("F", "I1").Text(kTagSubject, "Meeting").Text(kTagFrom, "ann");
    m_store.AddItem("F", "I2").Text(kTagSubject, "MEETING").Text(kTagFrom, "ann ");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    ASSERT_TRUE(matrix.Add("I2", "F"));
    EXPECT_EQ(matrix.GetMatrixValue(1, 0), 1); // case does not count
    EXPECT_EQ(matrix.GetMatrixValue(1, 1), 2); // a blank does
    EXPECT_EQ(matrix.GetMatrixValueLen(1, 1), 4u);
}

TEST_F(MatrixTest, ErrorValuesReadAsEmptyOrAsNotEqual) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom)});
    m_store.AddItem("F", "I1").PropError(kTagSubject, MAPI_E_NOT_FOUND).Text(kTagFrom, "ann");
    m_store.AddItem("F", "I2").PropError(kTagSubject, MAPI_E_CALL_FAILED).PropError(kTagFrom, MAPI_E_CALL_FAILED);
    m_store.AddItem("F", "I3").PropError(kTagSubject, MAPI_E_CALL_FAILED).Text(kTagFrom, "ann");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    ASSERT_TRUE(matrix.Add("I2", "F"));
    ASSERT_TRUE(matrix.Add("I3", "F"));
    // A missing value is an empty cell and is never compared.
    EXPECT_EQ(matrix.GetMatrixValue(0, 0), 0);
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 0), 0u);
    // Any other error is a value of size 1 that equals nothing, not even the same error.
    EXPECT_EQ(matrix.GetMatrixValue(1, 0), 2);
    EXPECT_EQ(matrix.GetMatrixValueLen(1, 0), 1u);
    EXPECT_EQ(matrix.GetMatrixValue(2, 0), 3);
    EXPECT_EQ(matrix.GetMatrixValue(1, 1), 2);
    EXPECT_EQ(matrix.GetMatrixValue(2, 1), 1);
}

TEST_F(MatrixTest, StreamOnlyMatrixNeverReadsPlainValues) {
    CCmpMatrix &matrix = Make({Column(kTagBody, 1), Column(kTagHtml, 1)});
    // Were the plain values read, these items would be refused.
    m_store.AddItem("F", "I1").Stream(kTagBody, "Hello there").Stream(kTagHtml, "<p>").FailGetProps(E_FAIL);
    m_store.AddItem("F", "I2").Stream(kTagBody, "HELLO THERE").FailGetProps(E_FAIL);
    m_store.AddItem("F", "I3").Stream(kTagBody, "Other").Stream(kTagHtml, "<p>").FailGetProps(E_FAIL);
    ASSERT_TRUE(matrix.Add("I1", "F"));
    ASSERT_TRUE(matrix.Add("I2", "F"));
    ASSERT_TRUE(matrix.Add("I3", "F"));
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 1, 3));
    EXPECT_THAT(ColumnValues(1), ElementsAre(1, 0, 1));
    EXPECT_EQ(matrix.GetMatrixValueLen(1, 0), 11u);
    EXPECT_EQ(matrix.GetMatrixValueLen(2, 1), 3u);
    ExpectNothingHeld();
}

TEST_F(MatrixTest, RefusedItemsLeaveNoRowAndNoGap) {
    CCmpMatrix &matrix = Make({Column(kTagSubject)});
    m_store.AddItem("F", "I1").Text(kTagSubject, "A");
    m_store.AddItem("F", "I2").Text(kTagSubject, "A").FailOpen(E_ACCESSDENIED);
    m_store.AddItem("F", "I3").Text(kTagSubject, "A").FailGetProps(E_FAIL);
    m_store.AddItem("F", "I4").Text(kTagSubject, "A");
    EXPECT_TRUE(matrix.Add("I1", "F"));
    EXPECT_FALSE(matrix.Add("I2", "F"));
    EXPECT_FALSE(matrix.Add("I3", "F"));
    EXPECT_FALSE(matrix.Add("missing", "F"));
    EXPECT_TRUE(matrix.Add("I4", "F"));
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 1));

    EXPECT_TRUE(Logged("Err[0x80070005] in CCmpMatrix::Add: cant open item"));
    EXPECT_TRUE(Logged("Err[0x80004005] in CCmpMatrix::Add: Tessel_GetPropValues (ItemID = I3)"));
    EXPECT_TRUE(Logged("Err[0x8004010f] in CCmpMatrix::Add: cant open item"));
    EXPECT_EQ(CountLogged("War in CCmpMatrix::Add: bad item - ignoring"), 3);
    ExpectNothingHeld();
    EXPECT_EQ(m_store.PropArraysOut(), 2); // the two rows keep their values
    m_pMatrix.reset();
    EXPECT_EQ(m_store.PropArraysOut(), 0);
}

TEST_F(MatrixTest, SameItemTwiceTakesTheFirstRowsNumbers) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom), Column(kTagBody, 1)});
    m_store.AddItem("F", "I1").Text(kTagSubject, "A").Stream(kTagBody, "text");
    m_store.AddItem("F", "I2").Text(kTagSubject, "B").Text(kTagFrom, "x").Stream(kTagBody, "other");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    ASSERT_TRUE(matrix.Add("I2", "F"));
    ASSERT_TRUE(matrix.Add("I2", "F"));
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 2, 2));
    EXPECT_THAT(ColumnValues(1), ElementsAre(0, 2, 2));
    EXPECT_THAT(ColumnValues(2), ElementsAre(1, 2, 2));
    ExpectNothingHeld();
}

TEST_F(MatrixTest, EarlierRowThatCannotBeReopenedCountsAsDifferent) {
    CCmpMatrix &matrix = Make({Column(kTagBody, 1)});
    m_store.AddItem("F", "I1").Stream(kTagBody, "same");
    m_store.AddItem("F", "I2").Stream(kTagBody, "same");
    m_store.AddItem("F", "I3").Stream(kTagBody, "same");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    m_store.ItemFor("I1").FailOpen(MAPI_E_NOT_FOUND);
    ASSERT_TRUE(matrix.Add("I2", "F"));
    ASSERT_TRUE(matrix.Add("I3", "F"));
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 2, 2));
    EXPECT_EQ(CountLogged("Err[0x8004010f] in CCmpMatrix::FindStreamEqual: cant open message"), 2);
    ExpectNothingHeld();
}

TEST_F(MatrixTest, StreamComparisonWithoutResultCountsAsDifferent) {
    CCmpMatrix &matrix = Make({Column(kTagBody, 1)});
    m_store.AddItem("F", "I1").Stream(kTagBody, "same");
    m_store.AddItem("F", "I2").Stream(kTagBody, "same");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    // The earlier body is gone by now: nothing to compare with.
    m_store.ItemFor("I1").Stream(kTagBody, "");
    ASSERT_TRUE(matrix.Add("I2", "F"));
    EXPECT_THAT(ColumnValues(0), ElementsAre(1, 2));
    EXPECT_TRUE(Logged("War in CCmpMatrix::FindStreamEqual: bCmpWritten = false"));
    ExpectNothingHeld();
}

TEST_F(MatrixTest, UnresolvedNamedColumnRefusesItemsUntilItResolves) {
    struct CCountingStore : testsupport::CMemoryStore {
        HRESULT GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                              BOOL bCreate) override {
            ++nCalls;
            return CMemoryStore::GetIDFromName(hItem, pTag, pszGUID, nID, sID, bCreate);
        }
        int nCalls = 0;
    } store;
    const char *pszGUID = "{00062004-0000-0000-C000-000000000046}";
    store.AddNamedProp(pszGUID, 0x8083, u"", 0x8003001E);
    store.AddItem("F", "I1").Text(kTagSubject, "A").Text(0x8003001E, "x").FailGetProps(E_FAIL);
    store.AddItem("F", "I2").Text(kTagSubject, "A").Text(0x8003001E, "x");

    std::vector<PropDesc> columns{Column(kTagSubject), NamedColumn(pszGUID, 0x8083, u"email"),
                                  NamedColumn(pszGUID, 0x9999, u"nowhere")};
    columns[2].nInterface = TS_INTERFACE_STREAM;
    PropList list{3, columns.data()};
    CCmpMatrix matrix;
    ASSERT_TRUE(matrix.Create(&store, &list, nullptr));

    // The first item is refused after the columns were prepared; the second prepares them again, asking only for
    // the tag that is still unknown.
    EXPECT_FALSE(matrix.Add("I1", "F"));
    EXPECT_EQ(store.nCalls, 2);
    EXPECT_TRUE(matrix.Add("I2", "F"));
    EXPECT_EQ(store.nCalls, 3);
    EXPECT_EQ(CountLogged("Err[0x8004010f] in CCmpMatrix::Add: GetIDFromName failed for Prop: Key=\"nowhere\", "
                          "GUID=\"{00062004-0000-0000-C000-000000000046}\", nID=39321, sID=\"(null)\",nType=0x1e"),
              2);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Add: remove comparation by prop(key=nowhere,name=name) from dublicate "
                          "search"),
              2);
    // The unresolved stream column stays in the matrix, empty.
    EXPECT_EQ(matrix.GetMatrixValue(0, 1), 1);
    EXPECT_EQ(matrix.GetMatrixValue(0, 2), 0);
    EXPECT_EQ(store.ItemsOpen(), 0);
}

TEST_F(MatrixTest, UnresolvedPlainColumnRefusesEveryItem) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), NamedColumn("{00062004-0000-0000-C000-000000000046}", 1, u"k")});
    m_store.AddItem("F", "I1").Text(kTagSubject, "A");
    EXPECT_FALSE(matrix.Add("I1", "F"));
    EXPECT_FALSE(matrix.Add("I1", "F"));
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::Add: value for prop(k) not found"), 2);
    ExpectNothingHeld();
    EXPECT_EQ(m_store.PropArraysOut(), 0);
}

TEST_F(MatrixTest, ReadsOutsideTheTableLogAndReadAsEmpty) {
    CCmpMatrix &matrix = Make({Column(kTagSubject), Column(kTagFrom)});
    m_store.AddItem("F", "I1").Text(kTagSubject, "A").Text(kTagFrom, "B");
    ASSERT_TRUE(matrix.Add("I1", "F"));
    m_log.Clear();
    EXPECT_EQ(matrix.GetMatrixValue(1, 0), 0);
    EXPECT_EQ(matrix.GetMatrixValue(0, 2), 0);
    EXPECT_EQ(matrix.GetMatrixValue(-1, 0), 0);
    EXPECT_EQ(matrix.GetMatrixValue(0, -1), 0);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::GetMatrixValue: out of bounds"), 4);
    EXPECT_EQ(matrix.GetMatrixValueLen(1, 0), 0u);
    EXPECT_EQ(matrix.GetMatrixValueLen(0, 2), 0u);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::GetMatrixValueLen: out of bounds"), 2);
    // The last cell itself is inside.
    EXPECT_EQ(matrix.GetMatrixValue(0, 1), 1);
    EXPECT_EQ(CountLogged("Err in CCmpMatrix::GetMatrixValue: out of bounds"), 4);
}

} // namespace
} // namespace matrixtest
