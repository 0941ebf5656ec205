// The messages of a folder: ids, enumeration, external changes, saves, deletes, moves and copies.
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "maildir/maildir_fixture.h"
#include "platform/filestream.h"

using namespace maildirtest;

namespace {

class FolderTest : public MaildirTest {
protected:
    void SetUp() override {
        MaildirTest::SetUp();
        MakeMaildir(Root());
        // Delivered in this order (modification times one second apart).
        for (int i = 1; i <= 3; ++i) {
            fs::path p = Root() / "cur" / ("100" + std::to_string(i) + ".M1P1.host:2,S");
            WriteFileText(p, Message("first-" + std::to_string(i)));
            timespec times[2] = {{1000 + i, 0}, {1000 + i, 0}};
            utimensat(AT_FDCWD, p.c_str(), times, 0);
        }
    }
};

TEST_F(FolderTest, EnumeratesAscendingIdsInDeliveryOrderAndEndsWithSFalse) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(listed[i].id, static_cast<MESSAGEID>(i + 1));
        EXPECT_EQ(listed[i].strSubject, "first-" + std::to_string(i + 1));
        EXPECT_EQ(listed[i].dwState, 0u); // read, nothing else
    }
    // Starting at an id gives that id and the ones above.
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    ASSERT_EQ(pInbox->GetFirstMessage(MSGPROPS_FAST, 0, 2, &props, &hEnum), S_OK);
    EXPECT_EQ(props.dwMessageId, 2u);
    EXPECT_EQ(props.pszSubject, nullptr); // the fast read fills no text
    ASSERT_EQ(pInbox->GetNextMessage(hEnum, MSGPROPS_FAST, &props), S_OK);
    EXPECT_EQ(props.dwMessageId, 3u);
    EXPECT_EQ(pInbox->GetNextMessage(hEnum, MSGPROPS_FAST, &props), S_FALSE);
    pInbox->GetMessageClose(hEnum);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, EmptyFolderEndsAtOnceWithoutHandle) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pTrash = OpenSpecial(pNs, FOLDER_DELETED);
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = reinterpret_cast<HENUMSTORE>(&props);
    EXPECT_EQ(pTrash->GetFirstMessage(0, 0, MESSAGEID_FIRST, &props, &hEnum), S_FALSE);
    EXPECT_EQ(hEnum, nullptr);
    pTrash->Release();
    pNs->Release();
}

TEST_F(FolderTest, IdsAreStableAcrossReopenAndNewMessagesGetHigherIds) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::vector<Listed> before = List(pInbox);
    pInbox->Release();
    pNs->Release();

    // Another program delivers one message into new/ and removes the first one.
    WriteFileText(Root() / "new" / "2000.M1P9.host", Message("delivered"));
    fs::remove(Root() / "cur" / "1001.M1P1.host:2,S");

    pNs = Open();
    pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::vector<Listed> after = List(pInbox);
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(after[0].id, before[1].id);
    EXPECT_EQ(after[1].id, before[2].id);
    EXPECT_EQ(after[2].id, 4u);
    EXPECT_EQ(after[2].strSubject, "delivered");
    EXPECT_EQ(after[2].dwState, MSG_UNREAD);
    // The vanished message's id is not given again.
    MESSAGEID idNew = Save(pInbox, Message("saved"));
    EXPECT_EQ(idNew, 5u);
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    EXPECT_LT(pInbox->GetMessageProps(1, 0, &props), 0);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, SeesDeliveryAndFlagChangesOfOtherProgramsBetweenEnumerations) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox).size(), 3u);

    WriteFileText(Root() / "new" / "3000.M1P9.host", Message("late"));
    // mutt marks message 2 replied and flagged, and message 3 unread.
    fs::rename(Root() / "cur" / "1002.M1P1.host:2,S", Root() / "cur" / "1002.M1P1.host:2,FRS");
    fs::rename(Root() / "cur" / "1003.M1P1.host:2,S", Root() / "cur" / "1003.M1P1.host:2,");

    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 4u);
    EXPECT_EQ(listed[1].dwState, MSG_REPLIED | MSG_FLAGGED);
    EXPECT_EQ(listed[2].dwState, MSG_UNREAD);
    EXPECT_EQ(listed[3].id, 4u);
    EXPECT_EQ(listed[3].strSubject, "late");

    // A flag change between the listing and a read is followed by id.
    fs::rename(Root() / "cur" / "1001.M1P1.host:2,S", Root() / "cur" / "1001.M1P1.host:2,ST");
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    ASSERT_EQ(pInbox->GetMessageProps(1, 0, &props), S_OK);
    EXPECT_EQ(props.dwState, MSG_DELETED);
    EXPECT_STREQ(props.pszSubject, "first-1");
    pInbox->FreeMessageProps(&props);
    EXPECT_EQ(props.pszSubject, nullptr);
    pInbox->Release();
    pNs->Release();
}

