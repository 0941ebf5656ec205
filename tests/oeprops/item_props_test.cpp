// COELib::GetItemProps over crafted messages: every tag of the table, the fall-backs of priority, sender and
// dates, the header rows, and the failures that cost one value or the whole call.
#include <cstdlib>
#include <cstring>
#include <string>

#include "log/log.h"
#include "oelib_fixture.h"
#include "oestore/oetags.h"
#include "oestore/oevalues.h"
#include "platform/loader.h"
#include "platform/time.h"
#include "support/fake_oestore.h"
#include "support/log_capture.h"

using namespace oetest;
using testsupport::CLogCapture;

namespace {

const std::string kHeaders = "From: Alice Example <alice@example.org>\n"
                             "Sender: Bob Sender <bob@example.org>\n"
                             "To: Carol <carol@example.org>, dave@example.org\n"
                             "Cc: Eve <eve@example.org>\n"
                             "Bcc: Frank <frank@example.org>\n"
                             "Subject: Hello there\n"
                             "Message-ID: <m1@example.org>\n"
                             "References: <r0@example.org>\n"
                             "Date: Tue, 03 Mar 2020 10:00:00 +0000\n"
                             "Received: from a.example.org by b.example.org; Tue, 03 Mar 2020 09:59:00 +0000\n"
                             "X-Priority: 1\n";

// A time zone away from UTC, so that a missing conversion to local time shows.
class LocalZone {
public:
    LocalZone() {
        const char *psz = std::getenv("TZ");
        m_bHad = psz != nullptr;
        if (psz) m_strOld = psz;
        setenv("TZ", "XST-5", 1);
        tzset();
    }
    ~LocalZone() {
        if (m_bHad)
            setenv("TZ", m_strOld.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_bHad = false;
    std::string m_strOld;
};

bool SameTime(const FILETIME &a, const FILETIME &b) { return FileTimeToU64(a) == FileTimeToU64(b); }

class ItemPropsTest : public OELibTest {
protected:
    LocalZone m_zone;
};

TEST_F(ItemPropsTest, EveryHeaderAndAddressTagOfTheTable) {
    TestItem item(TextMessage(kHeaders, "Body text\n"));
    auto values = Read(item, {PR_OE_SUBJECT, PR_OE_REFERENCES, PR_OE_MESSAGE_ID, PR_OE_FROM, PR_OE_BCC, PR_OE_CC,
                              PR_OE_TO, PR_OE_SENDER, PR_OE_DISPLAY_BCC, PR_OE_DISPLAY_CC, PR_OE_DISPLAY_TO,
                              PR_OE_DISPLAY_FROM, PR_OE_SENDER_EMAIL});
    ASSERT_EQ(values->m_hr, S_OK);
    ASSERT_EQ(values->m_cValues, 13u);
    const char *aszExpected[] = {"Hello there",
                                 "<r0@example.org>",
                                 "<m1@example.org>",
                                 "Alice Example <alice@example.org>",
                                 "Frank <frank@example.org>",
                                 "Eve <eve@example.org>",
                                 "Carol <carol@example.org>, dave@example.org",
                                 "Bob Sender <bob@example.org>",
                                 "Frank",
                                 "Eve",
                                 "Carol; dave@example.org",
                                 "Alice Example",
                                 "bob@example.org"};
    for (ULONG i = 0; i < values->m_cValues; ++i) {
        EXPECT_EQ(PROP_TYPE((*values)[i].ulPropTag), PT_STRING8) << i;
        EXPECT_EQ(Text((*values)[i]), aszExpected[i]) << i;
    }
}

TEST_F(ItemPropsTest, NumbersDatesBodyAndEntry) {
    std::string strSource = TextMessage(kHeaders, "Body text\n");
    TestItem item(strSource, 0, 0x1234, 0x56);
    auto values = Read(item, {PR_ENTRYID, PR_OE_PRIORITY, PR_OE_SENT, PR_OE_RECEIVED, PR_OE_SIZE, PR_OE_BODY,
                              PR_OE_TEXT_BODY, PR_OE_HASATTACH});
    ASSERT_EQ(values->m_hr, S_OK);
    const SPropValue &entry = (*values)[0];
    ASSERT_EQ(entry.ulPropTag, PR_ENTRYID);
    ASSERT_EQ(entry.Value.bin.cb, 8u);
    const BYTE abEntry[] = {0x34, 0x12, 0, 0, 0x56, 0, 0, 0};
    EXPECT_EQ(std::memcmp(entry.Value.bin.lpb, abEntry, 8), 0);
    EXPECT_EQ((*values)[1].Value.l, 1);
    EXPECT_TRUE(SameTime((*values)[2].Value.ft, LocalFileTime(2020, 3, 3, 10, 0, 0)));
    EXPECT_TRUE(SameTime((*values)[3].Value.ft, LocalFileTime(2020, 3, 3, 9, 59, 0)));
    EXPECT_EQ((*values)[4].ulPropTag, PR_OE_SIZE);
    EXPECT_EQ((*values)[4].Value.ul, strSource.size());
    EXPECT_EQ(Text((*values)[5]), "Body text\n");
    EXPECT_EQ(Text((*values)[6]), "Body text\n");
    EXPECT_EQ((*values)[7].ulPropTag, PR_OE_HASATTACH);
    EXPECT_EQ((*values)[7].Value.b, 0);
}

TEST_F(ItemPropsTest, FlagsAreTheEffectiveOnesWithPendingChanges) {
    TestItem item(TextMessage(kHeaders, "x\n"), MSG_UNREAD | MSG_FLAGGED | MSG_DELETED);
    item.m_item.dwSetMask = MSG_REPLIED | MSG_RCPTSENT;
    item.m_item.dwClearMask = MSG_UNREAD;
    auto values = Read(item, {PR_OE_STATE, PR_OE_UNREAD, PR_OE_FLAGGED, PR_OE_DELETED, PR_OE_REPLIED,
                              PR_OE_RCPTSENT, PR_OE_SUBMITTED, PR_OE_UNSENT, PR_OE_RECEIVED_FLAG, PR_OE_NEWSMSG,
                              PR_OE_NOSECUI, PR_OE_VOICEMAIL, PR_OE_FORWARDED});
    ASSERT_EQ(values->m_hr, S_OK);
    EXPECT_EQ((*values)[0].Value.ul, MSG_FLAGGED | MSG_DELETED | MSG_REPLIED | MSG_RCPTSENT);
    const uint16_t abExpected[] = {0, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
    for (ULONG i = 1; i < values->m_cValues; ++i) {
        EXPECT_EQ(PROP_TYPE((*values)[i].ulPropTag), PT_BOOLEAN) << i;
        EXPECT_EQ((*values)[i].Value.b, abExpected[i - 1]) << i;
    }
    // Each flag tag reads its own bit.
    for (auto [ulTag, dwBit] : {std::pair{PR_OE_SUBMITTED, MSG_SUBMITTED}, {PR_OE_UNSENT, MSG_UNSENT},
                                {PR_OE_RECEIVED_FLAG, MSG_RECEIVED}, {PR_OE_NEWSMSG, MSG_NEWSMSG},
                                {PR_OE_NOSECUI, MSG_NOSECUI}, {PR_OE_VOICEMAIL, MSG_VOICEMAIL},
                                {PR_OE_FORWARDED, MSG_FORWARDED}}) {
        TestItem one(TextMessage(kHeaders, "x\n"), dwBit);
        auto flag = Read(one, {ulTag, PR_OE_STATE});
        EXPECT_EQ((*flag)[0].Value.b, 1) << std::hex << ulTag;
        EXPECT_EQ((*flag)[1].Value.ul, dwBit);
    }
}

TEST_F(ItemPropsTest, AttachmentFlagComesFromTheMessageAndAFailureIsFalse) {
    TestItem item(MessageWithAttachments({{"a.bin", "abc"}}));
    auto values = Read(item, {PR_OE_HASATTACH});
    EXPECT_EQ(values->m_hr, S_OK);
    EXPECT_EQ((*values)[0].Value.b, 1);

    item.Faults().hrGetFlags = E_FAIL;
    auto failed = Read(item, {PR_OE_HASATTACH});
    EXPECT_EQ(failed->m_hr, S_OK);
    EXPECT_EQ((*failed)[0].ulPropTag, PR_OE_HASATTACH);
    EXPECT_EQ((*failed)[0].Value.b, 0);
}

TEST_F(ItemPropsTest, SenderEmailFallsBackToFrom) {
    TestItem item(TextMessage("From: Alice <alice@example.org>\n", "x\n"));
    auto values = Read(item, {PR_OE_SENDER_EMAIL, PR_OE_SENDER});
    EXPECT_EQ(Text((*values)[0]), "alice@example.org");
    EXPECT_EQ((*values)[1].ulPropTag, CHANGE_PROP_TYPE(PR_OE_SENDER, PT_ERROR));
    EXPECT_EQ((*values)[1].Value.err, MAPI_E_NOT_FOUND);
}

TEST_F(ItemPropsTest, AnAddressReadThatFailsOddlyIsAWarningAndTheCode) {
    CLogCapture log;
    TestItem item(TextMessage(kHeaders, "x\n"));
    item.Faults().hrAddressFormat = E_ACCESSDENIED;
    auto values = Read(item, {PR_OE_DISPLAY_TO});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*values)[0].Value.err, E_ACCESSDENIED);
    EXPECT_EQ(Logged(log), std::vector<std::string>{"War[0x80070005] in COELib::_GetAddressFormat: Unknown error"});
}

TEST_F(ItemPropsTest, PriorityDefaultsAndFallBacks) {
    struct Case {
        const char *szHeaders;
        LONG nExpected;
        const char *szWarning; // "" for none
    } cases[] = {
        {"", 3, ""},
        {"X-Priority: 5 (Lowest)\n", 5, ""},
        {"X-Priority: 2\n", 2, "War in COELib::GetItemProps: Non standard X-Priority:2"},
        {"X-MSMail-Priority: high\n", 1, ""},
        {"X-MSMail-Priority: Normal\n", 3, ""},
        {"X-MSMail-Priority: LOW\n", 5, ""},
        {"X-MSMail-Priority: Urgent\n", 3, "War in COELib::GetItemProps: Non standard X-MSMail-Priority:Urgent"},
        {"X-Priority: 4\nX-MSMail-Priority: High\n", 4, "War in COELib::GetItemProps: Non standard X-Priority:4"},
    };
    for (const Case &c : cases) {
        CLogCapture log;
        TestItem item(TextMessage(std::string("Subject: p\n") + c.szHeaders, "x\n"));
        auto values = Read(item, {PR_OE_PRIORITY});
        EXPECT_EQ(values->m_hr, S_OK) << c.szHeaders;
        EXPECT_EQ((*values)[0].ulPropTag, PR_OE_PRIORITY) << c.szHeaders;
        EXPECT_EQ((*values)[0].Value.l, c.nExpected) << c.szHeaders;
        std::vector<std::string> expected;
        if (*c.szWarning) expected.push_back(c.szWarning);
        EXPECT_EQ(Logged(log), expected) << c.szHeaders;
    }
}

TEST_F(ItemPropsTest, PriorityReadFailuresAreErrorValues) {
    TestItem item(TextMessage("X-MSMail-Priority: High\n", "x\n"));
    item.Faults().props["X-Priority"] = E_ACCESSDENIED;
    auto values = Read(item, {PR_OE_PRIORITY});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*values)[0].ulPropTag, CHANGE_PROP_TYPE(PR_OE_PRIORITY, PT_ERROR));
    EXPECT_EQ((*values)[0].Value.err, E_ACCESSDENIED);

