// One reading of a Content-Type value gives both what the plain body lookup needs of it, GMime's way, however often
// and in whatever order the value is asked about.
#include <gtest/gtest.h>

#include <string>

#include "providers/mime/plaintype.h"

namespace {

struct TopType {
    bool bPlainUtf8;
    std::string strMixedBoundary;
};

TopType ReadTopType(const std::string &strValue) {
    std::string strBoundary = "left over";
    bool bPlain = MimeReadTopType(strValue, &strBoundary);
    return {bPlain, strBoundary};
}

void ExpectTopType(const std::string &strValue, bool bPlainUtf8, const std::string &strBoundary) {
    // The first reading and the remembered one.
    for (int nTime = 0; nTime < 2; nTime++) {
        TopType type = ReadTopType(strValue);
        EXPECT_EQ(bPlainUtf8, type.bPlainUtf8) << strValue << ", time " << nTime;
        EXPECT_EQ(strBoundary, type.strMixedBoundary) << strValue << ", time " << nTime;
        EXPECT_EQ(bPlainUtf8, MimeIsPlainUtf8Type(strValue)) << strValue << ", time " << nTime;
    }
}

TEST(TopContentType, PlainAndMixedAsGMimeReadsThem) {
    ExpectTopType("text/plain", true, "");
    ExpectTopType("Text/Plain; charset=\"UTF-8\"", true, "");
    ExpectTopType("text/plain; charset=us-ascii; name=\"a.txt\"", true, "");
    ExpectTopType("text/plain; charset=iso-8859-1", false, "");
    ExpectTopType("text/html; charset=utf-8", false, "");
    ExpectTopType("multipart/mixed; boundary=\"=_b 1\"", false, "=_b 1");
    ExpectTopType("Multipart/MIXED;\n boundary=abc", false, "abc");
    ExpectTopType("multipart/mixed", false, "");
    ExpectTopType("multipart/alternative; boundary=\"abc\"", false, "");
    ExpectTopType("", false, "");
}

TEST(TopContentType, TheBoundaryComesAlsoWhenTheValueWasFirstAskedForPlainText) {
    const std::string strValue = "multipart/mixed; boundary=\"asked-first-as-plain\"";
    EXPECT_FALSE(MimeIsPlainUtf8Type(strValue));
    EXPECT_EQ("asked-first-as-plain", ReadTopType(strValue).strMixedBoundary);
}

TEST(TopContentType, ANameMakesAPartAFileOnlyWhereThatCounts) {
    const std::string strValue = "text/plain; name=\"notes.txt\"";
    EXPECT_FALSE(MimeIsPlainUtf8Type(strValue, true));
    EXPECT_TRUE(MimeIsPlainUtf8Type(strValue));
    EXPECT_TRUE(MimeIsPlainUtf8Type("text/plain; charset=utf8", true));
}

TEST(TopContentType, ValuesPastTheRememberedOnesAreStillRead) {
    for (int n = 0; n < 600; n++) {
        std::string strBoundary = "b" + std::to_string(n);
        ExpectTopType("multipart/mixed; boundary=" + strBoundary, false, strBoundary);
        ExpectTopType("text/plain; format=flowed; x-n=" + std::to_string(n), true, "");
    }
}

} // namespace
