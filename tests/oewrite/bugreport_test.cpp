// The bug report: a message in the Outbox with the log files attached, through the export; and the attaching of
// files that can't be attached where they lie, with a stand-in message.
#include "oewrite/oewrite_fixture.h"

#include <cstdlib>
#include <set>

#include "frame/bugreport_files.h"
#include "platform/files.h"
#include "platform/mimeole.h"
#include "tessel.h"

namespace oewritetest {
namespace {

class BugReportTest : public OEWriteTest {
protected:
    void SetUp() override {
        OEWriteTest::SetUp();
        const char *psz = std::getenv("TMPDIR");
        m_strOldTmp = psz ? psz : "";
        m_bHadTmp = psz != nullptr;
        setenv("TMPDIR", m_tmp.path().c_str(), 1);
    }
    void TearDown() override {
        if (m_bHadTmp) setenv("TMPDIR", m_strOldTmp.c_str(), 1);
        else unsetenv("TMPDIR");
        OEWriteTest::TearDown();
    }
    // The display names of a stored message's attachments, in order.
    static std::vector<std::string> Attachments(const std::string &strSource) {
        std::vector<std::string> names;
        IStream *pStream = nullptr;
        IMimeMessage *pMessage = nullptr;
        CreateStreamOnBytes(strSource.data(), strSource.size(), &pStream);
        MimeOleCreateMessage(nullptr, &pMessage);
        pMessage->Load(pStream);
        ULONG c = 0;
        HBODY *rgh = nullptr;
        pMessage->GetAttachments(&c, &rgh);
        for (ULONG i = 0; i < c; ++i) {
            IMimeBody *pBody = nullptr;
            if (pMessage->BindToObject(rgh[i], IID_IMimeBody, reinterpret_cast<void **>(&pBody)) != S_OK) continue;
            char *pszName = nullptr;
            if (pBody->GetDisplayName(&pszName) == S_OK) names.push_back(pszName);
            std::free(pszName);
            pBody->Release();
        }
        std::free(rgh);
        pMessage->Release();
        pStream->Release();
        return names;
    }

