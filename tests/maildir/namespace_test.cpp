// The store as a whole: where it is, how it is created, its folder tree in both layouts, special folders.
#include <cstdlib>

#include "log/log.h"
#include "maildir/maildir_fixture.h"
#include "platform/cocreate.h"
#include "providers/maildir/storenamespace.h"

using namespace maildirtest;

namespace {

using NamespaceTest = MaildirTest;

std::vector<std::string> Names(const std::vector<FOLDERPROPS> &folders) {
    std::vector<std::string> names;
    for (const FOLDERPROPS &f : folders) names.push_back(f.szName);
    return names;
}

TEST(StoreRoot, ComesFromTesselMaildirThenMaildirThenHome) {
    setenv("TESSEL_MAILDIR", "/a/b", 1);
    setenv("MAILDIR", "/c/d", 1);
    EXPECT_EQ(MaildirStoreRoot(), "/a/b");
    unsetenv("TESSEL_MAILDIR");
    EXPECT_EQ(MaildirStoreRoot(), "/c/d");
    unsetenv("MAILDIR");
    const char *pszHome = getenv("HOME");
    std::string strHome = pszHome ? pszHome : "";
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(MaildirStoreRoot(), "/home/someone/Maildir");
    if (pszHome) setenv("HOME", strHome.c_str(), 1);
}

TEST(CoCreate, KnowsTheStoreNamespaceOnly) {
    void *pv = reinterpret_cast<void *>(1);
    EXPECT_EQ(CoCreateInstance(IID_IStoreFolder, nullptr, 1, IID_IUnknown, &pv), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(pv, nullptr);
    IUnknown *pOuter = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IUnknown, reinterpret_cast<void **>(&pOuter)), S_OK);
    EXPECT_EQ(CoCreateInstance(CLSID_StoreNamespace, pOuter, 5, IID_IStoreNamespace, &pv), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreFolder, &pv), E_NOINTERFACE);
    pOuter->Release();
}

TEST_F(NamespaceTest, MissingStoreFailsWithALogLineUnlessAskedToCreateIt) {
    fs::path root = Root() / "mail" / "box";
    setenv("TESSEL_MAILDIR", root.c_str(), 1);
    IStoreNamespace *pNs = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreNamespace, reinterpret_cast<void **>(&pNs)),
              S_OK);
    EXPECT_LT(pNs->Initialize(nullptr, 1), 0);
    EXPECT_NE(LogText().find("in CStoreNamespace::Initialize: " + root.string() + " is not a Maildir"), std::string::npos)
        << LogText();
    EXPECT_FALSE(fs::exists(root));
    char szDir[260] = {};
    EXPECT_LT(pNs->GetDirectory(szDir, sizeof(szDir)), 0);

    ASSERT_EQ(pNs->Initialize(nullptr, 0), S_OK);
    EXPECT_TRUE(fs::is_directory(root / "cur") && fs::is_directory(root / "new") && fs::is_directory(root / "tmp"));
    ASSERT_EQ(pNs->GetDirectory(szDir, sizeof(szDir)), S_OK);
    EXPECT_EQ(szDir, root.string());
    EXPECT_LT(pNs->GetDirectory(szDir, 5), 0);
    std::vector<FOLDERPROPS> folders = Folders(pNs);
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_STREQ(folders[0].szName, "Inbox");
    EXPECT_EQ(folders[0].sfType, FOLDER_INBOX);
    pNs->Release();
}

TEST_F(NamespaceTest, ADirectoryWithOtherFilesIsNoStoreEvenWithTheCreateFlag) {
    WriteFileText(Root() / "notes.txt", "not mail");
    IStoreNamespace *pNs = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreNamespace, reinterpret_cast<void **>(&pNs)),
              S_OK);
    EXPECT_LT(pNs->Initialize(nullptr, 0), 0);
    EXPECT_FALSE(fs::exists(Root() / "cur"));
    pNs->Release();
}

TEST_F(NamespaceTest, MaildirPlusPlusTreeWithCountsAndSpecialFolders) {
    MakeMaildir(Root());
    for (const char *psz : {".Work", ".Work.Projects", ".Work.Projects.Old", ".Sent Items", ".Deleted Messages", ".Trash",
                            ".archive", ".Drafts"})
        MakeMaildir(Root() / psz);
    WriteFileText(Root() / "new" / "1.M1P1.h", Message("a"));
    WriteFileText(Root() / "cur" / "2.M1P1.h:2,S", Message("b"));
    WriteFileText(Root() / "cur" / "3.M1P1.h:2,F", Message("c"));
    WriteFileText(Root() / "cur" / ".hidden", "x");
    WriteFileText(Root() / ".Work" / "cur" / "4.M1P1.h:2,RS", Message("d"));
    IStoreNamespace *pNs = Open();

    std::vector<FOLDERPROPS> top = Folders(pNs);
    EXPECT_EQ(Names(top), (std::vector<std::string>{"Inbox", "archive", "Deleted Messages", "Drafts", "Sent Items",
                                                    "Trash", "Work"}));
    EXPECT_EQ(top[0].sfType, FOLDER_INBOX);
    EXPECT_EQ(top[0].cMessage, 3u);
    EXPECT_EQ(top[0].cUnread, 2u);
    EXPECT_EQ(top[0].cSubFolders, 0);
    EXPECT_EQ(top[1].sfType, FOLDER_OTHER);
    EXPECT_EQ(top[2].sfType, FOLDER_OTHER); // "Trash" comes first among the names of Deleted Items
    EXPECT_EQ(top[3].sfType, FOLDER_DRAFT);
    EXPECT_EQ(top[4].sfType, FOLDER_SENT);
    EXPECT_EQ(top[5].sfType, FOLDER_DELETED);
    EXPECT_EQ(top[6].cSubFolders, 1);
    EXPECT_EQ(top[6].cMessage, 1u);
    EXPECT_EQ(top[6].cUnread, 0u);

    std::vector<FOLDERPROPS> work = Folders(pNs, top[6].dwFolderId);
    ASSERT_EQ(Names(work), std::vector<std::string>{"Projects"});
    EXPECT_EQ(Names(Folders(pNs, work[0].dwFolderId)), std::vector<std::string>{"Old"});

    // A special folder opens by number.
    IStoreFolder *pSent = OpenSpecial(pNs, FOLDER_SENT);
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    ASSERT_EQ(pSent->GetFolderProps(0, &props), S_OK);
    EXPECT_STREQ(props.szName, "Sent Items");
    pSent->Release();
    pNs->Release();
}

