// A message read later through a reader object: it asks the reader only as far as the calls need, and it owns the
// reader, which goes once the whole message is read or the message is released.
#include <gtest/gtest.h>

#include <memory>

#include "mimetestutil.h"
#include "providers/mime/messagelater.h"

using namespace mimetest;

namespace {

const std::string kSource = "Subject: s\r\nFrom: a@b\r\n\r\nthe body\r\n";

struct ReaderLog {
    int cRead = 0;
    int cHead = 0;
    int cGone = 0;
};

// All of kSource for Read; the header block for ReadHead when bHead, else the reader's fallback.
class CTestReader final : public IMimeLaterReader {
public:
    CTestReader(ReaderLog *pLog, bool bHead) : m_pLog(pLog), m_bHead(bHead) {}
    ~CTestReader() override { ++m_pLog->cGone; }
    HRESULT Read(std::string &strOut) override {
        ++m_pLog->cRead;
        strOut = kSource;
        return S_OK;
    }
    HRESULT ReadHead(std::string &strOut, bool *pbWhole) override {
        if (!m_bHead) return IMimeLaterReader::ReadHead(strOut, pbWhole);
        ++m_pLog->cHead;
        strOut = kSource.substr(0, kSource.find("\r\n\r\n") + 4);
        *pbWhole = false;
        return S_OK;
    }

private:
    ReaderLog *m_pLog;
    bool m_bHead;
};

IMimeMessage *OpenLater(ReaderLog *pLog, bool bHead) {
    IMimeMessage *pMessage = nullptr;
    EXPECT_EQ(MimeOpenMessageLater(std::make_unique<CTestReader>(pLog, bHead), &pMessage), S_OK);
    return pMessage;
}

TEST(LaterReader, AReaderWithoutAHeadReadReadsAllOnceForHeadersAndBody) {
    ReaderLog log;
    IMimeMessage *pMessage = OpenLater(&log, false);
    ASSERT_NE(pMessage, nullptr);
    EXPECT_EQ(log.cRead, 0);
    EXPECT_EQ(TextProp(pMessage, "Subject"), "s");
    EXPECT_EQ(log.cRead, 1);
    EXPECT_EQ(log.cGone, 1); // all of it is read: the reader is no longer needed
    EXPECT_EQ(SaveToString(pMessage), kSource);
    EXPECT_EQ(log.cRead, 1);
    pMessage->Release();
    EXPECT_EQ(log.cGone, 1);
}

TEST(LaterReader, AHeadReadKeepsTheReaderForTheWholeReadThatFollows) {
    ReaderLog log;
    IMimeMessage *pMessage = OpenLater(&log, true);
    ASSERT_NE(pMessage, nullptr);
    EXPECT_EQ(TextProp(pMessage, "From"), "a@b");
    EXPECT_EQ(log.cHead, 1);
    EXPECT_EQ(log.cRead, 0);
    EXPECT_EQ(log.cGone, 0);
    EXPECT_EQ(SaveToString(pMessage), kSource);
    EXPECT_EQ(log.cRead, 1);
    EXPECT_EQ(log.cGone, 1);
    pMessage->Release();
    EXPECT_EQ(log.cGone, 1);
}

TEST(LaterReader, AMessageReleasedUnreadReleasesItsReader) {
    ReaderLog log;
    IMimeMessage *pMessage = OpenLater(&log, true);
    ASSERT_NE(pMessage, nullptr);
    pMessage->Release();
    EXPECT_EQ(log.cGone, 1);
    EXPECT_EQ(log.cRead + log.cHead, 0);
}

} // namespace
