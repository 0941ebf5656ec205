// How often the store reads a message file when items are read as a scan reads them: properties first, then the
// body. Counted by the file system's own notices of opens and reads, so no part of the reading is stood in for.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "frame/tessel_record.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "support/file_watch.h"
#include "support/log_capture.h"
#include "support/oe_inbox.h"
#include "support/paths.h"
#include "tessel.h"

namespace {

namespace fs = std::filesystem;
using testsupport::CFileWatch;

// Larger than any first read of a header block, so that a header read and a whole read differ.
std::string Message(int n) {
    return "From: a" + std::to_string(n) + "@example.org\r\nSubject: subject " + std::to_string(n) +
           "\r\nMessage-ID: <" + std::to_string(n) + "@example.org>\r\nContent-Type: text/plain\r\n\r\n" +
           std::string(200000, static_cast<char>('a' + n));
}

class ReadOnce : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char *psz : {"cur", "new", "tmp"}) fs::create_directories(m_root.path() / psz);
        for (int i = 0; i < kMessages; i++) {
            std::string strName = "10000" + std::to_string(10 + i) + ".M1P1.h:2,S";
            std::ofstream(m_root.path() / "cur" / strName, std::ios::binary) << Message(i);
            m_rgFiles.push_back(strName);
        }
        setenv("TESSEL_MAILDIR", m_root.path().string().c_str(), 1);
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
        ASSERT_NE(OEInit(m_pLib, nullptr, 0), 0);
        m_rgEntries = testsupport::InboxEntries(m_pLib);
        ASSERT_EQ(m_rgEntries.size(), static_cast<size_t>(kMessages));
    }
    void TearDown() override {
        DeleteTessel(m_pLib);
        unsetenv("TESSEL_MAILDIR");
    }
    ICompare &Compare() { return m_pLib->oe; }

    // The item's properties as text, and with bBody whether its body is empty, as the scan reads them.
    std::string ReadItem(int i, bool bBody) {
        HITEM h = nullptr;
        EXPECT_EQ(Compare().OpenItem(m_rgEntries[i].c_str(), &h, 0), S_OK);
        SPropTagArray *pTags = nullptr;
        EXPECT_EQ(Compare().AllocateBuffer(sizeof(SPropTagArray) + 2 * sizeof(ULONG), reinterpret_cast<void **>(&pTags)),
                  S_OK);
        pTags->cValues = 3;
        pTags->aulPropTag[0] = PR_OE_SUBJECT;
        pTags->aulPropTag[1] = PR_OE_MESSAGE_ID;
        pTags->aulPropTag[2] = PR_OE_DISPLAY_FROM;
        ULONG cValues = 0;
        SPropValue *pValues = nullptr;
        std::string str = std::to_string(Compare().GetItemProps(h, pTags, &cValues, &pValues, 0));
        for (ULONG n = 0; n < cValues; n++) str += std::string("|") + pValues[n].Value.lpszA;
        Compare().FreeItemProps(pValues);
        Compare().FreeBuffer(pTags);
        if (bBody) {
            BOOL bEmpty = 1;
            ULONG nSize = 0;
            str += "|" + std::to_string(Compare().StreamPropEmpty(h, PR_OE_BODY, &bEmpty, &nSize));
            str += "|" + std::to_string(bEmpty) + "|" + std::to_string(nSize);
        }
        Compare().CloseItem(&h);
        return str;
    }

    static constexpr int kMessages = 5;
    testsupport::TempDir m_root;
    testsupport::CLogCapture m_log;
    CTessel *m_pLib = nullptr;
    std::vector<std::string> m_rgEntries;
    std::vector<std::string> m_rgFiles;
};

TEST_F(ReadOnce, AnItemWhoseBodyIsReadAfterItsPropertiesIsReadOnceWhenTheItemBeforeWasReadSo) {
    CFileWatch watch(m_root.path() / "cur");
    ASSERT_TRUE(watch.Valid());
    std::vector<std::string> rgValues;
    for (int i = 0; i < kMessages; i++) rgValues.push_back(ReadItem(i, true));
    // Counted over the whole walk: the files ahead of it may be read before their items are.
    std::map<std::string, int> counts = watch.Take();
    // Nothing told the first item what follows its properties: header block first, then the whole file.
    EXPECT_EQ(counts[m_rgFiles[0]], 2);
    for (int i = 1; i < kMessages; i++) EXPECT_EQ(counts[m_rgFiles[i]], 1) << i;
    EXPECT_EQ(counts.size(), static_cast<size_t>(kMessages)); // no other file of the folder
    // Every value as a header-first read gives it: after an item read for its properties alone, on a new
    // connection (which remembers no body).
    for (int i = 1; i < kMessages; i++) {
        ReadItem(0, false);
        ASSERT_NE(OEInit(m_pLib, nullptr, 0), 0);
        watch.Take();
        EXPECT_EQ(ReadItem(i, true), rgValues[i]) << i;
        EXPECT_EQ(watch.Take()[m_rgFiles[i]], 2) << i;
    }
    EXPECT_EQ(rgValues[2], "0|subject 2|<2@example.org>|a2@example.org|0|0|200000");
}

TEST_F(ReadOnce, AfterAnItemReadForItsPropertiesAloneTheNextReadsItsHeaderBlockFirstAgain) {
    CFileWatch watch(m_root.path() / "cur");
    ASSERT_TRUE(watch.Valid());
    // The last item first: the others are then no walk through the folder, so nothing is read ahead of them and
    // every open is the item's own.
    ReadItem(kMessages - 1, false);
    ReadItem(0, true);
    ReadItem(1, false); // read whole: the item before had its body read
    watch.Take();
    ReadItem(2, true);
    EXPECT_EQ(watch.Take()[m_rgFiles[2]], 2);
    ReadItem(3, true);
    EXPECT_EQ(watch.Take()[m_rgFiles[3]], 1);
}

} // namespace
