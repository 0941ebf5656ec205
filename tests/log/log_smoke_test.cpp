#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "log/log.h"
#include "support/paths.h"

namespace {

std::string ReadAll(const std::filesystem::path &p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

TEST(LogSmoke, ErrorLineReachesBothFilesWithWideText) {
    testsupport::TempDir dir;
    auto full = dir.path() / "full.log";
    auto err = dir.path() / "error.err";
    CLog log;
    log.InitLog(err.c_str(), full.c_str(), false, 1);
    log.Error("CTest::Run", 0x8004010f, "name=%S n=%d", u"Zoë", 7);
    log.CloseFiles();
    std::string text = ReadAll(full);
    EXPECT_NE(text.find(" Err[0x8004010f] in CTest::Run: name=Zoë n=7\n"), std::string::npos) << text;
    std::string errors = ReadAll(err);
    EXPECT_NE(errors.find(" Err[0x8004010f] in CTest::Run: name=Zoë n=7\n"), std::string::npos) << errors;
}

} // namespace
