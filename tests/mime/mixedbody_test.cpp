// The plain body of a multipart/mixed message whose first part is its text, taken straight from the source, is
// what GMime's parse gives; and the shape the store's mail has does take that way.
#include <gtest/gtest.h>

#include <random>

#include "mimetestutil.h"
#include "providers/mime/headersplice.h"
#include "providers/mime/plainasis.h"

using namespace mimetest;
using namespace std::string_literals;

namespace {

// The plain body as a stream reader asks for it (no handle), or "hr=0x..." when there is none.
std::string PlainBody(IMimeMessage *pMessage) {
    Ref<IStream> pStream;
    HRESULT hr = pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, nullptr);
    return hr == S_OK ? ReadAll(pStream.get()) : HrText(hr);
}

// Expects that a reader gets GMime's plain body, and that the body found without GMime, if any, is that too.
// True when the source's plain body is found without GMime.
bool ExpectGMimesAnswer(const std::string &strSource, const std::string &strWhat) {
    Ref<IMimeMessage> pDirect, pParsed;
    LoadMessage(strSource, &pDirect);
    LoadMessage(strSource, &pParsed);
    std::string strGMime = TextBody(pParsed.get(), TXT_PLAIN); // asks for a handle: always from GMime's tree
    EXPECT_EQ(PlainBody(pDirect.get()), strGMime) << strWhat;
    size_t nBody = MimeHeaderBlockEnd(strSource);
    CMimeHeaderIndex index;
    if (!index.Build(strSource, nBody) || index.Fields().empty()) return false;
    std::string_view svFound = MimeFindPlainBodyAsIs(index, std::string_view(strSource).substr(nBody));
    if (!svFound.data()) return false;
    EXPECT_EQ(std::string(svFound), strGMime) << strWhat;
    return true;
}

std::string Replaced(std::string str, const std::string &strFrom, const std::string &strTo) {
    for (size_t n = str.find(strFrom); n != std::string::npos; n = str.find(strFrom, n + strTo.size()))
        str.replace(n, strFrom.size(), strTo);
    return str;
}

// A message of the store's multipart shape: a text, then an attachment.
std::string StoreShape(const std::string &strEol) {
    return Replaced("From: a@example.org\nSubject: s\nMIME-Version: 1.0\n"
                    "Content-Type: multipart/mixed; boundary=\"=_tessel_3c85f5caf18d9d77\"\n\n"
                    "This is a multi-part message in MIME format.\n\n"
                    "--=_tessel_3c85f5caf18d9d77\n"
                    "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n"
                    "Hi Robin,\n\nGr\xc3\xbc\xc3\x9f" "e aus der Stra\xc3\x9f" "e.\n\n-- \nYara\n\n"
                    "--=_tessel_3c85f5caf18d9d77\n"
                    "Content-Type: application/pdf; name=\"a.pdf\"\nContent-Disposition: attachment; "
                    "filename=\"a.pdf\"\nContent-Transfer-Encoding: base64\n\nJVBERi0xLjQK\n"
                    "--=_tessel_3c85f5caf18d9d77--\n",
                    "\n", strEol);
}

TEST(MixedPlainBody, TheStoresShapeIsTakenFromTheSource) {
    for (const std::string strEol : {"\n", "\r\n"}) {
        std::string strSource = StoreShape(strEol);
        EXPECT_TRUE(ExpectGMimesAnswer(strSource, "store shape"));
        Ref<IMimeMessage> pMessage;
        LoadMessage(strSource, &pMessage);
        EXPECT_EQ(PlainBody(pMessage.get()), Replaced("Hi Robin,\n\nGr\xc3\xbc\xc3\x9f" "e aus der Stra\xc3\x9f"
                                                      "e.\n\n-- \nYara\n", "\n", strEol));
    }
}

