// Listing the containers of the address book, with the number of entries in each.
#include <cstring>

#include "wab_fixture.h"

using testsupport::FakeContainer;
using testsupport::FakeProp;

namespace {

std::vector<FakeProp> ContainerRow(const std::vector<BYTE> &id, const char *pszName, ULONG ulFlags) {
    std::vector<FakeProp> row{FakeProp::Binary(PR_ENTRYID, id)};
    if (pszName) row.push_back(FakeProp::String(PR_DISPLAY_NAME, pszName));
    row.push_back(FakeProp::Long(PR_CONTAINER_FLAGS, static_cast<LONG>(ulFlags)));
    return row;
}

class WabFoldersTest : public WabFixture {
protected:
    // A container the book opens by id, with nEntries rows in its contents table. The book keeps it alive.
    FakeContainer *AddContainer(const std::vector<BYTE> &id, size_t nEntries) {
        FakeContainer *pContainer = new FakeContainer(m_pWab);
        for (size_t i = 0; i < nEntries; ++i)
            pContainer->rows.push_back({FakeProp::Binary(PR_ENTRYID, {0xE0, static_cast<BYTE>(i)})});
        m_pBook->AddEntry(id, pContainer, MAPI_ABCONT);
        pContainer->Release();
        return pContainer;
    }

    WABFolders *m_pFolders = nullptr;

    void TearDown() override {
        WABFreeFolders(m_pFolders);
        WabFixture::TearDown();
    }
};

} // namespace

TEST_F(WabFoldersTest, ListsEveryContainerWithItsCount) {
    Connect();
    AddContainer({0x01, 0xAB}, 3);
    AddContainer({0x02, 0x0C, 0xFF}, 0);
    m_pBook->root->rows = {ContainerRow({0x01, 0xAB}, "Contacts", AB_MODIFIABLE | AB_RECIPIENTS),
                           ContainerRow({0x02, 0x0C, 0xFF}, "Work", AB_RECIPIENTS)};

    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
    ASSERT_NE(m_pFolders, nullptr);
    ASSERT_EQ(m_pFolders->cFolders, 2u);
    const WABFolder &first = m_pFolders->pFolders[0];
    EXPECT_EQ(first.cbSize, sizeof(WABFolder));
    EXPECT_STREQ(first.szEntry, "01AB");
    EXPECT_STREQ(first.szName, "Contacts");
    EXPECT_EQ(first.ulContainerFlags, AB_MODIFIABLE | AB_RECIPIENTS);
    EXPECT_EQ(first.nItems, 3);
    const WABFolder &second = m_pFolders->pFolders[1];
    EXPECT_STREQ(second.szEntry, "020CFF");
    EXPECT_STREQ(second.szName, "Work");
    EXPECT_EQ(second.nItems, 0);

    // The root was opened with no id and the best access; the containers were counted with an unflagged table.
    ASSERT_GE(m_pBook->openCalls.size(), 3u);
    EXPECT_TRUE(m_pBook->openCalls[0].id.empty());
    EXPECT_EQ(m_pBook->openCalls[0].lpInterface, nullptr);
    EXPECT_EQ(m_pBook->openCalls[0].ulFlags, MAPI_BEST_ACCESS);
    EXPECT_EQ(m_pBook->openCalls[1].ulFlags, MAPI_BEST_ACCESS);
    EXPECT_EQ(m_pBook->root->contentsFlags, std::vector<ULONG>{0});
    EXPECT_EQ(Logged(), "");
    EXPECT_EQ(testsupport::RefCount(m_pBook->root), 1u); // the root is released again
}

TEST_F(WabFoldersTest, LocalOnlyAsksForLocalContainers) {
    Connect();
    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, true), S_OK);
    EXPECT_EQ(m_pBook->root->contentsFlags, std::vector<ULONG>{WAB_LOCAL_CONTAINERS});
}

