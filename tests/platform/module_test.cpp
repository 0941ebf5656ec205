#include <gtest/gtest.h>

#include <string>

#include "platform/module.h"
#include "tessel_version.h"

namespace {

ModuleVersion Parsed(const char *pszJson) {
    ModuleVersion version{99, 99, 99, 99};
    EXPECT_TRUE(ParsePackageVersion(pszJson, &version)) << pszJson;
    return version;
}

void ExpectVersion(const ModuleVersion &v, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    EXPECT_EQ(v.nMajor, a);
    EXPECT_EQ(v.nMinor, b);
    EXPECT_EQ(v.nPatch, c);
    EXPECT_EQ(v.nBuild, d);
}

TEST(ParsePackageVersion, LeadingNumbersOfTheVersionField) {
    ExpectVersion(Parsed(R"({"type":"deb","name":"x","version":"1.2.3"})"), 1, 2, 3, 0);
    ExpectVersion(Parsed(R"({"version" : "2:1.4.2-3+b1","name":"x"})"), 1, 4, 2, 0);
    ExpectVersion(Parsed(R"({"version":"5.6.7.8.9"})"), 5, 6, 7, 8);
    ExpectVersion(Parsed(R"({"version":"12-rc1"})"), 12, 0, 0, 0);
    ExpectVersion(Parsed(R"({"version":"3.20.fc39"})"), 3, 20, 0, 0);
}

TEST(ParsePackageVersion, NoReadableVersion) {
    ModuleVersion version{1, 2, 3, 4};
    EXPECT_FALSE(ParsePackageVersion(R"({"name":"x"})", &version));
    EXPECT_FALSE(ParsePackageVersion(R"({"version":"git-abc"})", &version));
    EXPECT_FALSE(ParsePackageVersion(R"({"version":1})", &version));
    EXPECT_FALSE(ParsePackageVersion(R"({"version":"70000.1"})", &version)); // wider than a version field
    EXPECT_FALSE(ParsePackageVersion(R"({"version":"1.2)", &version));
    EXPECT_FALSE(ParsePackageVersion("", &version));
    ExpectVersion(version, 1, 2, 3, 4);
}

TEST(ModuleInfo, ProgramFileNameIsThisTest) {
    char szName[1024];
    ASSERT_TRUE(GetProgramFileName(szName, sizeof szName));
    const std::string name = szName;
    EXPECT_EQ(name.substr(name.rfind('/') + 1), "test_platform");
}

TEST(ModuleInfo, OwnFileIsTheProgramWhenLinkedStatically) {
    char szOwn[1024], szProgram[1024];
    ASSERT_TRUE(GetOwnModuleFileName(szOwn, sizeof szOwn));
    ASSERT_TRUE(GetProgramFileName(szProgram, sizeof szProgram));
    EXPECT_STREQ(szOwn, szProgram);
}

TEST(ModuleInfo, NamesThatDoNotFitFail) {
    char szTiny[4];
    EXPECT_FALSE(GetProgramFileName(szTiny, sizeof szTiny));
    EXPECT_FALSE(GetOwnModuleFileName(szTiny, sizeof szTiny));
}

TEST(ModuleInfo, OwnVersionIsTheProjectVersion) {
    ExpectVersion(GetOwnModuleVersion(), TESSEL_VERSION_MAJOR, TESSEL_VERSION_MINOR, TESSEL_VERSION_PATCH,
                  TESSEL_VERSION_BUILD);
}

TEST(ModuleInfo, ProgramWithoutPackageNoteHasNoVersion) {
    ModuleVersion version;
    EXPECT_FALSE(GetProgramVersion(&version));
}

} // namespace
