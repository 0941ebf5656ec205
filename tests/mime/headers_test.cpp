// Header reads and the header table of the root body.
#include <gtest/gtest.h>

#include <cstdlib>

#include "mimetestutil.h"
#include "platform/time.h"

using namespace mimetest;

namespace {

const char kHeaders[] =
    "Received: from a.example by b.example; Tue, 1 Jul 2003 10:52:37 +0200\r\n"
    "Received: from c.example by a.example; Tue, 1 Jul 2003 10:50:00 +0200\r\n"
    "From: =?iso-8859-1?q?J=F6rg_M=FCller?= <joerg@example.org>\r\n"
    "Subject: a folded\r\n"
    "  =?utf-8?b?R3LDvMOfZQ==?= line\r\n"
    "X-Latin: caf\xe9\r\n"
    "X-Priority: 2 (High)\r\n"
    "X-Empty:\r\n"
    "Date: Tue, 1 Jul 2003 10:52:37 +0200\r\n"
    "Content-Type: text/plain; charset=us-ascii\r\n"
    "\r\n"
    "body\r\n";

class HeaderTest : public ::testing::Test {
protected:
    void SetUp() override { LoadMessage(kHeaders, &m_pMessage); }
    Ref<IMimeMessage> m_pMessage;
};

TEST_F(HeaderTest, TextIsUnfoldedAndDecoded) {
    EXPECT_EQ("a folded  Grüße line", TextProp(m_pMessage.get(), "Subject"));
    EXPECT_EQ("Jörg Müller <joerg@example.org>", TextProp(m_pMessage.get(), "From"));
    EXPECT_EQ("café", TextProp(m_pMessage.get(), "X-Latin")); // 8-bit bytes read as windows-1252
    EXPECT_EQ("", TextProp(m_pMessage.get(), "X-Empty"));
}

TEST_F(HeaderTest, NamesAreCaseInsensitive) {
    EXPECT_EQ(TextProp(m_pMessage.get(), "Subject"), TextProp(m_pMessage.get(), "SUBJECT"));
    EXPECT_EQ("text/plain; charset=us-ascii", TextProp(m_pMessage.get(), "content-type"));
}

TEST_F(HeaderTest, EncodedFlagGivesTheValueAsItStands) {
    EXPECT_EQ("a folded  =?utf-8?b?R3LDvMOfZQ==?= line", TextProp(m_pMessage.get(), "Subject", PDF_ENCODED));
    EXPECT_EQ("X-Priority: 2 (High)", TextProp(m_pMessage.get(), "X-Priority", PDF_ENCODED | PDF_NAMEINDATA));
}

TEST_F(HeaderTest, AbsentHeaderIsNotFound) {
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(m_pMessage.get(), "Message-ID"));
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    EXPECT_EQ(MIME_E_NOT_FOUND, m_pMessage->GetProp("Sender", 0, &value));
}

TEST_F(HeaderTest, RepeatedHeaderGivesTheFirst) {
    EXPECT_EQ("from a.example by b.example; Tue, 1 Jul 2003 10:52:37 +0200", TextProp(m_pMessage.get(), "Received"));
}

TEST_F(HeaderTest, NumberIsTheLeadingInteger) {
    PROPVARIANT value{};
    value.vt = VT_I4;
    ASSERT_EQ(S_OK, m_pMessage->GetProp("X-Priority", 0, &value));
    EXPECT_EQ(VT_I4, value.vt);
    EXPECT_EQ(2, value.lVal);
    value.vt = VT_I4;
    EXPECT_EQ(MIME_E_VARTYPE_NO_CONVERT, m_pMessage->GetProp("Subject", 0, &value));
}

TEST_F(HeaderTest, DatesAreUtcFileTimes) {
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    ASSERT_EQ(S_OK, m_pMessage->GetProp("Date", 0, &value));
    EXPECT_EQ(1057049557, UnixSecondsFromFileTime(value.filetime));
    value = PROPVARIANT{};
    value.vt = VT_FILETIME;
    ASSERT_EQ(S_OK, m_pMessage->GetProp("Received", 0, &value));
    EXPECT_EQ(1057049557, UnixSecondsFromFileTime(value.filetime)); // the date behind the last ";"
}