TEST_F(WabFoldersTest, RootWithoutRowsGivesAnEmptyListNotNull) {
    Connect();
    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
    ASSERT_NE(m_pFolders, nullptr);
    EXPECT_EQ(m_pFolders->cFolders, 0u);
    EXPECT_EQ(m_pFolders->pFolders, nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabFoldersTest, DisplayNameAsErrorGivesNullName) {
    Connect();
    AddContainer({0x07}, 1);
    m_pBook->root->rows = {{FakeProp::Binary(PR_ENTRYID, {0x07}), FakeProp::Error(PR_DISPLAY_NAME, MAPI_E_NOT_FOUND),
                            FakeProp::Error(PR_CONTAINER_FLAGS, MAPI_E_NOT_FOUND)}};
    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
    ASSERT_EQ(m_pFolders->cFolders, 1u);
    EXPECT_STREQ(m_pFolders->pFolders[0].szEntry, "07");
    EXPECT_EQ(m_pFolders->pFolders[0].szName, nullptr);
    EXPECT_EQ(m_pFolders->pFolders[0].ulContainerFlags, 0u);
    EXPECT_EQ(m_pFolders->pFolders[0].nItems, 1);
}

TEST_F(WabFoldersTest, RowsWithoutEntryIdAreLeftOutSilently) {
    Connect();
    AddContainer({0x09}, 2);
    m_pBook->root->rows = {{FakeProp::String(PR_DISPLAY_NAME, "no id")},
                           ContainerRow({}, "empty id", 0),
                           {FakeProp::Error(PR_ENTRYID, MAPI_E_NOT_FOUND), FakeProp::String(PR_DISPLAY_NAME, "x")},
                           ContainerRow({0x09}, "kept", 0)};
    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
    ASSERT_EQ(m_pFolders->cFolders, 1u);
    EXPECT_STREQ(m_pFolders->pFolders[0].szName, "kept");
    EXPECT_EQ(m_pFolders->pFolders[0].nItems, 2);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabFoldersTest, RootThatCannotBeOpenedGivesItsCodeAndNoList) {
    Connect();
    m_pBook->FailEntry({}, MAPI_E_NO_ACCESS);
    m_pFolders = reinterpret_cast<WABFolders *>(8);
    EXPECT_EQ(m_lib.GetFolders(&m_pFolders, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(m_pFolders, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::GetFolders: Open Root Container\n");
}

TEST_F(WabFoldersTest, RootWithoutTableGivesItsCodeAndNoList) {
    Connect();
    m_pBook->root->hrContents = MAPI_E_NO_SUPPORT;
    EXPECT_EQ(m_lib.GetFolders(&m_pFolders, false), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(m_pFolders, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80040102] in CWABLib::GetFolders: Open Root Container\n");
    EXPECT_EQ(testsupport::RefCount(m_pBook->root), 1u);
}

TEST_F(WabFoldersTest, RowCountFailureGivesItsCodeAndNoList) {
    Connect();
    m_pBook->root->hrGetRowCount = MAPI_E_CALL_FAILED;
    EXPECT_EQ(m_lib.GetFolders(&m_pFolders, false), MAPI_E_CALL_FAILED);
    EXPECT_EQ(m_pFolders, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80004005] in CWABLib::GetFolders: RootTable->GetRowCount\n");
}

TEST_F(WabFoldersTest, QueryRowsFailureGivesItsCodeAndAnEmptyList) {
    Connect();
    m_pBook->root->rows = {ContainerRow({0x01}, "a", 0)};
    m_pBook->root->hrQueryRows = MAPI_E_TOO_BIG;
    EXPECT_EQ(m_lib.GetFolders(&m_pFolders, false), MAPI_E_TOO_BIG);
    ASSERT_NE(m_pFolders, nullptr);
    EXPECT_EQ(m_pFolders->cFolders, 0u);
    EXPECT_EQ(m_pFolders->pFolders, nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabFoldersTest, ContainerThatCannotBeCountedStaysWithMinusOne) {
    Connect();
    m_pBook->FailEntry({0x01}, MAPI_E_NO_ACCESS); // cannot be opened
    testsupport::FakeMailUser *pUser = new testsupport::FakeMailUser(m_pWab);
    m_pBook->AddEntry({0x02}, pUser, MAPI_MAILUSER); // is no container
    pUser->Release();
    AddContainer({0x03}, 1)->hrContents = MAPI_E_CALL_FAILED;   // has no table
    AddContainer({0x04}, 1)->hrGetRowCount = MAPI_E_NO_SUPPORT; // cannot count
    AddContainer({0x05}, 0)->hrContents = MAPI_E_NOT_FOUND;     // empty: no table at all
    m_pBook->root->rows = {ContainerRow({0x01}, "a", 0), ContainerRow({0x02}, "b", 0), ContainerRow({0x03}, "c", 0),
                           ContainerRow({0x04}, "d", 0), ContainerRow({0x05}, "e", 0)};

    ASSERT_EQ(m_lib.GetFolders(&m_pFolders, false), S_OK);
    ASSERT_EQ(m_pFolders->cFolders, 5u);
    EXPECT_EQ(m_pFolders->pFolders[0].nItems, -1);
    EXPECT_EQ(m_pFolders->pFolders[1].nItems, -1);
    EXPECT_EQ(m_pFolders->pFolders[2].nItems, -1);
    EXPECT_EQ(m_pFolders->pFolders[3].nItems, -1);
    EXPECT_EQ(m_pFolders->pFolders[4].nItems, 0);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::_GetItemsCount: AddrBook->OpenEntry\n"
                        "Err[0x6] in CWABLib::_GetItemsCount: Object is not ABContainer\n"
                        "Err[0x80004005] in CWABLib::_GetItemsCount: Container->GetContentsTable\n"
                        "Err[0x80040102] in CWABLib::_GetItemsCount: Table->GetRowCount\n");
    EXPECT_EQ(testsupport::RefCount(pUser), 1u); // the contact opened for counting was released
}

TEST_F(WabFoldersTest, NullOutAssertsAndFails) {
    Connect();
    EXPECT_EQ(m_lib.GetFolders(nullptr, false), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::GetFolders: ASSERT failed in line 0\n");
}

TEST_F(WabFoldersTest, FreeFoldersIgnoresNull) { WABFreeFolders(nullptr); }