    TestItem second(TextMessage("X-MSMail-Priority: High\n", "x\n"));
    second.Faults().props["X-MSMail-Priority"] = E_FAIL;
    auto other = Read(second, {PR_OE_PRIORITY});
    EXPECT_EQ((*other)[0].Value.err, E_FAIL);
}

TEST_F(ItemPropsTest, MissingValuesAreNotFoundAndOtherCodesPassUnchanged) {
    TestItem item(TextMessage("Subject: only this\n", "x\n"));
    item.Faults().props["References"] = E_ACCESSDENIED;
    auto values = Read(item, {PR_OE_SUBJECT, PR_OE_RECEIVED, PR_OE_MESSAGE_ID, PR_OE_REFERENCES, PR_OE_DISPLAY_CC,
                              PR_OE_HTML_BODY});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(Text((*values)[0]), "only this");
    for (ULONG i : {1u, 2u, 4u, 5u}) {
        EXPECT_EQ(PROP_TYPE((*values)[i].ulPropTag), PT_ERROR) << i;
        EXPECT_EQ(PROP_ID((*values)[i].ulPropTag), PROP_ID(std::vector<ULONG>{0, PR_OE_RECEIVED, PR_OE_MESSAGE_ID, 0,
                                                                            PR_OE_DISPLAY_CC, PR_OE_HTML_BODY}[i]));
        EXPECT_EQ((*values)[i].Value.err, MAPI_E_NOT_FOUND) << i;
    }
    EXPECT_EQ((*values)[3].Value.err, E_ACCESSDENIED);

    SPropValue *pProp = nullptr;
    EXPECT_EQ(m_lib.GetItemProp(item.Handle(), PR_OE_RECEIVED, &pProp, false), MAPI_E_NOT_FOUND);
    ASSERT_NE(pProp, nullptr) << "the array is handed out with the error value";
    m_lib.FreeItemProps(pProp);
    pProp = nullptr;
    EXPECT_EQ(m_lib.GetItemProp(item.Handle(), PR_OE_SUBJECT, &pProp, false), S_OK);
    EXPECT_STREQ(pProp->Value.lpszA, "only this");
    m_lib.FreeItemProps(pProp);
}

