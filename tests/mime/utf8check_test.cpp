// The UTF-8 check of text bodies gives GLib's answer, also where the skip of ASCII a word or four words at a time
// meets a NUL, a multi-byte character, a broken sequence or the end of the text.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "providers/mime/gmimeutil.h"

namespace {

bool GLibSays(const std::string &str) {
    return g_utf8_validate(str.data(), static_cast<gssize>(str.size()), nullptr) != 0;
}

// The piece behind 0 to 40 ASCII letters, and with ASCII behind it, so that it falls on every place of a word and
// of a run of four words, and before and after such runs.
void ExpectGLibAnswerAround(const std::string &strPiece) {
    for (size_t nBefore = 0; nBefore <= 40; nBefore++) {
        for (size_t nAfter : {0, 1, 7, 8, 15, 31, 32, 40}) {
            std::string str = std::string(nBefore, 'a') + strPiece + std::string(nAfter, 'z');
            EXPECT_EQ(MimeIsUtf8(str), GLibSays(str)) << "piece of " << strPiece.size() << " bytes, " << nBefore
                                                      << " before, " << nAfter << " after";
        }
    }
}

TEST(MimeUtf8Check, AsciiTextIsValid) {
    EXPECT_TRUE(MimeIsUtf8(""));
    EXPECT_TRUE(MimeIsUtf8("Hi Robin,\n\nsee you at ten.\n"));
}

TEST(MimeUtf8Check, NulByteFailsAnywhere) {
    for (size_t n = 0; n < 80; n++) {
        std::string str(80, 'x');
        str[n] = '\0';
        EXPECT_FALSE(MimeIsUtf8(str)) << "NUL at " << n;
    }
}

TEST(MimeUtf8Check, SameAnswerAsGLibOnEdgeCases) {
    const std::vector<std::string> rgPieces = {
        "na\xC3\xAFve",           // two bytes
        "\xE2\x82\xAC",           // three bytes
        "\xF0\x9F\x98\x80",       // four bytes
        "\xF4\x8F\xBF\xBF",       // the last code point
        "\xF4\x90\x80\x80",       // above it
        "\xC0\xAF",               // overlong
        "\xE0\x80\xAF",           // overlong
        "\xED\xA0\x80",           // surrogate
        "\x80",                   // continuation without lead
        "\xBF\xBF",               // likewise
        "\xC3",                   // lead without continuation
        "\xE2\x82",               // cut short
        "\xF0\x9F\x98",           // cut short
        "\xC3\x28",               // continuation missing
        "\xFE",                   // never a lead
        "\xFF\xFF\xFF\xFF",       // likewise
        "\xF8\x88\x80\x80\x80",   // five-byte form
        std::string("\xC3\0", 2), // NUL in place of a continuation
        std::string("\0\xC3\xA9", 3),
    };
    for (const std::string &strPiece : rgPieces) ExpectGLibAnswerAround(strPiece);
}

TEST(MimeUtf8Check, SameAnswerAsGLibOnRandomText) {
    std::mt19937 rng(7);
    // Mostly ASCII letters, with now and then a high byte or a NUL, as real bodies and broken ones have them.
    std::uniform_int_distribution<int> pick(0, 99), high(0x80, 0xFF), letter('a', 'z');
    int nValid = 0, nInvalid = 0;
    for (int nCase = 0; nCase < 4000; nCase++) {
        std::string str;
        size_t cb = static_cast<size_t>(pick(rng)) + 1;
        for (size_t i = 0; i < cb; i++) {
            int n = pick(rng);
            str += static_cast<char>(n < 3 ? high(rng) : n == 3 && nCase % 5 == 0 ? 0 : letter(rng));
        }
        if (nCase % 3 == 0) str += "\xE2\x82\xAC";
        bool bGLib = GLibSays(str);
        (bGLib ? nValid : nInvalid)++;
        ASSERT_EQ(MimeIsUtf8(str), bGLib) << "case " << nCase;
    }
    EXPECT_GT(nValid, 100); // both answers were put to the test
    EXPECT_GT(nInvalid, 100);
}

} // namespace
