// Delete, copy, move, mark and find over fakes: the calls made, the log lines, and every failure path.
#include <cstring>

#include "wab_fixture.h"

using testsupport::FakeContainer;
using testsupport::FakeMailUser;
using testsupport::FakeProp;

namespace {

const std::vector<BYTE> kPAB{0x50, 0xAB};
const std::vector<BYTE> kTarget{0x0C, 0x02};
const std::vector<BYTE> kSource{0xE1};
const std::vector<BYTE> kTemplate{0x7E, 0x01};
const std::vector<BYTE> kDLTemplate{0x7E, 0x08};

class WabChangesTest : public WabFixture {
protected:
    void SetUp() override {
        Connect();
        m_pBook->hrGetPAB = S_OK;
        m_pBook->pabId = kPAB;
        m_pPAB = AddContainer(kPAB);
        m_pPAB->hrDelete = S_OK;
        m_pTarget = AddContainer(kTarget);
        m_pTarget->props = {FakeProp::Binary(PR_DEF_CREATE_MAILUSER, kTemplate),
                            FakeProp::Binary(PR_DEF_CREATE_DL, kDLTemplate)};
        m_pTarget->created = new FakeMailUser(m_pWab);
        m_pTarget->created->props = {FakeProp::Binary(PR_ENTRYID, {0xC0, 0x01})};
        m_pSource = new FakeMailUser(m_pWab);
        m_pSource->props = {FakeProp::Binary(PR_ENTRYID, kSource),
                            FakeProp::Long(PR_OBJECT_TYPE, MAPI_MAILUSER),
                            FakeProp::Binary(PR_RECORD_KEY, {1}),
                            FakeProp::Binary(PR_SEARCH_KEY, {2}),
                            FakeProp::Time(PR_CREATION_TIME, 3),
                            FakeProp::Time(PR_LAST_MODIFICATION_TIME, 4),
                            FakeProp::String(PR_DISPLAY_NAME, "Ada"),
                            FakeProp::Error(PR_COMMENT, MAPI_E_NOT_FOUND),
                            FakeProp::String(PR_EMAIL_ADDRESS, "ada@example.org")};
        m_pBook->AddEntry(kSource, m_pSource, MAPI_MAILUSER);
        m_pSource->Release();
    }
    void TearDown() override {
        if (m_pszNew) m_lib.FreeBuffer(m_pszNew);
        WabFixture::TearDown();
    }
    FakeContainer *AddContainer(const std::vector<BYTE> &id) {
        FakeContainer *pContainer = new FakeContainer(m_pWab);
        pContainer->hrRestrict = S_OK;
        m_pBook->AddEntry(id, pContainer, MAPI_ABCONT);
        pContainer->Release();
        return pContainer;
    }
    std::vector<ULONG> CopiedTags() const {
        std::vector<ULONG> tags;
        for (const FakeProp &prop : m_pTarget->created->props)
            if (prop.ulTag != PR_ENTRYID) tags.push_back(prop.ulTag);
        return tags;
    }

    FakeContainer *m_pPAB = nullptr;
    FakeContainer *m_pTarget = nullptr;
    FakeMailUser *m_pSource = nullptr;
    char *m_pszNew = nullptr;
};

} // namespace

TEST_F(WabChangesTest, DeleteGoesThroughThePersonalBook) {
    EXPECT_EQ(m_lib.DeleteItem("0C0201"), S_OK);
    ASSERT_EQ(m_pPAB->deletedIds.size(), 1u);
    EXPECT_EQ(m_pPAB->deletedIds[0], (std::vector<BYTE>{0x0C, 0x02, 0x01}));
    EXPECT_EQ(Logged(), "");

    m_pPAB->hrDelete = MAPI_E_NOT_FOUND; // the book's answer, without a line of ours
    EXPECT_EQ(m_lib.DeleteItem("E9"), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Logged(), "");

    m_pBook->hrGetPAB = MAPI_E_NO_SUPPORT;
    EXPECT_EQ(m_lib.DeleteItem("E9"), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Logged(), "Err[0x80040102] in CWABLib::DeleteItem: AddrBook->GetPAB\n");

    m_log.Clear();
    m_pBook->hrGetPAB = S_OK;
    m_pBook->FailEntry(kPAB, MAPI_E_NO_ACCESS);
    EXPECT_EQ(m_lib.DeleteItem("E9"), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::DeleteItem: AddrBook->OpenEntry(PAB)\n");
}

TEST_F(WabChangesTest, CopySetsEveryPropertyButTheBooksOwnOneByOne) {
    ASSERT_EQ(m_lib.CopyItem("E1", "0C02", &m_pszNew), S_OK);
    ASSERT_NE(m_pszNew, nullptr);
    EXPECT_STREQ(m_pszNew, "C001");
    EXPECT_EQ(CopiedTags(), (std::vector<ULONG>{PR_DISPLAY_NAME, PR_EMAIL_ADDRESS}));
    EXPECT_EQ(m_pTarget->created->setPropsCounts, (std::vector<ULONG>{1, 1}));
    EXPECT_EQ(m_pTarget->created->saveFlags, std::vector<ULONG>{KEEP_OPEN_READONLY});
    EXPECT_EQ(m_pTarget->createTemplates, std::vector<std::vector<BYTE>>{kTemplate});
    EXPECT_TRUE(m_pPAB->deletedIds.empty());
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabChangesTest, CopyOfAGroupAsksForTheGroupTemplate) {
    FakeMailUser *pGroup = new FakeMailUser(m_pWab);
    pGroup->props = {FakeProp::String(PR_DISPLAY_NAME, "Team")};
    m_pBook->AddEntry({0xD1}, pGroup, MAPI_DISTLIST);
    pGroup->Release();
    ASSERT_EQ(m_lib.CopyItem("D1", "0C02", &m_pszNew), S_OK);
    EXPECT_EQ(m_pTarget->createTemplates, std::vector<std::vector<BYTE>>{kDLTemplate});
}

TEST_F(WabChangesTest, OnePropertyThatFailsDoesNotFailTheCopy) {
    m_pTarget->created->hrSetProps = MAPI_E_NO_ACCESS;
    ASSERT_EQ(m_lib.CopyItem("E1", "0C02", &m_pszNew), S_OK);
    EXPECT_STREQ(m_pszNew, "C001");
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::CopyItem: Cant copy [0x3001001e] prop\n"
                        "Err[0x80070005] in CWABLib::CopyItem: Cant copy [0x3003001e] prop\n");
}

