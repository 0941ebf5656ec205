// Edits of headers and bodies, and what Save writes afterwards.
#include <gtest/gtest.h>

#include <fstream>

#include "mimetestutil.h"
#include "support/paths.h"

using namespace mimetest;

namespace {

const char kPlain[] = "From: a@example.org\r\n"
                      "Subject: old\r\n"
                      "Content-Type: text/plain; charset=us-ascii\r\n"
                      "\r\n"
                      "old body\r\n";

const char kAlternative[] = "Subject: alt\n"
                            "MIME-Version: 1.0\n"
                            "Content-Type: multipart/alternative; boundary=\"b1\"\n\n"
                            "--b1\nContent-Type: text/plain\n\nplain\n"
                            "--b1\nContent-Type: text/html\n\n<p>html</p>\n"
                            "--b1--\n";

void Reload(IMimeMessage *pMessage, IMimeMessage **ppCopy) { LoadMessage(SaveToString(pMessage), ppCopy); }

void SetText(IMimeMessage *pMessage, DWORD dwTxtType, const std::string &strText, HBODY hAlternative = 0,
             HBODY *phBody = nullptr) {
    Ref<IStream> pStream;
    MakeStream(strText, &pStream);
    pStream->Seek(LARGE_INTEGER{0}, STREAM_SEEK_END, nullptr); // written, not rewound
    HBODY hBody = 0;
    ASSERT_EQ(S_OK, pMessage->SetTextBody(dwTxtType, IET_BINARY, hAlternative, pStream.get(), &hBody));
    ASSERT_NE(0u, hBody);
    if (phBody) *phBody = hBody;
}

TEST(PersistTest, UneditedMessageSavesByteForByte) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    EXPECT_EQ(S_FALSE, pMessage->IsDirty());
    EXPECT_EQ("old body\r\n", TextBody(pMessage.get(), TXT_PLAIN)); // parsing is no edit
    EXPECT_EQ(kPlain, SaveToString(pMessage.get()));
    ULARGE_INTEGER cb{};
    ASSERT_EQ(S_OK, pMessage->GetSizeMax(&cb));
    EXPECT_EQ(sizeof(kPlain) - 1, cb.QuadPart);
    CLSID clsid{};
    EXPECT_EQ(S_OK, pMessage->GetClassID(&clsid));
    EXPECT_EQ(CLSID_IMimeMessage, clsid);
}

TEST(PersistTest, SizeMaxIsWhatSaveWrites) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("a much longer subject than before");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    EXPECT_EQ(S_OK, pMessage->IsDirty());
    ULARGE_INTEGER cb{};
    ASSERT_EQ(S_OK, pMessage->GetSizeMax(&cb));
    std::string strSaved = SaveToString(pMessage.get());
    EXPECT_EQ(strSaved.size(), cb.QuadPart);
    EXPECT_EQ(S_FALSE, pMessage->IsDirty()); // saved with fClearDirty
}

TEST(PersistTest, NewMessageIsEmpty) {
    Ref<IMimeMessage> pMessage;
    ASSERT_EQ(S_OK, MimeOleCreateMessage(nullptr, &pMessage));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_TRUE(Attachments(pMessage.get()).empty());
    IMimeMessage *pNone = reinterpret_cast<IMimeMessage *>(1);
    EXPECT_EQ(E_INVALIDARG, MimeOleCreateMessage(reinterpret_cast<IUnknown *>(pMessage.get()), &pNone));
    EXPECT_EQ(nullptr, pNone);
}

TEST(PersistTest, NewMessageWithHeadersOnly) {
    Ref<IMimeMessage> pMessage;
    ASSERT_EQ(S_OK, MimeOleCreateMessage(nullptr, &pMessage));
    EXPECT_EQ("", SaveToString(pMessage.get()));
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("s");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    EXPECT_EQ("Subject: s\n\n", SaveToString(pMessage.get()));
}

TEST(PersistTest, OpensAMessageFile) {
    testsupport::TempDir dir;
    std::string strPath = (dir.path() / "m.eml").string();
    std::ofstream(strPath, std::ios::binary) << kPlain;
    Ref<IMimeMessage> pMessage;
    ASSERT_EQ(S_OK, MimeOleOpenMessageFile(strPath.c_str(), &pMessage));
    EXPECT_EQ("old", TextProp(pMessage.get(), "Subject"));
    IMimeMessage *pNone = nullptr;
    EXPECT_EQ(STG_E_FILENOTFOUND, MimeOleOpenMessageFile((dir.path() / "none").c_str(), &pNone));
    EXPECT_EQ(nullptr, pNone);
}

