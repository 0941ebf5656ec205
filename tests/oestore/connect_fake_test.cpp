#include <cstring>

#include "oestore/oelib_fixture.h"
#include "platform/cocreate.h"

namespace {

using namespace oelibtest;
using testsupport::FakeStoreNamespace;

// What the overridden factories hand out and count.
struct Factories {
    static inline HRESULT hrCreateNamespace = S_OK;
    static inline HRESULT hrCreateAllocator = S_OK;
    static inline HRESULT hrInitialize = S_OK;
    static inline int cNamespaces = 0;
    static inline FakeStoreNamespace *pLast = nullptr; // one reference held here

    static HRESULT CreateNamespace(REFIID riid, void **ppv) {
        if (hrCreateNamespace != S_OK) return hrCreateNamespace;
        auto *pNs = new FakeStoreNamespace;
        pNs->hrInitialize = hrInitialize;
        cNamespaces++;
        SafeRelease(pLast);
        pLast = pNs;
        pNs->AddRef();
        HRESULT hr = pNs->QueryInterface(riid, ppv);
        pNs->Release();
        return hr;
    }
    // Fails with a code but still without a reference: Init must judge by the reference.
    static HRESULT CreateAllocator(REFIID, void **ppv) {
        if (hrCreateAllocator != S_OK) return hrCreateAllocator;
        IMimeAllocator *pAllocator = nullptr;
        HRESULT hr = MimeOleCreateAllocator(&pAllocator);
        *ppv = pAllocator;
        return hr;
    }
};

class Connection : public ::testing::Test {
protected:
    void SetUp() override {
        Factories::hrCreateNamespace = Factories::hrCreateAllocator = Factories::hrInitialize = S_OK;
        Factories::cNamespaces = 0;
        m_pfnOldNs = CoRegisterClassOverride(CLSID_StoreNamespace, Factories::CreateNamespace);
        m_pfnOldAlloc = CoRegisterClassOverride(CLSID_IMimeAllocator, Factories::CreateAllocator);
    }
    void TearDown() override {
        CoRegisterClassOverride(CLSID_StoreNamespace, m_pfnOldNs);
        CoRegisterClassOverride(CLSID_IMimeAllocator, m_pfnOldAlloc);
        SafeRelease(Factories::pLast);
    }
    PFNCREATEINSTANCE m_pfnOldNs = nullptr;
    PFNCREATEINSTANCE m_pfnOldAlloc = nullptr;
    testsupport::CLogCapture m_log;
};

TEST_F(Connection, GuidsComeFromTheirTexts) {
    COELib lib;
    EXPECT_EQ(lib.CLSID_StoreNamespace, ::CLSID_StoreNamespace);
    EXPECT_EQ(lib.IID_IStoreNamespace, ::IID_IStoreNamespace);
    EXPECT_EQ(lib.IID_IStoreFolder, ::IID_IStoreFolder);
    EXPECT_EQ(lib.CLSID_IMimeAllocator, ::CLSID_IMimeAllocator);
    EXPECT_EQ(lib.IID_IMimeAllocator, ::IID_IMimeAllocator);
    EXPECT_EQ(lib.IID_IMimePropertySet, ::IID_IMimePropertySet);
    EXPECT_EQ(lib.IID_IMimeBody, ::IID_IMimeBody);
    EXPECT_EQ(lib.IID_IMimeHeaderTable, ::IID_IMimeHeaderTable);
    EXPECT_EQ(lib.IID_IMimeMessage, ::IID_IMimeMessage);
    EXPECT_EQ(lib.m_pNamespace, nullptr);
    EXPECT_EQ(lib.m_pAllocator, nullptr);
    EXPECT_FALSE(lib.Initialized());
    lib.Done(); // never connected: nothing happens
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(Connection, InitForwardsTheFlagInverted) {
    COELib lib;
    ASSERT_TRUE(lib.Init(nullptr, true));
    EXPECT_EQ(Factories::pLast->dwInitializeFlag, 0u);
    ASSERT_TRUE(lib.Init(nullptr, false));
    EXPECT_EQ(Factories::pLast->dwInitializeFlag, 1u);
    EXPECT_TRUE(lib.Initialized());
}

TEST_F(Connection, InitTwiceLeavesExactlyOneConnection) {
    COELib lib;
    ASSERT_TRUE(lib.Init(nullptr, true));
    FakeStoreNamespace *pFirst = Factories::pLast;
    pFirst->AddRef();
    ASSERT_TRUE(lib.Init(nullptr, true));
    EXPECT_EQ(Factories::cNamespaces, 2);
    EXPECT_EQ(testsupport::RefCount(pFirst), 1u); // the library let go of the first
    pFirst->Release();
    EXPECT_EQ(lib.m_pNamespace, static_cast<IStoreNamespace *>(Factories::pLast));
    EXPECT_EQ(testsupport::RefCount(Factories::pLast), 2u);
    lib.Done();
    EXPECT_FALSE(lib.Initialized());
    EXPECT_EQ(testsupport::RefCount(Factories::pLast), 1u);
    lib.Done();
}

TEST_F(Connection, AllocatorFailureLeavesNotConnected) {
    Factories::hrCreateAllocator = E_OUTOFMEMORY;
    COELib lib;
    EXPECT_FALSE(lib.Init(nullptr, true));
    EXPECT_FALSE(lib.Initialized());
    EXPECT_EQ(lib.m_pNamespace, nullptr); // the store root had been reached and is let go
    EXPECT_EQ(testsupport::RefCount(Factories::pLast), 1u);
    EXPECT_TRUE(HasLine(m_log.Lines(), "Err[0x8007000e] in COELib::Init: create IMimeAllocator"));
}

TEST_F(Connection, RootOrInitializeFailure) {
    COELib lib;
    Factories::hrInitialize = E_ACCESSDENIED;
    EXPECT_FALSE(lib.Init(nullptr, false));
    EXPECT_FALSE(lib.Initialized());
    EXPECT_TRUE(HasLine(m_log.Lines(), "Err[0x80070005] in COELib::Init: Namespace->Initialize"));
    EXPECT_EQ(testsupport::RefCount(Factories::pLast), 1u);

    Factories::hrCreateNamespace = REGDB_E_CLASSNOTREG;
    EXPECT_FALSE(lib.Init(nullptr, false));
    EXPECT_TRUE(HasLine(m_log.Lines(), "Err[0x80040154] in COELib::Init: CoCreateInstance"));
}

TEST_F(Connection, NotConnectedStoreRefusesWithoutTouchingTheRoot) {
    COELib lib;
    IStoreFolder *pFolder = nullptr;
    EXPECT_EQ(lib.OpenFolder("01000000", &pFolder), -1);
    EXPECT_EQ(lib._OpenFolder(1, &pFolder), -1);
    STOREFOLDERID dwId = 0;
    EXPECT_EQ(lib._OpenSpecialFolder(FOLDER_DELETED, &pFolder, &dwId), -1);
    char *psz = nullptr;
    EXPECT_EQ(lib.GetStoreDirectory(&psz), -1);
    OEItems *pItems = nullptr;
    EXPECT_EQ(lib.GetItems(&pItems, "01000000", false, nullptr, false, false), -1);
    EXPECT_EQ(pItems, nullptr);
    HITEM hItem = nullptr;
    EXPECT_EQ(lib.OpenItem("0100000001000000", &hItem), -1);
    EXPECT_EQ(lib.MarkItem("0100000001000000", MSG_FLAGGED), -1);
    OEFolders *pFolders = nullptr;
    lib.GetFolders(&pFolders);
    ASSERT_NE(pFolders, nullptr);
    EXPECT_EQ(pFolders->cFolders, 0u);
    OEFreeFolders(pFolders);
    std::vector<std::string> lines = m_log.Lines();
    EXPECT_EQ(lines.size(), 7u);
    EXPECT_TRUE(HasLine(lines, "Err in COELib::OpenFolder: OE is not initialized"));
    EXPECT_TRUE(HasLine(lines, "Err in COELib::_OpenItem: OE is not initialized"));
    EXPECT_TRUE(HasLine(lines, "Err in COELib::MarkItem: OE is not initialized"));
}

TEST(EntryTexts, FolderAndItemEntriesAreLowByteFirst) {
    EXPECT_EQ(Take(COELib::Folder2Str(0x1234)), "34120000");
    EXPECT_EQ(Take(COELib::ItemEntry2Str(0x1234, 0x56)), "3412000056000000");
    EXPECT_EQ(Take(COELib::Folder2Str(0xA1B2C3D4)), "D4C3B2A1");
    STOREFOLDERID dwFolder = 0;
    MESSAGEID dwMessage = 0;
    EXPECT_TRUE(COELib::Str2Folder("34120000", &dwFolder));
    EXPECT_EQ(dwFolder, 0x1234u);
    EXPECT_TRUE(COELib::Str2Folder("d4c3b2a1", &dwFolder));
    EXPECT_EQ(dwFolder, 0xA1B2C3D4u);
    EXPECT_TRUE(COELib::Str2ItemEntry("3412000056000000", &dwFolder, &dwMessage));
    EXPECT_EQ(dwFolder, 0x1234u);
    EXPECT_EQ(dwMessage, 0x56u);
    EXPECT_TRUE(COELib::Str2ItemEntry("d4c3b2a1ffeeddcc", &dwFolder, &dwMessage));
    EXPECT_EQ(dwFolder, 0xA1B2C3D4u);
    EXPECT_EQ(dwMessage, 0xCCDDEEFFu);
    // A pair with a non-digit reads as Hex2Dec reads it ("x0" as -1, then 0: 0xF0 in the low byte).
    EXPECT_TRUE(COELib::Str2ItemEntry("3412x00056000000", &dwFolder, &dwMessage));
    EXPECT_EQ(dwFolder, 0x00F01234u);
    EXPECT_EQ(dwMessage, 0x56u);
}

TEST(EntryTexts, LengthDecidesAndOnlyItemEntriesLog) {
    testsupport::CLogCapture log;
    STOREFOLDERID dwFolder = 7;
    MESSAGEID dwMessage = 9;
    EXPECT_TRUE(COELib::Str2ItemEntry("34120000560000001", &dwFolder, &dwMessage)); // 17 digits: 8 bytes
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_FALSE(COELib::Str2ItemEntry("341200005600000", &dwFolder, &dwMessage)); // 15 digits: 7 bytes
    EXPECT_FALSE(COELib::Str2Folder("341200", &dwFolder));
    EXPECT_FALSE(COELib::Str2Folder("3412000056", &dwFolder));
    EXPECT_FALSE(COELib::Str2Folder("", &dwFolder));
    EXPECT_EQ(dwFolder, 0x1234u);
    std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "Err[0x7] in COELib::Str2ItemEntry: item entry not 8 bytes long");
}

} // namespace
