#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/exports_internal.h"
#include "platform/loader.h"
#include "platform/registry.h"
#include "support/log_capture.h"
#include "support/log_text.h"
#include "tessel.h"

namespace {

using testsupport::CLogCapture;
using testsupport::StripTimeStamps;

// The lines logged from here on, without time stamps and without what came before.
class LinesSince {
public:
    explicit LinesSince(const CLogCapture &capture) : m_capture(capture), m_nStart(capture.Text().size()) {}
    std::vector<std::string> Lines() const { return StripTimeStamps(m_capture.Text().substr(m_nStart)); }

private:
    const CLogCapture &m_capture;
    size_t m_nStart;
};

TEST(CreateTessel, RecordHoldsTheMessageStoreFirst) {
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    ASSERT_NE(pLib, nullptr);
    EXPECT_EQ(static_cast<void *>(&pLib->oe), static_cast<void *>(pLib));
    EXPECT_LT(static_cast<void *>(&pLib->oe), static_cast<void *>(&pLib->wab));
    EXPECT_FALSE(pLib->oe.m_Lib.Initialized());
    EXPECT_FALSE(pLib->wab.m_Lib.Initialized());
    DeleteTessel(pLib);
}

TEST(CreateTessel, NullOutPointerIsIgnored) {
    CLogCapture capture(3);
    LinesSince since(capture);
    CreateTessel(nullptr);
    EXPECT_TRUE(since.Lines().empty());
}

TEST(DeleteTessel, NullIsQuiet) {
    CLogCapture capture(3);
    LinesSince since(capture);
    DeleteTessel(nullptr);
    EXPECT_TRUE(since.Lines().empty());
}

TEST(DeleteTessel, ClosesTheAddressBookThenTheMessageStore) {
    CLogCapture capture(3);
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    LinesSince since(capture);
    DeleteTessel(pLib);
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Inf in WABDone: ->", "Inf in OEDone: ->"}));
}

TEST(DeleteTessel, DoneLinesNeedLevelThree) {
    CLogCapture capture(2);
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    LinesSince since(capture);
    DeleteTessel(pLib);
    EXPECT_TRUE(since.Lines().empty());
}

TEST(ConfigLog, TakesEffectBeforeCreateTessel) {
    testsupport::TempDir dir;
    const auto full = dir.path() / "tessel.log", errors = dir.path() / "tessel.err";
    ConfigLog(errors.c_str(), full.c_str(), 0, 3);
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    OEInitialized(nullptr);
    DeleteTessel(pLib);
    ConfigLog(nullptr, nullptr, 0, 1);

    std::vector<std::string> lines = StripTimeStamps(testsupport::ReadFileText(full));
    ASSERT_GE(lines.size(), 3u);
    lines.erase(lines.begin(), lines.end() - 3); // the banner comes first
    EXPECT_EQ(lines[0], "Err in pLib != NULL: ASSERT failed in line 202");
    EXPECT_EQ(lines[1], "Inf in WABDone: ->");
    EXPECT_EQ(lines[2], "Inf in OEDone: ->");
    const std::vector<std::string> errorLines = StripTimeStamps(testsupport::ReadFileText(errors));
    ASSERT_EQ(errorLines.size(), 1u);
    EXPECT_NE(errorLines[0].find("Err in pLib != NULL: ASSERT failed in line 202"), std::string::npos);
}

TEST(ConfigLog, AnyNonZeroFlagTurnsTheDebugOutputOn) {
    ConfigLog(nullptr, nullptr, 2, 1);
    testing::internal::CaptureStderr();
    OEInitialized(nullptr);
    const std::string output = testing::internal::GetCapturedStderr();
    ConfigLog(nullptr, nullptr, 0, 1);
    EXPECT_EQ(StripTimeStamps(output), std::vector<std::string>{"Err in pLib != NULL: ASSERT failed in line 202"});
}

TEST(StoreExports, NullHandleAssertsAndAnswersFalse) {
    CLogCapture capture(3);
    LinesSince since(capture);
    EXPECT_FALSE(OEInitialized(nullptr));
    EXPECT_FALSE(WABInitialized(nullptr));
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Err in pLib != NULL: ASSERT failed in line 202",
                                                       "Err in pLib != NULL: ASSERT failed in line 302"}));
}

