// CreateBugReport: the application's log files as attachments of a new message in the Outbox.
#include <cstdio>

#include "frame/bugreport_files.h"
#include "frame/exports_internal.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "platform/files.h"

namespace {

// State flags of the report: unread, submitted and not yet sent, as a message waiting in the Outbox.
constexpr DWORD kReportState = MSG_UNREAD | MSG_SUBMITTED | MSG_UNSENT;

void SetText(COELib &lib, HITEM hItem, ULONG ulTag, const char *pszText) {
    SPropValue value{};
    value.ulPropTag = ulTag;
    value.Value.lpszA = const_cast<char *>(pszText);
    lib.SetItemProp(hItem, &value);
}

} // namespace

extern "C" int32_t CreateBugReport(CTessel *pLib, const char *pszTo, const char *pszSubject, const char *pszBody,
                                   const char *pszLogDir) {
    TS_AssertLib(pLib, 702);
    if (!pLib) return -1;
    COELib &lib = pLib->oe.m_Lib;

    char szDir[MAX_PATH] = "";
    CLog *pPrivateLog = nullptr;
    if (CreateTempDirectory(sizeof(szDir), szDir)) {
        char szLogPath[MAX_PATH + 32];
        std::snprintf(szLogPath, sizeof(szLogPath), "%s/CreateBugReport.log", szDir);
        pPrivateLog = new CLog();
        pPrivateLog->InitLog(nullptr, szLogPath, false, 3);
    } else {
        szDir[0] = '\0';
    }
    // The log files must be readable and copyable while the report is made: the library's own log lets go of
    // them until the end.
    g_Log.CloseFiles();

    char *pszEntry = nullptr;
    HITEM hItem = nullptr;
    HRESULT hr = lib.GetSpecialFolderEntry(FOLDER_OUTBOX, &pszEntry);
    if (SUCCEEDED(hr)) hr = lib.CreateItem(&hItem, pszEntry, nullptr, kReportState);
    if (SUCCEEDED(hr)) {
        SetText(lib, hItem, PR_OE_TO, pszTo);
        SetText(lib, hItem, PR_OE_SUBJECT, pszSubject);
        SetText(lib, hItem, PR_OE_BODY, pszBody);
        IMimeMessage *pMessage = static_cast<OEOpenItem *>(hItem)->pMessage;
        int nFailures = pszLogDir ? AttachLogFiles(pMessage, pszLogDir, szDir, pPrivateLog) : 0;
        if (nFailures > 0 && pPrivateLog) {
            // What went wrong travels with the report.
            pPrivateLog->CloseFiles();
            HBODY hBody = 0;
            char szLogPath[MAX_PATH + 32];
            std::snprintf(szLogPath, sizeof(szLogPath), "%s/CreateBugReport.log", szDir);
            pMessage->AttachFile(szLogPath, nullptr, &hBody);
        }
        lib.SaveItem(hItem, true, true); // the full message replaces the empty one for good
        hr = S_OK;
    }

    lib.FreeBuffer(pszEntry);
    if (hItem) lib.CloseItem(&hItem);
    delete pPrivateLog;
    if (szDir[0]) DeleteTempDirectory(szDir);
    g_Log.ReopenFiles();
    return hr;
}
