// COELib and the OE exports over real Maildir stores built in temporary directories.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "frame/tessel_record.h"
#include "oestore/oelib.h"
#include "support/file_text.h"
#include "support/log_capture.h"
#include "support/maildir_files.h"
#include "support/paths.h"
#include "tessel.h"

namespace {

using testsupport::MakeMaildir;
using testsupport::WriteFileText;

namespace fs = std::filesystem;

std::string Message(const std::string &subject, const std::string &date) {
    return "From: Someone <someone@example.org>\r\nTo: you@example.org\r\nSubject: " + subject + "\r\nDate: " +
           date + "\r\nMessage-ID: <" + subject + "@example.org>\r\n\r\nBody of " + subject + "\r\n";
}

// Sets an environment variable for the life of the object and puts the old value back.
class ScopedEnv {
public:
    ScopedEnv(const char *pszName, const std::string &value) : m_name(pszName) {
        const char *pszOld = std::getenv(pszName);
        m_bHadOld = pszOld != nullptr;
        if (pszOld) m_old = pszOld;
        setenv(pszName, value.c_str(), 1);
        tzset();
    }
    ~ScopedEnv() {
        if (m_bHadOld)
            setenv(m_name.c_str(), m_old.c_str(), 1);
        else
            unsetenv(m_name.c_str());
        tzset();
    }
    ScopedEnv(const ScopedEnv &) = delete;
    ScopedEnv &operator=(const ScopedEnv &) = delete;

private:
    std::string m_name, m_old;
    bool m_bHadOld = false;
};

std::string Str(const char *psz) { return psz ? psz : "(null)"; }

class MaildirStore : public ::testing::Test {
protected:
    void SetUp() override {
        MakeMaildir(Root());
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
    }
    void TearDown() override { DeleteTessel(m_pLib); }

    const fs::path &Root() const { return m_root.path(); }
    // A message file in dir/cur with the given info flags; files are delivered one second apart, in call order.
    void Deliver(const fs::path &dir, const std::string &text, const std::string &flags = "S") {
        fs::path path = dir / "cur" / ("100000" + std::to_string(m_nDelivered) + ".M1P1.host:2," + flags);
        WriteFileText(path, text);
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1) +
                                      std::chrono::seconds(m_nDelivered));
        m_nDelivered++;
    }
    bool Connect() { return OEInit(m_pLib, nullptr, 0) != 0; }
    // The subjects of a listing in its order.
    std::vector<std::string> Subjects(const OEItems *pItems) {
        std::vector<std::string> subjects;
        for (ULONG i = 0; i < pItems->cItems; ++i) subjects.push_back(Str(pItems->pItems[i].szSubject));
        return subjects;
    }
    std::string FolderEntry(const std::string &name) {
        OEFolders *pFolders = nullptr;
        OEGetFolders(m_pLib, &pFolders);
        std::string entry;
        for (ULONG i = 0; pFolders && i < pFolders->cFolders; ++i)
            if (Str(pFolders->pFolders[i].szName) == name) entry = pFolders->pFolders[i].szEntry;
        OEFreeFolders(m_pLib, pFolders);
        return entry;
    }

    testsupport::TempDir m_root;
    ScopedEnv m_env{"TESSEL_MAILDIR", m_root.path().string()};
    testsupport::CLogCapture m_log;
    CTessel *m_pLib = nullptr;
    int m_nDelivered = 0;
};