TEST(StoreExports, DoneWithNullHandleLogsTheMarkFirst) {
    CLogCapture capture(3);
    LinesSince since(capture);
    OEDone(nullptr);
    WABDone(nullptr);
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Inf in OEDone: ->",
                                                       "Err in pLib != NULL: ASSERT failed in line 210",
                                                       "Inf in WABDone: ->",
                                                       "Err in pLib != NULL: ASSERT failed in line 311"}));
}

TEST(StoreExports, FreshRecordHasNoStoreOpen) {
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    ASSERT_NE(pLib, nullptr);
    CLogCapture capture(1);
    LinesSince since(capture);
    EXPECT_FALSE(OEInitialized(pLib));
    EXPECT_FALSE(WABInitialized(pLib));
    OEDone(pLib); // harmless on a store that is not open, and twice
    OEDone(pLib);
    WABDone(pLib);
    EXPECT_TRUE(since.Lines().empty());
    DeleteTessel(pLib);
}

class GetCompare : public testing::Test {
protected:
    GetCompare() { CreateTessel(&m_pLib); }
    ~GetCompare() override { DeleteTessel(m_pLib); }

    CTessel *m_pLib = nullptr;
    CLogCapture m_capture{1};
};

TEST_F(GetCompare, NullRecord) {
    LinesSince since(m_capture);
    EXPECT_EQ(_TS_GetCompare(nullptr, API_OE, "TS_GetItemTextProp"), nullptr);
    EXPECT_EQ(since.Lines(), std::vector<std::string>{"Err in TS_GetItemTextProp: pLib == NULL"});
}

TEST_F(GetCompare, StoresThatAreNotInitialized) {
    LinesSince since(m_capture);
    EXPECT_EQ(_TS_GetCompare(m_pLib, API_OE, "TS_OpenItem"), nullptr);
    EXPECT_EQ(_TS_GetCompare(m_pLib, API_WAB, "TS_OpenItem"), nullptr);
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Err in TS_OpenItem: OE is not initialized",
                                                       "Err in TS_OpenItem: WAB is not initialized"}));
}

TEST_F(GetCompare, UnknownApiAssertsWithNumberThree) {
    LinesSince since(m_capture);
    EXPECT_EQ(_TS_GetCompare(m_pLib, 2, "TS_OpenItem"), nullptr);
    EXPECT_EQ(_TS_GetCompare(m_pLib, -1, "TS_OpenItem"), nullptr);
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Err in TS_OpenItem: ASSERT failed in line 3",
                                                       "Err in TS_OpenItem: ASSERT failed in line 3"}));
}

TEST_F(GetCompare, StoresThatCannotOpenSayWhy) {
    // The address book provider the registry names is not there; the message store's directory holds other
    // things than a Maildir, which the store won't turn into one.
    const char szMissing[] = "no-such-provider";
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, kszWabDllPathKey, "", REG_SZ, szMissing, sizeof(szMissing));
    testsupport::TempDir notMaildir;
    std::FILE *pFile = std::fopen((notMaildir.path() / "notes.txt").c_str(), "w");
    ASSERT_NE(pFile, nullptr);
    std::fclose(pFile);
    setenv("TESSEL_MAILDIR", notMaildir.path().c_str(), 1);
    LinesSince since(m_capture);
    EXPECT_FALSE(m_pLib->oe.m_Lib.Init(nullptr, true));
    unsetenv("TESSEL_MAILDIR");
    EXPECT_FALSE(m_pLib->wab.m_Lib.Init(nullptr, false, false));
    EXPECT_FALSE(m_pLib->oe.m_Lib.Initialized());
    EXPECT_FALSE(m_pLib->wab.m_Lib.Initialized());
    const std::vector<std::string> lines = since.Lines();
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, kszWabDllPathKey, "", REG_SZ, kszVCardModuleName,
                    static_cast<DWORD>(std::strlen(kszVCardModuleName) + 1));
    ASSERT_EQ(lines.size(), 3u) << testing::PrintToString(lines);
    EXPECT_NE(lines[0].find(" is not a Maildir"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find(" in COELib::Init: Namespace->Initialize"), std::string::npos) << lines[1];
    EXPECT_EQ(lines[2], "Err[0x7e] in CWAB::Init: Cant load wab32.dll");
}