TEST_F(WabChangesTest, CopyFailuresLeaveTheSourceAndHandOutNothing) {
    struct Case {
        const char *pszSource;
        const char *pszTarget;
        HRESULT hr;
        const char *pszLog;
    };
    FakeMailUser *pUser = new FakeMailUser(m_pWab);
    m_pBook->AddEntry({0xE2}, pUser, MAPI_MAILUSER);
    pUser->Release();
    const Case cases[] = {
        {"E1", "0BAD", MAPI_E_UNKNOWN_ENTRYID, "Err[0x80040201] in CWABLib::CopyItem: open container\n"},
        {"E1", "E2", -1, "Err in CWABLib::CopyItem: opened item is not container\n"},
        {"zz", "0C02", MAPI_E_UNKNOWN_ENTRYID, "Err[0x80040201] in CWABLib::CopyItem: open item\n"},
        {"50AB", "0C02", -1, "Err[0x4] in CWABLib::CopyItem: open item is not MailUser or DistList\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.pszLog);
        m_log.Clear();
        EXPECT_EQ(m_lib.MoveItem(c.pszSource, c.pszTarget, &m_pszNew), c.hr);
        EXPECT_EQ(m_pszNew, nullptr);
        EXPECT_EQ(Logged(), c.pszLog);
    }
    EXPECT_TRUE(m_pPAB->deletedIds.empty());

    m_log.Clear();
    m_pTarget->props.clear(); // no template
    EXPECT_NE(m_lib.MoveItem("E1", "0C02", &m_pszNew), S_OK);
    EXPECT_EQ(Logged(), "Err[0x40380] in CWABLib::CopyItem: get templateID\n");

    m_log.Clear();
    m_pTarget->props = {FakeProp::Binary(PR_DEF_CREATE_MAILUSER, kTemplate)};
    m_pTarget->hrCreate = MAPI_E_NO_ACCESS;
    EXPECT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::CopyItem: CreateEntry\n");

    m_log.Clear();
    m_pTarget->hrCreate = S_OK;
    m_pSource->hrGetProps = MAPI_E_CALL_FAILED;
    EXPECT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), MAPI_E_CALL_FAILED);
    EXPECT_EQ(Logged(), "Err[0x80004005] in CWABLib::CopyItem: GetProps\n");
    EXPECT_TRUE(m_pTarget->created->saveFlags.empty()); // the half-made copy is never saved

    m_log.Clear();
    m_pSource->hrGetProps = S_OK;
    m_pTarget->created->props.clear(); // saved, but gives no id
    EXPECT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(m_pszNew, nullptr);
    EXPECT_EQ(Logged(), "Err[0x40380] in CWABLib::CopyItem: GetProps(EntryID)\n");

    m_log.Clear();
    m_pTarget->created->props = {FakeProp::Binary(PR_ENTRYID, {})}; // an empty id
    EXPECT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), S_OK);
    EXPECT_EQ(m_pszNew, nullptr);
    EXPECT_EQ(Logged(), "Err in CWABLib::CopyItem: GetProps(EntryID)\n");
    EXPECT_TRUE(m_pPAB->deletedIds.empty()); // without the copy's name the source is not given up
}

