// Connecting to the address book: finding the provider through the registry, loading it, WABOpen, and dropping
// the connection again.
#include <cstdlib>
#include <string>

#include "platform/loader.h"
#include "platform/registry.h"
#include "wab_fixture.h"

using testsupport::FakeWabModule;
using testsupport::RefCount;
using testsupport::SetWabDllPath;

namespace {

// Sets an environment variable for one test.
class ScopedEnv {
public:
    ScopedEnv(const char *pszName, const std::string &strValue) : m_strName(pszName) {
        setenv(pszName, strValue.c_str(), 1);
    }
    ~ScopedEnv() { unsetenv(m_strName.c_str()); }

private:
    std::string m_strName;
};

} // namespace

using WabInitTest = WabFixture;

TEST_F(WabInitTest, ConnectsThroughTheProviderNamedInTheRegistry) {
    EXPECT_FALSE(m_lib.Initialized());
    ASSERT_TRUE(m_lib.Init("/books/contacts.vcf", false, false));
    EXPECT_TRUE(m_lib.Initialized());
    EXPECT_EQ(FakeWabModule::cOpens, 1);
    EXPECT_EQ(FakeWabModule::lastParam.cbSize, sizeof(WAB_PARAM));
    EXPECT_EQ(FakeWabModule::lastParam.hwnd, nullptr);
    EXPECT_EQ(FakeWabModule::lastFileName, "/books/contacts.vcf");
    EXPECT_EQ(FakeWabModule::lastParam.ulFlags, 0u);
    EXPECT_NE(GetModuleHandleA("fakewab"), nullptr);
    EXPECT_EQ(RefCount(m_pBook), 2u); // ours and the connection's
    EXPECT_EQ(RefCount(m_pWab), 4u);  // ours, the connection's, the book's and its root container's

    m_lib.Done();
    EXPECT_FALSE(m_lib.Initialized());
    EXPECT_EQ(RefCount(m_pBook), 1u);
    EXPECT_EQ(GetModuleHandleA("fakewab"), nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabInitTest, NullFileNameSelectsTheDefaultBook) {
    ASSERT_TRUE(m_lib.Init(nullptr, false, false));
    EXPECT_TRUE(FakeWabModule::bNullFileName);
}

TEST_F(WabInitTest, FlagsFollowTheTwoSwitches) {
    ASSERT_TRUE(m_lib.Init(nullptr, true, false));
    EXPECT_EQ(FakeWabModule::lastParam.ulFlags, WAB_ENABLE_PROFILES);
    ASSERT_TRUE(m_lib.Init(nullptr, false, true));
    EXPECT_EQ(FakeWabModule::lastParam.ulFlags, WAB_USE_OE_SENDMAIL);
    ASSERT_TRUE(m_lib.Init(nullptr, true, true));
    EXPECT_EQ(FakeWabModule::lastParam.ulFlags, WAB_ENABLE_PROFILES | WAB_USE_OE_SENDMAIL);
    EXPECT_EQ(FakeWabModule::lastParam.ulFlags, 0x00400001u);
}

TEST_F(WabInitTest, SecondInitDropsTheFirstConnectionFirst) {
    ASSERT_TRUE(m_lib.Init(nullptr, false, false));
    ASSERT_TRUE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(FakeWabModule::cOpens, 2);
    EXPECT_EQ(RefCount(m_pBook), 2u); // one connection, not two
    m_lib.Done();
    EXPECT_EQ(RefCount(m_pBook), 1u);
    EXPECT_EQ(GetModuleHandleA("fakewab"), nullptr); // each load was freed again
}

TEST_F(WabInitTest, DoneWithoutConnectionDoesNothing) {
    m_lib.Done();
    m_lib.Done();
    EXPECT_FALSE(m_lib.Initialized());
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabInitTest, DestructorDropsTheConnection) {
    {
        CWABLib lib;
        ASSERT_TRUE(lib.Init(nullptr, false, false));
        EXPECT_EQ(RefCount(m_pBook), 2u);
    }
    EXPECT_EQ(RefCount(m_pBook), 1u);
    EXPECT_EQ(GetModuleHandleA("fakewab"), nullptr);
}

TEST_F(WabInitTest, WithoutRegistryKeyTheBareNameIsLoaded) {
    SetWabDllPath(nullptr);
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "Err[0x7e] in CWAB::Init: Cant load wab32.dll\n");
    EXPECT_EQ(FakeWabModule::cOpens, 0);

    m_log.Clear();
    FakeWabModule wab32(m_pBook, m_pWab, "WAB32.DLL");
    SetWabDllPath(nullptr);
    EXPECT_TRUE(m_lib.Init(nullptr, false, false));
    EXPECT_NE(GetModuleHandleA("wab32.dll"), nullptr);
    m_lib.Done();
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabInitTest, EmptyRegistryValueLoadsTheBareName) {
    SetWabDllPath("");
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_TRUE(HasLogged("Err[0x7e] in CWAB::Init: Cant load wab32.dll"));
}