TEST_F(MaildirStore, FolderTreeInPreOrderWithParents) {
    MakeMaildir(Root() / ".Work");
    MakeMaildir(Root() / ".Work.Sub");
    MakeMaildir(Root() / ".Zeta");
    Deliver(Root() / ".Work", Message("w", "Mon, 01 Jan 2024 10:00:00 +0000"), "");
    ASSERT_TRUE(Connect());
    OEFolders *pFolders = nullptr;
    OEGetFolders(m_pLib, &pFolders);
    ASSERT_NE(pFolders, nullptr);
    std::vector<std::string> names;
    for (ULONG i = 0; i < pFolders->cFolders; ++i) names.push_back(Str(pFolders->pFolders[i].szName));
    // Whatever else the store lists, each folder comes before its descendants and right after its parent.
    const OEFolder *pWork = nullptr, *pSub = nullptr;
    for (ULONG i = 0; i < pFolders->cFolders; ++i) {
        const OEFolder &folder = pFolders->pFolders[i];
        EXPECT_EQ(folder.cbSize, sizeof(OEFolder));
        EXPECT_EQ(Str(folder.szEntry).size(), 8u);
        if (Str(folder.szName) == "Work") {
            pWork = &folder;
            ASSERT_LT(i + 1, pFolders->cFolders);
            EXPECT_EQ(Str(pFolders->pFolders[i + 1].szName), "Sub");
        }
        if (Str(folder.szName) == "Sub") pSub = &folder;
    }
    ASSERT_NE(pWork, nullptr) << ::testing::PrintToString(names);
    ASSERT_NE(pSub, nullptr);
    EXPECT_EQ(pWork->szParentEntry, nullptr);
    EXPECT_EQ(Str(pSub->szParentEntry), Str(pWork->szEntry));
    EXPECT_EQ(pWork->cSubFolders, 1);
    EXPECT_EQ(pWork->cMessage, 1u);
    EXPECT_EQ(pWork->cUnread, 1u);
    OEFreeFolders(m_pLib, pFolders);
}

TEST_F(MaildirStore, ListingsFastFullFilteredAndSortedWithTies) {
    MakeMaildir(Root() / ".List");
    fs::path dir = Root() / ".List";
    Deliver(dir, Message("b", "Mon, 01 Jan 2024 12:00:00 +0000"));
    Deliver(dir, Message("a", "Mon, 01 Jan 2024 10:00:00 +0000"), "");
    Deliver(dir, Message("c", "Mon, 01 Jan 2024 12:00:00 +0000"), "FS");
    Deliver(dir, Message("d", "Mon, 01 Jan 2024 09:59:59 +0000"));
    ASSERT_TRUE(Connect());
    std::string entry = FolderEntry("List");
    ASSERT_EQ(entry.size(), 8u);

    OEItems *pItems = nullptr;
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 0, nullptr, 0, 0), 0);
    EXPECT_EQ(Subjects(pItems), (std::vector<std::string>{"b", "a", "c", "d"}));
    EXPECT_EQ(pItems->pItems[1].dwState & MSG_UNREAD, MSG_UNREAD);
    EXPECT_EQ(pItems->pItems[2].dwState & MSG_FLAGGED, MSG_FLAGGED);
    EXPECT_GT(pItems->pItems[0].cbMessage, 0u);
    EXPECT_EQ(Str(pItems->pItems[0].szDisplayFrom), "Someone");
    OEFreeItems(m_pLib, pItems);

    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 1, nullptr, 0, 0), 0);
    ASSERT_EQ(pItems->cItems, 4u);
    EXPECT_EQ(pItems->pItems[0].szSubject, nullptr);
    EXPECT_EQ(pItems->pItems[0].ftSent.dwHighDateTime, 0u);
    EXPECT_EQ(pItems->pItems[2].dwState & MSG_FLAGGED, MSG_FLAGGED);
    OEFreeItems(m_pLib, pItems);

    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 0, nullptr, 1, 0), 0);
    EXPECT_EQ(Subjects(pItems), (std::vector<std::string>{"d", "a", "b", "c"}));
    OEFreeItems(m_pLib, pItems);
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 0, nullptr, 1, 1), 0);
    EXPECT_EQ(Subjects(pItems), (std::vector<std::string>{"b", "c", "a", "d"})); // ties keep store order
    OEFreeItems(m_pLib, pItems);

    // The date filter takes the caller's time as universal time, whatever the local zone.
    ScopedEnv tz("TZ", "Asia/Tokyo");
    SYSTEMTIME stSince{2024, 1, 1, 1, 10, 0, 0, 0};
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 0, &stSince, 1, 0), 0);
    EXPECT_EQ(Subjects(pItems), (std::vector<std::string>{"a", "b", "c"}));
    OEFreeItems(m_pLib, pItems);
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, entry.c_str(), 1, &stSince, 0, 0), 0);
    ASSERT_EQ(pItems->cItems, 3u);
    EXPECT_EQ(pItems->pItems[0].szSubject, nullptr);
    OEFreeItems(m_pLib, pItems);
}

