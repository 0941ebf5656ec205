// Body streams of a real Maildir store: what the store remembers of bodies it opened before changes no result of
// a comparison, an emptiness test or a whole read, and an item edited in memory shows its own body.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "frame/tessel_record.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "support/log_capture.h"
#include "support/oe_inbox.h"
#include "support/paths.h"
#include "tessel.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::string Plain(const std::string &strBody) {
    return "From: a@example.org\r\nSubject: s\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n" + strBody;
}

// The bodies side by side: equal, equal but for case, equal in the first block only, ending at a block's edge,
// empty, HTML only, in a multipart, transfer-encoded, with a NUL in the first block.
std::vector<std::string> Messages() {
    std::string a256(256, 'a'), a300(300, 'a');
    return {
        Plain("short body\r\n"),
        Plain("SHORT BODY\r\n"),
        Plain(a256),
        Plain(a256 + "b"),
        Plain(a256 + "c"),
        Plain(a300 + "x tail"),
        Plain(a300 + "x tail"),
        Plain(a300 + "Y tail"),
        Plain(std::string(512, 'a')),
        Plain(std::string(512, 'A')),
        Plain(""),
        "From: a@example.org\r\nContent-Type: text/html\r\n\r\n<p>html only</p>\r\n",
        "From: a@example.org\r\nContent-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\nContent-Type: "
        "text/plain\r\n\r\n" +
            a300 + "x tail\r\n--b\r\nContent-Type: text/html\r\n\r\n<p>x</p>\r\n--b--\r\n",
        "From: a@example.org\r\nContent-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
            std::string(400, 'Y') + "\r\n",
        Plain("nul at ten"s + '\0' + "and more " + a300),
        Plain("nul at ten"s + '\0' + "and else " + a300),
    };
}

void SetEnv(const char *pszName, const std::string &value) { setenv(pszName, value.c_str(), 1); }

class BodyStreams : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char *psz : {"cur", "new", "tmp"}) fs::create_directories(m_root.path() / psz);
        std::vector<std::string> rgMessages = Messages();
        for (size_t i = 0; i < rgMessages.size(); i++) {
            std::ofstream out(m_root.path() / "cur" / ("10000" + std::to_string(10 + i) + ".M1P1.h:2,S"),
                              std::ios::binary);
            out << rgMessages[i];
        }
        SetEnv("TESSEL_MAILDIR", m_root.path().string());
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
        ASSERT_TRUE(Reconnect());
        m_rgEntries = testsupport::InboxEntries(m_pLib);
        ASSERT_EQ(m_rgEntries.size(), rgMessages.size());
    }
    void TearDown() override {
        DeleteTessel(m_pLib);
        unsetenv("TESSEL_MAILDIR");
    }

    // A new connection: nothing is remembered of any body.
    bool Reconnect() {
        OEDone(m_pLib);
        return OEInit(m_pLib, nullptr, 0) != 0;
    }
    ICompare &Compare() { return m_pLib->oe; }

    using Outcome = std::tuple<HRESULT, LONG, int>;
    Outcome CompareBodies(size_t i, size_t j, ULONG nTag) {
        HITEM h1 = nullptr, h2 = nullptr;
        EXPECT_EQ(Compare().OpenItem(m_rgEntries[i].c_str(), &h1, 0), S_OK);
        EXPECT_EQ(Compare().OpenItem(m_rgEntries[j].c_str(), &h2, 0), S_OK);
        LONG nResult = 7;
        uint8_t bWritten = 0;
        HRESULT hr = Compare().CompareStreamProp(h1, h2, nTag, &nResult, &bWritten);
        Compare().CloseItem(&h1);
        Compare().CloseItem(&h2);
        return {hr, nResult, bWritten};
    }
    using Whole = std::tuple<HRESULT, BOOL, ULONG, std::string>;
    Whole ReadBody(size_t i, ULONG nTag) {
        HITEM h = nullptr;
        EXPECT_EQ(Compare().OpenItem(m_rgEntries[i].c_str(), &h, 0), S_OK);
        BOOL bEmpty = 0;
        ULONG nSize = 0;
        Compare().StreamPropEmpty(h, nTag, &bEmpty, &nSize);
        void *pBuffer = nullptr;
        ULONG cb = 0;
        HRESULT hr = Compare().GetStreamPropValue(h, nTag, &pBuffer, &cb, 0);
        std::string strData = pBuffer ? std::string(static_cast<char *>(pBuffer), cb) : "(null)";
        Compare().FreeBuffer(pBuffer);
        Compare().CloseItem(&h);
        return {hr, bEmpty, nSize, strData};
    }

    testsupport::TempDir m_root;
    testsupport::CLogCapture m_log;
    CTessel *m_pLib = nullptr;
    std::vector<std::string> m_rgEntries;
};

