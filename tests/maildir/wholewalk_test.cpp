// Walks through a folder that read each new message whole, as a scan comparing bodies does, and walks that mix
// such reads with header reads: what every read gives, and how often each file is opened for it.
#include <map>

#include "maildir/maildir_fixture.h"
#include "support/file_watch.h"

using namespace maildirtest;

namespace {

using WholeWalkTest = MaildirTest;
using testsupport::CFileWatch;

std::string NameOf(int i) { return std::to_string(1000 + i) + ".M" + std::to_string(i) + "P1.h:2,S"; }

// Message i of a folder of kCount under its subject strPrefix<i>, bodies of many sizes (most beyond a first header
// read), some with no body; message nBig more than the read-ahead holds.
void WriteMessages(const fs::path &root, int nCount, const std::string &strPrefix = "m", int nBig = 0) {
    MakeMaildir(root);
    for (int i = 1; i <= nCount; ++i) {
        std::string strText = Message(strPrefix + std::to_string(i), std::string(i * 977 % 30000, 'b') + "\n");
        if (i % 11 == 0) strText = "Subject: " + strPrefix + std::to_string(i) + "\n"; // a header block alone
        if (i == nBig) strText = Message(strPrefix + std::to_string(i), std::string(5 << 20, 'x'));
        WriteFileText(root / "cur" / NameOf(i), strText);
    }
}

// What a read of message i gives: "subject|size".
std::string Want(const fs::path &root, int i, const std::string &strPrefix = "m") {
    return strPrefix + std::to_string(i) + "|" + std::to_string(fs::file_size(root / "cur" / NameOf(i)));
}

// Opens message id and reads it as a scan does: with bHeadFirst its subject first (a header read), then its size,
// which needs the whole message; "subject|size", or the failure.
std::string Read(IStoreFolder *pFolder, MESSAGEID id, bool bHeadFirst) {
    IMimeMessage *pMessage = nullptr;
    HRESULT hr = pFolder->OpenMessage(id, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage));
    if (FAILED(hr)) return "open failed " + std::to_string(hr);
    std::string strSubject = bHeadFirst ? Subject(pMessage) : "";
    ULARGE_INTEGER cb{};
    hr = pMessage->GetSizeMax(&cb);
    if (!bHeadFirst) strSubject = Subject(pMessage);
    pMessage->Release();
    return hr == S_OK ? strSubject + "|" + std::to_string(cb.QuadPart) : "size failed " + std::to_string(hr);
}

// The subject of message id alone, a header read.
std::string ReadSubject(IStoreFolder *pFolder, MESSAGEID id) {
    IMimeMessage *pMessage = nullptr;
    if (FAILED(pFolder->OpenMessage(id, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)))) return "<failed>";
    std::string str = Subject(pMessage);
    pMessage->Release();
    return str;
}

// Adds the opens the watch saw since its last Take to counts.
void AddOpens(CFileWatch &watch, std::map<std::string, int> &counts) {
    for (const auto &[strName, n] : watch.Take()) counts[strName] += n;
}

TEST_F(WholeWalkTest, EachFileIsReadOnceAndTheWalksFilesAheadOfItsReads) {
    const int kCount = 120, kBig = 50;
    WriteMessages(Root(), kCount, "m", kBig); // its reader reads the big one itself
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox, MSGPROPS_FAST).size(), static_cast<size_t>(kCount));
    CFileWatch watch(Root() / "cur");
    ASSERT_TRUE(watch.Valid());
    std::map<std::string, int> counts, want;
    for (int id = 1; id <= kCount; ++id) {
        // The walk began with the second message; the files after it are read before their messages are asked for.
        if (id > 2 && id != kBig) {
            ASSERT_TRUE(watch.WaitForOpen(NameOf(id), counts)) << id;
        }
        EXPECT_EQ(Read(pInbox, id, false), Want(Root(), id)) << id;
        ++want[NameOf(id)];
        if (id % 5 == 0 && id > 10) { // as a search does: an earlier message between
            EXPECT_EQ(Read(pInbox, id - 10, false), Want(Root(), id - 10)) << id - 10;
            ++want[NameOf(id - 10)];
        }
    }
    AddOpens(watch, counts);
    EXPECT_EQ(counts, want);
    pInbox->Release();
    pNs->Release();
}

