// MimeOleInetDateToFileTime over the date forms real mail carries.
#include <gtest/gtest.h>

#include "mimetestutil.h"
#include "platform/time.h"

using namespace mimetest;

namespace {

int64_t Seconds(const char *pszDate) {
    FILETIME ft{1, 1};
    HRESULT hr = MimeOleInetDateToFileTime(pszDate, &ft);
    if (hr != S_OK) return -1;
    return UnixSecondsFromFileTime(ft);
}

TEST(InetDateTest, ReadsTheCommonForms) {
    const int64_t n = 1057049557; // 2003-07-01 08:52:37 UTC
    EXPECT_EQ(n, Seconds("Tue, 1 Jul 2003 10:52:37 +0200"));
    EXPECT_EQ(n, Seconds("1 Jul 2003 10:52:37 +0200"));
    EXPECT_EQ(n, Seconds("Tue, 01 Jul 03 08:52:37 GMT"));
    EXPECT_EQ(n, Seconds("Tue, 1 Jul 2003 10:52:37 +0200 (CEST)"));
    EXPECT_EQ(n, Seconds("  Tue,  1 Jul 2003 08:52:37 -0000 "));
    EXPECT_EQ(n, Seconds("Tue, 1 Jul 2003 01:52:37 PDT"));
    EXPECT_EQ(n, Seconds("Tuesday, 1-Jul-03 01:52:37 PDT"));
    EXPECT_EQ(n, Seconds("Tue Jul  1 08:52:37 2003"));
    EXPECT_EQ(n, Seconds("2003-07-01T08:52:37Z"));
    EXPECT_EQ(n, Seconds("2003-07-01T10:52:37+02:00"));
    EXPECT_EQ(n - 37, Seconds("Tue, 1 Jul 2003 08:52 +0000")); // no seconds
    EXPECT_EQ(0, Seconds("Thu, 01 Jan 1970 00:00:00 +0000"));
}

TEST(InetDateTest, RefusesWhatIsNoDate) {
    for (const char *psz : {"", "garbage", "Mon, 32 Jan 2003 10:00:00 +0000", "Tue, 1 Jul 1500 10:52:37 +0200",
                            "from mx by host with ESMTP id 123"}) {
        FILETIME ft{1, 1};
        EXPECT_EQ(MIME_E_INVALID_INET_DATE, MimeOleInetDateToFileTime(psz, &ft)) << psz;
        EXPECT_EQ(0u, ft.dwLowDateTime);
        EXPECT_EQ(0u, ft.dwHighDateTime);
    }
    FILETIME ft{};
    EXPECT_EQ(MIME_E_INVALID_INET_DATE, MimeOleInetDateToFileTime(nullptr, &ft));
}

TEST(InetDateTest, ReceivedDateIsTheTextBehindTheLastSemicolon) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Received: from x (helo; odd) by y; 1 Jul 2003 10:52:37 +0200\nDate: not a date\n\nx\n", &pMessage);
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    ASSERT_EQ(S_OK, pMessage->GetProp("Received", 0, &value));
    EXPECT_EQ(1057049557, UnixSecondsFromFileTime(value.filetime));
    value.vt = VT_FILETIME;
    EXPECT_EQ(MIME_E_INVALID_INET_DATE, pMessage->GetProp("Date", 0, &value));
}

TEST(InetDateTest, ReceivedWithoutSemicolonIsAnInvalidDate) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Received: from x by y\n\nx\n", &pMessage);
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    EXPECT_EQ(MIME_E_INVALID_INET_DATE, pMessage->GetProp("Received", 0, &value));
}

TEST(InetDateTest, EntryPointsAreFoundByName) {
    auto pfn = reinterpret_cast<PFNMIMEOLEINETDATETOFILETIME>(MimeOleGetProcAddress("MimeOleInetDateToFileTime"));
    ASSERT_NE(nullptr, pfn);
    FILETIME ft{};
    EXPECT_EQ(S_OK, pfn("Tue, 1 Jul 2003 10:52:37 +0200", &ft));
    EXPECT_EQ(nullptr, MimeOleGetProcAddress("NoSuchEntry"));
    EXPECT_EQ(nullptr, MimeOleGetProcAddress(nullptr));
}

} // namespace