    testsupport::TempDir m_logDir;
    testsupport::TempDir m_tmp;
    std::string m_strOldTmp;
    bool m_bHadTmp = false;
};

TEST_F(BugReportTest, MakesAnOutboxMessageWithTheErrAndLogFilesAndReopensTheLogs) {
    const fs::path &dir = m_logDir.path();
    WriteFileText(dir / "b.err", "error lines\n");
    WriteFileText(dir / "a.log", "full log\n");
    WriteFileText(dir / "notes.txt", "not a log\n");
    fs::create_directories(dir / "old.log");
    m_lib.Done();

    ConfigLog((dir / "tessel.err").c_str(), (dir / "tessel.log").c_str(), 0, 3);
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    ASSERT_EQ(OEInit(pLib, nullptr, 0), 1);
    EXPECT_EQ(CreateBugReport(pLib, "Support <support@example.org>", "Tessel report", "What happened.\n",
                              dir.c_str()),
              0);
    // The library's logs write again, at the end of the same files.
    g_Log.Error("BugReportTest", 0, "after the report");
    OEDone(pLib);
    DeleteTessel(pLib);
    std::string strLog = ReadFileText(dir / "tessel.log");
    std::string strErr = ReadFileText(dir / "tessel.err");
    ConfigLog(nullptr, nullptr, 0, 1);
    EXPECT_NE(strLog.find("after the report"), std::string::npos) << strLog;
    EXPECT_NE(strErr.find("after the report"), std::string::npos) << strErr;

    Connect();
    std::vector<StoredMessage> outbox = List("Outbox");
    ASSERT_EQ(outbox.size(), 1u); // the empty first message is gone for good
    EXPECT_EQ(outbox[0].dwState & 0x0E, 0x0Eu);
    EXPECT_TRUE(List("Trash").empty());
    const std::string &strSource = outbox[0].strBytes;
    EXPECT_NE(strSource.find("Subject: Tessel report"), std::string::npos) << strSource;
    EXPECT_NE(strSource.find("To: Support <support@example.org>"), std::string::npos) << strSource;
    EXPECT_NE(strSource.find("What happened."), std::string::npos) << strSource;
    EXPECT_EQ(Attachments(strSource), (std::vector<std::string>{"b.err", "tessel.err", "a.log", "tessel.log"}));
    EXPECT_TRUE(fs::is_empty(m_tmp.path())) << "the temporary directory stayed";
}

TEST_F(BugReportTest, ADirectoryWithoutLogsGivesAMessageWithoutAttachments) {
    WriteFileText(m_logDir.path() / "readme.txt", "nothing\n");
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    ASSERT_EQ(OEInit(pLib, nullptr, 0), 1);
    EXPECT_EQ(CreateBugReport(pLib, "a@example.org", "s", "b", m_logDir.path().c_str()), 0);
    OEDone(pLib);
    DeleteTessel(pLib);
    std::vector<StoredMessage> outbox = List("Outbox");
    ASSERT_EQ(outbox.size(), 1u);
    EXPECT_TRUE(Attachments(outbox[0].strBytes).empty());
    EXPECT_TRUE(fs::is_empty(m_tmp.path()));
}

TEST_F(BugReportTest, ANullLibraryIsRefused) {
    EXPECT_EQ(CreateBugReport(nullptr, "a", "b", "c", m_logDir.path().c_str()), -1);
    EXPECT_TRUE(Logged("Err in pLib != NULL: ASSERT failed in line 702")) << m_log.Text();
}

TEST_F(BugReportTest, TheTemporaryDirectoryIsNewEachTimeAndGoesWithItsFiles) {
    char szDir[MAX_PATH];
    ASSERT_NE(CreateTempDirectory(sizeof(szDir), szDir), 0);
    EXPECT_EQ(fs::path(szDir).parent_path(), m_tmp.path());
    EXPECT_EQ(fs::path(szDir).filename().string().rfind("tsl", 0), 0u);
    char szOther[MAX_PATH];
    ASSERT_NE(CreateTempDirectory(sizeof(szOther), szOther), 0);
    EXPECT_STRNE(szDir, szOther);
    WriteFileText(fs::path(szDir) / "x.log", "x");
    DeleteTempDirectory(szDir);
    DeleteTempDirectory(szOther);
    EXPECT_TRUE(fs::is_empty(m_tmp.path()));
    char szSmall[8];
    EXPECT_EQ(CreateTempDirectory(sizeof(szSmall), szSmall), 0);
    EXPECT_EQ(LogLines().back().rfind("Err in CreateTempDirectory: GetTempPath - need ", 0), 0u) << m_log.Text();
}

// A message that can't attach files from one directory (as if they were held open there).
class CBlockingMessage final : public CRefCounted<IMimeMessage> {
public:
    explicit CBlockingMessage(std::string strBlocked) : m_strBlocked(std::move(strBlocked)) {}
    std::vector<std::string> m_attached;

