// The module loader: built-in modules by name or path, entry points, reference counts.
#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/loader.h"

namespace {

void First() {}
void Second() {}

const BuiltinExport kExports[] = {{"First", &First}, {"Second", &Second}};

class LoaderTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(AddBuiltinModule("test-module", kExports, 2)); }
    void TearDown() override { EXPECT_TRUE(RemoveBuiltinModule("test-module")); }
};

} // namespace

TEST_F(LoaderTest, LoadsByNameOrPathInAnyCase) {
    HMODULE hModule = LoadLibraryA("test-module");
    ASSERT_NE(hModule, nullptr);
    EXPECT_EQ(LoadLibraryA("/usr/lib/TEST-MODULE"), hModule);
    EXPECT_EQ(LoadLibraryA("C:\\Program Files\\Test-Module"), hModule);
    EXPECT_TRUE(FreeLibrary(hModule));
    EXPECT_TRUE(FreeLibrary(hModule));
    EXPECT_TRUE(FreeLibrary(hModule));
}

TEST_F(LoaderTest, UnknownModuleSetsTheLastError) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA("no-such-module"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(LoadLibraryA("test-module/other"), nullptr); // only the last component counts
    EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
}

TEST_F(LoaderTest, FindsEntryPointsByExactName) {
    HMODULE hModule = LoadLibraryA("test-module");
    ASSERT_NE(hModule, nullptr);
    EXPECT_EQ(GetProcAddress(hModule, "First"), &First);
    EXPECT_EQ(GetProcAddress(hModule, "Second"), &Second);
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(hModule, "first"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    FreeLibrary(hModule);
    EXPECT_EQ(GetProcAddress(hModule, "First"), nullptr); // no longer loaded
}

TEST_F(LoaderTest, CountsReferences) {
    EXPECT_EQ(GetModuleHandleA("test-module"), nullptr);
    HMODULE hModule = LoadLibraryA("test-module");
    LoadLibraryA("test-module");
    EXPECT_EQ(GetModuleHandleA("test-module"), hModule);
    EXPECT_FALSE(RemoveBuiltinModule("test-module")); // still loaded
    FreeLibrary(hModule);
    EXPECT_EQ(GetModuleHandleA("test-module"), hModule);
    FreeLibrary(hModule);
    EXPECT_EQ(GetModuleHandleA("test-module"), nullptr);
    EXPECT_FALSE(FreeLibrary(hModule));
    EXPECT_FALSE(FreeLibrary(nullptr));
}

TEST_F(LoaderTest, NamesAreUnique) {
    EXPECT_FALSE(AddBuiltinModule("TEST-MODULE", kExports, 1));
    EXPECT_FALSE(AddBuiltinModule("", kExports, 1));
    EXPECT_FALSE(RemoveBuiltinModule("no-such-module"));
}