TEST_F(ItemPropsTest, UnknownTagsCostTheirOwnValueOnly) {
    CLogCapture log;
    TestItem item(TextMessage(kHeaders, "x\n"));
    auto values = Read(item, {PR_OE_SUBJECT, 0x8009001E, 0x801F001E, PR_OE_SUBJECT | 0x1, PR_OE_MESSAGE_ID});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(values->m_cValues, 5u);
    EXPECT_EQ(Text((*values)[0]), "Hello there");
    EXPECT_EQ((*values)[1].ulPropTag, 0x8009000Au);
    EXPECT_EQ((*values)[1].Value.err, -1);
    EXPECT_EQ((*values)[2].ulPropTag, 0x801F000Au);
    EXPECT_EQ((*values)[3].ulPropTag, 0x8010000Au) << "the whole tag must be in the table, type included";
    EXPECT_EQ(Text((*values)[4]), "<m1@example.org>");
    EXPECT_EQ(Logged(log), (std::vector<std::string>{"Err[0x8009001e] in PROCNAME: Unknown tag",
                                                      "Err[0x801f001e] in PROCNAME: Unknown tag",
                                                      "Err[0x8010001f] in PROCNAME: Unknown tag"}));
}

TEST_F(ItemPropsTest, AFailedBindingFailsTheCallAndHandsNothingOut) {
    CLogCapture log;
    TestItem item(TextMessage(kHeaders, "x\n"));
    item.Faults().hrBindPropertySet = E_NOINTERFACE;
    SPropTagArray tags{1, {PR_OE_SUBJECT}};
    ULONG cValues = 77;
    auto *pSentinel = reinterpret_cast<SPropValue *>(&cValues);
    SPropValue *pProps = pSentinel;
    EXPECT_EQ(m_lib.GetItemProps(item.Handle(), &tags, &cValues, &pProps, false), E_NOINTERFACE);
    EXPECT_EQ(cValues, 77u);
    EXPECT_EQ(pProps, pSentinel);
    EXPECT_EQ(Logged(log), std::vector<std::string>{"Err[0x80004002] in COELib::GetItemProps: BindToObject"});
}

