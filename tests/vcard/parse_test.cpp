// The vCard parser and writer on their own: unfolding, groups, parameters, escapes, encodings, line ends, bad
// input, and byte-exact writing of what was not changed.
#include <gtest/gtest.h>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_propmap.h"
#include "providers/vcard/vcard_value.h"

using namespace vcard;

namespace {

std::vector<VCard> Cards(const VFile &f) {
    std::vector<VCard> cards;
    for (const VChunk &c : f.chunks)
        if (c.bCard) cards.push_back(c.card);
    return cards;
}

} // namespace

TEST(VCardParse, UnfoldsGroupsParametersAndSeveralCards) {
    std::string s = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Jane\r\n  Doe\r\nitem1.EMAIL;TYPE=INTERNET,pref:jane@example.org\r\n"
                    "item1.X-ABLabel:_$!<Other>!$_\r\nEND:VCARD\r\nBEGIN:VCARD\r\nVERSION:4.0\r\nFN:Bob\r\nEND:VCARD\r\n";
    std::vector<VProblem> problems;
    VFile f = ParseFile(s, &problems);
    EXPECT_TRUE(problems.empty());
    std::vector<VCard> cards = Cards(f);
    ASSERT_EQ(2u, cards.size());
    EXPECT_EQ("3.0", cards[0].sVersion);
    EXPECT_EQ(" Doe", cards[0].Find("FN")->sValue.substr(4));
    const VProperty *email = cards[0].Find("EMAIL");
    ASSERT_NE(nullptr, email);
    EXPECT_EQ("item1", email->sGroup);
    EXPECT_TRUE(email->HasType("internet"));
    EXPECT_TRUE(email->HasType("PREF"));
    EXPECT_EQ("X-ABLABEL", cards[0].props[3].sName);
    EXPECT_EQ("4.0", cards[1].sVersion);
    EXPECT_EQ(1, cards[0].nLine);
    EXPECT_EQ(8, cards[1].nLine);
    EXPECT_EQ(s, WriteFile(f));
}

TEST(VCardParse, Version21BareTypesQuotedPrintableAndCharset) {
    // "Müller" in Latin-1, quoted-printable, with a soft line break.
    std::string s = "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCl=\nler;Hans\n"
                    "TEL;WORK;VOICE:+49 30 1234\nNOTE;QUOTED-PRINTABLE:line one=0D=0Aline two\nEND:VCARD\n";
    VFile f = ParseFile(s, nullptr);
    std::vector<VCard> cards = Cards(f);
    ASSERT_EQ(1u, cards.size());
    const VCard &c = cards[0];
    EXPECT_EQ("\n", c.sEol);
    PropData d;
    ASSERT_TRUE(ReadField(c, *FindFieldMap(PROP_ID(PR_SURNAME)), &d));
    EXPECT_EQ("M\xC3\xBCller", d.sBytes);
    ASSERT_TRUE(ReadField(c, *FindFieldMap(PROP_ID(PR_GIVEN_NAME)), &d));
    EXPECT_EQ("Hans", d.sBytes);
    ASSERT_TRUE(ReadField(c, *FindFieldMap(PROP_ID(PR_BUSINESS_TELEPHONE_NUMBER)), &d));
    EXPECT_EQ("+49 30 1234", d.sBytes);
    ASSERT_TRUE(ReadField(c, *FindFieldMap(PROP_ID(PR_COMMENT)), &d));
    EXPECT_EQ("line one\nline two", d.sBytes);
    EXPECT_EQ(s, WriteFile(f));
}

TEST(VCardParse, EscapesInTextAndCompoundValues) {
    std::string s = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:A\\, B\\; C\\\\D\r\nNOTE:one\\ntwo\r\nORG:Acme\\; Co;Sales\r\nEND:VCARD\r\n";
    std::vector<VCard> cards = Cards(ParseFile(s, nullptr));
    ASSERT_EQ(1u, cards.size());
    PropData d;
    ASSERT_TRUE(ReadField(cards[0], *FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), &d));
    EXPECT_EQ("A, B; C\\D", d.sBytes);
    ASSERT_TRUE(ReadField(cards[0], *FindFieldMap(PROP_ID(PR_COMMENT)), &d));
    EXPECT_EQ("one\ntwo", d.sBytes);
    ASSERT_TRUE(ReadField(cards[0], *FindFieldMap(PROP_ID(PR_COMPANY_NAME)), &d));
    EXPECT_EQ("Acme; Co", d.sBytes);
    ASSERT_TRUE(ReadField(cards[0], *FindFieldMap(PROP_ID(PR_DEPARTMENT_NAME)), &d));
    EXPECT_EQ("Sales", d.sBytes);
}

TEST(VCardParse, BomAndTextOutsideCardsAreKept) {
    std::string s = "\xEF\xBB\xBF" "BEGIN:VCARD\nVERSION:3.0\nFN:X\nEND:VCARD\n\nstray text\n";
    std::vector<VProblem> problems;
    VFile f = ParseFile(s, &problems);
    EXPECT_EQ(1u, Cards(f).size());
    ASSERT_EQ(1u, problems.size());
    EXPECT_EQ(6, problems[0].nLine);
    EXPECT_EQ(s, WriteFile(f));
}

