// The pending edit of an open item: state masks, headers, priority, bodies and the problem array.
#include "oewrite/oewrite_fixture.h"

#include "platform/mapi.h"

namespace oewritetest {
namespace {

class SetPropsTest : public OEWriteTest {
protected:
    void SetUp() override {
        OEWriteTest::SetUp();
        Plant("Inbox", Message("subject", "<id@example.org>", "plain body\n"), "");
        ASSERT_EQ(m_lib.OpenItem(LastEntry("Inbox").c_str(), &m_hItem), S_OK);
        m_log.Clear();
    }
    void TearDown() override {
        m_lib.CloseItem(&m_hItem);
        OEWriteTest::TearDown();
    }
    OEOpenItem *Item() const { return static_cast<OEOpenItem *>(m_hItem); }
    static SPropValue Text(ULONG ulTag, const char *psz) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.lpszA = const_cast<char *>(psz);
        return value;
    }
    static SPropValue Bool(ULONG ulTag, bool b) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.b = b;
        return value;
    }
    static SPropValue Long(ULONG ulTag, LONG n) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.l = n;
        return value;
    }
    HRESULT SetOne(SPropValue value) { return m_lib.SetItemProp(m_hItem, &value); }
    std::string Header(const char *pszName) {
        PROPVARIANT var{};
        var.vt = VT_LPSTR;
        if (Item()->pMessage->GetProp(pszName, 0, &var) != S_OK) return "<none>";
        std::string str = var.pszVal ? var.pszVal : "";
        m_lib.m_pAllocator->PropVariantClear(&var);
        return str;
    }
    std::string ReadText(ULONG ulTag) {
        SPropValue *pValue = nullptr;
        std::string str = "<error>";
        if (m_lib.GetItemProp(m_hItem, ulTag, &pValue, false) == S_OK && pValue->Value.lpszA) str = pValue->Value.lpszA;
        m_lib.FreeItemProps(pValue);
        return str;
    }

    HITEM m_hItem = nullptr;
};

TEST_F(SetPropsTest, ABooleanSetThenClearedEndsInTheClearMaskOnly) {
    EXPECT_EQ(SetOne(Bool(PR_OE_UNREAD, true)), S_OK);
    EXPECT_EQ(Item()->dwSetMask, MSG_UNREAD);
    EXPECT_EQ(SetOne(Bool(PR_OE_UNREAD, false)), S_OK);
    EXPECT_EQ(Item()->dwSetMask, 0u);
    EXPECT_EQ(Item()->dwClearMask, MSG_UNREAD);
}

TEST_F(SetPropsTest, TheStateReplacesAllFlagsAndABooleanAfterItWins) {
    SPropValue values[] = {Long(PR_OE_STATE, MSG_FLAGGED | MSG_REPLIED), Bool(PR_OE_REPLIED, false),
                           Bool(PR_OE_RCPTSENT, true)};
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(m_hItem, 3, values, &pProblems), S_OK);
    EXPECT_EQ(pProblems, nullptr);
    EXPECT_EQ(Item()->dwSetMask, MSG_FLAGGED | MSG_RCPTSENT);
    EXPECT_EQ(Item()->dwClearMask, ~static_cast<DWORD>(MSG_FLAGGED | MSG_RCPTSENT));
    EXPECT_EQ(Item()->dwSetMask & Item()->dwClearMask, 0u);
}

TEST_F(SetPropsTest, AReadOnlyTagIsOneProblemAndTheOthersApply) {
    SPropValue values[] = {Text(PR_OE_SUBJECT, "new subject"), Text(PR_OE_DISPLAY_TO, "x"),
                           Text(PR_OE_TO, "Carol <carol@example.org>")};
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(m_hItem, 3, values, &pProblems), MAPI_W_ERRORS_RETURNED);
    ASSERT_NE(pProblems, nullptr);
    ASSERT_EQ(pProblems->cProblem, 1u);
    EXPECT_EQ(pProblems->aProblem[0].ulIndex, 1u);
    EXPECT_EQ(pProblems->aProblem[0].ulPropTag, PR_OE_DISPLAY_TO);
    EXPECT_EQ(pProblems->aProblem[0].scode, -1);
    m_lib.FreeBuffer(pProblems);
    EXPECT_EQ(Header("Subject"), "new subject");
    EXPECT_EQ(Header("To"), "Carol <carol@example.org>");
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Err[0x8004001e] in COELib::SetItemProps: is read only"});
}

TEST_F(SetPropsTest, UnknownTagsAndWrongTypesAreRefusedOneByOne) {
    SPropValue values[] = {Long(PR_ENTRYID, 1), Long(0x80100003, 7), Long(0x80090003, 1)};
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(m_hItem, 3, values, &pProblems), MAPI_W_ERRORS_RETURNED);
    ASSERT_NE(pProblems, nullptr);
    ASSERT_EQ(pProblems->cProblem, 3u);
    for (ULONG i = 0; i < 3; ++i) {
        EXPECT_EQ(pProblems->aProblem[i].ulIndex, i);
        EXPECT_EQ(pProblems->aProblem[i].ulPropTag, values[i].ulPropTag);
    }
    m_lib.FreeBuffer(pProblems);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{"Err[0xfff0102] in COELib::SetItemProps: Unknown tag",
                                                    "Err[0x80100003] in COELib::SetItemProps: Unknown tag",
                                                    "Err[0x80090003] in COELib::SetItemProps: Unknown tag"}));
    EXPECT_EQ(Header("Subject"), "subject");
    // One value alone: its code is the result.
    EXPECT_EQ(SetOne(Long(PR_OE_SIZE, 1)), -1);
}

TEST_F(SetPropsTest, PriorityWordsGoWithTheThreeNumbersThatHaveOne) {
    EXPECT_EQ(SetOne(Long(PR_OE_PRIORITY, 1)), S_OK);
    EXPECT_EQ(Header("X-Priority"), "1");
    EXPECT_EQ(Header("X-MSMail-Priority"), "High");
    EXPECT_EQ(SetOne(Long(PR_OE_PRIORITY, 2)), S_OK);
    EXPECT_EQ(Header("X-Priority"), "2");
    EXPECT_EQ(Header("X-MSMail-Priority"), "High");
    EXPECT_EQ(SetOne(Long(PR_OE_PRIORITY, 5)), S_OK);
    EXPECT_EQ(Header("X-MSMail-Priority"), "Low");
    EXPECT_EQ(SetOne(Long(PR_OE_PRIORITY, 3)), S_OK);
    EXPECT_EQ(Header("X-MSMail-Priority"), "Normal");
}

TEST_F(SetPropsTest, TwoBodyWritesAndAHeaderAfterThemWork) {
    SPropValue values[] = {Text(PR_OE_BODY, "new plain body\n"), Text(PR_OE_HTML_BODY, "<p>new html</p>\n"),
                           Text(PR_OE_SUBJECT, "after bodies")};
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(m_hItem, 3, values, &pProblems), S_OK) << m_log.Text();
    EXPECT_EQ(ReadText(PR_OE_TEXT_BODY), "new plain body\n");
    EXPECT_EQ(ReadText(PR_OE_HTML_BODY), "<p>new html</p>\n");
    EXPECT_EQ(Header("Subject"), "after bodies");
}

} // namespace
} // namespace oewritetest
