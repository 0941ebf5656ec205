#include <string>
#include <vector>

#include "oestore/oelib_fixture.h"

namespace {

using namespace oelibtest;
using testsupport::FakeMessage;
using testsupport::FakeStoreFolder;

class Items : public FakeStoreTest {
protected:
    void SetUp() override {
        FakeStoreTest::SetUp();
        m_pFolder = m_pNs->AddFolder(FOLDERID_ROOT, "Inbox", FOLDER_INBOX);
    }
    MESSAGEID Add(uint64_t nSent, const std::string &subject = "s", DWORD dwState = 0) {
        FakeMessage message;
        message.ftSent = Ft(nSent);
        message.ftReceived = Ft(nSent + 1);
        message.subject = subject;
        message.displayFrom = "From " + subject;
        message.dwState = dwState;
        message.cbMessage = 100;
        message.source = "Subject: " + subject + "\r\n\r\nbody\r\n";
        return m_pFolder->Add(message);
    }
    // The message ids of a listing, in its order.
    std::vector<MESSAGEID> Ids(const OEItems *pItems) {
        std::vector<MESSAGEID> ids;
        for (ULONG i = 0; i < pItems->cItems; ++i) {
            STOREFOLDERID dwFolder = 0;
            MESSAGEID dwMessage = 0;
            EXPECT_TRUE(COELib::Str2ItemEntry(pItems->pItems[i].szEntry, &dwFolder, &dwMessage));
            EXPECT_EQ(dwFolder, m_pFolder->m_dwFolderId);
            ids.push_back(dwMessage);
        }
        return ids;
    }
    FakeStoreFolder *m_pFolder = nullptr;
};

TEST_F(Items, FullListingCopiesEverything) {
    Add(1000, "one", MSG_UNREAD);
    Add(2000, "two");
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, false, false), 0);
    ASSERT_EQ(pItems->cItems, 2u);
    const OEItem &item = pItems->pItems[0];
    EXPECT_EQ(item.cbSize, sizeof(OEItem));
    EXPECT_EQ(Text(item.szEntry), "0100000001000000");
    EXPECT_EQ(item.dwState, MSG_UNREAD);
    EXPECT_EQ(item.cbMessage, 100u);
    EXPECT_EQ(item.priority, IMSG_PRI_NORMAL);
    EXPECT_EQ(item.ftSent.dwLowDateTime, 1000u);
    EXPECT_EQ(item.ftReceived.dwLowDateTime, 1001u);
    EXPECT_EQ(Text(item.szSubject), "one");
    EXPECT_EQ(Text(item.szNormalSubject), "one");
    EXPECT_EQ(Text(item.szDisplayFrom), "From one");
    EXPECT_EQ(item.szDisplayTo, nullptr);
    EXPECT_EQ(m_pFolder->cFullReads, 2);
    EXPECT_EQ(m_pFolder->cFastReads, 0);
    OEFreeItems(pItems);
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    EXPECT_EQ(m_pFolder->cOpenEnums, 0);
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
}

TEST_F(Items, FastListingReadsFastAndGivesShortRecords) {
    Add(1000, "one", MSG_FLAGGED);
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", true, nullptr, false, false), 0);
    ASSERT_EQ(pItems->cItems, 1u);
    EXPECT_EQ(m_pFolder->cFastReads, 1);
    EXPECT_EQ(pItems->pItems[0].dwState, MSG_FLAGGED);
    EXPECT_EQ(pItems->pItems[0].szSubject, nullptr);
    EXPECT_EQ(pItems->pItems[0].ftSent.dwLowDateTime, 0u);
    OEFreeItems(pItems);
}

TEST_F(Items, EmptyFolderSortedOrNot) {
    for (bool bSort : {false, true}) {
        OEItems *pItems = nullptr;
        ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, bSort, false), 0);
        EXPECT_EQ(pItems->cItems, 0u);
        EXPECT_EQ(pItems->pItems, nullptr);
        OEFreeItems(pItems);
    }
}

TEST_F(Items, SortKeepsTiesInStoreOrderBothWays) {
    Add(5);       // 1
    Add(3);       // 2
    Add(5);       // 3
    Add(1);       // 4
    Add(0x1'0000'0000ull); // 5: only the high word is larger
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, true, false), 0);
    EXPECT_EQ(Ids(pItems), (std::vector<MESSAGEID>{4, 2, 1, 3, 5}));
    OEFreeItems(pItems);
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, true, true), 0);
    EXPECT_EQ(Ids(pItems), (std::vector<MESSAGEID>{5, 1, 3, 2, 4}));
    OEFreeItems(pItems);
}