void AgeBy(const fs::path &path, int nSeconds) {
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    timespec times[2] = {{st.st_mtim.tv_sec - nSeconds, 0}, {st.st_mtim.tv_sec - nSeconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST_F(FolderTest, AnUnchangedFolderIsNotReadAgainButAnyChangeIsSeen) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox).size(), 3u);
    fs::path list = Root() / "tessel-uidlist";
    for (const fs::path &p : {list, Root() / "cur", Root() / "new"}) AgeBy(p, 10);
    ASSERT_EQ(List(pInbox).size(), 3u); // read again, and from now on these times are trusted

    // The list changed behind the store's back, same inode, size and time: the reading is skipped.
    struct stat st;
    ASSERT_EQ(stat(list.c_str(), &st), 0);
    std::string strList = ReadFileText(list);
    size_t n = strList.find("\n1 0 c ");
    ASSERT_NE(n, std::string::npos);
    strList[n + 1] = '7'; // ids out of order: a reading would find the list damaged
    WriteFileText(list, strList);
    timespec times[2] = {st.st_mtim, st.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, list.c_str(), times, 0), 0);
    std::vector<Listed> cached = List(pInbox);
    ASSERT_EQ(cached.size(), 3u);
    EXPECT_EQ(cached[0].id, 1u);
    EXPECT_EQ(LogText().find("damaged"), std::string::npos);

    // A flag change by another program touches cur/: the next enumeration reads everything again.
    fs::rename(Root() / "cur" / "1002.M1P1.host:2,S", Root() / "cur" / "1002.M1P1.host:2,FS");
    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 3u);
    EXPECT_NE(LogText().find("damaged"), std::string::npos);
    bool bSeen = false;
    for (const Listed &l : listed)
        if (l.strSubject == "first-2") bSeen = l.dwState == MSG_FLAGGED;
    EXPECT_TRUE(bSeen);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, SetFlagsRenamesForMaildirFlagsAndKeepsOtherBitsInTheUidList) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    MESSAGEID id = 2;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
    DWORD dwNew = 0;
    ASSERT_EQ(pInbox->SetFlags(&list, MSG_UNREAD | MSG_FLAGGED | MSG_SUBMITTED, MSG_UNREAD | MSG_FLAGGED | MSG_SUBMITTED,
                               &dwNew),
              S_OK);
    EXPECT_EQ(dwNew, MSG_UNREAD | MSG_FLAGGED | MSG_SUBMITTED);
    EXPECT_TRUE(fs::exists(Root() / "cur" / "1002.M1P1.host:2,F"));
    pInbox->Release();
    pNs->Release();

    pNs = Open();
    pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    ASSERT_EQ(pInbox->GetMessageProps(2, MSGPROPS_FAST, &props), S_OK);
    EXPECT_EQ(props.dwState, MSG_UNREAD | MSG_FLAGGED | MSG_SUBMITTED);
    // Switching bits on only (state and mask the same) leaves the others.
    ASSERT_EQ(pInbox->SetFlags(&list, MSG_REPLIED, MSG_REPLIED, nullptr), S_OK);
    ASSERT_EQ(pInbox->GetMessageProps(2, MSGPROPS_FAST, &props), S_OK);
    EXPECT_EQ(props.dwState, MSG_UNREAD | MSG_FLAGGED | MSG_SUBMITTED | MSG_REPLIED);
    EXPECT_TRUE(fs::exists(Root() / "cur" / "1002.M1P1.host:2,FR"));
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, DeleteMovesToANewTrashUnderAHigherIdWithTheSameBytes) {
    ASSERT_FALSE(fs::exists(Root() / ".Trash"));
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::string strBytes = Bytes(pInbox, 2);
    MESSAGEID id = 2;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
    ASSERT_EQ(pInbox->DeleteMessages(&list, 0, nullptr), S_OK);
    EXPECT_TRUE(fs::is_directory(Root() / ".Trash" / "cur")); // Maildir++ store: the Trash is a dot folder
    EXPECT_TRUE(fs::exists(Root() / ".Trash" / "maildirfolder"));
    EXPECT_EQ(List(pInbox).size(), 2u);

    IStoreFolder *pTrash = OpenSpecial(pNs, FOLDER_DELETED);
    FOLDERPROPS fp{};
    fp.cbSize = sizeof(fp);
    ASSERT_EQ(pTrash->GetFolderProps(0, &fp), S_OK);
    EXPECT_EQ(fp.sfType, FOLDER_DELETED);
    EXPECT_STREQ(fp.szName, "Trash");
    std::vector<Listed> trash = List(pTrash);
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(Bytes(pTrash, trash[0].id), strBytes);

    // A second delete lands above everything in the Trash.
    MESSAGEID idNext = 3;
    MESSAGEIDLIST next{sizeof(MESSAGEIDLIST), 1, &idNext};
    ASSERT_EQ(pInbox->DeleteMessages(&next, 0, nullptr), S_OK);
    std::vector<Listed> trash2 = List(pTrash);
    ASSERT_EQ(trash2.size(), 2u);
    EXPECT_EQ(trash2[0].id, trash[0].id);
    EXPECT_GT(trash2[1].id, trash[0].id);
    EXPECT_EQ(trash2[1].strSubject, "first-3");
    pTrash->Release();
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, DeleteInDeletedItemsUnlinksAndIdsAreNotReused) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IStoreFolder *pTrash = OpenSpecial(pNs, FOLDER_DELETED);
    MESSAGEID ids[2] = {1, 2};
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 2, ids};
    ASSERT_EQ(pInbox->DeleteMessages(&list, 0, nullptr), S_OK);
    std::vector<Listed> trash = List(pTrash);
    ASSERT_EQ(trash.size(), 2u);
    MESSAGEID idTop = trash[1].id;

    MESSAGEID idDel = idTop;
    MESSAGEIDLIST one{sizeof(MESSAGEIDLIST), 1, &idDel};
    ASSERT_EQ(pTrash->DeleteMessages(&one, 0, nullptr), S_OK);
    EXPECT_EQ(MessageFiles(Root() / ".Trash").size(), 1u);
    EXPECT_EQ(MessageFiles(Root()).size(), 1u);

    MESSAGEID idLast = 3;
    MESSAGEIDLIST third{sizeof(MESSAGEIDLIST), 1, &idLast};
    ASSERT_EQ(pInbox->DeleteMessages(&third, 0, nullptr), S_OK);
    trash = List(pTrash);
    ASSERT_EQ(trash.size(), 2u);
    EXPECT_GT(trash[1].id, idTop); // the unlinked message's id stays unused
    pTrash->Release();
    pInbox->Release();
    pNs->Release();
}