// Sources built from the choices below, every "{E}" a line end and every "{B}" the boundary.
const char *const kTopTypes[] = {
    "multipart/mixed; boundary=\"{B}\"",
    "multipart/mixed; boundary={B}",
    "Multipart/MIXED;{E}\tBOUNDARY=\"{B}\"",
    "multipart/mixed; boundary = \"{B}\" ; charset=utf-8",
    "multipart/mixed (a comment); boundary=\"{B}\"",
    "multipart/mixed; boundary=\"{B}\"; boundary=\"other\"",
    "multipart/mixed; boundary*=us-ascii''{B}",
    "multipart/mixed; boundary=\"{B}\" (trailing comment)",
    "multipart/alternative; boundary=\"{B}\"",
    "multipart/mixed",
    "multipart/mixed; boundary=\"\"",
    "multipart/mixed; boundary=\"{B}\"{E}Content-Type: text/plain",
    "text/plain; boundary=\"{B}\"",
};
const char *const kTopExtras[] = {
    "", "MIME-Version: 1.0{E}", "Content-Transfer-Encoding: 8bit{E}", "Content-Transfer-Encoding: base64{E}",
    "Content-Disposition: inline{E}", "MIME-Version: 1.0{E}Content-Transfer-Encoding: 7bit{E}",
};
const char *const kBoundaries[] = {
    "b", "=_tessel_3c85f5caf18d9d77", "'()+_,-./:=?", "b--", "with space", "B",
    "0123456789012345678901234567890123456789012345678901234567890123456789",
    "01234567890123456789012345678901234567890123456789012345678901234567890",
};
const char *const kPreambles[] = {
    "", "This is a multi-part message in MIME format.{E}{E}", "--{B}x{E}", "--{B}--x{E}", "-- {B}{E}",
    "x--{B}{E}", "--{B}\r\r\n", "--{B} \v{E}", "--{B}--{E}", "{E}", "--{B}{B}{E}", "--{B}\xc3\xa4{E}",
};
const char *const kFirstDelimiters[] = {"--{B}", "--{B}   ", "--{B}\t", "--{B} \t ", "--{B}x", "--{B}\r"};
const char *const kPartHeaders[] = {
    "Content-Type: text/plain; charset=utf-8{E}Content-Transfer-Encoding: 8bit{E}{E}",
    "{E}",
    "Content-Type: text/plain{E}{E}",
    "Content-Type: text/plain; charset=\"UTF-8\"; format=flowed{E}{E}",
    "Content-Type: text/plain; charset=us-ascii{E}Content-Transfer-Encoding: 7bit{E}{E}",
    "Content-Type: text/plain; name=\"a.txt\"{E}{E}",
    "Content-Type: text/plain; name=\"\"{E}{E}",
    "Content-Type: text/plain; charset=iso-8859-1{E}{E}",
    "Content-Type: text/html; charset=utf-8{E}{E}",
    "Content-Type: text/plain; charset=utf-8{E}Content-Disposition: inline{E}{E}",
    "Content-Type: text/plain{E}Content-Disposition: attachment; filename=a.txt{E}{E}",
    "Content-Transfer-Encoding: quoted-printable{E}{E}",
    "Content-Transfer-Encoding: base64{E}{E}",
    "Content-Transfer-Encoding: Binary {E}{E}",
    "Content-Type: text/plain;{E}\tcharset=utf-8{E}{E}",
    "X-Note: \xc3\xa4{E}{E}",
    "Content-Type: text/plain{E}Content-Type: text/html{E}{E}",
    "not a header line{E}{E}",
    "Content-Type: text/plain{E}",
    "Content-Type: message/rfc822{E}{E}",
    "Content-Type: multipart/alternative; boundary=inner{E}{E}--inner{E}Content-Type: text/plain{E}{E}",
    "Content-ID: <x@example.org>{E}Content-Description: note{E}{E}",
    "Content-Type : text/plain{E}{E}",
    " Content-Type: text/html{E}{E}",
    "Content-Type: text/plain{E}--{B}{E}{E}",
    "Content-Type: text/plain\r{E}{E}",
};
const std::string kContents[] = {
    "Hi,{E}text with stra\xc3\x9f" "e{E}",
    "line{E}--{B}x{E}more{E}",
    "line{E}--{B} x{E}",
    "line{E}--{B}--x{E}",
    "line{E}-- {B}{E}",
    "",
    "{E}",
    "no line end at the end",
    "ends in CR\r",
    "ends in two line ends{E}{E}",
    "bad \xff utf-8{E}",
    "nul "s + '\0' + " inside{E}",
    "lone\rcr{E}",
    "{E}{E}blank lines first{E}",
    std::string(4095, 'a') + "{E}",
    std::string(4096, 'a') + "{E}--{B}x{E}",
    std::string(4097, 'a') + "{E}",
    std::string(10000, 'a') + "{E}" + std::string(5000, 'b'),
    "line{E}" + std::string(8190, '-'),
    "--{B}-{E}",
};
const char *const kClosings[] = {
    "{E}--{B}{E}Content-Type: application/pdf; name=a.pdf{E}Content-Transfer-Encoding: base64{E}{E}"
    "JVBERi0={E}--{B}--{E}",
    "{E}--{B}--{E}",
    "{E}--{B}--",
    "{E}--{B}   {E}Content-Type: text/plain{E}{E}second{E}--{B}--{E}",
    "{E}--{B}",
    "",
    "{E}--{B}--   {E}epilogue{E}",
    "{E}--{B}\t--{E}",
    "{E}--{B}x{E}tail{E}",
    "{E}--{B}--x{E}tail{E}",
    "{E}--{B}\r\r\ntail{E}",
    "{E}--{B}\f{E}tail{E}",
};