TEST(HeaderEditTest, SetHeaderIsEncodedAndReadBack) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("Grüße aus Köln");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    value.vt = VT_I4;
    value.lVal = 1;
    ASSERT_EQ(S_OK, pMessage->SetProp("X-Priority", 0, &value));
    EXPECT_EQ("Grüße aus Köln", TextProp(pMessage.get(), "Subject"));

    std::string strSaved = SaveToString(pMessage.get());
    EXPECT_EQ(std::string::npos, strSaved.find("Köln")); // 8-bit text goes out as encoded words
    EXPECT_NE(std::string::npos, strSaved.find("\r\n\r\nold body\r\n")) << strSaved; // line ends kept

    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("Grüße aus Köln", TextProp(pCopy.get(), "Subject"));
    EXPECT_EQ("1", TextProp(pCopy.get(), "X-Priority"));
    EXPECT_EQ("a@example.org", TextProp(pCopy.get(), "From"));
    EXPECT_EQ("old body\r\n", TextBody(pCopy.get(), TXT_PLAIN));
}

TEST(HeaderEditTest, OnlyTheEditedLinesChange) {
    const std::string strSource = "Received: a\r\n"
                                  "odd line without colon\r\n"
                                  "Subject: old\r\n"
                                  "X-Keep: folded\r\n"
                                  "\tcontinued\r\n"
                                  "Subject: second\r\n"
                                  "\r\n"
                                  "body \x01\x02 with = odd bytes\r\n";
    Ref<IMimeMessage> pMessage;
    LoadMessage(strSource, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("new");
    ASSERT_EQ(S_OK, pMessage->SetProp("subject", 0, &value));
    ASSERT_EQ(S_OK, pMessage->SetProp("X-Added", 0, &value));
    ASSERT_EQ(S_OK, pMessage->DeleteProp("Received"));
    EXPECT_EQ("odd line without colon\r\n"
              "Subject: new\r\n"
              "X-Keep: folded\r\n"
              "\tcontinued\r\n"
              "X-Added: new\r\n"
              "\r\n"
              "body \x01\x02 with = odd bytes\r\n",
              SaveToString(pMessage.get()));
}

TEST(HeaderEditTest, HeaderlessSourceGetsAHeaderBlockInFront) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("just text\nno headers\n", &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("s");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    EXPECT_EQ("Subject: s\n\njust text\nno headers\n", SaveToString(pMessage.get()));
}

TEST(HeaderEditTest, DateAndAddressHeadersCanBeSet) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    value.filetime = FILETIME{0xD53E8000u, 0x019DB1DEu}; // 2000-01-01 00:00:00 UTC
    ASSERT_EQ(S_OK, pMessage->SetProp("Date", 0, &value));
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("Zoë <zoe@example.org>, x@example.org");
    ASSERT_EQ(S_OK, pMessage->SetProp("To", 0, &value));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    PROPVARIANT date{};
    date.vt = VT_FILETIME;
    ASSERT_EQ(S_OK, pCopy->GetProp("Date", 0, &date));
    EXPECT_EQ(0xD53E8000u, date.filetime.dwLowDateTime);
    EXPECT_EQ(0x019DB1DEu, date.filetime.dwHighDateTime);
    EXPECT_EQ("Zoë; x@example.org", Addresses(pCopy.get(), IAT_TO, AFT_DISPLAY_FRIENDLY));
}

TEST(HeaderEditTest, LineBreaksInAValueDontEndTheHeaderBlock) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("one\r\n\r\ntwo");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("old body\r\n", TextBody(pCopy.get(), TXT_PLAIN));
    EXPECT_EQ("a@example.org", TextProp(pCopy.get(), "From"));
}

TEST(HeaderEditTest, InvalidNamesAndTypesAreRefused) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("x");
    EXPECT_EQ(MIME_E_INVALID_HEADER_NAME, pMessage->SetProp("Bad Name", 0, &value));
    EXPECT_EQ(MIME_E_INVALID_HEADER_NAME, pMessage->SetProp("", 0, &value));
    value.vt = 11;
    EXPECT_EQ(MIME_E_INVALID_VARTYPE, pMessage->SetProp("X-A", 0, &value));
}

TEST(HeaderEditTest, DeletePropRemovesEveryRow) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Received: a; Tue, 1 Jul 2003 10:52:37 +0200\nReceived: b\nSubject: s\n\nx\n", &pMessage);
    EXPECT_EQ(S_OK, pMessage->DeleteProp("Received"));
    EXPECT_EQ(MIME_E_NOT_FOUND, pMessage->DeleteProp("Received"));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(pCopy.get(), "Received"));
    EXPECT_EQ("s", TextProp(pCopy.get(), "Subject"));
}