// Ids with gaps before, between and after the messages: each id reaches its own message, a gone id none.
TEST_F(FolderTest, EveryIdFindsItsMessageAcrossGapsLeftByDeletes) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    WriteFileText(Root() / "new" / "1004.M1P1.host", Message("first-4"));
    WriteFileText(Root() / "new" / "1005.M1P1.host", Message("first-5"));
    ASSERT_EQ(List(pInbox).size(), 5u);
    MESSAGEID rgGone[2] = {1, 3};
    MESSAGEIDLIST gone{sizeof(MESSAGEIDLIST), 2, rgGone};
    ASSERT_EQ(pInbox->DeleteMessages(&gone, 0, nullptr), S_OK);
    for (MESSAGEID id = 0; id <= 7; id++) {
        MESSAGEPROPS props{};
        props.cbSize = sizeof(props);
        HRESULT hr = pInbox->GetMessageProps(id, 0, &props);
        if (id == 2 || id == 4 || id == 5) {
            ASSERT_EQ(hr, S_OK) << "id " << id;
            EXPECT_EQ(std::string(props.pszSubject), "first-" + std::to_string(id));
            pInbox->FreeMessageProps(&props);
        } else {
            EXPECT_LT(hr, 0) << "id " << id;
        }
    }
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, DeleteOfAnUnknownIdFailsAndChangesNothing) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    MESSAGEID id = 77;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
    EXPECT_LT(pInbox->DeleteMessages(&list, 0, nullptr), 0);
    EXPECT_EQ(MessageFiles(Root()).size(), 3u);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, SaveMessageWritesANewFileWithFlagsAndState) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::string strText = Message("saved", "a body\n");
    MESSAGEID id = Save(pInbox, strText, MSG_UNREAD | MSG_UNSENT | MSG_SUBMITTED);
    EXPECT_EQ(id, 4u);
    EXPECT_EQ(Bytes(pInbox, id), strText);
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    ASSERT_EQ(pInbox->GetMessageProps(id, 0, &props), S_OK);
    EXPECT_EQ(props.dwState, MSG_UNREAD | MSG_UNSENT | MSG_SUBMITTED);
    EXPECT_EQ(props.cbMessage, strText.size());
    pInbox->FreeMessageProps(&props);
    int nDraftNames = 0;
    for (const fs::path &p : MessageFiles(Root()))
        if (p.filename().string().size() > 4 && p.filename().string().substr(p.filename().string().size() - 4) == ":2,D")
            ++nDraftNames;
    EXPECT_EQ(nDraftNames, 1);
    EXPECT_TRUE(fs::is_empty(Root() / "tmp"));
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, CreateStreamAndCommitStreamMakeTheReservedId) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pDrafts = OpenSpecial(pNs, FOLDER_DRAFT);
    EXPECT_TRUE(fs::is_directory(Root() / ".Drafts"));
    IStream *pStream = nullptr;
    MESSAGEID id = 0;
    ASSERT_EQ(pDrafts->CreateStream(nullptr, 0, &pStream, &id), S_OK);
    // Another handle on the same folder sees no message while the stream is open.
    IStoreFolder *pOther = OpenSpecial(pNs, FOLDER_DRAFT);
    EXPECT_TRUE(List(pOther).empty());
    std::string strText = Message("draft");
    ASSERT_EQ(pStream->Write(strText.data(), static_cast<ULONG>(strText.size()), nullptr), S_OK);
    ASSERT_EQ(pDrafts->CommitStream(nullptr, 0, 0x0E, pStream, id, nullptr), S_OK);
    pStream->Release();
    std::vector<Listed> listed = List(pOther);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].id, id);
    EXPECT_EQ(listed[0].dwState, 0x0Eu);
    // A stream released without commit leaves nothing, and its id is spent.
    MESSAGEID idDropped = 0;
    ASSERT_EQ(pDrafts->CreateStream(nullptr, 0, &pStream, &idDropped), S_OK);
    pStream->Release();
    EXPECT_EQ(List(pOther).size(), 1u);
    EXPECT_GT(Save(pOther, Message("after")), idDropped);
    pOther->Release();
    pDrafts->Release();
    pNs->Release();
}

