#include "frame/bugreport_files.h"

#include <cstdio>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"

int32_t CreateTempDirectory(uint32_t nSize, char *pszDir) {
    DWORD cch = GetTempPathA(nSize, pszDir);
    if (cch == 0) {
        g_Log.Error("CreateTempDirectory", static_cast<int32_t>(GetLastError()), "GetTempPath");
        return 0;
    }
    if (cch > nSize) {
        g_Log.Error("CreateTempDirectory", 0, "GetTempPath - need %d bytes for buffer", static_cast<int>(cch));
        return 0;
    }
    char szName[MAX_PATH];
    if (GetTempFileNameA(pszDir, "tsl", 0, szName) == 0) {
        g_Log.Error("CreateTempDirectory", static_cast<int32_t>(GetLastError()), "GetTempFileName");
        return 0;
    }
    std::snprintf(pszDir, nSize, "%s", szName);
    DeleteFileA(pszDir);
    return CreateDirectoryA(pszDir);
}

void DeleteTempDirectory(const char *pszDir) {
    DeleteDirectoryFiles(pszDir);
    RemoveDirectoryA(pszDir);
}

int AttachLogFiles(IMimeMessage *pMessage, const char *pszLogDir, const char *pszTempDir, CLog *pPrivateLog) {
    int nFailures = 0;
    for (const char *pszMask : {"*.err", "*.log"}) {
        std::vector<DirEntry> entries;
        if (!ListDirectory(pszLogDir, pszMask, &entries)) continue;
        for (const DirEntry &entry : entries) {
            if (entry.bDirectory) continue; // a directory is no log file, whatever its name
            std::string strPath = std::string(pszLogDir) + "/" + entry.strName;
            HBODY hBody = 0;
            if (SUCCEEDED(pMessage->AttachFile(strPath.c_str(), nullptr, &hBody))) continue;
            if (!pszTempDir || !*pszTempDir) continue;
            // The file may be held open or be unreadable where it lies: a copy may still go.
            std::string strCopy = std::string(pszTempDir) + "/" + entry.strName;
            if (!CopyFileA(strPath.c_str(), strCopy.c_str(), true)) {
                if (pPrivateLog)
                    pPrivateLog->Error("CreateBugReport", static_cast<int32_t>(GetLastError()), "CopyFile");
                ++nFailures;
                continue;
            }
            HRESULT hr = pMessage->AttachFile(strCopy.c_str(), nullptr, &hBody);
            if (FAILED(hr)) {
                if (pPrivateLog) pPrivateLog->Error("CreateBugReport", hr, "AttachFile(2)");
                ++nFailures;
            }
        }
    }
    return nFailures;
}
