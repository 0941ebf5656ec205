// The checks every TS_ export makes before it reaches a store: null handles, an API number outside 0 and 1, a store
// that is not initialized, a property type that does not suit the export. Results and log lines, no store needed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/log_capture.h"
#include "tessel.h"

namespace {

using testsupport::CLogCapture;

class EntryChecks : public ::testing::Test {
protected:
    void SetUp() override {
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
        m_log.Clear();
    }
    void TearDown() override { DeleteTessel(m_pLib); }

    // What was logged since the last call, and forget it.
    std::vector<std::string> Take() {
        std::vector<std::string> lines = m_log.Lines();
        m_log.Clear();
        return lines;
    }
    using Lines = std::vector<std::string>;

    CLogCapture m_log{1};
    CTessel *m_pLib = nullptr;
    // Any non-null value: none of these checks looks at it.
    TS_HITEM m_hBogus = reinterpret_cast<TS_HITEM>(static_cast<uintptr_t>(0x1000));
};

PropDesc Desc(uint32_t nTag, uint32_t nType = 0) {
    PropDesc desc{};
    desc.Tag = nTag;
    desc.nType = nType;
    return desc;
}

TEST_F(EntryChecks, NullLibraryAssertsInTheRoutedExports) {
    char *psz = reinterpret_cast<char *>(1);
    uint32_t nSize = 7;
    TS_HBODY hBody = 0;
    TS_FreeBuffer(nullptr, API_OE, nullptr);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 401"});
    EXPECT_EQ(TS_DisplayItem(nullptr, API_OE, "00", nullptr), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 403"});
    EXPECT_EQ(TS_DeleteItem(nullptr, API_WAB, "00", 1, &psz), -1);
    EXPECT_EQ(psz, reinterpret_cast<char *>(1)); // untouched
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 404"});
    EXPECT_EQ(TS_MoveItem(nullptr, API_OE, "00", "00", nullptr), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 405"});
    EXPECT_EQ(TS_GetItemSize(nullptr, API_OE, m_hBogus, &nSize), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 408"});
    EXPECT_EQ(TS_SaveItem(nullptr, API_WAB, m_hBogus, -1), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 415"});
    EXPECT_EQ(TS_CopyAttachment(nullptr, API_OE, m_hBogus, &hBody, m_hBogus, 1), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 417"});
    EXPECT_EQ(TS_FindAttachment(nullptr, API_OE, m_hBogus, &hBody, "a", 0, 0), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 418"});
}

TEST_F(EntryChecks, NullLibraryIsAnErrorWhereTheStoreIsLookedUp) {
    TS_HITEM hItem = m_hBogus;
    char *psz = reinterpret_cast<char *>(1);
    EXPECT_EQ(TS_OpenItem(nullptr, API_OE, "00", &hItem, 0), -1);
    EXPECT_EQ(hItem, m_hBogus); // the store was never asked
    EXPECT_EQ(Take(), Lines{"Err in TS_OpenItem: pLib == NULL"});
    TS_CloseItem(nullptr, API_WAB, m_hBogus);
    EXPECT_EQ(Take(), Lines{"Err in TS_CloseItem: pLib == NULL"});
    EXPECT_EQ(TS_GetItemID(nullptr, API_OE, m_hBogus, &psz), -1);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(Take(), Lines{"Err in TS_GetItemID: pLib == NULL"});

    PropDesc text = Desc(TS_PR_OE_SUBJECT);
    EXPECT_EQ(TS_GetItemTextProp(nullptr, API_OE, m_hBogus, &text, &psz), -1);
    EXPECT_EQ(Take(), Lines{"Err in TS_GetItemTextProp: pLib == NULL"});
    // The write exports reach the store through _TS_SetItemProp, which asserts first.
    EXPECT_EQ(TS_SetItemTextProp(nullptr, API_OE, m_hBogus, &text, "x"), -1);
    EXPECT_EQ(Take(), Lines{"Err in pLib != NULL: ASSERT failed in line 419"});
}

TEST_F(EntryChecks, UnknownApiFailsTheAssertionNumberThree) {
    TS_HITEM hItem = nullptr;
    EXPECT_EQ(TS_DeleteItem(m_pLib, 2, "00", 1, nullptr), -1);
    EXPECT_EQ(Take(), Lines{"Err in TS_DeleteItem: ASSERT failed in line 3"});
    EXPECT_EQ(TS_SaveItem(m_pLib, -1, m_hBogus, 0), -1);
    EXPECT_EQ(Take(), Lines{"Err in TS_SaveItem: ASSERT failed in line 3"});
    TS_FreeBuffer(m_pLib, 2, &hItem);
    EXPECT_EQ(Take(), Lines{"Err in TS_FreeBuffer: ASSERT failed in line 3"});
    EXPECT_EQ(TS_OpenItem(m_pLib, 2, "00", &hItem, 0), -1);
    EXPECT_EQ(Take(), Lines{"Err in TS_OpenItem: ASSERT failed in line 3"});
    PropDesc num = Desc(TS_PR_OE_PRIORITY);
    int32_t n = 5;
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, 7, m_hBogus, &num, &n), -1);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(Take(), Lines{"Err in TS_GetItemNumProp: ASSERT failed in line 3"});
}

TEST_F(EntryChecks, AttachmentsAreForTheMessageStoreOnly) {
    TS_HBODY hBody = 0;
    EXPECT_EQ(TS_CopyAttachment(m_pLib, API_WAB, m_hBogus, &hBody, m_hBogus, 1), -1);
    EXPECT_EQ(Take(), Lines{"Err[0x1] in TS_CopyAttachment: Not supported for this API"});
    EXPECT_EQ(TS_FindAttachment(m_pLib, 2, m_hBogus, &hBody, "a", 0, 0), -1);
    EXPECT_EQ(Take(), Lines{"Err[0x2] in TS_FindAttachment: Not supported for this API"});
}

TEST_F(EntryChecks, StoreNotInitialized) {
    TS_HITEM hItem = m_hBogus;
    EXPECT_EQ(TS_OpenItem(m_pLib, API_OE, "0100000001000000", &hItem, 0), -1);
    EXPECT_EQ(hItem, m_hBogus);
    EXPECT_EQ(Take(), Lines{"Err in TS_OpenItem: OE is not initialized"});
    char *psz = nullptr;
    EXPECT_EQ(TS_GetItemID(m_pLib, API_WAB, m_hBogus, &psz), -1);
    EXPECT_EQ(Take(), Lines{"Err in TS_GetItemID: WAB is not initialized"});
    PropDesc date = Desc(TS_PR_OE_SENT);
    SYSTEMTIME st{2020, 2, 0, 29, 12, 0, 0, 0};
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, m_hBogus, &date, &st, 1), -1);
    EXPECT_EQ(Take(), Lines{"Err in _TS_SetItemProp: WAB is not initialized"});
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_OE, m_hBogus, &date, &st, 1), -1);
    EXPECT_EQ(st.wYear, 0);
    EXPECT_EQ(Take(), Lines{"Err in TS_GetItemDateProp: OE is not initialized"});
}

TEST_F(EntryChecks, WrongTypeIsRefusedBeforeTheStore) {
    // The stores are not initialized: a refusal that reached them would log that as well.
    char *psz = reinterpret_cast<char *>(1);
    PropDesc num = Desc(TS_PR_OE_PRIORITY);
    EXPECT_EQ(TS_GetItemTextProp(m_pLib, API_OE, m_hBogus, &num, &psz), -3);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(Take(), Lines{"Err[0x3] in TS_GetItemTextProp: Invalid prop type"});
    EXPECT_EQ(TS_SetItemTextProp(m_pLib, API_WAB, m_hBogus, &num, "1"), -3);
    EXPECT_EQ(Take(), Lines{"Err[0x3] in TS_SetItemTextProp: Invalid prop type"});

    PropDesc text = Desc(TS_PR_OE_SUBJECT);
    int32_t n = 9;
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_OE, m_hBogus, &text, &n), -3);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(Take(), Lines{"Err[0x1e] in TS_GetItemNumProp: Invalid prop type"});
    EXPECT_EQ(TS_SetItemNumProp(m_pLib, API_OE, m_hBogus, &text, 1), -3);
    EXPECT_EQ(Take(), Lines{"Err[0x1e] in TS_SetItemNumProp: Invalid prop type"});

    SYSTEMTIME st;
    st.wYear = 2000;
    EXPECT_EQ(TS_GetItemDateProp(m_pLib, API_WAB, m_hBogus, &num, &st, 0), -3);
    EXPECT_EQ(st.wYear, 0);
    EXPECT_EQ(Take(), Lines{"Err[0x3] in TS_GetItemDateProp: Invalid prop type"});
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_WAB, m_hBogus, &text, &st, 0), -3);
    EXPECT_EQ(Take(), Lines{"Err[0x1e] in TS_SetItemDateProp: Invalid prop type"});

    // A named property, not yet resolved, is judged by nType; binary is never a number.
    PropDesc named = Desc(0, TS_PT_BINARY);
    EXPECT_EQ(TS_GetItemNumProp(m_pLib, API_WAB, m_hBogus, &named, &n), -3);
    EXPECT_EQ(Take(), Lines{"Err[0x102] in TS_GetItemNumProp: Invalid prop type"});
    EXPECT_EQ(named.Tag, 0u);
}