TEST_F(ItemPropsTest, BadArgumentsAssertAndFail) {
    CLogCapture log;
    TestItem item(TextMessage(kHeaders, "x\n"));
    SPropTagArray none{0, {0}};
    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    EXPECT_EQ(m_lib.GetItemProps(item.Handle(), &none, &cValues, &pProps, false), -1);
    EXPECT_EQ(m_lib.GetItemProps(nullptr, &none, &cValues, &pProps, false), -1);
    EXPECT_EQ(pProps, nullptr);
    EXPECT_EQ(Logged(log).size(), 2u);
}

TEST_F(ItemPropsTest, HeadersAreAllRowsAsTheyStand) {
    std::string strHeaders = "Subject: folded\n  subject line\nX-Empty: \nFrom: a@example.org\n";
    std::string strSource = TextMessage(strHeaders, "x\n");
    TestItem item(strSource);
    auto values = Read(item, {PR_OE_HEADERS});
    ASSERT_EQ(values->m_hr, S_OK);
    EXPECT_EQ(Text((*values)[0]), strSource.substr(0, strSource.find("\n\n") + 1));

    item.Faults().hrBindHeaderTable = E_NOINTERFACE;
    auto failed = Read(item, {PR_OE_HEADERS});
    EXPECT_EQ((*failed)[0].Value.err, E_NOINTERFACE);
}

