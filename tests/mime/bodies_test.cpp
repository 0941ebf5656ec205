// Text bodies: which part is the plain or HTML body, and its content as UTF-8.
#include <glib.h>
#include <gtest/gtest.h>

#include "mimetestutil.h"

using namespace mimetest;

namespace {

std::string Body(const std::string &strSource, DWORD dwTxtType) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(strSource, &pMessage);
    return TextBody(pMessage.get(), dwTxtType);
}

const std::string kNotFound = HrText(MIME_E_NOT_FOUND);

TEST(TextBodyTest, PlainOnlyIsDecodedToUtf8) {
    std::string str = "Content-Type: text/plain; charset=iso-8859-1\n"
                      "Content-Transfer-Encoding: quoted-printable\n\n"
                      "caf=E9 au lait=\n, long line\n";
    EXPECT_EQ("café au lait, long line\n", Body(str, TXT_PLAIN));
    EXPECT_EQ(kNotFound, Body(str, TXT_HTML));
}

TEST(TextBodyTest, MessageWithoutContentTypeIsPlain) {
    EXPECT_EQ("hello\n", Body("Subject: x\n\nhello\n", TXT_PLAIN));
}

TEST(TextBodyTest, HtmlOnly) {
    std::string str = "Content-Type: text/html; charset=utf-8\nContent-Transfer-Encoding: base64\n\n"
                      "PGI+R3LDvMOfZTwvYj4=\n";
    EXPECT_EQ("<b>Grüße</b>", Body(str, TXT_HTML));
    EXPECT_EQ(kNotFound, Body(str, TXT_PLAIN));
}

const char kAlternative[] = "MIME-Version: 1.0\n"
                            "Content-Type: multipart/alternative; boundary=\"b1\"\n\n"
                            "preamble\n"
                            "--b1\nContent-Type: text/plain; charset=utf-8\n\nplain text\n"
                            "--b1\nContent-Type: text/html; charset=utf-8\n\n<p>html text</p>\n"
                            "--b1--\n";

TEST(TextBodyTest, AlternativeHasBoth) {
    EXPECT_EQ("plain text", Body(kAlternative, TXT_PLAIN));
    EXPECT_EQ("<p>html text</p>", Body(kAlternative, TXT_HTML));
}

TEST(TextBodyTest, BodyHandlesNameTheParts) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kAlternative, &pMessage);
    HBODY hPlain = 0, hHtml = 0;
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain));
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_HTML, IET_BINARY, nullptr, &hHtml));
    EXPECT_NE(hPlain, hHtml);
    EXPECT_NE(HBODY_ROOT, hPlain);
    EXPECT_EQ("plain text", BodyData(pMessage.get(), hPlain));
    EXPECT_EQ(S_FALSE, pMessage->IsBodyType(hPlain, IBT_ATTACHMENT));
    EXPECT_EQ(S_OK, pMessage->IsBodyType(hPlain, IBT_CSETTAGGED));
    EXPECT_EQ(MIME_E_INVALID_TEXT_TYPE, pMessage->GetTextBody(3, IET_BINARY, nullptr, nullptr));
}

TEST(TextBodyTest, UnknownCharsetFallsBack) {
    std::string str = "Content-Type: text/plain; charset=x-no-such-charset\n\ncaf\xe9\n";
    EXPECT_EQ("café\n", Body(str, TXT_PLAIN));
    EXPECT_EQ("ok\n", Body("Content-Type: text/plain; charset=\"\"\n\nok\n", TXT_PLAIN));
}

TEST(TextBodyTest, WrongCharsetLabelStillGivesValidUtf8) {
    std::string strText = Body("Content-Type: text/plain; charset=utf-8\n\nbad \xff\xfe bytes\n", TXT_PLAIN);
    EXPECT_TRUE(g_utf8_validate(strText.data(), static_cast<gssize>(strText.size()), nullptr));
    EXPECT_NE(std::string::npos, strText.find("bytes"));
}

TEST(TextBodyTest, InvalidBase64DoesNotFail) {
    std::string str = "Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\n!!!aGVs**bG8=\n====\n";
    std::string strText = Body(str, TXT_PLAIN);
    EXPECT_EQ(0u, strText.find("hello")) << strText;
}

TEST(TextBodyTest, NulBytesKeepTheirPlace) {
    std::string str = std::string("Content-Type: text/plain\n\nab") + '\0' + "cd\n";
    EXPECT_EQ(std::string("ab") + '\0' + "cd\n", Body(str, TXT_PLAIN));
}

TEST(TextBodyTest, MissingClosingBoundaryKeepsTheParts) {
    std::string str = "Content-Type: multipart/mixed; boundary=zz\n\n"
                      "--zz\nContent-Type: text/plain\n\nfirst\n"
                      "--zz\nContent-Type: text/html\n\n<i>second</i>\n";
    EXPECT_EQ("first", Body(str, TXT_PLAIN));
    EXPECT_EQ("<i>second</i>\n", Body(str, TXT_HTML));
}

TEST(TextBodyTest, BoundaryThatNeverComesLeavesNoBody) {
    std::string str = "Content-Type: multipart/mixed; boundary=never\n\njust text\n";
    Ref<IMimeMessage> pMessage;
    LoadMessage(str, &pMessage);
    std::string strText = TextBody(pMessage.get(), TXT_PLAIN);
    EXPECT_TRUE(strText == kNotFound || strText.find("just text") != std::string::npos) << strText;
}

TEST(TextBodyTest, TextNamedAsAttachmentIsNoBody) {
    std::string str = "Content-Type: multipart/mixed; boundary=b\n\n"
                      "--b\nContent-Type: text/plain; name=notes.txt\nContent-Disposition: attachment\n\nnotes\n"
                      "--b\nContent-Type: text/plain\n\nthe body\n--b--\n";
    EXPECT_EQ("the body", Body(str, TXT_PLAIN));
}

TEST(TextBodyTest, FlagsDescribeTheMessage) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kAlternative, &pMessage);
    DWORD dwFlags = 0;
    ASSERT_EQ(S_OK, pMessage->GetFlags(&dwFlags));
    EXPECT_EQ(0u, dwFlags & IMF_ATTACHMENTS);
    EXPECT_EQ(IMF_MULTIPART | IMF_MIME | IMF_HTML | IMF_PLAIN, dwFlags);
}

} // namespace