TEST_F(WholeWalkTest, AWalkSwitchingBetweenHeaderAndWholeReadsReadsEachFileAtMostAsOftenAsItsReadsNeed) {
    const int kCount = 220;
    WriteMessages(Root(), kCount);
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    ASSERT_EQ(List(pInbox, MSGPROPS_FAST).size(), static_cast<size_t>(kCount));
    CFileWatch watch(Root() / "cur");
    ASSERT_TRUE(watch.Valid());
    std::map<std::string, int> counts;
    for (int id = 1; id <= 10; ++id) EXPECT_EQ(Read(pInbox, id, false), Want(Root(), id)) << id;
    // Read ahead whole: its header read takes all of the file, and the size that follows needs no other read.
    ASSERT_TRUE(watch.WaitForOpen(NameOf(11), counts));
    EXPECT_EQ(Read(pInbox, 11, true), Want(Root(), 11));
    AddOpens(watch, counts);
    EXPECT_EQ(counts[NameOf(11)], 1);
    // Header reads and then the size: the files read ahead as header blocks meanwhile are read again, no more.
    for (int id = 12; id <= 30; ++id) EXPECT_EQ(Read(pInbox, id, true), Want(Root(), id)) << id;
    // Header reads alone: one read each, whichever way it was read ahead.
    for (int id = 31; id <= 60; ++id) EXPECT_EQ(ReadSubject(pInbox, id), "m" + std::to_string(id)) << id;
    // Whole reads again: the files asked for after the switch are read whole ahead, once.
    for (int id = 61; id <= kCount; ++id) EXPECT_EQ(Read(pInbox, id, false), Want(Root(), id)) << id;
    AddOpens(watch, counts);
    for (int id = 1; id <= kCount; ++id) {
        int nMax = (id >= 12 && id <= 30) || (id >= 61 && id < 130) ? 2 : 1;
        EXPECT_GE(counts[NameOf(id)], 1) << id;
        EXPECT_LE(counts[NameOf(id)], nMax) << id;
    }
    pInbox->Release();
    pNs->Release();
}

TEST_F(WholeWalkTest, AfterAChangeThroughTheLibraryTheWalkReadsTheFilesAsTheyAreNow) {
    const int kCount = 100;
    WriteMessages(Root(), kCount, "old");
    IStoreNamespace *pNs = Open();
    IStoreFolder *pInbox = OpenSpecial(pNs, FOLDER_INBOX);
    CFileWatch watch(Root() / "cur");
    ASSERT_TRUE(watch.Valid());
    for (int id = 1; id <= 10; ++id) EXPECT_EQ(Read(pInbox, id, false), Want(Root(), id, "old")) << id;
    std::map<std::string, int> counts;
    ASSERT_TRUE(watch.WaitForOpen(NameOf(20), counts)); // the files up to it are held read ahead
    // Another program puts new text under the same names, then a flag change through the library.
    for (int i = 11; i <= kCount; ++i) {
        WriteFileText(Root() / "tmp" / "new", Message("new" + std::to_string(i), std::string(i * 13, 'n')));
        fs::rename(Root() / "tmp" / "new", Root() / "cur" / NameOf(i));
    }
    MESSAGEID idFlagged = 1;
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &idFlagged};
    ASSERT_EQ(pInbox->SetFlags(&list, MSG_FLAGGED, MSG_FLAGGED, nullptr), S_OK);
    for (int id = 11; id <= kCount; ++id) EXPECT_EQ(Read(pInbox, id, false), Want(Root(), id, "new")) << id;
    pInbox->Release();
    pNs->Release();
}

} // namespace