TEST_F(ItemPropsTest, AMessageWithoutHeadersHasNoHeaderValue) {
    TestItem item("\nonly a body\n");
    auto values = Read(item, {PR_OE_HEADERS});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
}

TEST_F(ItemPropsTest, ReceivedFallsBackToTheDateBehindTheLastSemicolon) {
    CLogCapture log(3);
    TestItem item(TextMessage("Received: from x by y; Tue, 03 Mar 2020 09:59:00 +0000\n", "x\n"));
    item.Faults().dateProps["Received"] = MIME_E_INVALID_INET_DATE;
    auto values = Read(item, {PR_OE_RECEIVED});
    EXPECT_EQ(values->m_hr, S_OK);
    EXPECT_TRUE(SameTime((*values)[0].Value.ft, LocalFileTime(2020, 3, 3, 9, 59, 0)));
    EXPECT_TRUE(Logged(log).empty());
}

TEST_F(ItemPropsTest, ReceivedFallBackFailuresAreNotFoundWithTheirStep) {
    struct Case {
        const char *szReceived;
        const char *szLine;
    } cases[] = {
        {"from x by y with no date\n",
         "Inf in COELib::GetItemProps: PR_OE_RECEIVED - Altrenative read failed on 2 step, hr = 0x0"},
        {"from x by y; not a date at all\n",
         "Inf in COELib::GetItemProps: PR_OE_RECEIVED - Altrenative read failed on 3 step, hr = 0x800cce2d"},
    };
    for (const Case &c : cases) {
        CLogCapture log(3);
        TestItem item(TextMessage(std::string("Received: ") + c.szReceived, "x\n"));
        item.Faults().dateProps["Received"] = MIME_E_INVALID_INET_DATE;
        auto values = Read(item, {PR_OE_RECEIVED});
        EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
        EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
        EXPECT_EQ(Logged(log), std::vector<std::string>{c.szLine});
    }
    // The text read itself fails: step 1 with its code.
    CLogCapture log(3);
    TestItem item(TextMessage("Received: from x; Tue, 03 Mar 2020 09:59:00 +0000\n", "x\n"));
    item.Faults().dateProps["Received"] = MIME_E_INVALID_INET_DATE;
    item.Faults().props["Received"] = MIME_E_INVALID_INET_DATE;
    auto values = Read(item, {PR_OE_RECEIVED});
    EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(Logged(log),
              std::vector<std::string>{
                  "Inf in COELib::GetItemProps: PR_OE_RECEIVED - Altrenative read failed on 1 step, hr = 0x800cce2d"});
}

TEST_F(ItemPropsTest, TheInfoLineOfTheFallBackNeedsLevelThree) {
    CLogCapture log(2);
    TestItem item(TextMessage("Received: no date\n", "x\n"));
    item.Faults().dateProps["Received"] = MIME_E_INVALID_INET_DATE;
    auto values = Read(item, {PR_OE_RECEIVED});
    EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_TRUE(Logged(log).empty());
}