TEST_F(Items, FastSortedRecordsAreShortButKeepSendingTime) {
    Add(7, "late");
    Add(3, "early");
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", true, nullptr, true, false), 0);
    EXPECT_EQ(m_pFolder->cFullReads, 2);
    EXPECT_EQ(Ids(pItems), (std::vector<MESSAGEID>{2, 1}));
    EXPECT_EQ(pItems->pItems[0].ftSent.dwLowDateTime, 3u);
    EXPECT_EQ(pItems->pItems[0].ftReceived.dwLowDateTime, 0u);
    EXPECT_EQ(pItems->pItems[0].cbMessage, 0u);
    EXPECT_EQ(pItems->pItems[0].szSubject, nullptr);
    OEFreeItems(pItems);
}

TEST_F(Items, DateFilterKeepsTheExactTimeAndSkipsATickEarlier) {
    Add(999);
    Add(1000);
    Add(1001);
    FILETIME ftSince = Ft(1000);
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", true, &ftSince, false, false), 0);
    EXPECT_EQ(Ids(pItems), (std::vector<MESSAGEID>{2, 3}));
    EXPECT_EQ(pItems->pItems[0].ftSent.dwLowDateTime, 0u); // the short form without a sort has no time
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    OEFreeItems(pItems);
}

TEST_F(Items, EnumerationFailingHalfwayGivesWhatWasCollected) {
    for (int i = 0; i < 20; ++i) Add(i);
    m_pFolder->nFailEnumAfter = 17;
    OEItems *pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, false, false), 0);
    EXPECT_EQ(pItems->cItems, 17u);
    EXPECT_EQ(Text(pItems->pItems[16].szEntry), "0100000011000000");
    OEFreeItems(pItems);
    EXPECT_EQ(m_pFolder->cOpenEnums, 0);
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    EXPECT_TRUE(Lines().empty());

    m_pFolder->nFailEnumAfter = 0;
    ASSERT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, true, false), 0);
    EXPECT_EQ(pItems->cItems, 0u);
    OEFreeItems(pItems);
}

TEST_F(Items, BadEntryOrUnopenableFolderLeavesOutputUntouched) {
    OEItems *pItems = reinterpret_cast<OEItems *>(0x1);
    EXPECT_EQ(m_lib.GetItems(&pItems, "0100000001", false, nullptr, false, false), -1);
    EXPECT_TRUE(HasLine(Lines(), "Err in COELib::GetItems: Invalid FolderEntry=0100000001"));
    EXPECT_EQ(m_lib.GetItems(&pItems, nullptr, false, nullptr, false, false), -1);
    EXPECT_EQ(m_lib.GetItems(&pItems, "09000000", false, nullptr, false, false), E_INVALIDARG);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::GetItems: OpenFolder"));
    m_pNs->hrGetFolderProps = E_FAIL;
    EXPECT_EQ(m_lib.GetItems(&pItems, "01000000", false, nullptr, false, false), E_FAIL);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80004005] in COELib::GetItems: GetFolderProps"));
    EXPECT_EQ(pItems, reinterpret_cast<OEItems *>(0x1));
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
}

TEST_F(Items, GetItemReadsOneRecord) {
    Add(5, "one");
    OEItem *pItem = nullptr;
    ASSERT_EQ(m_lib.GetItem(&pItem, "0100000001000000", false), 0);
    EXPECT_EQ(Text(pItem->szSubject), "one");
    EXPECT_EQ(pItem->ftSent.dwLowDateTime, 5u);
    OEFreeItem(pItem);
    ASSERT_EQ(m_lib.GetItem(&pItem, "0100000001000000", true), 0);
    EXPECT_EQ(pItem->szSubject, nullptr);
    OEFreeItem(pItem);
    OEFreeItem(nullptr);
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
}

TEST_F(Items, GetItemFailures) {
    OEItem *pItem = nullptr;
    EXPECT_EQ(m_lib.GetItem(&pItem, "01000000010000", false), -1);
    std::vector<std::string> lines = Lines();
    ASSERT_EQ(lines.size(), 2u) << ::testing::PrintToString(lines);
    EXPECT_EQ(lines[0], "Err[0x7] in COELib::Str2ItemEntry: item entry not 8 bytes long");
    EXPECT_EQ(lines[1], "Err[0xffffffff] in COELib::GetItem: Invalid ItemID(01000000010000)");

    m_log.Clear();
    EXPECT_EQ(m_lib.GetItem(&pItem, "0100000009000000", false), E_INVALIDARG); // message gone
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::GetItem: GetMessageProps"));
    EXPECT_EQ(m_lib.GetItem(&pItem, "0900000001000000", false), E_INVALIDARG); // folder gone
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::GetItem: _OpenFolder"));
    EXPECT_EQ(pItem, nullptr);
}

} // namespace
