#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/text.h"

namespace {

int Sign(int n) { return n < 0 ? -1 : (n > 0 ? 1 : 0); }

TEST(LstrcmpiA, AsciiWithoutCase) {
    EXPECT_EQ(lstrcmpiA("ABC", "abc"), 0);
    EXPECT_EQ(lstrcmpiA("", ""), 0);
    EXPECT_LT(lstrcmpiA("abc", "abc "), 0);
    EXPECT_GT(lstrcmpiA("abc ", "abc"), 0);
    EXPECT_LT(lstrcmpiA("apple", "BANANA"), 0);
    EXPECT_GT(lstrcmpiA("b", "A"), 0);
    EXPECT_LT(lstrcmpiA("", "a"), 0);
}

TEST(LstrcmpiA, NullSortsFirst) {
    EXPECT_EQ(lstrcmpiA(nullptr, nullptr), 0);
    EXPECT_LT(lstrcmpiA(nullptr, ""), 0);
    EXPECT_GT(lstrcmpiA("", nullptr), 0);
}

TEST(LstrcmpiA, LettersOfTheCoveredScriptsFoldTogether) {
    const char *pairs[][2] = {
        {"\xC3\x84RGER \xC3\x96L \xC3\x9C" "BER", "\xC3\xA4rger \xC3\xB6l \xC3\xBC" "ber"}, // Latin-1
        {"\xC3\x89T\xC3\x89", "\xC3\xA9t\xC3\xA9"},
        {"\xC5\x81\xC3\x93\xC5\x9A", "\xC5\x82\xC3\xB3\xC5\x9B"},                           // Latin Extended-A: ŁÓŚ
        {"\xC5\xBD", "\xC5\xBE"},                                                            // Ž ž (odd pair)
        {"\xC5\xB8", "\xC3\xBF"},                                                            // Ÿ ÿ
        {"\xCE\xA3\xCE\x9F\xCE\xA6\xCE\x99\xCE\x91", "\xCF\x83\xCE\xBF\xCF\x86\xCE\xB9\xCE\xB1"}, // ΣΟΦΙΑ σοφια
        {"\xCE\x86", "\xCE\xAC"},                                                            // Ά ά
        {"\xCF\x83", "\xCF\x82"},                                                            // σ ς
        {"\xD0\x9C\xD0\x9E\xD0\xA1\xD0\x9A\xD0\x92\xD0\x90", "\xD0\xBC\xD0\xBE\xD1\x81\xD0\xBA\xD0\xB2\xD0\xB0"},
        {"\xD0\x81", "\xD1\x91"},                                                            // Ё ё
        {"\xD1\xA2", "\xD1\xA3"},                                                            // Ѣ ѣ
        {"\xC2\xB5", "\xCE\xBC"},                                                            // micro sign, mu
        {"\xE1\xBA\xA0", "\xE1\xBA\xA1"},                                                    // Ạ ạ
    };
    for (const auto &pair : pairs) EXPECT_EQ(lstrcmpiA(pair[0], pair[1]), 0) << pair[0] << " / " << pair[1];
}

TEST(LstrcmpiA, DifferentLettersStayDifferent) {
    EXPECT_NE(lstrcmpiA("\xC3\xA4", "a"), 0);
    EXPECT_NE(lstrcmpiA("\xC3\x97", "\xC3\xB7"), 0); // × and ÷ are no pair
    EXPECT_NE(lstrcmpiA("\xC3\x9F", "ss"), 0);        // no full folding
    EXPECT_LT(lstrcmpiA("z", "\xC3\xA4"), 0);         // by code point
}

TEST(LstrcmpiA, InvalidBytesCompareAsBytesAfterEveryCharacter) {
    EXPECT_EQ(lstrcmpiA("caf\xE9", "caf\xE9"), 0);
    EXPECT_NE(lstrcmpiA("caf\xE9", "caf\xC3\xA9"), 0);
    EXPECT_NE(lstrcmpiA("\xC9", "\xE9"), 0);              // no folding of a lone byte
    EXPECT_GT(lstrcmpiA("\x80", "\xF4\x8F\xBF\xBF"), 0);  // after the last code point
    EXPECT_LT(lstrcmpiA("\x80", "\x81"), 0);
    EXPECT_NE(lstrcmpiA("\xC0\x80", ""), 0);              // an overlong zero is no terminator
    EXPECT_NE(lstrcmpiA("\xED\xA0\x80", "\xEF\xBF\xBD"), 0); // an encoded surrogate is invalid
}

TEST(LstrcmpiA, NeverReadsPastTheTerminator) {
    // A lead byte right before the end: the decoder must stop at the zero.
    char buf1[3] = {'\xE2', '\0', 'X'};
    char buf2[3] = {'\xE2', '\0', 'Y'};
    EXPECT_EQ(lstrcmpiA(buf1, buf2), 0);
    char cut[2] = {'\xC3', '\0'};
    EXPECT_NE(lstrcmpiA(cut, "\xC3\xA4"), 0);
}

TEST(LstrcmpiA, OrderIsConsistent) {
    const char *texts[] = {"", "a", "A", "ab", "AB", "b", "\xC3\xA4", "\xC3\x84", "\xFF", "\xD0\x96", "\xD0\xB6", "a b"};
    for (const char *a : texts)
        for (const char *b : texts) {
            EXPECT_EQ(Sign(lstrcmpiA(a, b)), -Sign(lstrcmpiA(b, a))) << a << " / " << b;
            for (const char *c : texts) {
                if (lstrcmpiA(a, b) <= 0 && lstrcmpiA(b, c) <= 0) {
                    EXPECT_LE(lstrcmpiA(a, c), 0);
                }
            }
        }
}

TEST(LstrcmpiW, WideTextWithoutCase) {
    EXPECT_EQ(lstrcmpiW(u"ABC", u"abc"), 0);
    EXPECT_EQ(lstrcmpiW(u"\u0416\u0410\u0420", u"\u0436\u0430\u0440"), 0);
    EXPECT_EQ(lstrcmpiW(u"\u0393\u0395\u0391", u"\u03B3\u03B5\u03B1"), 0);
    EXPECT_LT(lstrcmpiW(u"abc", u"abc "), 0);
    EXPECT_EQ(lstrcmpiW(nullptr, nullptr), 0);
    EXPECT_LT(lstrcmpiW(nullptr, u""), 0);
    EXPECT_EQ(lstrcmpiW(u"\U0001F600", u"\U0001F600"), 0);
    EXPECT_GT(lstrcmpiW(u"\U0001F600", u"\uFFFF"), 0); // a pair is one code point above the basic plane
    const char16_t lone[] = {0xD800, 0};
    EXPECT_GT(lstrcmpiW(lone, u"\U0010FFFF"), 0);      // a lone surrogate sorts after every character
}

TEST(LstrcmpiW, AgreesWithTheEightBitForm) {
    const char *texts[] = {"Zo\xC3\xAB", "ZO\xC3\x8B", "\xCE\xA3", "abc", "ABD", "\xD0\xAF"};
    for (const char *a : texts)
        for (const char *b : texts)
            EXPECT_EQ(Sign(lstrcmpiA(a, b)), Sign(lstrcmpiW(Utf8ToUtf16(a).c_str(), Utf8ToUtf16(b).c_str())));
}

TEST(CharLowerA, LowersInPlace) {
    char text[] = "Hello \xC3\x84\xC3\x96\xC3\x9C \xCE\xA3\xCE\x9F\xCE\xA6 \xD0\x96 \xC5\x81 WORLD";
    EXPECT_EQ(CharLowerA(text), text);
    EXPECT_STREQ(text, "hello \xC3\xA4\xC3\xB6\xC3\xBC \xCF\x83\xCE\xBF\xCF\x86 \xD0\xB6 \xC5\x82 world");
    EXPECT_EQ(CharLowerA(nullptr), nullptr);
}

TEST(CharLowerA, NeverGrowsAndKeepsInvalidBytes) {
    char text[] = "A\xFF" "B\xC3";
    CharLowerA(text);
    EXPECT_STREQ(text, "a\xFF" "b\xC3");
    char dotted[] = "\xC4\xB0X"; // İ lowers to a one-byte i: the text gets shorter
    CharLowerA(dotted);
    EXPECT_STREQ(dotted, "ix");
    char sharp[] = "\xE1\xBA\x9E!"; // capital sharp s, three bytes, to ß in two
    CharLowerA(sharp);
    EXPECT_STREQ(sharp, "\xC3\x9F!");
}

TEST(CharLowerW, LowersInPlace) {
    char16_t text[] = u"ABC \u00C9 \u0416 \U0001F600";
    CharLowerW(text);
    EXPECT_EQ(std::u16string(text), u"abc \u00E9 \u0436 \U0001F600");
}

TEST(ListSeparator, IsSemicolon) { EXPECT_EQ(GetListSeparator(), ";"); }

TEST(Conversions, RoundTrip) {
    std::string utf8 = "Zo\xC3\xAB \xE2\x82\xAC \xF0\x9F\x98\x80";
    std::u16string utf16 = u"Zo\u00EB \u20AC \U0001F600";
    EXPECT_EQ(Utf8ToUtf16(utf8), utf16);
    EXPECT_EQ(Utf16ToUtf8(utf16), utf8);
    EXPECT_EQ(Utf8ToUtf16(std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(Conversions, InvalidInputBecomesReplacementCharacters) {
    EXPECT_EQ(Utf8ToUtf16("a\xFF" "b"), u"a\uFFFDb");
    EXPECT_EQ(Utf8ToUtf16("\xE2\x82"), u"\uFFFD\uFFFD"); // cut at the end of the view
    const char16_t lone[] = {u'x', 0xDC00, u'y'};
    EXPECT_EQ(Utf16ToUtf8(std::u16string_view(lone, 3)), "x\xEF\xBF\xBDy");
}

} // namespace
