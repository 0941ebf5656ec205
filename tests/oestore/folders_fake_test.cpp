#include <cstring>
#include <string>

#include "oestore/oelib_fixture.h"

namespace {

using namespace oelibtest;
using testsupport::FakeStoreFolder;

class Folders : public FakeStoreTest {};

TEST_F(Folders, EmptyStoreGivesEmptyListThatFreesCleanly) {
    OEFolders *pFolders = nullptr;
    m_lib.GetFolders(&pFolders);
    ASSERT_NE(pFolders, nullptr);
    EXPECT_EQ(pFolders->cFolders, 0u);
    EXPECT_EQ(pFolders->pFolders, nullptr);
    OEFreeFolders(pFolders);
    OEFreeFolders(nullptr);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Folders, DepthFirstPreOrderWithParentEntries) {
    // Ids: Work 1, Archive 2, Sub 3, Deep 4; the listing must follow the tree, not the ids.
    FakeStoreFolder *pWork = m_pNs->AddFolder(FOLDERID_ROOT, "Work");
    m_pNs->AddFolder(FOLDERID_ROOT, "Archive", FOLDER_DELETED);
    FakeStoreFolder *pSub = m_pNs->AddFolder(pWork->m_dwFolderId, "Sub");
    m_pNs->AddFolder(pSub->m_dwFolderId, "Deep");
    testsupport::FakeMessage unread;
    unread.dwState = MSG_UNREAD;
    pWork->Add(unread);
    pWork->Add({});

    OEFolders *pFolders = nullptr;
    m_lib.GetFolders(&pFolders);
    ASSERT_EQ(pFolders->cFolders, 4u);
    const OEFolder *p = pFolders->pFolders;
    EXPECT_EQ(Text(p[0].szName), "Work");
    EXPECT_EQ(Text(p[0].szEntry), "01000000");
    EXPECT_EQ(p[0].szParentEntry, nullptr);
    EXPECT_EQ(p[0].cMessage, 2u);
    EXPECT_EQ(p[0].cUnread, 1u);
    EXPECT_EQ(p[0].cSubFolders, 1);
    EXPECT_EQ(p[0].sfType, FOLDER_OTHER);
    EXPECT_EQ(p[0].cbSize, sizeof(OEFolder));
    EXPECT_EQ(Text(p[1].szName), "Sub");
    EXPECT_EQ(Text(p[1].szParentEntry), "01000000");
    EXPECT_EQ(Text(p[2].szName), "Deep");
    EXPECT_EQ(Text(p[2].szEntry), "04000000");
    EXPECT_EQ(Text(p[2].szParentEntry), "03000000");
    EXPECT_EQ(Text(p[3].szName), "Archive");
    EXPECT_EQ(p[3].szParentEntry, nullptr);
    EXPECT_EQ(p[3].sfType, FOLDER_DELETED);
    OEFreeFolders(pFolders);
    // A parent's enumeration stays open while its children are walked, and all are closed at the end.
    EXPECT_EQ(m_pNs->nMaxSubEnums, 3);
    EXPECT_EQ(m_pNs->cOpenSubEnums, 0);
}

TEST_F(Folders, SeventeenFoldersGrowTheArrayTwice) {
    for (int i = 0; i < 17; ++i) m_pNs->AddFolder(FOLDERID_ROOT, "Folder " + std::to_string(i));
    OEFolders *pFolders = nullptr;
    m_lib.GetFolders(&pFolders);
    ASSERT_EQ(pFolders->cFolders, 17u);
    for (int i = 0; i < 17; ++i) {
        EXPECT_EQ(Text(pFolders->pFolders[i].szName), "Folder " + std::to_string(i));
        EXPECT_EQ(Text(pFolders->pFolders[i].szEntry), Take(COELib::Folder2Str(i + 1)));
    }
    OEFreeFolders(pFolders);
}

TEST_F(Folders, EnumerationFailingHalfwayLeavesShorterListAndNoLine) {
    FakeStoreFolder *pA = m_pNs->AddFolder(FOLDERID_ROOT, "A");
    m_pNs->AddFolder(pA->m_dwFolderId, "A1");
    m_pNs->AddFolder(pA->m_dwFolderId, "A2");
    m_pNs->AddFolder(FOLDERID_ROOT, "B");
    m_pNs->nFailSubFolderAfter = 2;
    OEFolders *pFolders = nullptr;
    m_lib.GetFolders(&pFolders);
    ASSERT_EQ(pFolders->cFolders, 2u);
    EXPECT_EQ(Text(pFolders->pFolders[0].szName), "A");
    EXPECT_EQ(Text(pFolders->pFolders[1].szName), "A1");
    OEFreeFolders(pFolders);
    EXPECT_EQ(m_pNs->cOpenSubEnums, 0);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Folders, OpenFolderRefusesBadEntriesAndPassesStoreCodes) {
    m_pNs->AddFolder(FOLDERID_ROOT, "A");
    IStoreFolder *pFolder = nullptr;
    EXPECT_EQ(m_lib.OpenFolder("010000", &pFolder), -1);
    EXPECT_TRUE(HasLine(Lines(), "Err in COELib::OpenFolder: Invalid entry - 010000"));
    EXPECT_EQ(pFolder, nullptr);

    ASSERT_EQ(m_lib.OpenFolder("01000000", &pFolder), S_OK);
    ASSERT_NE(pFolder, nullptr);
    pFolder->Release();

    m_log.Clear();
    EXPECT_EQ(m_lib.OpenFolder("07000000", &pFolder), E_INVALIDARG);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::OpenFolder: OpenFolder"));
    m_pNs->hrOpenFolder = E_ACCESSDENIED;
    EXPECT_EQ(m_lib._OpenFolder(1, &pFolder), E_ACCESSDENIED);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070005] in COELib::_OpenFolder: OpenFolder"));
}