    HRESULT AttachFile(LPCSTR pszFilePath, IStream *, LPHBODY phBody) override {
        std::string strPath = pszFilePath;
        if (strPath.rfind(m_strBlocked, 0) == 0) return STG_E_ACCESSDENIED;
        m_attached.push_back(strPath);
        if (phBody) *phBody = static_cast<HBODY>(m_attached.size());
        return S_OK;
    }
    HRESULT QueryInterface(REFIID, void **ppv) override {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT GetClassID(CLSID *) override { return E_NOTIMPL; }
    HRESULT IsDirty() override { return E_NOTIMPL; }
    HRESULT Load(IStream *) override { return E_NOTIMPL; }
    HRESULT Save(IStream *, BOOL) override { return E_NOTIMPL; }
    HRESULT GetSizeMax(ULARGE_INTEGER *) override { return E_NOTIMPL; }
    HRESULT InitNew() override { return E_NOTIMPL; }
    HRESULT GetMessageSource(IStream **, DWORD) override { return E_NOTIMPL; }
    HRESULT GetFlags(DWORD *) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT BindToObject(const HBODY, REFIID, void **) override { return E_NOTIMPL; }
    HRESULT DeleteBody(HBODY, DWORD) override { return E_NOTIMPL; }
    HRESULT IsBodyType(HBODY, IMSGBODYTYPE) override { return E_NOTIMPL; }
    HRESULT GetBodyProp(HBODY, LPCSTR, DWORD, LPPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT SetBodyProp(HBODY, LPCSTR, DWORD, LPCPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT GetProp(LPCSTR, DWORD, LPPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT SetProp(LPCSTR, DWORD, LPCPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT DeleteProp(LPCSTR) override { return E_NOTIMPL; }
    HRESULT GetTextBody(DWORD, ENCODINGTYPE, IStream **, LPHBODY) override { return E_NOTIMPL; }
    HRESULT SetTextBody(DWORD, ENCODINGTYPE, HBODY, IStream *, LPHBODY) override { return E_NOTIMPL; }
    HRESULT AttachObject(REFIID, void *, LPHBODY) override { return E_NOTIMPL; }
    HRESULT GetAttachments(ULONG *, LPHBODY *) override { return E_NOTIMPL; }
    HRESULT GetAddressFormat(DWORD, ADDRESSFORMAT, LPSTR *) override { return E_NOTIMPL; }

private:
    std::string m_strBlocked;
};

class AttachLogFilesTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteFileText(m_logs.path() / "one.log", "1");
        WriteFileText(m_logs.path() / "two.err", "2");
        WriteFileText(m_logs.path() / "skip.txt", "3");
        m_private.InitLog(nullptr, (m_temp.path() / "CreateBugReport.log").c_str(), false, 3);
    }
    std::string PrivateLog() {
        m_private.CloseFiles();
        return ReadFileText(m_temp.path() / "CreateBugReport.log");
    }
    testsupport::TempDir m_logs, m_temp;
    CLog m_private;
};

TEST_F(AttachLogFilesTest, FilesThatCantBeAttachedWhereTheyLieGoAsCopies) {
    CBlockingMessage *pMessage = new CBlockingMessage(m_logs.path().string());
    EXPECT_EQ(AttachLogFiles(pMessage, m_logs.path().c_str(), m_temp.path().c_str(), &m_private), 0);
    EXPECT_EQ(pMessage->m_attached, (std::vector<std::string>{(m_temp.path() / "two.err").string(),
                                                              (m_temp.path() / "one.log").string()}));
    EXPECT_EQ(ReadFileText(m_temp.path() / "one.log"), "1");
    EXPECT_EQ(PrivateLog().find("Err"), std::string::npos);
    pMessage->Release();
}

TEST_F(AttachLogFilesTest, AFileThatCanBeNeitherAttachedNorCopiedIsOneFailure) {
    WriteFileText(m_temp.path() / "one.log", "in the way"); // the copy refuses to overwrite
    CBlockingMessage *pMessage = new CBlockingMessage(m_logs.path().string());
    EXPECT_EQ(AttachLogFiles(pMessage, m_logs.path().c_str(), m_temp.path().c_str(), &m_private), 1);
    EXPECT_EQ(pMessage->m_attached, std::vector<std::string>{(m_temp.path() / "two.err").string()});
    EXPECT_NE(PrivateLog().find("Err[0x50] in CreateBugReport: CopyFile"), std::string::npos);
    pMessage->Release();
}

TEST_F(AttachLogFilesTest, WithoutATemporaryDirectoryUnattachableFilesAreSkippedSilently) {
    CBlockingMessage *pMessage = new CBlockingMessage(m_logs.path().string());
    EXPECT_EQ(AttachLogFiles(pMessage, m_logs.path().c_str(), "", nullptr), 0);
    EXPECT_TRUE(pMessage->m_attached.empty());
    pMessage->Release();
}

} // namespace
} // namespace oewritetest
