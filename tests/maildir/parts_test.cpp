// The pieces under the store: file names and flags, the uid list's format, the header fields of a listing.
#include <glib.h>
#include <gtest/gtest.h>

#include "maildir/maildir_fixture.h"
#include "platform/time.h"
#include "providers/maildir/headerprops.h"
#include "providers/maildir/maildirname.h"
#include "providers/maildir/uidlist.h"

using namespace maildirtest;

namespace {

TEST(MaildirName, SplitsUniquePartAndFlags) {
    MaildirName n = SplitMaildirName("1234.M5P6.host:2,FS");
    EXPECT_EQ(n.svUnique, "1234.M5P6.host");
    EXPECT_EQ(n.svFlags, "FS");
    n = SplitMaildirName("1234.M5P6.host");
    EXPECT_EQ(n.svUnique, "1234.M5P6.host");
    EXPECT_EQ(n.svFlags, "");
}

TEST(MaildirName, FlagsMapToStateBitsBothWays) {
    EXPECT_EQ(StateFromFlags(""), MSG_UNREAD);
    EXPECT_EQ(StateFromFlags("S"), 0u);
    EXPECT_EQ(StateFromFlags("DFPRST"), MSG_UNSENT | MSG_FLAGGED | MSG_FORWARDED | MSG_REPLIED | MSG_DELETED);
    EXPECT_EQ(StateFromFlags("abS"), 0u); // keywords of other programs carry no state
    EXPECT_EQ(FlagsFromState("", MSG_UNREAD), "");
    EXPECT_EQ(FlagsFromState("", 0), "S");
    EXPECT_EQ(FlagsFromState("", MSG_FLAGGED | MSG_REPLIED | MSG_SUBMITTED), "FRS");
    EXPECT_EQ(FlagsFromState("aSb", MSG_UNREAD | MSG_DELETED), "Tab"); // ASCII order, keywords kept
}

TEST(MaildirName, UniqueNamesDiffer) {
    std::string a = NewUniqueName(), b = NewUniqueName();
    EXPECT_NE(a, b);
    EXPECT_EQ(a.find('/'), std::string::npos);
    EXPECT_EQ(a.find(':'), std::string::npos);
}

TEST(UidList, RoundTripsAndKeepsNextId) {
    CUidList list;
    ASSERT_TRUE(list.Parse("tessel-uidlist 1 9\n3 10 c a.b.c\n5 0 t d e f\n"));
    ASSERT_EQ(list.Entries().size(), 2u);
    EXPECT_EQ(list.NextId(), 9u);
    EXPECT_EQ(list.Entries()[0].dwExtra, 0x10u);
    EXPECT_TRUE(list.Entries()[1].bReserved);
    EXPECT_EQ(list.Entries()[1].strUnique, "d e f");
    EXPECT_EQ(list.Serialize(), "tessel-uidlist 1 9\n3 10 c a.b.c\n5 0 t d e f\n");
    EXPECT_TRUE(list.Parse(""));
    EXPECT_EQ(list.NextId(), 1u);
}

TEST(UidList, DamageIsReportedAndWhatCanBeReadStays) {
    CUidList list;
    EXPECT_FALSE(list.Parse("tessel-uidlist 1 9\n3 0 c a\n2 0 c b\n4 0 c a\nx\n6 0 c tail-without-newline"));
    ASSERT_EQ(list.Entries().size(), 1u); // descending id, repeated name, garbage and a cut line are dropped
    EXPECT_EQ(list.NextId(), 9u);
    EXPECT_FALSE(list.Parse("tessel-uidlist 1 2\n7 0 c a\n")); // next id below an id in use
    EXPECT_EQ(list.NextId(), 8u);
    EXPECT_FALSE(list.Parse("something else\n1 0 c a\n"));
    EXPECT_TRUE(list.Entries().empty());
}

TEST(UidList, MatchDropsVanishedFilesAndAssignsNewOnesAfterTheNextId) {
    CUidList list;
    ASSERT_TRUE(list.Parse("tessel-uidlist 1 10\n3 0 c gone\n4 0 c kept\n5 0 t reserved\n6 0 t stale\n"));
    std::vector<MessageFile> files{{"kept:2,S", false}, {"fresh", true}, {"reserved:2,", false}};
    std::vector<size_t> index;
    bool bChanged = false;
    std::vector<size_t> newFiles = list.Match(files, [](const std::string &s) { return s == "stale"; }, index, bChanged);
    EXPECT_TRUE(bChanged);
    EXPECT_EQ(newFiles, std::vector<size_t>{1});
    list.Assign(newFiles, files, index);
    ASSERT_EQ(list.Entries().size(), 4u);
    EXPECT_EQ(list.Entries()[0].id, 4u);
    EXPECT_FALSE(list.Entries()[1].bReserved); // reserved, now committed
    EXPECT_TRUE(list.Entries()[2].bReserved);  // still in tmp/
    EXPECT_EQ(list.Entries()[3].id, 10u);
    EXPECT_EQ(list.Entries()[index[1]].strUnique, "fresh");
    EXPECT_EQ(list.NextId(), 11u);
}

class HeaderPropsTest : public MaildirTest {
protected:
    MESSAGEPROPS Read(const std::string &strText) {
        fs::path p = Root() / "msg";
        WriteFileText(p, strText);
        MESSAGEPROPS props{};
        EXPECT_EQ(ReadHeaderProps(p.string(), &props), S_OK);
        return props;
    }
};

TEST_F(HeaderPropsTest, DecodesSubjectAddressesAndDates) {
    MESSAGEPROPS props = Read("Received: from x by y; Wed, 04 Mar 2020 08:00:00 +0100\n"
                              "Received: from a by b; Tue, 03 Mar 2020 08:00:00 +0000\n"
                              "From: =?UTF-8?Q?J=C3=BCrgen?= <j@example.org>\n"
                              "To: \"Doe, Jane\" <jane@example.org>,\n plain@example.org\n"
                              "Subject: Re: AW: =?ISO-8859-1?Q?caf=E9?=\n folded\n"
                              "Date: Tue, 03 Mar 2020 10:20:30 +0200\n"
                              "X-Priority: 1 (Highest)\n"
                              "\n"
                              "Subject: not a header\n");
    EXPECT_STREQ(props.pszSubject, "Re: AW: café folded");
    EXPECT_STREQ(props.pszNormalSubject, "café folded");
    EXPECT_STREQ(props.pszDisplayFrom, "Jürgen");
    EXPECT_STREQ(props.pszDisplayTo, "Doe, Jane; plain@example.org");
    EXPECT_EQ(UnixSecondsFromFileTime(props.ftSent), 1583223630);     // 2020-03-03 08:20:30 UTC
    EXPECT_EQ(UnixSecondsFromFileTime(props.ftReceived), 1583305200); // the newest Received
    EXPECT_EQ(props.priority, IMSG_PRI_HIGH);
    FreeHeaderTexts(&props);
    EXPECT_EQ(props.pszSubject, nullptr);
}

TEST_F(HeaderPropsTest, MissingHeadersStayNullAndTheFileTimeIsReceived) {
    MESSAGEPROPS props = Read("X-Other: 1\r\nImportance: low\r\n\r\nbody");
    EXPECT_EQ(props.pszSubject, nullptr);
    EXPECT_EQ(props.pszNormalSubject, nullptr);
    EXPECT_EQ(props.pszDisplayFrom, nullptr);
    EXPECT_EQ(props.pszDisplayTo, nullptr);
    EXPECT_EQ(FileTimeToU64(props.ftSent), 0u);
    EXPECT_NE(FileTimeToU64(props.ftReceived), 0u);
    EXPECT_EQ(props.priority, IMSG_PRI_LOW);
    EXPECT_EQ(props.cbMessage, 35u);
    FreeHeaderTexts(&props);
}

TEST_F(HeaderPropsTest, BrokenInputGivesTextsAndNoCrash) {
    MESSAGEPROPS props = Read(std::string("Subject: =?bogus?Q?x?= \xff\xfe\n"
                                          "From: <<<@@@>>>\n"
                                          "Date: yesterday-ish\n"
                                          "To:\n",
                                          62));
    ASSERT_NE(props.pszSubject, nullptr);
    EXPECT_TRUE(g_utf8_validate(props.pszSubject, -1, nullptr));
    EXPECT_EQ(FileTimeToU64(props.ftSent), 0u);
    EXPECT_EQ(props.priority, IMSG_PRI_NORMAL);
    FreeHeaderTexts(&props);
    EXPECT_LT(ReadHeaderProps((Root() / "absent").string(), &props), 0);
}

TEST(NormalizeSubject, StripsReplyAndForwardPrefixes) {
    EXPECT_EQ(NormalizeSubject("Re: Fwd: RE[2]: Hello"), "Hello");
    EXPECT_EQ(NormalizeSubject("  fw:x"), "x");
    EXPECT_EQ(NormalizeSubject("Report: numbers"), "Report: numbers");
    EXPECT_EQ(NormalizeSubject("Re:"), "");
    EXPECT_EQ(NormalizeSubject("Re[2 no close"), "Re[2 no close");
}

} // namespace
