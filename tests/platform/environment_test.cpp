// Expanding environment variables in a text.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/environment.h"
#include "platform/errors.h"

namespace {

class EnvironmentTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TESSEL_ENV_A", "alpha", 1);
        setenv("TESSEL_ENV_EMPTY", "", 1);
        unsetenv("TESSEL_ENV_UNSET");
    }
    void TearDown() override {
        unsetenv("TESSEL_ENV_A");
        unsetenv("TESSEL_ENV_EMPTY");
    }

    std::string Expand(const char *pszSrc, DWORD *pcch = nullptr) {
        char szBuffer[64] = "";
        DWORD cch = ExpandEnvironmentStringsA(pszSrc, szBuffer, sizeof(szBuffer));
        if (pcch) *pcch = cch;
        return szBuffer;
    }
};

} // namespace

TEST_F(EnvironmentTest, ReplacesDefinedVariables) {
    DWORD cch = 0;
    EXPECT_EQ(Expand("%TESSEL_ENV_A%/lib/%TESSEL_ENV_A%", &cch), "alpha/lib/alpha");
    EXPECT_EQ(cch, 16u); // with the terminator
    EXPECT_EQ(Expand("[%TESSEL_ENV_EMPTY%]"), "[]");
}

TEST_F(EnvironmentTest, LeavesEverythingElseAsWritten) {
    EXPECT_EQ(Expand("plain text"), "plain text");
    EXPECT_EQ(Expand("%TESSEL_ENV_UNSET%"), "%TESSEL_ENV_UNSET%");
    EXPECT_EQ(Expand("100% sure"), "100% sure");
    EXPECT_EQ(Expand("%%"), "%%");
    // An undefined name gives its closing '%' to the next name.
    EXPECT_EQ(Expand("%TESSEL_ENV_UNSET%TESSEL_ENV_A%"), "%TESSEL_ENV_UNSETalpha");
}

TEST_F(EnvironmentTest, TooSmallBufferGivesTheSizeNeeded) {
    char szBuffer[4] = "abc";
    EXPECT_EQ(ExpandEnvironmentStringsA("%TESSEL_ENV_A%", szBuffer, 5), 6u);
    EXPECT_STREQ(szBuffer, "abc"); // nothing written
    EXPECT_EQ(ExpandEnvironmentStringsA("%TESSEL_ENV_A%", nullptr, 0), 6u);
}

TEST_F(EnvironmentTest, NullSourceFails) {
    char szBuffer[4];
    SetLastError(0);
    EXPECT_EQ(ExpandEnvironmentStringsA(nullptr, szBuffer, sizeof(szBuffer)), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}
