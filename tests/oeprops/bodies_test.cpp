// COELib's text bodies: read whole as values, opened as streams, written back; and what a body that can't be
// read costs.
#include <string>

#include "oelib_fixture.h"
#include "oestore/oetags.h"
#include "support/log_capture.h"

using namespace oetest;
using testsupport::CLogCapture;

namespace {

const std::string kPlain = TextMessage("Subject: plain\n", "Plain words.\n");
const std::string kHtml =
    TextMessage("Subject: html\n", "<html><body>Rich words.</body></html>\n", "text/html; charset=utf-8");
const std::string kBoth = "Subject: both\nMIME-Version: 1.0\nContent-Type: multipart/alternative; boundary=\"B\"\n\n"
                          "--B\nContent-Type: text/plain\n\nPlain words.\n"
                          "--B\nContent-Type: text/html\n\n<p>Rich words.</p>\n--B--\n";
const std::string kNoBody = "Subject: none\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"C\"\n\n"
                            "--C\nContent-Type: image/png\nContent-Disposition: attachment; filename=\"a.png\"\n\n"
                            "xx\n--C--\n";

std::string ReadAll(IStream *pStream) {
    std::string str;
    char ab[100];
    ULONG cb = 0;
    while (pStream->Read(ab, sizeof ab, &cb) == S_OK && cb > 0) str.append(ab, cb);
    return str;
}

class BodiesTest : public OELibTest {};

TEST_F(BodiesTest, PlainOnlyMessage) {
    TestItem item(kPlain);
    auto values = Read(item, {PR_OE_BODY, PR_OE_TEXT_BODY, PR_OE_HTML_BODY});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(Text((*values)[0]), "Plain words.\n");
    EXPECT_EQ(Text((*values)[1]), "Plain words.\n");
    EXPECT_EQ((*values)[2].ulPropTag, CHANGE_PROP_TYPE(PR_OE_HTML_BODY, PT_ERROR));
    EXPECT_EQ((*values)[2].Value.err, MAPI_E_NOT_FOUND);
}

TEST_F(BodiesTest, HtmlOnlyMessageHasNoPlainBodyAndSaysWhy) {
    CLogCapture log;
    TestItem item(kHtml);
    auto values = Read(item, {PR_OE_BODY, PR_OE_TEXT_BODY, PR_OE_HTML_BODY});
    EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ((*values)[1].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(Text((*values)[2]), "<html><body>Rich words.</body></html>\n");
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err in COELib::_HTML2Plain: Not implemented"});

    char *psz = reinterpret_cast<char *>(1);
    bool bConverted = false;
    EXPECT_EQ(m_lib._ReadPlainBody(item.m_pMessage, &psz, true, &bConverted), S_OK);
    EXPECT_EQ(psz, nullptr);
    EXPECT_TRUE(bConverted);
    EXPECT_EQ(m_lib._ReadPlainBody(item.m_pMessage, &psz, false, &bConverted), MIME_E_NOT_FOUND);
    EXPECT_FALSE(bConverted);
}

TEST_F(BodiesTest, EmptyPlainBodyIsANullTextWithoutError) {
    TestItem item(TextMessage("Subject: empty\n", ""));
    auto values = Read(item, {PR_OE_TEXT_BODY, PR_OE_BODY});
    EXPECT_EQ((*values)[0].ulPropTag, PR_OE_TEXT_BODY);
    EXPECT_EQ((*values)[0].Value.lpszA, nullptr);
    EXPECT_EQ((*values)[1].Value.err, MAPI_E_NOT_FOUND) << "the whole-message body counts as not found";

    IStream *pStream = nullptr;
    ASSERT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_TEXT_BODY, &pStream, 0), S_OK);
    ASSERT_NE(pStream, nullptr);
    STATSTG stat{};
    EXPECT_EQ(pStream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 0u);
    pStream->Release();
}

TEST_F(BodiesTest, ABodyThatCantBeReadIsItsValuesError) {
    {
        CLogCapture log;
        TestItem item(kPlain);
        item.Faults().hrStreamRead = STG_E_READFAULT;
        auto values = Read(item, {PR_OE_TEXT_BODY, PR_OE_BODY, PR_OE_SUBJECT});
        EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
        EXPECT_EQ((*values)[0].Value.err, STG_E_READFAULT);
        EXPECT_EQ((*values)[1].Value.err, STG_E_READFAULT);
        EXPECT_EQ(Text((*values)[2]), "plain");
        EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err[0x8003001e] in COELib::_ReadStream: Stream->Read",
                                                          "Err[0x8003001e] in COELib::_ReadStream: Stream->Read"}));
    }
    {
        CLogCapture log;
        TestItem item(kPlain);
        item.Faults().hrStreamStat = E_FAIL;
        auto values = Read(item, {PR_OE_TEXT_BODY});
        EXPECT_EQ((*values)[0].Value.err, E_FAIL);
        EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err[0x80004005] in COELib::_ReadStream: Stream->Stat"});
    }
    {
        CLogCapture log;
        TestItem item(kPlain);
        item.Faults().hrPlainBody = E_OUTOFMEMORY;
        auto values = Read(item, {PR_OE_TEXT_BODY, PR_OE_BODY});
        EXPECT_EQ((*values)[0].Value.err, E_OUTOFMEMORY);
        EXPECT_EQ((*values)[1].Value.err, E_OUTOFMEMORY);
        EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err[0x8007000e] in COELib::_GetTextBody: GetTextBody",
                                                          "Err[0x8007000e] in COELib::_ReadPlainBody: GetTextBody"}));
    }
}

