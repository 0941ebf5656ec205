// Attachments: which parts they are, in which order, their names and their content.
#include <gtest/gtest.h>

#include "mimetestutil.h"

using namespace mimetest;

namespace {

const char kNested[] =
    "From: a@example.org\n"
    "MIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=\"outer\"\n\n"
    "--outer\n"
    "Content-Type: multipart/alternative; boundary=\"alt\"\n\n"
    "--alt\nContent-Type: text/plain\n\nplain\n"
    "--alt\n"
    "Content-Type: multipart/related; boundary=\"rel\"\n\n"
    "--rel\nContent-Type: text/html\n\n<img src=\"cid:logo\">\n"
    "--rel\nContent-Type: image/png\nContent-ID: <logo>\nContent-Transfer-Encoding: base64\n\niVBORw0=\n"
    "--rel--\n"
    "--alt--\n"
    "--outer\n"
    "Content-Type: application/pdf; name=\"report (final).pdf\"\n"
    "Content-Disposition: attachment; filename=\"report (final).pdf\"\n"
    "Content-Transfer-Encoding: base64\n\n"
    "JVBERi0xLjQK\n"
    "--outer\n"
    "Content-Type: text/plain\nContent-Disposition: inline\n\nan inline note\n"
    "--outer\n"
    "Content-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n\nAAECAw==\n"
    "--outer\n"
    "Content-Type: text/plain; name*=utf-8''na%C3%AFve.txt\n\nnamed inline text\n"
    "--outer\n"
    "Content-Type: message/rfc822\n\nSubject: inner\nFrom: b@example.org\n\ninner body\n"
    "--outer--\n";

class AttachmentTest : public ::testing::Test {
protected:
    void SetUp() override { LoadMessage(kNested, &m_pMessage); }
    Ref<IMimeMessage> m_pMessage;
};

TEST_F(AttachmentTest, ListsTheAttachmentsInTreeOrder) {
    std::vector<HBODY> rgh = Attachments(m_pMessage.get());
    ASSERT_EQ(4u, rgh.size());
    EXPECT_EQ("report (final).pdf", DisplayName(m_pMessage.get(), rgh[0]));
    EXPECT_EQ("attachment.bin", DisplayName(m_pMessage.get(), rgh[1]));
    EXPECT_EQ("naïve.txt", DisplayName(m_pMessage.get(), rgh[2]));
    EXPECT_EQ("message.eml", DisplayName(m_pMessage.get(), rgh[3]));
    for (HBODY h : rgh) EXPECT_EQ(S_OK, m_pMessage->IsBodyType(h, IBT_ATTACHMENT));
}

TEST_F(AttachmentTest, ContentIsDecoded) {
    std::vector<HBODY> rgh = Attachments(m_pMessage.get());
    ASSERT_EQ(4u, rgh.size());
    EXPECT_EQ("%PDF-1.4\n", BodyData(m_pMessage.get(), rgh[0]));
    EXPECT_EQ(std::string("\0\1\2\3", 4), BodyData(m_pMessage.get(), rgh[1]));
    EXPECT_EQ("named inline text", BodyData(m_pMessage.get(), rgh[2]));
    EXPECT_NE(std::string::npos, BodyData(m_pMessage.get(), rgh[3]).find("inner body"));
    Ref<IStream> pStream;
    ASSERT_EQ(S_OK, m_pMessage->BindToObject(rgh[0], IID_IStream, reinterpret_cast<void **>(&pStream)));
    STATSTG stat{};
    ASSERT_EQ(S_OK, pStream->Stat(&stat, STATFLAG_NONAME));
    EXPECT_EQ(9u, stat.cbSize.QuadPart);
}

TEST_F(AttachmentTest, BodiesAndInlinePartsAreNoAttachments) {
    HBODY hPlain = 0, hHtml = 0;
    ASSERT_EQ(S_OK, m_pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain));
    ASSERT_EQ(S_OK, m_pMessage->GetTextBody(TXT_HTML, IET_BINARY, nullptr, &hHtml));
    EXPECT_EQ(S_FALSE, m_pMessage->IsBodyType(hPlain, IBT_ATTACHMENT));
    EXPECT_EQ(S_FALSE, m_pMessage->IsBodyType(hHtml, IBT_ATTACHMENT));
    EXPECT_EQ("<img src=\"cid:logo\">", TextBody(m_pMessage.get(), TXT_HTML));
    DWORD dwFlags = 0;
    ASSERT_EQ(S_OK, m_pMessage->GetFlags(&dwFlags));
    EXPECT_EQ(IMF_ATTACHMENTS, dwFlags & IMF_ATTACHMENTS);
    EXPECT_EQ(IMF_SUBMULTIPART, dwFlags & IMF_SUBMULTIPART);
}