TEST_F(Folders, SpecialFolders) {
    FakeStoreFolder *pTrash = m_pNs->AddFolder(FOLDERID_ROOT, "Trash", FOLDER_DELETED);
    IStoreFolder *pFolder = nullptr;
    STOREFOLDERID dwId = 0;
    ASSERT_EQ(m_lib._OpenSpecialFolder(FOLDER_DELETED, &pFolder, &dwId), S_OK);
    EXPECT_EQ(pFolder, pTrash);
    EXPECT_EQ(dwId, pTrash->m_dwFolderId);
    pFolder->Release();
    EXPECT_EQ(testsupport::RefCount(pTrash), 1u);

    char *pszEntry = nullptr;
    ASSERT_EQ(m_lib.GetSpecialFolderEntry(FOLDER_DELETED, &pszEntry), S_OK);
    EXPECT_EQ(Text(pszEntry), "01000000");
    m_lib.FreeBuffer(pszEntry);
    EXPECT_EQ(testsupport::RefCount(pTrash), 1u);

    // Opened but unreadable: the folder is released and nothing handed out.
    pTrash->hrGetFolderProps = E_FAIL;
    pFolder = nullptr;
    EXPECT_EQ(m_lib._OpenSpecialFolder(FOLDER_DELETED, &pFolder, &dwId), E_FAIL);
    EXPECT_EQ(pFolder, nullptr);
    EXPECT_EQ(testsupport::RefCount(pTrash), 1u);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80004005] in COELib::_OpenSpecialFolder: GetFolderProps"));
    pszEntry = nullptr;
    EXPECT_EQ(m_lib.GetSpecialFolderEntry(FOLDER_DELETED, &pszEntry), E_FAIL);
    EXPECT_EQ(pszEntry, nullptr);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80004005] in COELib::GetSpecialFolderEntry: GetFolderProps"));

    EXPECT_EQ(m_lib._OpenSpecialFolder(FOLDER_DRAFT, &pFolder, &dwId), E_INVALIDARG);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::_OpenSpecialFolder: OpenSpecialFolder"));
}

TEST_F(Folders, StoreDirectory) {
    m_pNs->directory = "/home/someone/Maildir";
    char *pszDir = nullptr;
    ASSERT_EQ(m_lib.GetStoreDirectory(&pszDir), S_OK);
    EXPECT_EQ(Text(pszDir), "/home/someone/Maildir");
    m_lib.FreeBuffer(pszDir);

    m_pNs->hrGetDirectory = E_FAIL;
    pszDir = nullptr;
    EXPECT_EQ(m_lib.GetStoreDirectory(&pszDir), E_FAIL);
    EXPECT_EQ(pszDir, nullptr);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80004005] in COELib::GetStoreDirectory: GetDirectory"));
}

TEST_F(Folders, AllocateBufferRefusesNullAndZero) {
    void *pv = nullptr;
    EXPECT_EQ(m_lib.AllocateBuffer(0, &pv), -1);
    EXPECT_EQ(m_lib.AllocateBuffer(16, nullptr), -1);
    EXPECT_EQ(Lines().size(), 2u);
    ASSERT_EQ(m_lib.AllocateBuffer(16, &pv), 0);
    EXPECT_NE(pv, nullptr);
    m_lib.FreeBuffer(pv);
    m_lib.FreeBuffer(nullptr);
}

} // namespace