TEST_F(BodiesTest, ReadStreamKeepsZeroBytesAndTerminates) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("a\0b", 3, &pStream), S_OK);
    char *psz = nullptr;
    ULONG cb = 0;
    EXPECT_EQ(m_lib._ReadStream(pStream, &psz, &cb), S_OK);
    EXPECT_EQ(cb, 3u);
    EXPECT_EQ(std::string(psz, 4), std::string("a\0b\0", 4));
    std::free(psz);
    pStream->Release();

    ASSERT_EQ(CreateStreamOnBytes("", 0, &pStream), S_OK);
    psz = reinterpret_cast<char *>(1);
    cb = 9;
    EXPECT_EQ(m_lib._ReadStream(pStream, &psz, &cb), S_OK);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(cb, 0u);
    pStream->Release();
}

TEST_F(BodiesTest, BodyStreamOfAMessageWithBothIsThePlainOneAlone) {
    TestItem item(kBoth);
    IStream *pStream = nullptr;
    ASSERT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_BODY, &pStream, 0), S_OK);
    EXPECT_EQ(ReadAll(pStream), "Plain words.") << "the line end before a boundary belongs to the boundary";
    pStream->Release();
    EXPECT_EQ(item.m_pMessage->cHtmlBody, 0);

    ASSERT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_HTML_BODY, &pStream, 0), S_OK);
    EXPECT_EQ(ReadAll(pStream), "<p>Rich words.</p>");
    pStream->Release();
    ASSERT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_TEXT_BODY, &pStream, 0), S_OK);
    EXPECT_EQ(ReadAll(pStream), "Plain words.");
    pStream->Release();
}

TEST_F(BodiesTest, BodyStreamOfAnHtmlOnlyMessageIsRefused) {
    CLogCapture log;
    TestItem item(kHtml);
    IStream *pStream = reinterpret_cast<IStream *>(1);
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_BODY, &pStream, 0), -2);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err in COELib::_HTML2Plain: Not implemented",
                                                      "Err in COELib::OpenStreamProp: HTML2Plain not implemented"}));
    log.Clear();
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_TEXT_BODY, &pStream, 0), MAPI_E_NOT_FOUND);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(BodiesTest, BodyStreamOfAMessageWithoutBodyIsNotFound) {
    CLogCapture log;
    TestItem item(kNoBody);
    IStream *pStream = nullptr;
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_BODY, &pStream, 0), MAPI_E_NOT_FOUND);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err[0x800cce05] in COELib::OpenStreamProp: GetTextBody"});
}

TEST_F(BodiesTest, StreamFailuresAndTagsThatAreNoBodies) {
    CLogCapture log;
    TestItem item(kPlain);
    item.Faults().hrPlainBody = E_ACCESSDENIED;
    IStream *pStream = nullptr;
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_BODY, &pStream, 0), E_ACCESSDENIED);
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_TEXT_BODY, &pStream, 0), E_ACCESSDENIED);
    EXPECT_EQ(m_lib.OpenStreamProp(item.Handle(), PR_OE_SUBJECT, &pStream, 0), -1);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err[0x80070005] in COELib::OpenStreamProp: GetTextBody",
                                                      "Err[0x8010001e] in COELib::OpenStreamProp: invalid tag"}));
}

TEST_F(BodiesTest, SetTextBodyWritesPlainAndHtml) {
    TestItem item(kPlain);
    char *psz = nullptr;
    EXPECT_EQ(m_lib._SetTextBody(item.m_pMessage, "<b>new</b>", true, true), S_OK);
    EXPECT_EQ(m_lib._GetTextBody(item.m_pMessage, &psz, true), S_OK);
    EXPECT_STREQ(psz, "<b>new</b>");
    std::free(psz);
    EXPECT_EQ(m_lib._GetTextBody(item.m_pMessage, &psz, false), S_OK);
    EXPECT_STREQ(psz, "Plain words.\n") << "the plain body stays beside the new HTML one";
    std::free(psz);

    EXPECT_EQ(m_lib._SetTextBody(item.m_pMessage, "changed", false, false), S_OK);
    EXPECT_EQ(m_lib._GetTextBody(item.m_pMessage, &psz, false), S_OK);
    EXPECT_STREQ(psz, "changed");
    std::free(psz);
    EXPECT_EQ(m_lib._GetTextBody(item.m_pMessage, &psz, true), S_OK);
    EXPECT_STREQ(psz, "<b>new</b>");
    std::free(psz);
}

TEST_F(BodiesTest, SetTextBodyWithNullTextMakesAnEmptyBody) {
    TestItem item(kNoBody);
    EXPECT_EQ(m_lib._SetTextBody(item.m_pMessage, nullptr, false, true), S_OK);
    char *psz = reinterpret_cast<char *>(1);
    EXPECT_EQ(m_lib._GetTextBody(item.m_pMessage, &psz, false), S_OK);
    EXPECT_EQ(psz, nullptr);
}

} // namespace