TEST_F(FolderTest, CommitStreamRefusesAForeignStream) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IStream *pMine = nullptr;
    MESSAGEID id = 0;
    ASSERT_EQ(pInbox->CreateStream(nullptr, 0, &pMine, &id), S_OK);
    IStream *pMemory = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("x", 1, &pMemory), S_OK);
    EXPECT_EQ(pInbox->CommitStream(nullptr, 0, 0, pMemory, id, nullptr), E_INVALIDARG);
    EXPECT_EQ(pInbox->CommitStream(nullptr, 0, 0, pMine, id + 1, nullptr), E_INVALIDARG);
    pMemory->Release();
    pMine->Release();
    EXPECT_EQ(List(pInbox).size(), 3u);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, OpenedStreamKeepsItsBytesWhenTheMessageMoves) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IStream *pStream = nullptr;
    ASSERT_EQ(pInbox->OpenMessage(1, IID_IStream, reinterpret_cast<void **>(&pStream)), S_OK);
    MESSAGEID id = 1;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
    ASSERT_EQ(pInbox->DeleteMessages(&list, 0, nullptr), S_OK);
    STATSTG st{};
    ASSERT_EQ(pStream->Stat(&st, STATFLAG_NONAME), S_OK);
    std::string strText(st.cbSize.QuadPart, '\0');
    ULONG cb = 0;
    ASSERT_EQ(pStream->Read(strText.data(), static_cast<ULONG>(strText.size()), &cb), S_OK);
    EXPECT_EQ(strText, Message("first-1"));
    EXPECT_EQ(pStream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
    pStream->Release();
    void *pUnknown = nullptr;
    EXPECT_EQ(pInbox->OpenMessage(2, IID_IUnknown, &pUnknown), E_NOINTERFACE);
    EXPECT_EQ(pUnknown, nullptr);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, MoveAndCopyBetweenFolders) {
    MakeMaildir(Root() / ".Archive");
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IStoreFolder *pArchive = OpenFolder(pNs, FolderId(pNs, "Archive"));
    MESSAGEID idMove = 1, idCopy = 2;
    MESSAGEIDLIST moveList{sizeof(MESSAGEIDLIST), 1, &idMove};
    MESSAGEIDLIST copyList{sizeof(MESSAGEIDLIST), 1, &idCopy};
    ASSERT_EQ(pNs->CopyMoveMessages(pInbox, pArchive, &moveList, CMF_MOVE, 0, nullptr), S_OK);
    ASSERT_EQ(pNs->CopyMoveMessages(pInbox, pArchive, &copyList, 0, 0, nullptr), S_OK);
    std::vector<Listed> inbox = List(pInbox), archive = List(pArchive);
    ASSERT_EQ(inbox.size(), 2u);
    EXPECT_EQ(inbox[0].id, 2u);
    ASSERT_EQ(archive.size(), 2u);
    EXPECT_EQ(archive[0].strSubject, "first-1");
    EXPECT_EQ(archive[1].strSubject, "first-2");
    EXPECT_LT(archive[0].id, archive[1].id);
    EXPECT_EQ(Bytes(pArchive, archive[1].id), Bytes(pInbox, 2));
    pArchive->Release();
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, TwoFilesUnderOneUniqueNameGiveOneMessageAndAMoveGetsAFreshName) {
    MakeMaildir(Root() / ".Archive");
    WriteFileText(Root() / ".Archive" / "new" / "1001.M1P1.host", Message("same-name"));
    WriteFileText(Root() / ".Archive" / "cur" / "1001.M1P1.host:2,S", Message("same-name-read"));
    IStoreNamespace *pNs = Open();
    IStoreFolder *pArchive = OpenFolder(pNs, FolderId(pNs, "Archive"));
    std::vector<Listed> first = List(pArchive);
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(List(pArchive)[0].id, first[0].id);

    // Inbox message 1 has that unique name too: it arrives under a new one, and both are listed.
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    MESSAGEID id = 1;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
    ASSERT_EQ(pNs->CopyMoveMessages(pInbox, pArchive, &list, CMF_MOVE, 0, nullptr), S_OK);
    std::vector<Listed> after = List(pArchive);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[1].strSubject, "first-1");
    EXPECT_EQ(MessageFiles(Root() / ".Archive").size(), 3u);
    EXPECT_EQ(LogText().find("damaged"), std::string::npos);
    pInbox->Release();
    pArchive->Release();
    pNs->Release();
}