TEST_F(NamespaceTest, NestedLayoutWithoutRootMaildir) {
    for (const char *psz : {"INBOX", "Lists/dev", "Lists/users", "Sent", "Archive/2020"}) MakeMaildir(Root() / psz);
    fs::create_directories(Root() / "Archive"); // not a folder itself: its child stands at the top
    IStoreNamespace *pNs = Open();
    std::vector<FOLDERPROPS> top = Folders(pNs);
    // "Archive" and "Lists" have no cur/: their children stand at the top, named by their path below the root.
    EXPECT_EQ(Names(top), (std::vector<std::string>{"INBOX", "Archive/2020", "Lists/dev", "Lists/users", "Sent"}));
    EXPECT_EQ(top[0].sfType, FOLDER_INBOX);
    EXPECT_EQ(top[4].sfType, FOLDER_SENT);
    // With subfolders in the nested layout, a new top-level folder is a plain directory.
    STOREFOLDERID idNew = 0;
    ASSERT_EQ(pNs->CreateFolder(FOLDERID_ROOT, "Outbox", 0, &idNew), S_OK);
    EXPECT_TRUE(fs::is_directory(Root() / "Outbox" / "cur"));
    IStoreFolder *pOutbox = OpenSpecial(pNs, FOLDER_OUTBOX);
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    ASSERT_EQ(pOutbox->GetFolderProps(0, &props), S_OK);
    EXPECT_EQ(props.dwFolderId, idNew);
    pOutbox->Release();
    pNs->Release();
}

TEST_F(NamespaceTest, NestedLayoutWithRootMaildirAndNewFoldersFollowIt) {
    MakeMaildir(Root());
    MakeMaildir(Root() / "Work");
    MakeMaildir(Root() / "Work" / "Sub");
    IStoreNamespace *pNs = Open();
    std::vector<FOLDERPROPS> top = Folders(pNs);
    ASSERT_EQ(Names(top), (std::vector<std::string>{"Inbox", "Work"}));
    EXPECT_EQ(Names(Folders(pNs, top[1].dwFolderId)), std::vector<std::string>{"Sub"});

    IStoreFolder *pTrash = OpenSpecial(pNs, FOLDER_DELETED);
    pTrash->Release();
    EXPECT_TRUE(fs::is_directory(Root() / "Trash" / "cur"));
    STOREFOLDERID idNew = 0;
    ASSERT_EQ(pNs->CreateFolder(top[1].dwFolderId, "Deeper", 0, &idNew), S_OK);
    EXPECT_TRUE(fs::is_directory(Root() / "Work" / "Deeper" / "new"));
    EXPECT_EQ(pNs->CreateFolder(top[1].dwFolderId, "Deeper", 0, &idNew), static_cast<HRESULT>(0x80030050));
    EXPECT_EQ(pNs->CreateFolder(FOLDERID_ROOT, "../escape", 0, &idNew), E_INVALIDARG);
    pNs->Release();
}

TEST_F(NamespaceTest, FolderIdsPersistAndAreNotReused) {
    MakeMaildir(Root());
    MakeMaildir(Root() / ".B");
    IStoreNamespace *pNs = Open();
    STOREFOLDERID idInbox = FolderId(pNs, "Inbox"), idB = FolderId(pNs, "B");
    pNs->Release();

    MakeMaildir(Root() / ".A"); // sorts before B, but comes later
    fs::remove_all(Root() / ".B");
    MakeMaildir(Root() / ".C");
    pNs = Open();
    EXPECT_EQ(FolderId(pNs, "Inbox"), idInbox);
    STOREFOLDERID idA = FolderId(pNs, "A"), idC = FolderId(pNs, "C");
    EXPECT_GT(idA, idB);
    EXPECT_GT(idC, idA);
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    EXPECT_LT(pNs->GetFolderProps(idB, 0, &props), 0);
    pNs->Release();
    EXPECT_NE(ReadFileText(Root() / "tessel-folders").find(std::to_string(idA) + " .A\n"), std::string::npos);
}

TEST_F(NamespaceTest, EnumerationOfAnUnknownFolderFails) {
    MakeMaildir(Root());
    IStoreNamespace *pNs = Open();
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    EXPECT_LT(pNs->GetFirstSubFolder(999, &props, &hEnum), 0);
    EXPECT_EQ(hEnum, nullptr);
    IStoreFolder *pFolder = nullptr;
    EXPECT_LT(pNs->OpenFolder(999, 0, &pFolder), 0);
    EXPECT_EQ(pFolder, nullptr);
    EXPECT_EQ(pNs->OpenSpecialFolder(17, 0, &pFolder), E_INVALIDARG);
    pNs->Release();
}

} // namespace
