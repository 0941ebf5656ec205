// The plain body of a simple message, taken straight from its source, is what GMime's parse gives; and a message
// opened for later reading reads its bytes only when a call needs them.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "mimetestutil.h"
#include "support/paths.h"

using namespace mimetest;
using namespace std::string_literals;

namespace {

std::string ReadFile(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The plain body as a stream reader asks for it (no handle), or "hr=0x..." when there is none.
std::string PlainBody(IMimeMessage *pMessage) {
    Ref<IStream> pStream;
    HRESULT hr = pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, nullptr);
    return hr == S_OK ? ReadAll(pStream.get()) : HrText(hr);
}

// The plain body as read first thing, and as read after a call that parses the whole tree.
void ExpectSamePlainBody(const std::string &strSource, const std::string &strWhat) {
    Ref<IMimeMessage> pDirect, pParsed;
    LoadMessage(strSource, &pDirect);
    LoadMessage(strSource, &pParsed);
    Attachments(pParsed.get()); // builds GMime's tree
    EXPECT_EQ(PlainBody(pDirect.get()), PlainBody(pParsed.get())) << strWhat;
    Ref<IMimeMessage> pAsked;
    LoadMessage(strSource, &pAsked);
    EXPECT_EQ(pAsked->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, nullptr),
              pParsed->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, nullptr))
        << strWhat;
}

const char kHead[] = "From: a@example.org\r\nSubject: s\r\n";

TEST(PlainBodyAsStored, SimpleMessagesGiveWhatTheParseGives) {
    const std::vector<std::string> rgSources = {
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n\r\nHello\r\nWorld\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: 8bit\r\n\r\nGr\xc3\xbc\xc3\x9f" "e\n",
        "From: a@example.org\nContent-Type: TEXT/Plain;\n charset=\"US-ASCII\"; format=flowed\n\nfolded type\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 7BIT \r\n\r\nx",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n\r\n\r\n\r\nblank lines first\r\n\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n\r\n",          // no body
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n",              // no blank line
        std::string(kHead) + "\r\nNo content type at all\r\n",                           // GMime's default
        std::string(kHead) + "Content-Type: text/plain; charset=iso-8859-1\r\n\r\nGr\xfc\xdf" "e\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n\r\nnot \xff utf-8\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8\r\n\r\nnul"s + '\0' + "inside\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n\r\nSGVsbG8=\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\na=3Db\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Disposition: attachment\r\n\r\nfile\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Type: text/html\r\n\r\ntwo types\r\n",
        std::string(kHead) + "Content-Type: text/html\r\n\r\n<p>html</p>\r\n",
        std::string(kHead) + "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\nContent-Type: "
                             "text/plain\r\n\r\npart\r\n--b--\r\n",
        "From a@example.org Mon Jan 1 00:00:00 2024\nSubject: mbox line\n\nbody\n",
        "no header at all\n\njust text\n",
        "Subject: 8-bit \xc3\xa4 header\nContent-Type: text/plain\n\nbody\n",
        // The Content-Type as GMime reads it: comments, quotes, case, folding, parameters, near misses.
        std::string(kHead) + "Content-Type: text/plain (a comment); charset=\"UTF-8\"\r\n\r\ncomment\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8 (comment)\r\n\r\ncomment after\r\n",
        std::string(kHead) + "content-type:text/plain;charset=Utf8\r\n\r\nno spaces\r\n",
        std::string(kHead) + "Content-Type: text/plain;\r\n\tformat=flowed;\r\n\tcharset=us-ascii\r\n\r\nfolded\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset*=utf-8''%C3%A4\r\n\r\nRFC 2231\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-8; charset=iso-8859-1\r\n\r\nGr\xfc\xdf" "e\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=\"iso-8859-1\"\r\n\r\nascii only\r\n",
        // Bytes that are valid UTF-8 but mean other text in the charset named.
        std::string(kHead) + "Content-Type: text/plain; charset=ISO-8859-1\r\n\r\n\xc3\xa4 latin\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=koi8-r\r\n\r\n\xd0\x9f\xd1\x80\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-16le\r\n\r\n\xc3\xa4\xc3\xa4",
        std::string(kHead) + "Content-Type: text/plain; charset=utf-16\r\n\r\nh\0i\0"s,
        std::string(kHead) + "Content-Type: text/plain; charset=koi8-r\r\n\r\n\xf0\xd2\xc9\xd7\xc5\xd4\r\n",
        std::string(kHead) + "Content-Type: text/plain; charset=x-unknown-charset\r\n\r\n\xe4\xf6\r\n",
        std::string(kHead) + "Content-Type: text/plainer\r\n\r\nnot plain\r\n",
        std::string(kHead) + "Content-Type: text / plain\r\n\r\nspaced\r\n",
        std::string(kHead) + "Content-Type: text\r\n\r\nno subtype\r\n",
        std::string(kHead) + "Content-Type:\r\n\r\nempty type\r\n",
        std::string(kHead) + "Content-Type: ;charset=utf-8\r\n\r\nno type\r\n",
        std::string(kHead) + "Content-Type: multipart/mixed\r\n\r\nno boundary\r\n",
        std::string(kHead) + "Content-Type: text/plain; boundary=b\r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n"
                             "<p>lookalike</p>\r\n--b--\r\n",
        std::string(kHead) + "\r\n--b\r\nContent-Type: text/html\r\n\r\nno type, a boundary in the body\r\n--b--\r\n",
        std::string(kHead) + "Content-Type : text/html\r\n\r\n<p>a blank before the colon</p>\r\n",
        std::string(kHead) + "Content-Type\t: text/html\r\n\r\n<p>a tab before the colon</p>\r\n",
        std::string(kHead) + " Content-Type: text/html\r\n\r\n<p>a type that continues a field</p>\r\n",
        // The transfer encoding: case, spaces, unknown names, and no MIME-Version at all.
        std::string(kHead) + "MIME-Version: 1.0\r\nContent-Transfer-Encoding: 8BIT\r\n\r\nupper case, no type\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding:  Binary\r\n\r\nbin\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: x-uuencode\r\n\r\nuu\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: BASE64\r\n\r\nSGk=\r\n",
        std::string(kHead) + "Content-Type: text/plain\r\nContent-Transfer-Encoding: 7bit\r\n"
                             "Content-Transfer-Encoding: base64\r\n\r\nSGk=\r\n",
        // Line ends and edges: bare LF, mixed, a lone CR, a header block alone, a body of one byte.
        "From: a@example.org\nContent-Type: text/plain\n\nline\r\nmixed\nends\r\n",
        "From: a@example.org\r\nContent-Type: text/plain\r\n\r\nlone\rcr\r\n",
        "From: a@example.org\r\nSubject: header only",
        "From: a@example.org\r\nSubject: header only\r\n",
        "From: a@example.org\r\n\r\nx",
        "From: a@example.org\r\n\r\n",
        "From: a@example.org\r\nContent-Type: text/plain\r\n \r\n\r\nwhite space line in the header\r\n",
    };
    for (size_t i = 0; i < rgSources.size(); i++) ExpectSamePlainBody(rgSources[i], "source " + std::to_string(i));
    // The embedded NUL above must be part of its source.
    EXPECT_NE(rgSources[10].find('\0'), std::string::npos);
}