TEST_F(BodyStreams, ComparisonsGiveTheSameWhetherTheBodiesWereOpenedBeforeOrNot) {
    for (ULONG nTag : {PR_OE_BODY, PR_OE_TEXT_BODY, PR_OE_HTML_BODY}) {
        size_t n = m_rgEntries.size();
        std::vector<Outcome> rgFresh, rgRemembered;
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < n; j++) {
                ASSERT_TRUE(Reconnect());
                rgFresh.push_back(CompareBodies(i, j, nTag));
            }
        ASSERT_TRUE(Reconnect());
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < n; j++) rgRemembered.push_back(CompareBodies(i, j, nTag));
        EXPECT_EQ(rgFresh, rgRemembered) << std::hex << nTag;
        // Twice over the same bodies, all of them remembered now.
        std::vector<Outcome> rgAgain;
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < n; j++) rgAgain.push_back(CompareBodies(i, j, nTag));
        EXPECT_EQ(rgFresh, rgAgain) << std::hex << nTag;
    }
    // The table is not trivial: equal, lower, greater and unwritten outcomes are all among the plain bodies.
    ASSERT_TRUE(Reconnect());
    EXPECT_EQ(CompareBodies(0, 1, PR_OE_BODY), Outcome(S_OK, 0, 1));   // case only
    EXPECT_EQ(CompareBodies(5, 6, PR_OE_BODY), Outcome(S_OK, 0, 1));   // copies longer than a block
    EXPECT_EQ(std::get<1>(CompareBodies(2, 3, PR_OE_BODY)), -1);       // a block, then one byte more
    EXPECT_EQ(std::get<1>(CompareBodies(4, 3, PR_OE_BODY)), 1);        // the second block decides
    EXPECT_EQ(CompareBodies(8, 9, PR_OE_BODY), Outcome(S_OK, 0, 1));   // two blocks, case only
    EXPECT_EQ(std::get<2>(CompareBodies(0, 10, PR_OE_BODY)), 0);       // an empty body is not compared
    EXPECT_EQ(CompareBodies(14, 15, PR_OE_BODY), Outcome(S_OK, 0, 1)); // text stops at a NUL in each block
    EXPECT_EQ(CompareBodies(5, 12, PR_OE_BODY), Outcome(S_OK, 0, 1));  // the plain part of a multipart
}

TEST_F(BodyStreams, EmptinessSizesAndWholeReadsGiveTheSameWhetherTheBodiesWereOpenedBeforeOrNot) {
    for (ULONG nTag : {PR_OE_BODY, PR_OE_TEXT_BODY, PR_OE_HTML_BODY}) {
        std::vector<Whole> rgFresh, rgRemembered;
        for (size_t i = 0; i < m_rgEntries.size(); i++) {
            ASSERT_TRUE(Reconnect());
            rgFresh.push_back(ReadBody(i, nTag));
        }
        // Opened once before, then read from the start again.
        for (size_t i = 0; i < m_rgEntries.size(); i++) ReadBody(i, nTag);
        for (size_t i = 0; i < m_rgEntries.size(); i++) rgRemembered.push_back(ReadBody(i, nTag));
        EXPECT_EQ(rgFresh, rgRemembered) << std::hex << nTag;
    }
    ASSERT_TRUE(Reconnect());
    EXPECT_EQ(ReadBody(5, PR_OE_BODY), Whole(S_OK, 0, 306, std::string(300, 'a') + "x tail"));
}

