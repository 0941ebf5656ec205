// The in-process registry: the provider entry it starts with, reads of all sizes, writes and removal.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/loader.h"
#include "platform/registry.h"

namespace {

const char *const kszTestKey = "Software\\Tessel\\RegistryTest";

std::string ReadDefault(HKEY hRoot, const char *pszKey, LSTATUS *pnStatus) {
    HKEY hKey = nullptr;
    *pnStatus = RegOpenKeyExA(hRoot, pszKey, 0, KEY_READ, &hKey);
    if (*pnStatus != 0) return std::string();
    char szValue[260] = "";
    DWORD cb = sizeof(szValue);
    *pnStatus = RegQueryValueExA(hKey, "", nullptr, nullptr, reinterpret_cast<BYTE *>(szValue), &cb);
    RegCloseKey(hKey);
    return szValue;
}

class RegistryTest : public ::testing::Test {
protected:
    void TearDown() override { RegDeleteKeyA(HKEY_CURRENT_USER, kszTestKey); }
};

} // namespace

TEST_F(RegistryTest, NamesTheBuiltInAddressBookProvider) {
    LSTATUS nStatus = -1;
    EXPECT_EQ(ReadDefault(HKEY_LOCAL_MACHINE, kszWabDllPathKey, &nStatus), kszVCardModuleName);
    EXPECT_EQ(nStatus, 0);
}

TEST_F(RegistryTest, KeysAndValueNamesIgnoreCaseAndStraySeparators) {
    const char szValue[] = "v";
    ASSERT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kszTestKey, "Name", REG_SZ, szValue, sizeof(szValue)), 0);
    HKEY hKey = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "\\SOFTWARE\\tessel\\\\registrytest\\", 0, KEY_READ, &hKey), 0);
    DWORD dwType = 0;
    char szRead[8] = "";
    DWORD cb = sizeof(szRead);
    EXPECT_EQ(RegQueryValueExA(hKey, "NAME", nullptr, &dwType, reinterpret_cast<BYTE *>(szRead), &cb), 0);
    EXPECT_EQ(dwType, REG_SZ);
    EXPECT_EQ(cb, 2u);
    EXPECT_STREQ(szRead, "v");
    EXPECT_EQ(RegCloseKey(hKey), 0);
}

TEST_F(RegistryTest, RootsAreSeparate) {
    const char szValue[] = "user";
    ASSERT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kszTestKey, nullptr, REG_SZ, szValue, sizeof(szValue)), 0);
    HKEY hKey = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kszTestKey, 0, KEY_READ, &hKey),
              static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(hKey, nullptr);
}

TEST_F(RegistryTest, SizeQueriesAndShortBuffers) {
    const char szValue[] = "0123456789";
    ASSERT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kszTestKey, "", REG_EXPAND_SZ, szValue, sizeof(szValue)), 0);
    HKEY hKey = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kszTestKey, 0, KEY_READ, &hKey), 0);
    DWORD cb = 0;
    EXPECT_EQ(RegQueryValueExA(hKey, nullptr, nullptr, nullptr, nullptr, &cb), 0);
    EXPECT_EQ(cb, 11u);
    char szShort[4] = "abc";
    cb = sizeof(szShort);
    EXPECT_EQ(RegQueryValueExA(hKey, nullptr, nullptr, nullptr, reinterpret_cast<BYTE *>(szShort), &cb),
              static_cast<LSTATUS>(ERROR_MORE_DATA));
    EXPECT_EQ(cb, 11u);
    EXPECT_STREQ(szShort, "abc"); // nothing written
    EXPECT_EQ(RegQueryValueExA(hKey, "missing", nullptr, nullptr, nullptr, &cb),
              static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
    RegCloseKey(hKey);
}

TEST_F(RegistryTest, DeletedKeyCannotBeOpened) {
    const char szValue[] = "x";
    ASSERT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kszTestKey, "", REG_SZ, szValue, sizeof(szValue)), 0);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kszTestKey), 0);
    LSTATUS nStatus = 0;
    ReadDefault(HKEY_CURRENT_USER, kszTestKey, &nStatus);
    EXPECT_EQ(nStatus, static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, kszTestKey), static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
}

TEST_F(RegistryTest, BadHandlesAndArgumentsAreRefused) {
    HKEY hKey = nullptr;
    EXPECT_EQ(RegOpenKeyExA(nullptr, kszTestKey, 0, KEY_READ, &hKey), static_cast<LSTATUS>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kszTestKey, 0, KEY_READ, nullptr),
              static_cast<LSTATUS>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(RegCloseKey(nullptr), static_cast<LSTATUS>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kszTestKey, "", REG_SZ, nullptr, 4),
              static_cast<LSTATUS>(ERROR_INVALID_PARAMETER));
}
