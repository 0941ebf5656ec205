#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/memory_store.h"

using testsupport::CLogCapture;
using testsupport::CMemoryStore;

namespace {

constexpr ULONG kSubject = 0x0037001E;
constexpr ULONG kFlag = 0x0E07000B;
constexpr ULONG kCount = 0x0E080003;
constexpr ULONG kBlob = 0x30070102;

// A tag list that lives as long as the object.
class Tags {
public:
    Tags(std::initializer_list<ULONG> tags) : m_words(tags.size() + 1) {
        m_words[0] = static_cast<ULONG>(tags.size());
        std::copy(tags.begin(), tags.end(), m_words.begin() + 1);
    }
    const SPropTagArray *get() const { return reinterpret_cast<const SPropTagArray *>(m_words.data()); }

private:
    std::vector<ULONG> m_words;
};

// An open item of a fresh store; closed at the end.
class OpenItemTest : public ::testing::Test {
protected:
    void Open(const char *pszEntry = "I") { ASSERT_EQ(store.OpenItem(pszEntry, &hItem, false), S_OK); }
    void TearDown() override {
        store.CloseItem(&hItem);
        EXPECT_EQ(store.PropArraysOut(), 0);
        EXPECT_EQ(store.BadHandles(), 0);
    }
    CMemoryStore store;
    HITEM hItem = nullptr;
};

using GetItemPropTest = OpenItemTest;

TEST_F(GetItemPropTest, PresentValueGivesSuccess) {
    store.AddItem("F", "I").Text(kSubject, "Hello");
    Open();
    SPropValue *pProp = nullptr;
    EXPECT_EQ(store.GetItemProp(hItem, kSubject, &pProp, false), S_OK);
    ASSERT_NE(pProp, nullptr);
    EXPECT_STREQ(pProp->Value.lpszA, "Hello");
    store.FreeItemProps(pProp);
}

TEST_F(GetItemPropTest, MissingValueGivesNotFoundAndStillAnArray) {
    store.AddItem("F", "I");
    Open();
    SPropValue *pProp = nullptr;
    EXPECT_EQ(store.GetItemProp(hItem, kSubject, &pProp, false), MAPI_E_NOT_FOUND);
    ASSERT_NE(pProp, nullptr);
    EXPECT_EQ(PROP_TYPE(pProp->ulPropTag), PT_ERROR);
    store.FreeItemProps(pProp);
}

TEST_F(GetItemPropTest, ErrorValueGivesItsOwnCode) {
    store.AddItem("F", "I").PropError(kSubject, STG_E_READFAULT);
    Open();
    SPropValue *pProp = nullptr;
    EXPECT_EQ(store.GetItemProp(hItem, kSubject, &pProp, false), STG_E_READFAULT);
    store.FreeItemProps(pProp);
}

TEST_F(GetItemPropTest, FailedReadIsPassedOnWithNoArray) {
    store.AddItem("F", "I").FailGetProps(MAPI_E_NO_ACCESS);
    Open();
    SPropValue *pProp = nullptr;
    EXPECT_EQ(store.GetItemProp(hItem, kSubject, &pProp, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(pProp, nullptr);
}

TEST(FindPropValue, ExactOrByIdentifier) {
    SPropValue values[3] = {};
    values[0].ulPropTag = kSubject;
    values[1].ulPropTag = CHANGE_PROP_TYPE(kCount, PT_ERROR);
    values[2].ulPropTag = CHANGE_PROP_TYPE(kSubject, PT_UNICODE);
    EXPECT_EQ(FindPropValue(values, 3, kSubject, true), &values[0]);
    EXPECT_EQ(FindPropValue(values, 3, CHANGE_PROP_TYPE(kSubject, PT_UNICODE), true), &values[2]);
    EXPECT_EQ(FindPropValue(values, 3, CHANGE_PROP_TYPE(kSubject, PT_UNICODE), false), &values[0]);
    EXPECT_EQ(FindPropValue(values, 3, kCount, true), nullptr);
    EXPECT_EQ(FindPropValue(values, 3, kCount, false), &values[1]); // the error answer is found
    EXPECT_EQ(FindPropValue(values, 0, kSubject, false), nullptr);
    EXPECT_EQ(FindPropValue(static_cast<SPropValue *>(nullptr), 3, kSubject, false), nullptr);
    const SPropValue *pConst = values;
    EXPECT_EQ(FindPropValue(pConst, 3, kSubject, true), &values[0]);
}

using CountPropsTest = OpenItemTest;

TEST_F(CountPropsTest, NothingPresentGivesZeroAndSuccess) {
    store.AddItem("F", "I");
    Open();
    CLogCapture log;
    Tags tags{kSubject, kCount};
    ULONG nFilled = 99, sizes[2] = {0, 0};
    EXPECT_EQ(store.CountProps(hItem, tags.get(), &nFilled, sizes), S_OK);
    EXPECT_EQ(nFilled, 0u);
    EXPECT_EQ(sizes[0], 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(CountPropsTest, CountsNonEmptyValuesAndTheirSizes) {
    store.AddItem("F", "I").Text(kSubject, "").Long(kCount, 0).Binary(kBlob, "abcde");
    SPropValue flag{};
    flag.ulPropTag = kFlag;
    store.ItemFor("I").Value(flag);
    Open();
    Tags tags{kSubject, kCount, kBlob, kFlag};
    ULONG nFilled = 0, sizes[4] = {111, 0, 0, 0};
    EXPECT_EQ(store.CountProps(hItem, tags.get(), &nFilled, sizes), S_OK);
    EXPECT_EQ(nFilled, 3u);       // the empty subject does not count; a 0 and a false do
    EXPECT_EQ(sizes[0], 111u);    // only non-empty values get a size
    EXPECT_EQ(sizes[1], 4u);
    EXPECT_EQ(sizes[2], 5u);
    EXPECT_EQ(sizes[3], 1u);
    EXPECT_EQ(store.CountProps(hItem, tags.get(), &nFilled, nullptr), S_OK);
    EXPECT_EQ(nFilled, 3u);
}

TEST_F(CountPropsTest, ErrorValuesAreSkippedWithAWarning) {
    store.AddItem("F", "I").Text(kSubject, "x").PropError(kCount, STG_E_READFAULT);
    Open();
    CLogCapture log;
    Tags tags{kSubject, kCount, kBlob};
    ULONG nFilled = 0;
    EXPECT_EQ(store.CountProps(hItem, tags.get(), &nFilled, nullptr), S_OK);
    EXPECT_EQ(nFilled, 1u);
    auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "War[0x8003001e] in ICompare::CountProps: GetProp(0xe08000a)");
}

TEST_F(CountPropsTest, FailedReadIsLoggedAndReturned) {
    store.AddItem("F", "I").FailGetProps(MAPI_E_NO_ACCESS);
    Open();
    CLogCapture log;
    Tags tags{kSubject};
    ULONG nFilled = 5;
    EXPECT_EQ(store.CountProps(hItem, tags.get(), &nFilled, nullptr), MAPI_E_NO_ACCESS);
    EXPECT_EQ(nFilled, 0u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x80070005] in ICompare::CountProps: lpItem->GetProps");
}

} // namespace