TEST_F(MaildirStore, MonthThirteenListsNothing) {
    ASSERT_TRUE(Connect());
    OEItems *pItems = reinterpret_cast<OEItems *>(0x1);
    SYSTEMTIME stBad{2024, 13, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(OEGetItems(m_pLib, &pItems, FolderEntry("Inbox").c_str(), 0, &stBad, 0, 0), -2);
    EXPECT_EQ(pItems, reinterpret_cast<OEItems *>(0x1));
    bool bFound = false;
    for (const std::string &line : m_log.Lines())
        bFound |= line.find(" in OEGetItems: SystemTime2FileTime") != std::string::npos && line.rfind("Err", 0) == 0;
    EXPECT_TRUE(bFound) << m_log.Text();
}

TEST_F(MaildirStore, StateFlagsWithPendingEditsAndMarks) {
    Deliver(Root(), Message("one", "Mon, 01 Jan 2024 10:00:00 +0000"), "");
    Deliver(Root(), Message("two", "Mon, 01 Jan 2024 11:00:00 +0000"), "S");
    ASSERT_TRUE(Connect());
    COELib &lib = m_pLib->oe.m_Lib;
    std::string inbox = FolderEntry("Inbox");
    ASSERT_EQ(inbox.size(), 8u) << m_log.Text();
    OEItems *pItems = nullptr;
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, inbox.c_str(), 1, nullptr, 0, 0), 0);
    ASSERT_EQ(pItems->cItems, 2u);
    std::string one = pItems->pItems[0].szEntry, two = pItems->pItems[1].szEntry;
    OEFreeItems(m_pLib, pItems);

    HITEM hItem = nullptr;
    ASSERT_EQ(lib.OpenItem(one.c_str(), &hItem), S_OK);
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    EXPECT_EQ(pItem->dwState & MSG_UNREAD, MSG_UNREAD);
    pItem->dwSetMask = MSG_FLAGGED;
    pItem->dwClearMask = MSG_UNREAD;
    DWORD dwEffective = lib._GetStateFlags(hItem, true, false);
    EXPECT_EQ(dwEffective & (MSG_FLAGGED | MSG_UNREAD), MSG_FLAGGED);
    EXPECT_EQ(lib._GetStateFlags(hItem, true, true) & MSG_UNREAD, MSG_UNREAD);

    // A mark goes to the store at once; the open item sees it when it reads the store again.
    ASSERT_EQ(OEMarkItem(m_pLib, one.c_str(), MSG_REPLIED), 0);
    EXPECT_EQ(lib._GetStateFlags(hItem, true, true) & MSG_REPLIED, 0u);
    EXPECT_EQ(lib._GetStateFlags(hItem, false, true) & MSG_REPLIED, MSG_REPLIED);
    FILETIME ftSent{};
    EXPECT_EQ(lib._GetMessageProps(hItem, nullptr, &ftSent), S_OK);
    EXPECT_NE(ftSent.dwHighDateTime, 0u);
    lib.CloseItem(&hItem);

    OEItem *pRecord = nullptr;
    ASSERT_EQ(OEGetItem(m_pLib, &pRecord, one.c_str(), 1), 0);
    EXPECT_EQ(pRecord->dwState & (MSG_REPLIED | MSG_UNREAD), MSG_REPLIED | MSG_UNREAD);
    OEFreeItem(m_pLib, pRecord);
    // Marks only switch bits on; 0 changes nothing, and the entry stays valid.
    ASSERT_EQ(OEMarkItem(m_pLib, two.c_str(), MSG_FLAGGED), 0);
    ASSERT_EQ(OEMarkItem(m_pLib, two.c_str(), 0), 0);
    ASSERT_EQ(OEGetItem(m_pLib, &pRecord, two.c_str(), 0), 0);
    EXPECT_EQ(pRecord->dwState & (MSG_FLAGGED | MSG_UNREAD), MSG_FLAGGED);
    EXPECT_EQ(Str(pRecord->szSubject), "two");
    OEFreeItem(m_pLib, pRecord);
    bool bFlaggedFile = false;
    for (const auto &file : fs::directory_iterator(Root() / "cur"))
        bFlaggedFile |= file.path().filename().string().find(":2,FS") != std::string::npos;
    EXPECT_TRUE(bFlaggedFile);
}