TEST_F(GetCompare, AdaptorOperationsFailInOrder) {
    struct Adaptor {
        ICompare *pCompare;
        std::string label;
        std::string reason;
    };
    const Adaptor adaptors[] = {
        {&m_pLib->oe, "COECompare", "the message store is not available in this build"},
    };
    for (const Adaptor &adaptor : adaptors) {
        ICompare *pCompare = adaptor.pCompare;
        LinesSince since(m_capture);
        HITEM hItem = reinterpret_cast<HITEM>(1);
        EXPECT_EQ(pCompare->OpenItem("3412000056000000", &hItem, false), -1);
        EXPECT_EQ(hItem, nullptr);
        HFOLDER hFolder = reinterpret_cast<HFOLDER>(1);
        EXPECT_EQ(pCompare->OpenFolder("34120000", &hFolder), -1);
        EXPECT_EQ(hFolder, nullptr);
        ULONG cValues = 7;
        SPropValue *pProps = reinterpret_cast<SPropValue *>(1);
        EXPECT_EQ(pCompare->GetItemProps(nullptr, nullptr, &cValues, &pProps, false), -1);
        EXPECT_EQ(cValues, 0u);
        EXPECT_EQ(pProps, nullptr);
        ULONG nSize = 7;
        EXPECT_EQ(pCompare->GetItemSize(nullptr, &nSize, true), -1);
        EXPECT_EQ(nSize, 0u);
        EXPECT_FALSE(pCompare->ValidAttachCmpProps(nullptr, 0));
        EXPECT_EQ(pCompare->GetAttachDisplayNameTag(0), 0u);
        void *pBuffer = reinterpret_cast<void *>(1);
        EXPECT_EQ(pCompare->AllocateBuffer(16, &pBuffer), -1);
        EXPECT_EQ(pBuffer, nullptr);

        std::vector<std::string> expected;
        for (const char *pszOp : {"OpenItem", "OpenFolder", "GetItemProps", "GetItemSize", "ValidAttachCmpProps",
                                  "GetAttachDisplayNameTag", "AllocateBuffer"})
            expected.push_back("Err in " + adaptor.label + "::" + pszOp + ": " + adaptor.reason);
        EXPECT_EQ(since.Lines(), expected);
    }
}

TEST_F(GetCompare, AddressBookAdaptorWithoutAConnectionFailsInOrder) {
    LinesSince since(m_capture);
    HITEM hItem = reinterpret_cast<HITEM>(1);
    EXPECT_EQ(m_pLib->wab.OpenItem("00000000450000", &hItem, false), -1);
    EXPECT_EQ(hItem, nullptr);
    HFOLDER hFolder = reinterpret_cast<HFOLDER>(1);
    EXPECT_EQ(m_pLib->wab.OpenFolder("34120000", &hFolder), 0); // the book has no folders to open
    EXPECT_EQ(hFolder, nullptr);
    void *pBuffer = nullptr;
    EXPECT_EQ(m_pLib->wab.AllocateBuffer(16, &pBuffer), -2);
    EXPECT_EQ(pBuffer, nullptr);
    EXPECT_EQ(since.Lines(), (std::vector<std::string>{"Err in CWABLib::OpenEntry: WAB is not initialized",
                                                       "Err in CWABLib::AllocateBuffer: ASSERT failed in line 0"}));
}

} // namespace