TEST_F(FolderTest, DamagedUidListIsRebuiltWithAWarning) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox).size(), 3u);
    pInbox->Release();
    WriteFileText(Root() / "tessel-uidlist", "tessel-uidlist 1 4\n1 0 c 1001.M1P1.host\ngarbage line\n");
    pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 3u);
    EXPECT_EQ(listed[0].id, 1u); // what could be read keeps its id
    EXPECT_GE(listed[1].id, 4u); // the rest get ids above everything the list had given
    EXPECT_NE(LogText().find("War[0x8003001e] in CFolderIndex::Update: The uid list of " + Root().string() + " was damaged"),
              std::string::npos)
        << LogText();
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, FolderRenamedByAnotherProgramGivesAStatus) {
    MakeMaildir(Root() / ".Old");
    WriteFileText(Root() / ".Old" / "cur" / "5.M1P1.host:2,S", Message("kept"));
    IStoreNamespace *pNs = Open();
    STOREFOLDERID idOld = FolderId(pNs, "Old");
    fs::rename(Root() / ".Old", Root() / ".New");
    IStoreFolder *pFolder = nullptr;
    EXPECT_LT(pNs->OpenFolder(idOld, 0, &pFolder), 0);
    EXPECT_EQ(pFolder, nullptr);
    STOREFOLDERID idNew = FolderId(pNs, "New");
    EXPECT_NE(idNew, idOld);
    pFolder = OpenFolder(pNs, idNew);
    EXPECT_EQ(List(pFolder).size(), 1u);
    pFolder->Release();
    pNs->Release();
}