TEST_F(MaildirStore, MessageGoneGivesStoreCodeAndNullHandle) {
    Deliver(Root(), Message("gone", "Mon, 01 Jan 2024 10:00:00 +0000"));
    ASSERT_TRUE(Connect());
    OEItems *pItems = nullptr;
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, FolderEntry("Inbox").c_str(), 1, nullptr, 0, 0), 0);
    ASSERT_EQ(pItems->cItems, 1u);
    std::string entry = pItems->pItems[0].szEntry;
    OEFreeItems(m_pLib, pItems);
    for (const auto &file : fs::directory_iterator(Root() / "cur")) fs::remove(file.path());
    HITEM hItem = reinterpret_cast<HITEM>(0x1);
    HRESULT hr = m_pLib->oe.m_Lib.OpenItem(entry.c_str(), &hItem);
    EXPECT_LT(hr, 0);
    EXPECT_EQ(hItem, nullptr);
}

TEST_F(MaildirStore, CorpusMessagesListAndOpen) {
    SKIP_WITHOUT_SHARED_CORPUS();
    fs::path corpus = testsupport::SharedDir() / "corpus" / "mail" / "notmuch";
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no notmuch mail in the corpus";
    std::vector<fs::path> files;
    for (const auto &file : fs::directory_iterator(corpus))
        if (file.path().extension() == ".eml") files.push_back(file.path());
    std::sort(files.begin(), files.end());
    if (files.size() > 40) files.resize(40);
    for (const fs::path &file : files) {
        std::ifstream in(file, std::ios::binary);
        Deliver(Root(), std::string(std::istreambuf_iterator<char>(in), {}));
    }
    ASSERT_TRUE(Connect());
    std::string inbox = FolderEntry("Inbox");
    OEItems *pItems = nullptr;
    ASSERT_EQ(OEGetItems(m_pLib, &pItems, inbox.c_str(), 0, nullptr, 1, 0), 0);
    ASSERT_EQ(pItems->cItems, files.size());
    for (ULONG i = 1; i < pItems->cItems; ++i) {
        const FILETIME &a = pItems->pItems[i - 1].ftSent, &b = pItems->pItems[i].ftSent;
        EXPECT_LE((uint64_t(a.dwHighDateTime) << 32) | a.dwLowDateTime, (uint64_t(b.dwHighDateTime) << 32) | b.dwLowDateTime);
    }
    for (ULONG i = 0; i < pItems->cItems; ++i) {
        HITEM hItem = nullptr;
        EXPECT_EQ(m_pLib->oe.m_Lib.OpenItem(pItems->pItems[i].szEntry, &hItem), S_OK);
        m_pLib->oe.m_Lib.CloseItem(&hItem);
    }
    OEFreeItems(m_pLib, pItems);
}

} // namespace