TEST_F(ItemPropsTest, TheDateParserIsLoadedByName) {
    const std::string strSource = TextMessage("Received: from x; Tue, 03 Mar 2020 09:59:00 +0000\n", "x\n");
    const BuiltinExport kParser[] = {
        {"MimeOleInetDateToFileTime",
         reinterpret_cast<FARPROC>(static_cast<PFNMIMEOLEINETDATETOFILETIME>(&MimeOleInetDateToFileTime))}};
    const BuiltinExport kOther[] = {{"SomethingElse", reinterpret_cast<FARPROC>(&MimeOleCreateAllocator)}};
    ASSERT_TRUE(RemoveBuiltinModule(kszInetCommModuleName));
    {
        CLogCapture log(3);
        TestItem item(strSource);
        item.Faults().dateProps["Received"] = MIME_E_INVALID_INET_DATE;
        auto values = Read(item, {PR_OE_RECEIVED});
        EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
        EXPECT_EQ(Logged(log), (std::vector<std::string>{
                                   "Err[0x7e] in COELib::_InetDateToFileTime: LoadLibrary",
                                   "Inf in COELib::GetItemProps: PR_OE_RECEIVED - Altrenative read failed on 3 step, "
                                   "hr = 0xffffffff"}));
    }
    ASSERT_TRUE(AddBuiltinModule(kszInetCommModuleName, kOther, 1));
    {
        CLogCapture log(3);
        FILETIME ft{};
        EXPECT_EQ(m_lib._InetDateToFileTime("Tue, 03 Mar 2020 09:59:00 +0000", &ft, false), -2);
        EXPECT_EQ(Logged(log), std::vector<std::string>{"Err[0x7f] in COELib::_InetDateToFileTime: GetProcAddress"});
    }
    ASSERT_TRUE(RemoveBuiltinModule(kszInetCommModuleName));
    ASSERT_TRUE(AddBuiltinModule(kszInetCommModuleName, kParser, 1));
    FILETIME ft{};
    EXPECT_EQ(m_lib._InetDateToFileTime("Tue, 03 Mar 2020 09:59:00 +0000", &ft, false), S_OK);
    EXPECT_EQ(UnixSecondsFromFileTime(ft), 1583229540);
    EXPECT_EQ(GetModuleHandleA(kszInetCommModuleName), nullptr) << "loaded for the call only";
}

TEST_F(ItemPropsTest, SentFallsBackToTheStoresTimeAsItHoldsIt) {
    auto *pNamespace = new testsupport::FakeStoreNamespace();
    m_lib.m_pNamespace = pNamespace;
    testsupport::FakeStoreFolder *pFolder = pNamespace->AddFolder(FOLDERID_ROOT, "Inbox", FOLDER_INBOX);
    testsupport::FakeMessage message;
    message.ftSent = U64ToFileTime(0x01D5F1A2B3C4D5E6ull);
    MESSAGEID dwMessageId = pFolder->Add(message);
    TestItem item(TextMessage("Date: the day after tomorrow\n", "x\n"), 0, pFolder->m_dwFolderId, dwMessageId);
    auto values = Read(item, {PR_OE_SENT});
    EXPECT_EQ(values->m_hr, S_OK);
    EXPECT_TRUE(SameTime((*values)[0].Value.ft, message.ftSent)) << "no conversion to local time";

    CLogCapture log;
    pFolder->hrGetMessageProps = STG_E_FILENOTFOUND;
    auto lost = Read(item, {PR_OE_SENT});
    EXPECT_EQ(lost->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*lost)[0].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(Logged(log), (std::vector<std::string>{
                               "War[0x80030002] in COELib::_GetMessageProps: Cant get message props",
                               "Err[0x80030002] in COELib::GetItemProps: PR_OE_SENT - Altrenative read failed"}));
}

TEST_F(ItemPropsTest, AMissingDateIsNotFoundWithoutFallBack) {
    CLogCapture log;
    TestItem item(TextMessage("Subject: undated\n", "x\n"));
    auto values = Read(item, {PR_OE_SENT});
    EXPECT_EQ((*values)[0].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_TRUE(Logged(log).empty());
}

TEST_F(ItemPropsTest, SizeFailureIsTheValuesCode) {
    TestItem item(TextMessage(kHeaders, "x\n"));
    item.Faults().hrGetSizeMax = STG_E_READFAULT;
    auto values = Read(item, {PR_OE_SIZE, PR_OE_SUBJECT});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*values)[0].Value.err, STG_E_READFAULT);
    EXPECT_EQ(Text((*values)[1]), "Hello there");
}

