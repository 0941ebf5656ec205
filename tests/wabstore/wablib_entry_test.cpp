// Opening entries by their entry texts, and showing them.
#include "wab_fixture.h"

using testsupport::FakeContainer;
using testsupport::FakeMailUser;
using testsupport::RefCount;

namespace {

class WabEntryTest : public WabFixture {
protected:
    void SetUp() override {
        Connect();
        m_pUser = new FakeMailUser(m_pWab);
        m_pBook->AddEntry({0x12, 0xAB, 0x00}, m_pUser, MAPI_MAILUSER);
        m_pList = new FakeMailUser(m_pWab);
        m_pBook->AddEntry({0x34}, m_pList, MAPI_DISTLIST);
        m_pContainer = new FakeContainer(m_pWab);
        m_pBook->AddEntry({0x56}, m_pContainer, MAPI_ABCONT);
    }
    void TearDown() override {
        m_pUser->Release();
        m_pList->Release();
        m_pContainer->Release();
        WabFixture::TearDown();
    }

    FakeMailUser *m_pUser = nullptr;
    FakeMailUser *m_pList = nullptr;
    FakeContainer *m_pContainer = nullptr;
};

} // namespace

TEST_F(WabEntryTest, OpenEntryTurnsTheTextIntoTheIdAndPicksTheAccess) {
    IUnknown *pObject = nullptr;
    ULONG ulType = 0;
    ASSERT_EQ(m_lib.OpenEntry("12ab00", &pObject, &ulType, false, nullptr), S_OK);
    EXPECT_EQ(ulType, static_cast<ULONG>(MAPI_MAILUSER));
    ASSERT_NE(pObject, nullptr);
    pObject->Release();
    ASSERT_EQ(m_lib.OpenEntry("12AB00", &pObject, &ulType, true, &IID_IMailUser), S_OK);
    pObject->Release();

    ASSERT_EQ(m_pBook->openCalls.size(), 2u);
    EXPECT_EQ(m_pBook->openCalls[0].id, (std::vector<BYTE>{0x12, 0xAB, 0x00}));
    EXPECT_EQ(m_pBook->openCalls[0].ulFlags, MAPI_BEST_ACCESS);
    EXPECT_EQ(m_pBook->openCalls[0].lpInterface, nullptr);
    EXPECT_EQ(m_pBook->openCalls[1].ulFlags, MAPI_MODIFY);
    EXPECT_EQ(m_pBook->openCalls[1].lpInterface, &IID_IMailUser);
    EXPECT_EQ(RefCount(m_pUser), 2u);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabEntryTest, OpenEntryLogsNothingOnFailure) {
    IUnknown *pObject = reinterpret_cast<IUnknown *>(1);
    ULONG ulType = 99;
    EXPECT_EQ(m_lib.OpenEntry("FFFF", &pObject, &ulType, false, nullptr), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(pObject, nullptr);
    EXPECT_EQ(ulType, 0u);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabEntryTest, OpenEntryWithNullArgumentsAsserts) {
    ULONG ulType = 0;
    EXPECT_EQ(m_lib.OpenEntry("12AB00", nullptr, &ulType, false, nullptr), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::OpenEntry: ASSERT failed in line 0\n");
    EXPECT_TRUE(m_pBook->openCalls.empty());
}

TEST_F(WabEntryTest, OpenItemHandsOutContactsAndDistributionLists) {
    IMAPIProp *pItem = nullptr;
    ULONG ulType = 0;
    ASSERT_EQ(m_lib.OpenItem("12AB00", &pItem, &ulType, true), S_OK);
    EXPECT_EQ(pItem, static_cast<IMAPIProp *>(m_pUser));
    EXPECT_EQ(ulType, static_cast<ULONG>(MAPI_MAILUSER));
    EXPECT_EQ(m_pBook->openCalls.back().ulFlags, MAPI_MODIFY);
    pItem->Release();

    ASSERT_EQ(m_lib.OpenItem("34", &pItem, &ulType, false), S_OK);
    EXPECT_EQ(pItem, static_cast<IMAPIProp *>(m_pList));
    EXPECT_EQ(ulType, static_cast<ULONG>(MAPI_DISTLIST));
    EXPECT_EQ(m_pBook->openCalls.back().ulFlags, MAPI_BEST_ACCESS);
    pItem->Release();
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabEntryTest, OpenItemRefusesAContainer) {
    IMAPIProp *pItem = reinterpret_cast<IMAPIProp *>(1);
    ULONG ulType = 0;
    EXPECT_EQ(m_lib.OpenItem("56", &pItem, &ulType, false), -1);
    EXPECT_EQ(pItem, nullptr);
    EXPECT_EQ(ulType, 0u);
    EXPECT_EQ(Logged(), "Err[0x4] in CWABLib::OpenItem: This function opens only MailUser or DistList objects\n");
    EXPECT_EQ(RefCount(m_pContainer), 2u); // ours and the book's: the opened one was released
}

TEST_F(WabEntryTest, OpenItemHandsOnTheCodeOfAnUnknownEntry) {
    IMAPIProp *pItem = reinterpret_cast<IMAPIProp *>(1);
    ULONG ulType = 5;
    EXPECT_EQ(m_lib.OpenItem("0102030405", &pItem, &ulType, false), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(pItem, nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabEntryTest, OpenItemWithoutConnectionFailsInOrder) {
    m_lib.Done();
    IMAPIProp *pItem = nullptr;
    ULONG ulType = 0;
    EXPECT_EQ(m_lib.OpenItem("12AB00", &pItem, &ulType, false), -1);
    EXPECT_EQ(pItem, nullptr);
    EXPECT_EQ(Logged(), "Err in CWABLib::OpenEntry: WAB is not initialized\n");
}

TEST_F(WabEntryTest, DisplayItemPassesTheWindowAndTheId) {
    EXPECT_EQ(m_lib.DisplayItem("12AB00", 0x1234), S_OK);
    ASSERT_EQ(m_pBook->detailsCalls.size(), 1u);
    EXPECT_EQ(m_pBook->detailsCalls[0].ulUIParam, 0x1234u);
    EXPECT_EQ(m_pBook->detailsCalls[0].id, (std::vector<BYTE>{0x12, 0xAB, 0x00}));

    m_pBook->hrDetails = MAPI_E_NO_SUPPORT;
    EXPECT_EQ(m_lib.DisplayItem("34", 0), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabEntryTest, DisplayItemAssertsOnAMissingText) {
    EXPECT_EQ(m_lib.DisplayItem(nullptr, 0), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::DisplayItem: ASSERT failed in line 0\n");
    EXPECT_TRUE(m_pBook->detailsCalls.empty());

    m_log.Clear();
    m_lib.DisplayItem("", 0); // asserted, and the address book decides
    EXPECT_EQ(Logged(), "Err in CWABLib::DisplayItem: ASSERT failed in line 0\n");
}
