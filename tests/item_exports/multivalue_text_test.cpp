// Multi-valued text at the exports: values joined by the list separator, and cut apart again.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/multivalue_text.h"

namespace {

std::vector<std::string> Split(const char *pszText, const std::string &strSeparator = ";") {
    CSplitText split(pszText, strSeparator);
    SLPSTRArray values = split.Values();
    std::vector<std::string> result;
    for (ULONG i = 0; i < values.cValues; ++i) result.push_back(values.lppszA[i]);
    if (values.cValues == 0) {
        EXPECT_EQ(values.lppszA, nullptr);
    }
    return result;
}

using Values = std::vector<std::string>;

TEST(SplitText, CutsAtEverySeparator) {
    EXPECT_EQ(Split("a;b"), (Values{"a", "b"}));
    EXPECT_EQ(Split("a;;b"), (Values{"a", "", "b"}));
    EXPECT_EQ(Split(";a"), (Values{"", "a"}));
    EXPECT_EQ(Split("a;"), (Values{"a"}));
    EXPECT_EQ(Split("abc"), (Values{"abc"}));
    EXPECT_EQ(Split(";"), (Values{""}));
}

TEST(SplitText, NullOrEmptyHasNoValues) {
    EXPECT_TRUE(Split(nullptr).empty());
    EXPECT_TRUE(Split("").empty());
}

TEST(SplitText, LongerSeparatorLeavesItsTailOnTheNextValue) {
    EXPECT_EQ(Split("a, b, c", ", "), (Values{"a", " b", " c"}));
}

TEST(JoinValues, PutsTheSeparatorBetween) {
    char szA[] = "a", szB[] = "b", szC[] = "c";
    char *apsz[] = {szA, szB, szC};
    SLPSTRArray values{3, apsz};
    EXPECT_EQ(JoinValues(values, ";"), "a;b;c");
    EXPECT_EQ(JoinedBufferSize(values, ";"), 3u + 3u * 2u + 1u);
    EXPECT_EQ(JoinValues(SLPSTRArray{0, nullptr}, ";"), "");
    EXPECT_EQ(JoinedBufferSize(SLPSTRArray{0, nullptr}, ";"), 1u);
}

TEST(JoinValues, NullValueIsEmpty) {
    char szA[] = "a";
    char *apsz[] = {szA, nullptr, szA};
    SLPSTRArray values{3, apsz};
    EXPECT_EQ(JoinValues(values, ";"), "a;;a");
    EXPECT_GE(JoinedBufferSize(values, ";"), 5u);
}

TEST(JoinValues, SplitUndoesJoin) {
    char szA[] = "first", szB[] = "", szC[] = "third";
    char *apsz[] = {szA, szB, szC};
    EXPECT_EQ(Split(JoinValues(SLPSTRArray{3, apsz}, ";").c_str()), (Values{"first", "", "third"}));
}

} // namespace
