// Messages opened as parsed MIME objects and saved from them, and a store built from the shared corpus.
#include <chrono>
#include <set>
#include <thread>

#include "maildir/maildir_fixture.h"
#include "platform/cocreate.h"
#include "platform/mimeole.h"

using namespace maildirtest;

namespace {

using MimeStoreTest = MaildirTest;

TEST_F(MimeStoreTest, OpenAsMimeMessageAndSaveItBackAsANewMessage) {
    MakeMaildir(Root());
    WriteFileText(Root() / "cur" / "1.M1P1.h:2,S", Message("parsed", "text body\n"));
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IMimeMessage *pMessage = nullptr;
    ASSERT_EQ(pInbox->OpenMessage(1, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
    EXPECT_EQ(Subject(pMessage), "parsed");

    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("edited");
    ASSERT_EQ(pMessage->SetProp("Subject", 0, &value), S_OK);
    MESSAGEID idNew = 0;
    ASSERT_EQ(pInbox->SaveMessage(IID_IMimeMessage, pMessage, MSG_FLAGGED, &idNew), S_OK);
    pMessage->Release();
    EXPECT_EQ(idNew, 2u);

    std::vector<Listed> listed = List(pInbox);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].strSubject, "parsed"); // the store never changes a message in place
    EXPECT_EQ(listed[1].strSubject, "edited");
    EXPECT_EQ(listed[1].dwState, MSG_FLAGGED);
    EXPECT_NE(Bytes(pInbox, 2).find("text body"), std::string::npos);
    pInbox->Release();
    pNs->Release();
}

TEST_F(MimeStoreTest, AMessageWhoseFileAnotherProgramRenamedOrRemovedIsFoundAtItsFirstUse) {
    MakeMaildir(Root());
    std::string strText = Message("renamed", "the body\n");
    WriteFileText(Root() / "cur" / "1.M1P1.h:2,S", strText);
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox).size(), 1u);
    fs::rename(Root() / "cur" / "1.M1P1.h:2,S", Root() / "cur" / "1.M1P1.h:2,FS"); // a flag set elsewhere
    IMimeMessage *pMessage = nullptr;
    ASSERT_EQ(pInbox->OpenMessage(1, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
    EXPECT_EQ(Subject(pMessage), "renamed");
    IStream *pSource = nullptr;
    ASSERT_EQ(pMessage->GetMessageSource(&pSource, 0), S_OK);
    std::string strSource(strText.size() + 1, '\0');
    ULONG cbRead = 0;
    ASSERT_EQ(pSource->Read(strSource.data(), static_cast<ULONG>(strSource.size()), &cbRead), S_OK);
    EXPECT_EQ(strSource.substr(0, cbRead), strText);
    pSource->Release();
    pMessage->Release();
    // Gone while the index still lists it: the message is read at its first use, and that use fails.
    fs::remove(Root() / "cur" / "1.M1P1.h:2,FS");
    ASSERT_EQ(pInbox->OpenMessage(1, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
    pSource = nullptr;
    ASSERT_EQ(pMessage->GetMessageSource(&pSource, 0), STG_E_FILENOTFOUND);
    EXPECT_EQ(pSource, nullptr);
    pMessage->Release();
    // Unknown to the index after its refresh: the open itself fails.
    EXPECT_EQ(pInbox->OpenMessage(1, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), STG_E_FILENOTFOUND);
    EXPECT_EQ(pMessage, nullptr);
    pInbox->Release();
    pNs->Release();
}

TEST_F(MimeStoreTest, AHeaderReadReadsTheBlockAloneAndTheBodyFollowsARenameMeanwhile) {
    MakeMaildir(Root());
    std::string strBody(20000, 'b');
    strBody += "\n";
    std::string strText = Message("head first", strBody);
    WriteFileText(Root() / "cur" / "1.M1P1.h:2,S", strText);
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    IMimeMessage *pMessage = nullptr;
    ASSERT_EQ(pInbox->OpenMessage(1, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
    EXPECT_EQ(Subject(pMessage), "head first");
    // Flagged by another program between the header read and the body read: the body comes from the new name.
    fs::rename(Root() / "cur" / "1.M1P1.h:2,S", Root() / "cur" / "1.M1P1.h:2,FS");
    IStream *pBody = nullptr;
    ASSERT_EQ(pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pBody, nullptr), S_OK);
    std::string strRead(strBody.size() + 1, '\0');
    ULONG cbRead = 0;
    ASSERT_EQ(pBody->Read(strRead.data(), static_cast<ULONG>(strRead.size()), &cbRead), S_OK);
    EXPECT_EQ(strRead.substr(0, cbRead), strBody);
    pBody->Release();
    EXPECT_EQ(Subject(pMessage), "head first");
    ULARGE_INTEGER cb{};
    ASSERT_EQ(pMessage->GetSizeMax(&cb), S_OK);
    EXPECT_EQ(cb.QuadPart, strText.size());
    pMessage->Release();
    pInbox->Release();
    pNs->Release();
}

// The header read of message id alone; its result, and the subject in *pstrSubject when it succeeds.
HRESULT ReadSubject(IStoreFolder *pFolder, MESSAGEID id, std::string *pstrSubject) {
    IMimeMessage *pMessage = nullptr;
    HRESULT hr = pFolder->OpenMessage(id, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage));
    if (FAILED(hr)) return hr;
    hr = GetSubject(pMessage, *pstrSubject);
    pMessage->Release();
    return hr;
}

TEST_F(MimeStoreTest, AWalkThroughTheMessagesReadsEachHeaderFromItsOwnFile) {
    MakeMaildir(Root());
    const int kCount = 300;
    std::string strLong = "X-Long: " + std::string(6000, 'x') + "\n";
    for (int i = 1; i <= kCount; ++i) {
        std::string strText = Message("m" + std::to_string(i), std::string(i * 37 % 9000, 'b') + "\n",
                                      i % 7 == 0 ? strLong : "");
        if (i % 11 == 0) strText = "Subject: m" + std::to_string(i) + "\n"; // a header block alone
        WriteFileText(Root() / "cur" / (std::to_string(1000 + i) + ".M" + std::to_string(i) + "P1.h:2,S"), strText);
    }
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox, MSGPROPS_FAST).size(), static_cast<size_t>(kCount));
    // Gone behind the index's back: its read fails as it would without anything read ahead.
    fs::remove(Root() / "cur" / "1150.M150P1.h:2,S");
    for (MESSAGEID id = 1; id <= kCount; ++id) {
        std::string strSubject;
        HRESULT hr = ReadSubject(pInbox, id, &strSubject);
        if (id == 150) {
            EXPECT_EQ(hr, STG_E_FILENOTFOUND);
            continue;
        }
        ASSERT_EQ(hr, S_OK) << id;
        EXPECT_EQ(strSubject, "m" + std::to_string(id));
        if (id % 5 == 0 && id > 10 && id - 10 != 150) { // as a search does: an earlier message between
            ASSERT_EQ(ReadSubject(pInbox, id - 10, &strSubject), S_OK);
            EXPECT_EQ(strSubject, "m" + std::to_string(id - 10));
        }
        if (id % 13 == 0) { // the size needs the whole file: the header read said rightly whether it had it
            IMimeMessage *pMessage = nullptr;
            ASSERT_EQ(pInbox->OpenMessage(id, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
            EXPECT_EQ(Subject(pMessage), "m" + std::to_string(id));
            ULARGE_INTEGER cb{};
            ASSERT_EQ(pMessage->GetSizeMax(&cb), S_OK);
            EXPECT_EQ(cb.QuadPart, fs::file_size(Root() / "cur" / (std::to_string(1000 + id) + ".M" + std::to_string(id) + "P1.h:2,S")));
            pMessage->Release();
        }
    }
    pInbox->Release();
    pNs->Release();
}

TEST_F(MimeStoreTest, AWalkAfterTheFolderChangedReadsTheFilesAsTheyAreNow) {
    MakeMaildir(Root());
    const int kCount = 100;
    auto path = [&](int i) { return Root() / "cur" / (std::to_string(1000 + i) + ".M" + std::to_string(i) + "P1.h:2,S"); };
    for (int i = 1; i <= kCount; ++i) WriteFileText(path(i), Message("old" + std::to_string(i)));
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    std::string strSubject;
    for (MESSAGEID id = 1; id <= 10; ++id) ASSERT_EQ(ReadSubject(pInbox, id, &strSubject), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the messages ahead are read meanwhile
    // Another program puts new text under the same names; the listing that follows sees the folder changed.
    for (int i = 11; i <= kCount; ++i) {
        WriteFileText(Root() / "tmp" / "new", Message("new" + std::to_string(i)));
        fs::rename(Root() / "tmp" / "new", path(i));
    }
    ASSERT_EQ(List(pInbox, MSGPROPS_FAST).size(), static_cast<size_t>(kCount));
    for (MESSAGEID id = 11; id <= kCount; ++id) {
        ASSERT_EQ(ReadSubject(pInbox, id, &strSubject), S_OK);
        EXPECT_EQ(strSubject, "new" + std::to_string(id));
    }
    pInbox->Release();
    pNs->Release();
}

TEST_F(MimeStoreTest, CorpusMessagesListAndOpenWithoutLossAcrossFolders) {
    SKIP_WITHOUT_SHARED_CORPUS();
    fs::path corpus = testsupport::SharedDir() / "corpus" / "mail";
    MakeMaildir(Root());
    MakeMaildir(Root() / ".Malformed");
    std::set<std::string> texts;
    int n = 0;
    for (const auto &entry : fs::recursive_directory_iterator(corpus)) {
        if (!entry.is_regular_file()) continue;
        bool bMalformed = entry.path().string().find("/malformed/") != std::string::npos;
        fs::path dir = bMalformed ? Root() / ".Malformed" : Root();
        // Half of them delivered fresh, half already seen.
        std::string strName = std::to_string(1000 + n) + ".M" + std::to_string(n) + "P1.corpus";
        WriteFileText(dir / (n % 2 ? "new" : "cur") / (n % 2 ? strName : strName + ":2,S"), ReadFileText(entry.path()));
        texts.insert(ReadFileText(entry.path()));
        ++n;
    }
    ASSERT_GT(n, 100);
    IStoreNamespace *pNs = Open();
    std::multiset<std::string> seen;
    for (STOREFOLDERID id : {FolderId(pNs, "Inbox"), FolderId(pNs, "Malformed")}) {
        IStoreFolder *pFolder = OpenFolder(pNs, id);
        std::vector<Listed> listed = List(pFolder); // full props: every header block decoded
        for (const Listed &l : listed) {
            seen.insert(Bytes(pFolder, l.id));
            IMimeMessage *pMessage = nullptr;
            EXPECT_EQ(pFolder->OpenMessage(l.id, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)), S_OK);
            SafeRelease(pMessage);
        }
        // Everything to the Trash and back: the bytes survive.
        std::vector<MESSAGEID> ids;
        for (const Listed &l : listed) ids.push_back(l.id);
        MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), static_cast<DWORD>(ids.size()), ids.data()};
        ASSERT_EQ(pFolder->DeleteMessages(&list, 0, nullptr), S_OK);
        EXPECT_TRUE(List(pFolder).empty());
        pFolder->Release();
    }
    EXPECT_EQ(seen.size(), static_cast<size_t>(n));
    IStoreFolder *pTrash = OpenSpecial(pNs, FOLDER_DELETED);
    std::vector<Listed> trash = List(pTrash);
    EXPECT_EQ(trash.size(), static_cast<size_t>(n));
    std::multiset<std::string> inTrash;
    for (const Listed &l : trash) inTrash.insert(Bytes(pTrash, l.id));
    EXPECT_TRUE(inTrash == seen);
    pTrash->Release();
    pNs->Release();
}

} // namespace