TEST(PlainBodyAsStored, CorpusMessagesGiveWhatTheParseGives) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::vector<std::filesystem::path> rgPaths = testsupport::SharedCorpusMessages();
    ASSERT_GT(rgPaths.size(), 100u);
    for (const auto &path : rgPaths) ExpectSamePlainBody(ReadFile(path), path.string());
}

TEST(MessageReadLater, ReadsOnlyWhenACallNeedsTheBytesAndRetriesAFailure) {
    int cReads = 0;
    HRESULT hrNext = STG_E_FILENOTFOUND;
    IMimeMessage *pMessage = nullptr;
    ASSERT_EQ(OpenMessageLater(
                  [&](std::string &strOut) {
                      ++cReads;
                      if (FAILED(hrNext)) return hrNext;
                      strOut = std::string(kHead) + "\r\nlater\r\n";
                      return S_OK;
                  },
                  &pMessage),
              S_OK);
    EXPECT_EQ(cReads, 0);
    EXPECT_EQ(pMessage->IsDirty(), S_FALSE);
    EXPECT_EQ(cReads, 0);
    EXPECT_EQ(TextProp(pMessage, "Subject"), HrText(STG_E_FILENOTFOUND));
    EXPECT_EQ(cReads, 1);
    hrNext = S_OK;
    EXPECT_EQ(TextProp(pMessage, "Subject"), "s");
    EXPECT_EQ(PlainBody(pMessage), "later\r\n");
    EXPECT_EQ(SaveToString(pMessage), std::string(kHead) + "\r\nlater\r\n");
    EXPECT_EQ(cReads, 2);
    pMessage->Release();

    // Released unread: never read.
    cReads = 0;
    ASSERT_EQ(OpenMessageLater([&](std::string &) { return ++cReads, S_OK; }, &pMessage), S_OK);
    pMessage->Release();
    EXPECT_EQ(cReads, 0);
}

TEST(MessageReadLater, ALoadOrANewMessageReplacesTheReadToCome) {
    int cReads = 0;
    IMimeMessage *pMessage = nullptr;
    ASSERT_EQ(OpenMessageLater([&](std::string &) { return ++cReads, E_FAIL; }, &pMessage), S_OK);
    Ref<IStream> pStream;
    MakeStream(std::string(kHead) + "\r\nloaded\r\n", &pStream);
    ASSERT_EQ(pMessage->Load(pStream.get()), S_OK);
    EXPECT_EQ(PlainBody(pMessage), "loaded\r\n");
    ASSERT_EQ(pMessage->InitNew(), S_OK);
    EXPECT_EQ(TextProp(pMessage, "Subject"), HrText(MIME_E_NOT_FOUND));
    EXPECT_EQ(cReads, 0);
    pMessage->Release();
}

} // namespace