TEST_F(HeaderTest, TextThatIsNoDateIsAnInvalidDate) {
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    EXPECT_EQ(MIME_E_INVALID_INET_DATE, m_pMessage->GetProp("Subject", 0, &value));
}

TEST_F(HeaderTest, UnknownVarTypeIsRefused) {
    PROPVARIANT value{};
    value.vt = 11; // VT_BOOL
    EXPECT_EQ(MIME_E_INVALID_VARTYPE, m_pMessage->GetProp("Subject", 0, &value));
}

TEST_F(HeaderTest, PropertySetOfTheRootReadsTheSameHeaders) {
    Ref<IMimePropertySet> pProps;
    ASSERT_EQ(S_OK, m_pMessage->BindToObject(HBODY_ROOT, IID_IMimePropertySet, reinterpret_cast<void **>(&pProps)));
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    ASSERT_EQ(S_OK, pProps->GetProp("Subject", 0, &value));
    EXPECT_STREQ("a folded  Grüße line", value.pszVal);
    Ref<IMimeAllocator> pAllocator;
    ASSERT_EQ(S_OK, MimeOleCreateAllocator(&pAllocator));
    EXPECT_EQ(S_OK, pAllocator->PropVariantClear(&value));
    EXPECT_EQ(VT_EMPTY, value.vt);
    EXPECT_EQ(nullptr, value.pszVal);
}

TEST_F(HeaderTest, HeaderTableGivesEveryRowWithItsLineEnd) {
    Ref<IMimeHeaderTable> pTable;
    ASSERT_EQ(S_OK, m_pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)));
    FINDHEADER find{};
    HHEADERROW hRow = 0;
    std::string strAll;
    int cRows = 0;
    for (HRESULT hr = pTable->FindFirst(&find, &hRow); hr == S_OK; hr = pTable->FindNext(&find, &hRow)) {
        LPSTR psz = nullptr;
        ULONG cch = 0;
        ASSERT_EQ(S_OK, pTable->GetRowData(hRow, HTF_NAMEINDATA, &psz, &cch));
        EXPECT_EQ(std::strlen(psz), cch);
        strAll += psz;
        std::free(psz);
        cRows++;
    }
    EXPECT_EQ(9, cRows);
    std::string strHeaderBlock(kHeaders, std::string(kHeaders).find("\r\n\r\n") + 2);
    EXPECT_EQ(strHeaderBlock, strAll); // the rows as they stood, Content-Type included, in order
}

TEST_F(HeaderTest, HeaderTableFindsRowsByName) {
    Ref<IMimeHeaderTable> pTable;
    ASSERT_EQ(S_OK, m_pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)));
    FINDHEADER find{"received", 0};
    HHEADERROW hRow = 0;
    int cRows = 0;
    for (HRESULT hr = pTable->FindFirst(&find, &hRow); hr == S_OK; hr = pTable->FindNext(&find, &hRow)) cRows++;
    EXPECT_EQ(2, cRows);
    EXPECT_EQ(MIME_E_NOT_FOUND, pTable->FindNext(&find, &hRow));
    LPSTR psz = nullptr;
    EXPECT_EQ(MIME_E_INVALID_HANDLE, pTable->GetRowData(99, 0, &psz, nullptr));
    EXPECT_EQ(nullptr, psz);
}

TEST(HeaderEdgeTest, MessageWithoutHeadersHasNoRows) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("\nonly a body\n", &pMessage);
    Ref<IMimeHeaderTable> pTable;
    ASSERT_EQ(S_OK, pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)));
    FINDHEADER find{};
    HHEADERROW hRow = 0;
    EXPECT_EQ(MIME_E_NOT_FOUND, pTable->FindFirst(&find, &hRow));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(pMessage.get(), "Subject"));
}

TEST(HeaderEdgeTest, TextWithoutAnyHeaderIsAPlainBody) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("no header here\njust text\n", &pMessage);
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ("no header here\njust text\n", TextBody(pMessage.get(), TXT_PLAIN));
}

TEST(HeaderEdgeTest, UnknownCharsetInEncodedWordStillGivesText) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Subject: =?x-unknown?q?abc?= and =?utf-8?q?broken\n\nx\n", &pMessage);
    std::string str = TextProp(pMessage.get(), "Subject");
    EXPECT_EQ(std::string::npos, str.find("hr=")) << str;
    EXPECT_NE(std::string::npos, str.find("and")) << str;
}

} // namespace