TEST(HeaderEditTest, HeaderCopiedFromBodyToBodyInHeaderFormat) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    Ref<IStream> pData;
    MakeStream("abc", &pData);
    HBODY hNew = 0;
    ASSERT_EQ(S_OK, pMessage->AttachObject(IID_IStream, pData.get(), &hNew));
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("image/png; name=\"=?utf-8?q?b=C3=A4r?=.png\"");
    ASSERT_EQ(S_OK, pMessage->SetBodyProp(hNew, "Content-Type", PDF_HEADERFORMAT, &value));
    value.pszVal = const_cast<char *>("<id@example.org>");
    ASSERT_EQ(S_OK, pMessage->SetBodyProp(hNew, "Content-ID", PDF_HEADERFORMAT, &value));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    std::vector<HBODY> rgh = Attachments(pCopy.get());
    ASSERT_EQ(1u, rgh.size());
    EXPECT_EQ("abc", BodyData(pCopy.get(), rgh[0]));
    PROPVARIANT read{};
    read.vt = VT_LPSTR;
    ASSERT_EQ(S_OK, pCopy->GetBodyProp(rgh[0], "Content-ID", PDF_HEADERFORMAT, &read));
    EXPECT_STREQ("<id@example.org>", read.pszVal);
    std::free(read.pszVal);
    EXPECT_EQ(S_OK, pCopy->IsBodyType(rgh[0], IBT_ATTACHMENT));
}

TEST(BodyEditTest, PlainBodyIsReplacedInPlace) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    SetText(pMessage.get(), TXT_PLAIN, "new body, naïve\n");
    std::string strSaved = SaveToString(pMessage.get());
    for (size_t nPos = strSaved.find('\n'); nPos != std::string::npos; nPos = strSaved.find('\n', nPos + 1))
        ASSERT_EQ('\r', strSaved[nPos - 1]) << "a message with CRLF keeps CRLF: " << strSaved;
    Ref<IMimeMessage> pCopy;
    LoadMessage(strSaved, &pCopy);
    EXPECT_EQ("new body, naïve\n", TextBody(pCopy.get(), TXT_PLAIN)); // the text as it was set
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pCopy.get(), TXT_HTML));
    EXPECT_EQ("old", TextProp(pCopy.get(), "Subject"));
}

TEST(BodyEditTest, HtmlWithAlternativeJoinsThePlainBody) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    HBODY hPlain = 0;
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain));
    SetText(pMessage.get(), TXT_HTML, "<p>new</p>", hPlain);
    EXPECT_EQ(S_OK, pMessage->IsBodyType(hPlain, IBT_CSETTAGGED)); // the plain handle stays valid
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("old body\r\n", TextBody(pCopy.get(), TXT_PLAIN));
    EXPECT_EQ("<p>new</p>", TextBody(pCopy.get(), TXT_HTML));
    EXPECT_NE(std::string::npos, TextProp(pCopy.get(), "Content-Type").find("multipart/alternative"));
}

TEST(BodyEditTest, ReplacingTheHtmlOfAnAlternative) {
    // As a store writes an HTML body: drop the old one, then set the new one beside the plain body.
    Ref<IMimeMessage> pMessage;
    LoadMessage(kAlternative, &pMessage);
    HBODY hHtml = 0, hPlain = 0;
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_HTML, IET_BINARY, nullptr, &hHtml));
    ASSERT_EQ(S_OK, pMessage->DeleteBody(hHtml, 0));
    EXPECT_EQ(MIME_E_INVALID_HANDLE, pMessage->DeleteBody(hHtml, 0));
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain));
    SetText(pMessage.get(), TXT_HTML, "<p>replaced</p>", hPlain);
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("plain", TextBody(pCopy.get(), TXT_PLAIN));
    EXPECT_EQ("<p>replaced</p>", TextBody(pCopy.get(), TXT_HTML));
    EXPECT_TRUE(Attachments(pCopy.get()).empty());
}

TEST(BodyEditTest, HtmlOnlyMessageGetsANewHtmlBody) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Subject: h\nContent-Type: text/html\n\n<p>old</p>\n", &pMessage);
    HBODY hHtml = 0;
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_HTML, IET_BINARY, nullptr, &hHtml));
    ASSERT_EQ(S_OK, pMessage->DeleteBody(hHtml, 0));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pMessage.get(), TXT_HTML));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pMessage.get(), TXT_PLAIN));
    SetText(pMessage.get(), TXT_HTML, "<p>new</p>");
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("<p>new</p>", TextBody(pCopy.get(), TXT_HTML));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextBody(pCopy.get(), TXT_PLAIN));
    EXPECT_EQ("h", TextProp(pCopy.get(), "Subject"));
}