TEST_F(ItemPropsTest, ValuesAndTheirTextsAreOneBlock) {
    TestItem item(TextMessage(kHeaders, "x\n"));
    auto values = Read(item, {PR_OE_SUBJECT, PR_OE_SIZE, PR_ENTRYID, PR_OE_BODY, PR_OE_MESSAGE_ID});
    ASSERT_EQ(values->m_cValues, 5u);
    // Packed: the texts and buffers follow the values, in order, each right behind the one before; the subject,
    // which many messages share, is kept apart.
    auto *pNext = reinterpret_cast<const BYTE *>(values->m_pProps + values->m_cValues);
    EXPECT_EQ((*values)[2].Value.bin.lpb, pNext);
    pNext += (*values)[2].Value.bin.cb;
    EXPECT_EQ(reinterpret_cast<const BYTE *>((*values)[3].Value.lpszA), pNext);
    pNext += std::strlen((*values)[3].Value.lpszA) + 1;
    EXPECT_EQ(reinterpret_cast<const BYTE *>((*values)[4].Value.lpszA), pNext);
    EXPECT_FALSE(COEValueChunks::InChunkOf(values->m_pProps, (*values)[0].Value.lpszA));
    EXPECT_EQ(Text((*values)[0]), "Hello there");
    EXPECT_EQ(Text((*values)[3]), "x\n");
    EXPECT_EQ(Text((*values)[4]), "<m1@example.org>");
}

TEST(ValueArrayTest, FreeSkipsErrorValuesAndLogsUnknownTypes) {
    CLogCapture log;
    SPropValue *pProps = OEAllocValueArray(4);
    ASSERT_NE(pProps, nullptr);
    pProps[0].ulPropTag = PR_OE_SUBJECT;
    pProps[0].Value.lpszA = static_cast<char *>(std::malloc(4));
    pProps[1].ulPropTag = CHANGE_PROP_TYPE(PR_OE_BODY, PT_ERROR);
    pProps[1].Value.err = MAPI_E_NOT_FOUND;
    pProps[2].ulPropTag = PROP_TAG(PT_I8, 0x8100);
    pProps[3].ulPropTag = PR_ENTRYID;
    pProps[3].Value.bin.lpb = static_cast<BYTE *>(std::malloc(8));
    OEFreeValueArray(pProps, "Label", 0);
    OEFreeValueArray(nullptr, "Label", 0);
    EXPECT_EQ(Logged(log), std::vector<std::string>{"Err[0x14] in Label: Unsupported prop type"});
}