TEST_F(BodyStreams, AStreamOpenedFromWhatWasRememberedSeeksAndStatsAsTheBodysOwn) {
    HITEM h = nullptr;
    ASSERT_EQ(Compare().OpenItem(m_rgEntries[5].c_str(), &h, 0), S_OK);
    IStream *pFirst = nullptr;
    ASSERT_EQ(Compare().OpenStreamProp(h, PR_OE_BODY, &pFirst, 0), S_OK);
    pFirst->Release();
    IStream *pStream = nullptr;
    ASSERT_EQ(Compare().OpenStreamProp(h, PR_OE_BODY, &pStream, 0), S_OK);
    STATSTG stat{};
    ASSERT_EQ(pStream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 306u);
    LARGE_INTEGER move{};
    move.QuadPart = -10;
    ULARGE_INTEGER pos{};
    ASSERT_EQ(pStream->Seek(move, 2 /* from the end */, &pos), S_OK);
    EXPECT_EQ(pos.QuadPart, 296u);
    char sz[32] = {};
    ULONG cb = 0;
    ASSERT_EQ(pStream->Read(sz, sizeof(sz), &cb), S_OK);
    EXPECT_EQ(std::string(sz, cb), "aaaax tail");
    move.QuadPart = 250;
    ASSERT_EQ(pStream->Seek(move, STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(pStream->Read(sz, 12, &cb), S_OK); // across the end of the remembered block
    EXPECT_EQ(std::string(sz, cb), "aaaaaaaaaaaa");
    pStream->Release();
    Compare().CloseItem(&h);
}

// The remembered block goes with the connection, but a stream that serves it keeps its own hold on the bytes.
TEST_F(BodyStreams, AStreamFromWhatWasRememberedOutlivesTheConnection) {
    EXPECT_EQ(std::get<3>(ReadBody(5, PR_OE_BODY)), std::string(300, 'a') + "x tail"); // remembered now
    HITEM h = nullptr;
    ASSERT_EQ(Compare().OpenItem(m_rgEntries[5].c_str(), &h, 0), S_OK);
    IStream *pStream = nullptr;
    ASSERT_EQ(Compare().OpenStreamProp(h, PR_OE_BODY, &pStream, 0), S_OK);
    ASSERT_TRUE(Reconnect());
    std::string strRead(400, '\0');
    ULONG cb = 0;
    ASSERT_EQ(pStream->Read(strRead.data(), 400, &cb), S_OK);
    EXPECT_EQ(strRead.substr(0, cb), std::string(300, 'a') + "x tail");
    pStream->Release();
    Compare().CloseItem(&h);
}

TEST_F(BodyStreams, AnItemEditedInMemoryShowsItsOwnBody) {
    HITEM h = nullptr;
    ASSERT_EQ(Compare().OpenItem(m_rgEntries[0].c_str(), &h, 0), S_OK);
    EXPECT_EQ(std::get<3>(ReadBody(0, PR_OE_BODY)), "short body\r\n"); // remembered now
    SPropValue value{};
    value.ulPropTag = PR_OE_BODY;
    value.Value.lpszA = const_cast<char *>("changed in memory");
    SPropProblemArray *pProblems = nullptr;
    m_pLib->oe.m_Lib.SetItemProps(h, 1, &value, &pProblems);
    m_pLib->oe.m_Lib.FreeBuffer(pProblems);
    void *pBuffer = nullptr;
    ULONG cb = 0;
    ASSERT_EQ(Compare().GetStreamPropValue(h, PR_OE_BODY, &pBuffer, &cb, 0), S_OK);
    EXPECT_EQ(std::string(static_cast<char *>(pBuffer), cb).substr(0, 17), "changed in memory");
    Compare().FreeBuffer(pBuffer);
    Compare().CloseItem(&h);
    // The stored message is as it was.
    EXPECT_EQ(std::get<3>(ReadBody(0, PR_OE_BODY)), "short body\r\n");
}

} // namespace