TEST(VCardParse, BadCardsAreSkippedAndKeptVerbatim) {
    std::string s = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN\r\nEND:VCARD\r\n"       // a line without a colon
                    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Good\r\nEND:VCARD\r\n"  // fine
                    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Cut\r\n";               // never ends
    std::vector<VProblem> problems;
    VFile f = ParseFile(s, &problems);
    std::vector<VCard> cards = Cards(f);
    ASSERT_EQ(1u, cards.size());
    EXPECT_EQ("FN:Good\r\n", cards[0].Find("FN")->sRaw);
    ASSERT_EQ(2u, problems.size());
    EXPECT_EQ(3, problems[0].nLine);
    EXPECT_EQ(9, problems[1].nLine);
    EXPECT_EQ(s, WriteFile(f));
}

TEST(VCardParse, UnterminatedCardBeforeAnotherCardDoesNotSwallowIt) {
    std::string s = "BEGIN:VCARD\nFN:Cut\nBEGIN:VCARD\nVERSION:3.0\nFN:Next\nEND:VCARD\n";
    std::vector<VProblem> problems;
    VFile f = ParseFile(s, &problems);
    std::vector<VCard> cards = Cards(f);
    ASSERT_EQ(1u, cards.size());
    EXPECT_EQ("FN:Next\n", cards[0].Find("FN")->sRaw);
    EXPECT_EQ(s, WriteFile(f));
}

TEST(VCardWrite, ChangedLinesAreFoldedAt75OctetsWithoutSplittingCharacters) {
    std::string s = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:x\r\nX-KEEP:unchanged\r\nEND:VCARD\r\n";
    VFile f = ParseFile(s, nullptr);
    VCard &card = f.chunks[0].card;
    PropData d;
    d.ulType = PT_STRING8;
    for (int i = 0; i < 40; ++i) d.sBytes += "\xC3\xA9"; // 80 octets of "é"
    ASSERT_EQ(S_OK, WriteField(&card, *FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), d));
    std::string out = WriteFile(f);
    EXPECT_NE(std::string::npos, out.find("X-KEEP:unchanged\r\n"));
    size_t nStart = 0;
    while (nStart < out.size()) {
        size_t nEnd = out.find("\r\n", nStart);
        ASSERT_NE(std::string::npos, nEnd);
        EXPECT_LE(nEnd - nStart, 75u);
        nStart = nEnd + 2;
    }
    VFile again = ParseFile(out, nullptr);
    PropData back;
    ASSERT_TRUE(ReadField(again.chunks[0].card, *FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), &back));
    EXPECT_EQ(d.sBytes, back.sBytes);
}

TEST(VCardWrite, Version21KeepsItsStyleWhenAFieldChanges) {
    std::string s = "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Old\r\nEND:VCARD\r\n";
    VFile f = ParseFile(s, nullptr);
    PropData d;
    d.ulType = PT_STRING8;
    d.sBytes = "Caf\xC3\xA9 line\nnext";
    ASSERT_EQ(S_OK, WriteField(&f.chunks[0].card, *FindFieldMap(PROP_ID(PR_COMMENT)), d));
    d.sBytes = "+1 555";
    ASSERT_EQ(S_OK, WriteField(&f.chunks[0].card, *FindFieldMap(PROP_ID(PR_HOME_TELEPHONE_NUMBER)), d));
    std::string out = WriteFile(f);
    EXPECT_NE(std::string::npos, out.find("NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:Caf=C3=A9 line=0D=0Anext\r\n"));
    EXPECT_NE(std::string::npos, out.find("TEL;HOME:+1 555\r\n"));
    VFile again = ParseFile(out, nullptr);
    PropData back;
    ASSERT_TRUE(ReadField(again.chunks[0].card, *FindFieldMap(PROP_ID(PR_COMMENT)), &back));
    EXPECT_EQ("Caf\xC3\xA9 line\nnext", back.sBytes);
}

TEST(VCardValue, TimestampsInBasicAndExtendedForms) {
    int64_t n = 0;
    ASSERT_TRUE(ParseTimestamp("19960415", &n));
    EXPECT_EQ(829526400, n);
    ASSERT_TRUE(ParseTimestamp("1996-04-15T12:30:00Z", &n));
    EXPECT_EQ(829526400 + 12 * 3600 + 30 * 60, n);
    ASSERT_TRUE(ParseTimestamp("19960415T123000+0200", &n));
    EXPECT_EQ(829526400 + 10 * 3600 + 30 * 60, n);
    EXPECT_FALSE(ParseTimestamp("--0415", &n));
    EXPECT_FALSE(ParseTimestamp("yesterday", &n));
    EXPECT_EQ("19960415T123000Z", FormatTimestamp(829526400 + 12 * 3600 + 30 * 60, false, false));
    EXPECT_EQ("1996-04-15", FormatTimestamp(829526400, true, true));
}

TEST(VCardValue, UnknownCharsetFallsBackWithoutLosingText) {
    EXPECT_EQ("M\xC3\xBCller", ToUtf8("M\xFCller", "Murks"));
    EXPECT_EQ("M\xC3\xBCller", ToUtf8("M\xC3\xBCller", "blabla"));
    EXPECT_EQ("M\xC3\xBCller", ToUtf8("M\xFCller", "windows-1252"));
}