template <class T, size_t N>
const T &Pick(const T (&rg)[N], std::mt19937 &random) {
    return rg[std::uniform_int_distribution<size_t>(0, N - 1)(random)];
}

TEST(MixedPlainBody, GeneratedMessagesGiveWhatTheParseGives) {
    std::mt19937 random(20261124);
    size_t cFound = 0;
    constexpr size_t kCases = 6000;
    for (size_t i = 0; i < kCases; i++) {
        std::string strEol = random() % 3 == 0 ? "\n" : "\r\n";
        // Half the cases vary one choice of the store's shape, the others any number of them.
        bool bNearStore = random() % 2 == 0;
        size_t nVaried = random() % 7;
        auto choose = [&](auto &rg, size_t nDimension) -> std::string {
            if (bNearStore && nDimension != nVaried) return rg[0];
            return Pick(rg, random);
        };
        std::string strTemplate = "From: a@example.org{E}Subject: case{E}" + choose(kTopExtras, 0) +
                                  "Content-Type: " + choose(kTopTypes, 1) + "{E}{E}" + choose(kPreambles, 2) +
                                  choose(kFirstDelimiters, 3) + "{E}" + choose(kPartHeaders, 4) +
                                  choose(kContents, 5) + choose(kClosings, 6);
        std::string strBoundary = bNearStore ? kBoundaries[1] : Pick(kBoundaries, random);
        std::string strSource = Replaced(Replaced(strTemplate, "{E}", strEol), "{B}", strBoundary);
        if (ExpectGMimesAnswer(strSource, "case " + std::to_string(i) + ":\n" + strSource)) ++cFound;
        if (HasFailure()) break;
    }
    // Many of the cases are of a shape taken from the source: the way must not silently close.
    EXPECT_GT(cFound, kCases / 10);
    std::printf("plain body taken from the source in %zu of %zu cases\n", cFound, kCases);
}

TEST(MixedPlainBody, NearMissesOfTheDelimiterGiveWhatTheParseGives) {
    const std::string strHead = "From: a@example.org\r\nContent-Type: multipart/mixed; boundary=\"b\"\r\n\r\n";
    const std::string strPart = "--b\r\nContent-Type: text/plain\r\n\r\n";
    const std::vector<std::string> rgSources = {
        strHead + strPart + "text\r\n--b\r\n--b--\r\n",                  // an empty second part
        strHead + strPart + "text\r\n--bb\r\nstill text\r\n--b--\r\n",    // a longer boundary that begins alike
        strHead + strPart + "text\n--b--\r\n",                            // LF before a CRLF delimiter
        strHead + strPart + "text\r\n\r\n--b--\r\n",                      // one line end stays in the text
        strHead + "--b\r\n\r\ntext without headers\r\n--b--\r\n",         // no header at all: text/plain
        strHead + "--b\r\ntext at once\r\n--b--\r\n",                     // no empty line after the delimiter
        strHead + "--b--\r\n--b\r\n\r\nafter the last\r\n--b--\r\n",     // the last delimiter first
        strHead + "--b\r\n--b\r\n\r\ntwo delimiters\r\n--b--\r\n",       // a part of nothing but a delimiter
        strHead + strPart + "--b--\r\n",                                   // empty text
        strHead + strPart + "\r\n--b--\r\n",                               // a text of one line end
        strHead + strPart + "text\r\n--B--\r\n",                           // the delimiter in other case
        strHead + strPart + "text\r\n --b--\r\n",                          // indented
    };
    size_t cFound = 0;
    for (size_t i = 0; i < rgSources.size(); i++)
        cFound += ExpectGMimesAnswer(rgSources[i], "source " + std::to_string(i)) ? 1 : 0;
    EXPECT_GT(cFound, 0u);
}

TEST(MixedPlainBody, AHandleOrTheHtmlBodyStillComesFromTheTree) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(StoreShape("\r\n"), &pMessage);
    EXPECT_EQ(TextBody(pMessage.get(), TXT_HTML), HrText(MIME_E_NOT_FOUND));
    Ref<IStream> pStream;
    HBODY hBody = 0;
    ASSERT_EQ(pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, &hBody), S_OK);
    EXPECT_NE(hBody, HBODY(0));
    EXPECT_EQ(BodyData(pMessage.get(), hBody), ReadAll(pStream.get()));
    EXPECT_EQ(Attachments(pMessage.get()).size(), 1u);
}

} // namespace