TEST(ValueArrayTest, PackKeepsEveryValueAndCopiesTextsAndBuffers) {
    CLogCapture log;
    SPropValue *pProps = OEAllocValueArray(5);
    ASSERT_NE(pProps, nullptr);
    pProps[0].ulPropTag = PR_OE_SUBJECT;
    pProps[0].Value.lpszA = static_cast<char *>(std::malloc(4));
    std::memcpy(pProps[0].Value.lpszA, "abc", 4);
    pProps[1].ulPropTag = CHANGE_PROP_TYPE(PR_OE_BODY, PT_ERROR);
    pProps[1].Value.err = MAPI_E_NOT_FOUND;
    pProps[2].ulPropTag = PR_OE_TO; // a text that is null stays null
    pProps[3].ulPropTag = PR_ENTRYID;
    pProps[3].Value.bin.cb = 3;
    pProps[3].Value.bin.lpb = static_cast<BYTE *>(std::malloc(3));
    std::memcpy(pProps[3].Value.bin.lpb, "\x01\0\x02", 3);
    pProps[4].ulPropTag = PR_OE_SIZE;
    pProps[4].Value.ul = 1234;
    COEValueChunks chunks;
    SPropValue *pPacked = OEPackValueArray(pProps, "Label", chunks, [](ULONG) { return false; });
    ASSERT_NE(pPacked, nullptr);
    EXPECT_EQ(pPacked[0].ulPropTag, PR_OE_SUBJECT);
    EXPECT_STREQ(pPacked[0].Value.lpszA, "abc");
    EXPECT_EQ(pPacked[1].ulPropTag, CHANGE_PROP_TYPE(PR_OE_BODY, PT_ERROR));
    EXPECT_EQ(pPacked[1].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(pPacked[2].Value.lpszA, nullptr);
    EXPECT_EQ(pPacked[3].Value.bin.cb, 3u);
    EXPECT_EQ(std::memcmp(pPacked[3].Value.bin.lpb, "\x01\0\x02", 3), 0);
    EXPECT_EQ(pPacked[4].Value.ul, 1234u);
    EXPECT_TRUE(Logged(log).empty());
    OEFreePackedValues(pPacked, &chunks); // the sanitizers see any text left behind or freed twice
}

// A packed array of one subject and one message id, each a fresh heap text as a read gives it.
SPropValue *PackSubjectAndId(COEValueChunks &chunks, const char *pszSubject, const char *pszId) {
    SPropValue *pProps = OEAllocValueArray(2);
    pProps[0].ulPropTag = PR_OE_SUBJECT;
    pProps[0].Value.lpszA = strdup(pszSubject);
    pProps[1].ulPropTag = PR_OE_MESSAGE_ID;
    pProps[1].Value.lpszA = strdup(pszId);
    return OEPackValueArray(pProps, "Label", chunks, [](ULONG ulTag) { return ulTag == PR_OE_SUBJECT; });
}

TEST(ValueArrayTest, PackSharesTheNamedTextsAloneAndFreesInAnyOrder) {
    COEValueChunks chunks;
    SPropValue *pFirst = PackSubjectAndId(chunks, "Same subject", "<1@x>");
    SPropValue *pSecond = PackSubjectAndId(chunks, "Same subject", "<1@x>");
    SPropValue *pOther = PackSubjectAndId(chunks, "Other subject", "<2@x>");
    ASSERT_TRUE(pFirst && pSecond && pOther);
    EXPECT_EQ(pFirst[0].Value.lpszA, pSecond[0].Value.lpszA);
    EXPECT_NE(pFirst[1].Value.lpszA, pSecond[1].Value.lpszA);
    EXPECT_STREQ(pOther[0].Value.lpszA, "Other subject");
    OEFreePackedValues(pFirst, &chunks);
    EXPECT_STREQ(pSecond[0].Value.lpszA, "Same subject");
    EXPECT_STREQ(pSecond[1].Value.lpszA, "<1@x>");
    OEFreePackedValues(pSecond, &chunks);
    SPropValue *pAgain = PackSubjectAndId(chunks, "Same subject", "<3@x>");
    ASSERT_NE(pAgain, nullptr);
    EXPECT_STREQ(pAgain[0].Value.lpszA, "Same subject");
    OEFreePackedValues(pAgain, &chunks);
    OEFreePackedValues(pOther, &chunks);
    OEFreePackedValues(nullptr, &chunks);
}

TEST(ValueArrayTest, PackedValuesOutliveTheirChunksObject) {
    SPropValue *pKept = nullptr;
    {
        COEValueChunks chunks;
        pKept = PackSubjectAndId(chunks, "Kept", "<kept@x>");
    }
    ASSERT_NE(pKept, nullptr);
    EXPECT_STREQ(pKept[0].Value.lpszA, "Kept");
    EXPECT_STREQ(pKept[1].Value.lpszA, "<kept@x>");
    OEFreePackedValues(pKept, nullptr);
}

TEST_F(ItemPropsTest, AReadOfSeveralValuesSharesARepeatedSubjectAReadOfOneDoesNot) {
    TestItem first(TextMessage("Subject: Weekly report\nMessage-ID: <a@x>\n", "one\n"));
    TestItem second(TextMessage("Subject: Weekly report\nMessage-ID: <b@x>\n", "two\n"));
    auto valuesFirst = Read(first, {PR_OE_SUBJECT, PR_OE_MESSAGE_ID});
    auto valuesSecond = Read(second, {PR_OE_SUBJECT, PR_OE_MESSAGE_ID});
    ASSERT_EQ(valuesFirst->m_hr, S_OK);
    ASSERT_EQ(valuesSecond->m_hr, S_OK);
    EXPECT_EQ(valuesFirst->m_pProps[0].Value.lpszA, valuesSecond->m_pProps[0].Value.lpszA);
    EXPECT_EQ(Text((*valuesSecond)[1]), "<b@x>");
    auto single = Read(second, {PR_OE_SUBJECT});
    ASSERT_EQ(single->m_hr, S_OK);
    EXPECT_NE(single->m_pProps[0].Value.lpszA, valuesFirst->m_pProps[0].Value.lpszA);
    single->m_pProps[0].Value.lpszA[0] = 'w'; // the caller's own text
    EXPECT_EQ(Text((*valuesFirst)[0]), "Weekly report");
}

} // namespace