TEST_F(AttachmentTest, BodyPropsReadThePartsOwnHeaders) {
    std::vector<HBODY> rgh = Attachments(m_pMessage.get());
    ASSERT_FALSE(rgh.empty());
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    ASSERT_EQ(S_OK, m_pMessage->GetBodyProp(rgh[0], "Content-Type", PDF_HEADERFORMAT, &value));
    EXPECT_STREQ("application/pdf; name=\"report (final).pdf\"", value.pszVal);
    std::free(value.pszVal);
    value = PROPVARIANT{};
    value.vt = VT_LPSTR;
    EXPECT_EQ(MIME_E_NOT_FOUND, m_pMessage->GetBodyProp(rgh[0], "Content-ID", PDF_HEADERFORMAT, &value));
    value.vt = VT_LPSTR;
    EXPECT_EQ(MIME_E_NOT_FOUND, m_pMessage->GetBodyProp(rgh[0], "From", 0, &value)); // the root's, not the part's
}

TEST_F(AttachmentTest, BodyObjectAnswersForItsPart) {
    std::vector<HBODY> rgh = Attachments(m_pMessage.get());
    ASSERT_FALSE(rgh.empty());
    Ref<IMimeBody> pBody;
    ASSERT_EQ(S_OK, m_pMessage->BindToObject(rgh[0], IID_IMimeBody, reinterpret_cast<void **>(&pBody)));
    HBODY h = 0;
    EXPECT_EQ(S_OK, pBody->GetHandle(&h));
    EXPECT_EQ(rgh[0], h);
    EXPECT_EQ(S_OK, pBody->IsType(IBT_ATTACHMENT));
    ULONG cb = 0;
    EXPECT_EQ(S_OK, pBody->GetEstimatedSize(IET_BINARY, &cb));
    EXPECT_EQ(9u, cb);
    Ref<IStream> pData;
    ASSERT_EQ(S_OK, pBody->GetData(IET_BINARY, &pData));
    EXPECT_EQ("%PDF-1.4\n", ReadAll(pData.get()));
}

TEST_F(AttachmentTest, BadHandlesAreInvalid) {
    Attachments(m_pMessage.get());
    void *pv = reinterpret_cast<void *>(1);
    EXPECT_EQ(MIME_E_INVALID_HANDLE, m_pMessage->BindToObject(0, IID_IMimeBody, &pv));
    EXPECT_EQ(nullptr, pv);
    EXPECT_EQ(MIME_E_INVALID_HANDLE, m_pMessage->BindToObject(12345, IID_IStream, &pv));
    EXPECT_EQ(MIME_E_INVALID_HANDLE, m_pMessage->IsBodyType(777, IBT_ATTACHMENT));
    EXPECT_EQ(E_NOINTERFACE, m_pMessage->BindToObject(HBODY_ROOT, IID_IMimeAllocator, &pv));
}

TEST(AttachmentEdgeTest, MessageWithoutAttachmentsGivesNone) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Subject: x\n\nbody\n", &pMessage);
    ULONG c = 7;
    HBODY *rgh = reinterpret_cast<HBODY *>(1);
    ASSERT_EQ(S_OK, pMessage->GetAttachments(&c, &rgh));
    EXPECT_EQ(0u, c);
    EXPECT_EQ(nullptr, rgh);
    DWORD dwFlags = 0;
    ASSERT_EQ(S_OK, pMessage->GetFlags(&dwFlags));
    EXPECT_EQ(0u, dwFlags & IMF_ATTACHMENTS);
}

TEST(AttachmentEdgeTest, LoneNonTextPartIsAnAttachment) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Content-Type: image/jpeg\nContent-Transfer-Encoding: base64\n\n/9j/\n", &pMessage);
    std::vector<HBODY> rgh = Attachments(pMessage.get());
    ASSERT_EQ(1u, rgh.size());
    EXPECT_EQ("attachment.jpg", DisplayName(pMessage.get(), rgh[0]));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pMessage.get(), TXT_PLAIN));
}

TEST(AttachmentEdgeTest, SignatureOfASignedMessageIsNoAttachment) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Content-Type: multipart/signed; boundary=s; protocol=\"application/pgp-signature\"\n\n"
                "--s\nContent-Type: text/plain\n\nsigned text\n"
                "--s\nContent-Type: application/pgp-signature\n\n-----BEGIN PGP SIGNATURE-----\n"
                "--s--\n",
                &pMessage);
    EXPECT_TRUE(Attachments(pMessage.get()).empty());
    EXPECT_EQ("signed text", TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ(S_OK, pMessage->IsBodyType(HBODY_ROOT, IBT_SECURE));
}

} // namespace