TEST(BodyEditTest, PlainBodyBesideAnHtmlOnlyBody) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Content-Type: text/html\n\n<p>html</p>\n", &pMessage);
    SetText(pMessage.get(), TXT_PLAIN, "");
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("", TextBody(pCopy.get(), TXT_PLAIN)); // an empty body is still a body
    EXPECT_EQ("<p>html</p>\n", TextBody(pCopy.get(), TXT_HTML));
}

TEST(BodyEditTest, DeletingAPartCollapsesItsMultipart) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kAlternative, &pMessage);
    HBODY hPlain = 0;
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain));
    ASSERT_EQ(S_OK, pMessage->DeleteBody(hPlain, 0));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("text/html", TextProp(pCopy.get(), "Content-Type"));
    EXPECT_EQ("<p>html</p>", TextBody(pCopy.get(), TXT_HTML));
}

TEST(BodyEditTest, AttachFileIsNamedAfterItsBaseName) {
    testsupport::TempDir dir;
    std::string strPath = (dir.path() / "run.log").string();
    std::ofstream(strPath, std::ios::binary) << "line 1\nline 2\n";
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    HBODY hBody = 0;
    ASSERT_EQ(S_OK, pMessage->AttachFile(strPath.c_str(), nullptr, &hBody));
    EXPECT_EQ("run.log", DisplayName(pMessage.get(), hBody));
    EXPECT_EQ(STG_E_FILENOTFOUND, pMessage->AttachFile((dir.path() / "none.log").c_str(), nullptr, &hBody));
    EXPECT_EQ(0u, hBody);

    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    std::vector<HBODY> rgh = Attachments(pCopy.get());
    ASSERT_EQ(1u, rgh.size());
    EXPECT_EQ("run.log", DisplayName(pCopy.get(), rgh[0]));
    EXPECT_EQ("line 1\nline 2\n", BodyData(pCopy.get(), rgh[0]));
    EXPECT_EQ("old body\r\n", TextBody(pCopy.get(), TXT_PLAIN));
}

TEST(BodyEditTest, AttachObjectNeedsAStream) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    HBODY hBody = 0;
    EXPECT_EQ(MIME_E_INVALID_OBJECT_IID, pMessage->AttachObject(IID_IMimeBody, pMessage.get(), &hBody));
    EXPECT_EQ(E_INVALIDARG, pMessage->AttachObject(IID_IStream, nullptr, &hBody));
}

TEST(BodyEditTest, EditsOnANewMessage) {
    Ref<IMimeMessage> pMessage;
    ASSERT_EQ(S_OK, MimeOleCreateMessage(nullptr, &pMessage));
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("log files");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    SetText(pMessage.get(), TXT_PLAIN, "see attached");
    Ref<IStream> pData;
    MakeStream("data", &pData);
    HBODY hBody = 0;
    ASSERT_EQ(S_OK, pMessage->AttachFile("/some/dir/a.err", pData.get(), &hBody));
    Ref<IMimeMessage> pCopy;
    Reload(pMessage.get(), &pCopy);
    EXPECT_EQ("log files", TextProp(pCopy.get(), "Subject"));
    EXPECT_EQ("see attached", TextBody(pCopy.get(), TXT_PLAIN));
    std::vector<HBODY> rgh = Attachments(pCopy.get());
    ASSERT_EQ(1u, rgh.size());
    EXPECT_EQ("a.err", DisplayName(pCopy.get(), rgh[0]));
    EXPECT_EQ("data", BodyData(pCopy.get(), rgh[0]));
}

TEST(ViewSourceTest, WithoutViewerTheEntryPointIsMissing) {
    unsetenv("TESSEL_VIEWER");
    EXPECT_EQ(nullptr, MimeOleGetProcAddress("MimeEditViewSource"));
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    EXPECT_EQ(MIME_E_NO_VIEWER, MimeEditViewSource(nullptr, pMessage.get()));
}

TEST(ViewSourceTest, ViewerGetsAFileWithTheSource) {
    testsupport::TempDir dir;
    std::string strCopy = (dir.path() / "seen.eml").string();
    setenv("TESSEL_VIEWER", ("cp -- \"$1\" '" + strCopy + "'; :").c_str(), 1);
    Ref<IMimeMessage> pMessage;
    LoadMessage(kPlain, &pMessage);
    auto pfn = reinterpret_cast<PFNMIMEEDITVIEWSOURCE>(MimeOleGetProcAddress("MimeEditViewSource"));
    ASSERT_NE(nullptr, pfn);
    EXPECT_EQ(S_OK, pfn(nullptr, pMessage.get()));
    std::ifstream in(strCopy, std::ios::binary);
    std::string strSeen((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(kPlain, strSeen);
    setenv("TESSEL_VIEWER", "false", 1);
    EXPECT_EQ(E_FAIL, MimeEditViewSource(nullptr, pMessage.get()));
    unsetenv("TESSEL_VIEWER");
}

} // namespace