TEST_F(WabInitTest, PathWithVariableIsLoadedExpanded) {
    ScopedEnv env("TESSEL_TEST_WAB_DIR", "/opt/providers");
    SetWabDllPath("%TESSEL_TEST_WAB_DIR%/fakewab");
    ASSERT_TRUE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "");

    // The variable itself names the module: only the expanded text finds it.
    m_lib.Done();
    ScopedEnv name("TESSEL_TEST_WAB_NAME", "fakewab");
    SetWabDllPath("%TESSEL_TEST_WAB_NAME%");
    EXPECT_TRUE(m_lib.Init(nullptr, false, false));
}

TEST_F(WabInitTest, UndefinedVariableStaysInThePath) {
    unsetenv("TESSEL_TEST_WAB_UNDEFINED");
    SetWabDllPath("%TESSEL_TEST_WAB_UNDEFINED%");
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "Err[0x7e] in CWAB::Init: Cant load wab32.dll\n");
}

TEST_F(WabInitTest, ExpansionBeyond260BytesKeepsTheUnexpandedPath) {
    ScopedEnv env("TESSEL_TEST_WAB_LONG", std::string(300, 'x'));
    // A module named like the unexpanded text proves that this text was loaded.
    FakeWabModule literal(m_pBook, m_pWab, "%TESSEL_TEST_WAB_LONG%");
    EXPECT_TRUE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "Err in CWAB::Init: ExpandEnvironmentStrings - need 301 bytes\n");
    m_lib.Done();
}

TEST_F(WabInitTest, ExpansionOf260BytesFitsAnd261DoNot) {
    ScopedEnv fit("TESSEL_TEST_WAB_FIT", std::string(252, 'y'));
    SetWabDllPath("%TESSEL_TEST_WAB_FIT%fakewab"); // 252 + 7 characters and the terminator: 260
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "Err[0x7e] in CWAB::Init: Cant load wab32.dll\n");

    m_log.Clear();
    ScopedEnv over("TESSEL_TEST_WAB_FIT", std::string(253, 'y'));
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_EQ(Logged(), "Err in CWAB::Init: ExpandEnvironmentStrings - need 261 bytes\n"
                        "Err[0x7e] in CWAB::Init: Cant load wab32.dll\n");
}

TEST_F(WabInitTest, MissingEntryPointFailsAndUnloads) {
    FakeWabModule noEntry(m_pBook, m_pWab, "noentry", false);
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_FALSE(m_lib.Initialized());
    EXPECT_EQ(Logged(), "Err[0x7f] in CWAB::Init: Cant find WABOpen function in wab32.dll\n");
    EXPECT_EQ(GetModuleHandleA("noentry"), nullptr);
}

TEST_F(WabInitTest, WABOpenFailureIsLoggedAndLeavesNothingHeld) {
    FakeWabModule::hrOpen = MAPI_E_NO_ACCESS;
    FakeWabModule::bHandOutOnFailure = true;
    EXPECT_FALSE(m_lib.Init(nullptr, false, false));
    EXPECT_FALSE(m_lib.Initialized());
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWAB::Init: Cant init wab\n");
    EXPECT_EQ(RefCount(m_pBook), 1u);
    EXPECT_EQ(GetModuleHandleA("fakewab"), nullptr);
}

TEST_F(WabInitTest, InitializedNeedsBothObjects) {
    testsupport::FakeWABObject *pWab = m_pWab;
    FakeWabModule noBook(nullptr, pWab, "nobook");
    EXPECT_TRUE(m_lib.Init(nullptr, false, false)); // WABOpen said yes
    EXPECT_FALSE(m_lib.Initialized());
    WABFolders *pFolders = reinterpret_cast<WABFolders *>(1);
    EXPECT_EQ(m_lib.GetFolders(&pFolders, false), -1);
    EXPECT_EQ(pFolders, nullptr);
    EXPECT_TRUE(HasLogged("Err in CWABLib::GetFolders: WAB is not initialized"));
    m_lib.Done();
}

TEST_F(WabInitTest, BuiltInProviderIsWhatTheRegistryNames) {
    SetWabDllPath(kszVCardModuleName);
    HKEY hKey = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\WAB\\DLLPath", 0, KEY_READ, &hKey), 0);
    char szPath[260] = "";
    DWORD cb = sizeof(szPath);
    ASSERT_EQ(RegQueryValueExA(hKey, "", nullptr, nullptr, reinterpret_cast<BYTE *>(szPath), &cb), 0);
    RegCloseKey(hKey);
    EXPECT_STREQ(szPath, kszVCardModuleName);
}
