// Reading, writing and saving the properties of an open entry, and resolving named properties.
#include <cstring>

#include "wab_fixture.h"

using testsupport::FakeMailUser;
using testsupport::FakeProp;

namespace {

class WabPropsTest : public WabFixture {
protected:
    void SetUp() override {
        Connect();
        m_pUser = new FakeMailUser(m_pWab);
        m_pUser->props = {FakeProp::String(PR_DISPLAY_NAME, "Ada Lovelace"),
                          FakeProp::String(PR_EMAIL_ADDRESS, "ada@example.org")};
    }
    void TearDown() override {
        m_pUser->Release();
        WabFixture::TearDown();
    }

    FakeMailUser *m_pUser = nullptr;
};

// A tag array of two tags on the stack, as the platform's sized tag arrays are.
struct TwoTags {
    TwoTags(ULONG ulTag1, ULONG ulTag2) : cValues(2), aulPropTag{ulTag1, ulTag2} {}
    operator SPropTagArray *() { return reinterpret_cast<SPropTagArray *>(this); }
    ULONG cValues;
    ULONG aulPropTag[2];
};

} // namespace

TEST_F(WabPropsTest, GetItemPropsAsksForWideTextOnlyWhenTold) {
    TwoTags tags(PR_DISPLAY_NAME, PR_COMMENT);
    ULONG cValues = 0;
    SPropValue *pValues = nullptr;
    EXPECT_EQ(m_lib.GetItemProps(m_pUser, tags, &cValues, &pValues, false), MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(cValues, 2u);
    EXPECT_STREQ(pValues[0].Value.lpszA, "Ada Lovelace");
    EXPECT_EQ(pValues[1].ulPropTag, CHANGE_PROP_TYPE(PR_COMMENT, PT_ERROR));
    EXPECT_EQ(pValues[1].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(m_lib.FreeBuffer(pValues), S_OK);

    EXPECT_EQ(m_lib.GetItemProps(m_pUser, tags, &cValues, &pValues, true), MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(m_lib.FreeBuffer(pValues), S_OK);
    EXPECT_EQ(m_pUser->getPropsFlags, (std::vector<ULONG>{0, MAPI_UNICODE}));
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, GetItemPropsHandsOnAFailure) {
    m_pUser->hrGetProps = MAPI_E_NO_ACCESS;
    ULONG cValues = 7;
    SPropValue *pValues = nullptr;
    EXPECT_EQ(m_lib.GetItemProps(m_pUser, TwoTags(PR_DISPLAY_NAME, PR_COMMENT), &cValues, &pValues, false),
              MAPI_E_NO_ACCESS);
    EXPECT_EQ(pValues, nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, GetItemPropsAssertsOnNullArguments) {
    ULONG cValues = 0;
    EXPECT_EQ(m_lib.GetItemProps(m_pUser, TwoTags(PR_DISPLAY_NAME, PR_COMMENT), &cValues, nullptr, false), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::GetItemProps: ASSERT failed in line 0\n");
    EXPECT_TRUE(m_pUser->getPropsFlags.empty());
}

TEST_F(WabPropsTest, GetIDFromNameAsksByNumberWhenThereIsOne) {
    ULONG ulTag = 0;
    m_pUser->ulNamedTag = 0x80050000;
    EXPECT_EQ(m_lib.GetIDFromName(m_pUser, &ulTag, "{E70C92A9-4BFD-11d1-8A95-00C04FB951F3}", 5, u"Nick", false), S_OK);
    EXPECT_EQ(ulTag, 0x80050000u); // as the store gives it, type half and all
    EXPECT_EQ(m_pUser->lastKind, MNID_ID);
    EXPECT_EQ(m_pUser->lastID, 5);
    EXPECT_EQ(m_pUser->lastNamesFlags, 0u);
    const BYTE abExpected[16] = {0xA9, 0x92, 0x0C, 0xE7, 0xFD, 0x4B, 0xD1, 0x11,
                                 0x8A, 0x95, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xF3};
    EXPECT_EQ(std::memcmp(&m_pUser->lastGuid, abExpected, 16), 0);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, GetIDFromNameAsksByStringWithoutNumber) {
    ULONG ulTag = 0;
    EXPECT_EQ(m_lib.GetIDFromName(m_pUser, &ulTag, "{00062004-0000-0000-C000-000000000046}", 0, u"Nick", true), S_OK);
    EXPECT_EQ(ulTag, 0x80010003u);
    EXPECT_EQ(m_pUser->lastKind, MNID_STRING);
    EXPECT_EQ(m_pUser->lastName, u"Nick");
    EXPECT_EQ(m_pUser->lastNamesFlags, MAPI_CREATE);
}

TEST_F(WabPropsTest, GetIDFromNameLeavesTheTagOnFailure) {
    ULONG ulTag = 0x1234;
    m_pUser->hrGetIDs = MAPI_E_NOT_FOUND;
    EXPECT_EQ(m_lib.GetIDFromName(m_pUser, &ulTag, "{00062004-0000-0000-C000-000000000046}", 7, nullptr, false),
              MAPI_E_NOT_FOUND);
    EXPECT_EQ(ulTag, 0x1234u);
}

TEST_F(WabPropsTest, GetIDFromNameTakesTheTagOnlyOnPlainSuccess) {
    ULONG ulTag = 0x1234;
    m_pUser->hrGetIDs = MAPI_W_ERRORS_RETURNED;
    m_pUser->ulNamedTag = CHANGE_PROP_TYPE(0x80010000, PT_ERROR);
    EXPECT_EQ(m_lib.GetIDFromName(m_pUser, &ulTag, "{00062004-0000-0000-C000-000000000046}", 7, nullptr, false),
              MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(ulTag, 0x1234u); // and the tag array went back (checked at tear-down)
}

TEST_F(WabPropsTest, GetIDFromNameWithoutAnyNameAsserts) {
    ULONG ulTag = 0;
    EXPECT_EQ(m_lib.GetIDFromName(m_pUser, &ulTag, "{00062004-0000-0000-C000-000000000046}", 0, nullptr, false), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::GetIDFromName: ASSERT failed in line 1\n");
    EXPECT_EQ(m_pUser->lastKind, 0xFFFFFFFFu); // the store was not asked
}

TEST_F(WabPropsTest, SetItemPropsLogsAllProblemsInOneLine) {
    m_pUser->problems = {{0, PR_DISPLAY_NAME, MAPI_E_NO_ACCESS},
                         {1, PR_EMAIL_ADDRESS, MAPI_E_BAD_VALUE},
                         {2, PR_COMMENT, MAPI_E_INVALID_TYPE}};
    SPropValue values[3] = {};
    values[0].ulPropTag = PR_DISPLAY_NAME;
    values[0].Value.lpszA = const_cast<char *>("A");
    values[1].ulPropTag = PR_EMAIL_ADDRESS;
    values[1].Value.lpszA = const_cast<char *>("B");
    values[2].ulPropTag = PR_COMMENT;
    values[2].Value.lpszA = const_cast<char *>("C");
    SPropProblemArray *pProblems = nullptr;
    EXPECT_EQ(m_lib.SetItemProps(m_pUser, 3, values, &pProblems), S_OK); // problems with 0 stay 0
    ASSERT_NE(pProblems, nullptr);
    EXPECT_EQ(pProblems->cProblem, 3u);
    EXPECT_EQ(m_lib.FreeBuffer(pProblems), S_OK);
    EXPECT_EQ(Logged(), "Inf in CWABLib::SetItemProps: Problems dumb:\n"
                        "tag=0x3001001e err=0x80070005tag=0x3003001e err=0x80040301tag=0x3004001e err=0x80040302\n");
}

TEST_F(WabPropsTest, SetItemPropsProblemsAreAnInfoLineOfLevelZero) {
    testsupport::CLogCapture quiet(0);
    m_pUser->problems = {{0, PR_DISPLAY_NAME, MAPI_E_NO_ACCESS}};
    SPropValue value{};
    value.ulPropTag = PR_DISPLAY_NAME;
    value.Value.lpszA = const_cast<char *>("A");
    SPropProblemArray *pProblems = nullptr;
    m_lib.SetItemProps(m_pUser, 1, &value, &pProblems);
    m_lib.FreeBuffer(pProblems);
    EXPECT_EQ(LoggedText(quiet), "Inf in CWABLib::SetItemProps: Problems dumb:\ntag=0x3001001e err=0x80070005\n");
}

TEST_F(WabPropsTest, SetItemPropsWithoutProblemsLogsNothing) {
    SPropValue value{};
    value.ulPropTag = PR_COMMENT;
    value.Value.lpszA = const_cast<char *>("note");
    SPropProblemArray *pProblems = reinterpret_cast<SPropProblemArray *>(1);
    EXPECT_EQ(m_lib.SetItemProps(m_pUser, 1, &value, &pProblems), S_OK);
    EXPECT_EQ(pProblems, nullptr);
    ASSERT_NE(m_pUser->Find(PR_COMMENT), nullptr);
    EXPECT_EQ(m_pUser->Find(PR_COMMENT)->str, "note");
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, SetItemPropHandsOutTheProblemOfAFailedWrite) {
    m_pUser->hrSetProps = MAPI_E_CALL_FAILED;
    m_pUser->problems = {{0, PR_DISPLAY_NAME, MAPI_E_STRING_TOO_LONG}};
    SPropValue value{};
    value.ulPropTag = PR_DISPLAY_NAME;
    value.Value.lpszA = const_cast<char *>("A very long name");
    EXPECT_EQ(m_lib.SetItemProp(m_pUser, &value), MAPI_E_STRING_TOO_LONG);
    EXPECT_TRUE(HasLogged("Inf in CWABLib::SetItemProps: Problems dumb:\ntag=0x3001001e err=0x80040105"));
}

TEST_F(WabPropsTest, SetItemPropKeepsSuccessDespiteAProblem) {
    m_pUser->problems = {{0, PR_DISPLAY_NAME, MAPI_E_NO_ACCESS}};
    SPropValue value{};
    value.ulPropTag = PR_DISPLAY_NAME;
    value.Value.lpszA = const_cast<char *>("B");
    EXPECT_EQ(m_lib.SetItemProp(m_pUser, &value), S_OK);
    EXPECT_TRUE(HasLogged("Inf in CWABLib::SetItemProps: Problems dumb:\ntag=0x3001001e err=0x80070005"));
}

TEST_F(WabPropsTest, SetItemPropHandsOnAFailureWithoutProblems) {
    m_pUser->hrSetProps = MAPI_E_NO_ACCESS;
    SPropValue value{};
    value.ulPropTag = PR_COMMENT;
    value.Value.lpszA = const_cast<char *>("x");
    EXPECT_EQ(m_lib.SetItemProp(m_pUser, &value), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, SetItemPropLogsAProblemArrayThatCannotBeFreed) {
    m_pUser->hrSetProps = MAPI_E_CALL_FAILED;
    m_pUser->problems = {{0, PR_DISPLAY_NAME, MAPI_E_NO_ACCESS}};
    m_pWab->hrFree = MAPI_E_INVALID_PARAMETER;
    SPropValue value{};
    value.ulPropTag = PR_DISPLAY_NAME;
    value.Value.lpszA = const_cast<char *>("B");
    EXPECT_EQ(m_lib.SetItemProp(m_pUser, &value), MAPI_E_NO_ACCESS); // the result stays the problem's
    EXPECT_TRUE(HasLogged("Err[0x80070057] in CWABLib::SetItemProp: FreeBuffer"));
}

TEST_F(WabPropsTest, SaveItemJoinsTheFlags) {
    EXPECT_EQ(m_lib.SaveItem(m_pUser, false, false, false), S_OK);
    EXPECT_EQ(m_lib.SaveItem(m_pUser, true, false, true), S_OK);
    EXPECT_EQ(m_lib.SaveItem(m_pUser, false, true, false), S_OK);
    EXPECT_EQ(m_lib.SaveItem(m_pUser, true, true, true), S_OK);
    EXPECT_EQ(m_pUser->saveFlags, (std::vector<ULONG>{0, 6, 1, 7}));
    m_pUser->hrSave = MAPI_E_OBJECT_CHANGED;
    EXPECT_EQ(m_lib.SaveItem(m_pUser, false, false, false), MAPI_E_OBJECT_CHANGED);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabPropsTest, SaveItemOfNullAsserts) {
    EXPECT_EQ(m_lib.SaveItem(nullptr, false, false, false), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::SaveItem: ASSERT failed in line 0\n");
}