TEST_F(EntryChecks, ProfileNeedsEveryPointerAndAKnownApi) {
    char *pszProfile = reinterpret_cast<char *>(1), *pszDetail = nullptr;
    EXPECT_EQ(TS_GetProfileID(nullptr, API_OE, &pszProfile, &pszDetail), -1);
    EXPECT_EQ(TS_GetProfileID(m_pLib, API_OE, nullptr, &pszDetail), -1);
    EXPECT_EQ(TS_GetProfileID(m_pLib, API_WAB, &pszProfile, nullptr), -1);
    EXPECT_EQ(Take(), (Lines{"Err in TS_GetProfileID: ASSERT failed in line 0",
                             "Err in TS_GetProfileID: ASSERT failed in line 0",
                             "Err in TS_GetProfileID: ASSERT failed in line 0"}));
    EXPECT_EQ(TS_GetProfileID(m_pLib, 3, &pszProfile, &pszDetail), -2);
    EXPECT_EQ(pszProfile, nullptr);
    EXPECT_EQ(pszDetail, nullptr);
    EXPECT_EQ(Take(), Lines{"Err in Invalid API: ASSERT failed in line 0"});
}

TEST_F(EntryChecks, NullPointersAreRefusedNotFollowed) {
    EXPECT_EQ(TS_OpenItem(m_pLib, API_OE, "00", nullptr, 0), -1); // not initialized comes first
    EXPECT_EQ(TS_GetItemTextProp(m_pLib, API_OE, m_hBogus, nullptr, nullptr), -1);
    PropDesc text = Desc(TS_PR_OE_SUBJECT);
    EXPECT_EQ(TS_GetItemTextProp(m_pLib, API_OE, m_hBogus, &text, nullptr), -1);
    EXPECT_EQ(TS_SetItemDateProp(m_pLib, API_OE, m_hBogus, &text, nullptr, 0), -1);
    EXPECT_EQ(TS_DeleteItem(m_pLib, API_OE, nullptr, 0, nullptr), -1);
    EXPECT_EQ(Take(), (Lines{"Err in TS_OpenItem: OE is not initialized",
                             "Err in ppszText != NULL: ASSERT failed in line 409",
                             "Err in ppszText != NULL: ASSERT failed in line 409",
                             "Err in pST != NULL: ASSERT failed in line 414",
                             "Err in pszEntry != NULL: ASSERT failed in line 404"}));
    TS_FreeBuffer(m_pLib, API_WAB, nullptr); // nothing to free, nothing to say
    EXPECT_TRUE(Take().empty());
}

} // namespace