TEST_F(FolderTest, AFullDiskGivesAStatusAndLeavesNoPartialMessage) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    // The file size limit stands in for a full disk: writes beyond it fail.
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string strBig = Message("big", std::string(20000, 'x') + "\n");
    IStream *pText = nullptr;
    ASSERT_EQ(CreateStreamOnBytes(strBig.data(), strBig.size(), &pText), S_OK);
    MESSAGEID id = 0;
    HRESULT hr = pInbox->SaveMessage(IID_IStream, pText, 0, &id);
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, SIG_DFL);
    pText->Release();
    EXPECT_LT(hr, 0);
    EXPECT_TRUE(fs::is_empty(Root() / "tmp"));
    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 3u);
    // The id the failed save had reserved is spent.
    EXPECT_GT(Save(pInbox, Message("fits")), 4u);
    pInbox->Release();
    pNs->Release();
}

TEST_F(FolderTest, AFolderWhoseTmpIsNoDirectoryRefusesSaves) {
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    fs::remove(Root() / "tmp");
    WriteFileText(Root() / "tmp", "not a directory");
    IStream *pText = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("x\n", 2, &pText), S_OK);
    MESSAGEID id = 0;
    EXPECT_LT(pInbox->SaveMessage(IID_IStream, pText, 0, &id), 0);
    pText->Release();
    EXPECT_EQ(List(pInbox).size(), 3u);
    EXPECT_NE(LogText().find("in CStoreFolder::CreateStream: Cant create a message file in " + (Root() / "tmp").string()),
              std::string::npos)
        << LogText();
    pInbox->Release();
    pNs->Release();
}

} // namespace