TEST_F(WabChangesTest, MoveDeletesTheSourceAfterTheCopy) {
    ASSERT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), S_OK);
    EXPECT_STREQ(m_pszNew, "C001");
    EXPECT_EQ(m_pPAB->deletedIds, std::vector<std::vector<BYTE>>{kSource});
    m_lib.FreeBuffer(m_pszNew);
    m_pszNew = nullptr;

    m_pPAB->hrDelete = MAPI_E_NO_ACCESS;
    EXPECT_EQ(m_lib.MoveItem("E1", "0C02", &m_pszNew), S_OK);
    EXPECT_STREQ(m_pszNew, "C001");
    EXPECT_EQ(Logged(), "War[0x80070005] in CWABLib::MoveItem: DeleteItem\n");
}

TEST_F(WabChangesTest, MarkPutsThePrefixInFrontOnce) {
    EXPECT_EQ(m_lib.MarkItemDisplayName("E1", "[dup] "), S_OK);
    EXPECT_STREQ(m_pSource->Find(PR_DISPLAY_NAME)->str.c_str(), "[dup] Ada");
    EXPECT_EQ(m_pSource->saveFlags, std::vector<ULONG>{0});
    EXPECT_EQ(m_lib.MarkItemDisplayName("E1", "[dup] "), S_OK);
    EXPECT_STREQ(m_pSource->Find(PR_DISPLAY_NAME)->str.c_str(), "[dup] Ada");
    EXPECT_EQ(m_pSource->saveFlags.size(), 1u); // marked already: nothing written
    EXPECT_EQ(Logged(), "");

    // Inside the name is not in front of it.
    m_pSource->Set(FakeProp::String(PR_DISPLAY_NAME, "Ada [dup] L"));
    EXPECT_EQ(m_lib.MarkItemDisplayName("E1", "[dup] "), S_OK);
    EXPECT_STREQ(m_pSource->Find(PR_DISPLAY_NAME)->str.c_str(), "[dup] Ada [dup] L");
}

TEST_F(WabChangesTest, MarkWithoutANameAndItsFailures) {
    FakeMailUser *pUser = new FakeMailUser(m_pWab);
    m_pBook->AddEntry({0xE2}, pUser, MAPI_MAILUSER);
    pUser->Release();
    EXPECT_EQ(m_lib.MarkItemDisplayName("E2", "X-"), S_OK);
    EXPECT_STREQ(pUser->Find(PR_DISPLAY_NAME)->str.c_str(), "X-");

    pUser->hrSetProps = MAPI_E_NO_ACCESS;
    pUser->Set(FakeProp::String(PR_DISPLAY_NAME, "Bob"));
    EXPECT_EQ(m_lib.MarkItemDisplayName("E2", "X-"), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::MarkItemDisplayName: SetItemProps\n");

    m_log.Clear();
    pUser->hrGetProps = MAPI_E_CALL_FAILED;
    EXPECT_EQ(m_lib.MarkItemDisplayName("E2", "X-"), MAPI_E_CALL_FAILED);
    EXPECT_EQ(Logged(), "Err[0x80004005] in CWABLib::MarkItemDisplayName: GetItemProp\n");

    m_log.Clear();
    EXPECT_EQ(m_lib.MarkItemDisplayName("E9", "X-"), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabChangesTest, PersonalBookAndItsFailure) {
    char *pszPAB = nullptr;
    ASSERT_EQ(m_lib.GetPAB(&pszPAB), S_OK);
    EXPECT_STREQ(pszPAB, "50AB");
    m_lib.FreeBuffer(pszPAB);

    m_pBook->hrGetPAB = MAPI_E_NOT_FOUND;
    EXPECT_EQ(m_lib.GetPAB(&pszPAB), MAPI_E_NOT_FOUND);
    EXPECT_EQ(pszPAB, nullptr);
    EXPECT_EQ(Logged(), "Err[0x8004010f] in CWABLib::GetPAB: AddrBook->GetPAB\n");
}

TEST_F(WabChangesTest, EmptyOrNullTextsAreRefusedWithAnAssertion) {
    m_pszNew = reinterpret_cast<char *>(&m_pszNew); // overwritten with null
    EXPECT_EQ(m_lib.CopyItem("", "0C02", &m_pszNew), -1);
    EXPECT_EQ(m_pszNew, nullptr);
    EXPECT_EQ(m_lib.MoveItem("E1", "", &m_pszNew), -1);
    EXPECT_EQ(m_lib.DeleteItem(nullptr), -1);
    EXPECT_EQ(m_lib.MarkItemDisplayName(nullptr, "x"), -1);
    char *pszFolder = nullptr;
    EXPECT_EQ(m_lib.FindItemFolder(nullptr, &pszFolder, false), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::CopyItem: ASSERT failed in line 0\n"
                        "Err in CWABLib::CopyItem: ASSERT failed in line 0\n"
                        "Err in CWABLib::DeleteItem: ASSERT failed in line 0\n"
                        "Err in CWABLib::MarkItemDisplayName: ASSERT failed in line 0\n"
                        "Err in CWABLib::FindItemFolder: ASSERT failed in line 0\n");
    EXPECT_TRUE(m_pPAB->deletedIds.empty());
    EXPECT_TRUE(m_pTarget->createTemplates.empty());
}
