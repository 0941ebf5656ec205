#include "providers/maildir/folderfiles.h"

#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>

#include "providers/maildir/fileops.h"
#include "providers/maildir/maildirname.h"

namespace {

HRESULT ListSubdir(const std::string &strDir, bool bNew, std::vector<MessageFile> &files) {
    std::string strSub = strDir + (bNew ? "/new" : "/cur");
    DIR *pDir = opendir(strSub.c_str());
    if (!pDir) return errno == ENOENT || errno == ENOTDIR ? STG_E_PATHNOTFOUND : HResultFromErrno(errno);
    int fdDir = dirfd(pDir);
    while (dirent *pEntry = readdir(pDir)) {
        const char *pszName = pEntry->d_name;
        // Hidden names are not messages; names with a line end could not be listed in the uid list.
        if (pszName[0] == '.' || std::string_view(pszName).find('\n') != std::string_view::npos) continue;
        if (pEntry->d_type == DT_UNKNOWN || pEntry->d_type == DT_LNK) {
            struct stat st;
            if (fstatat(fdDir, pszName, &st, 0) != 0 || !S_ISREG(st.st_mode)) continue;
        } else if (pEntry->d_type != DT_REG) {
            continue;
        }
        files.push_back(MessageFile{pszName, bNew});
    }
    closedir(pDir);
    return S_OK;
}

} // namespace

HRESULT ListMessageFiles(const std::string &strDir, std::vector<MessageFile> &files) {
    files.clear();
    HRESULT hr = ListSubdir(strDir, false, files);
    if (SUCCEEDED(hr)) hr = ListSubdir(strDir, true, files);
    return hr;
}

HRESULT CountMessages(const std::string &strDir, DWORD &cMessage, DWORD &cUnread) {
    std::vector<MessageFile> files;
    cMessage = cUnread = 0;
    HRESULT hr = ListMessageFiles(strDir, files);
    if (FAILED(hr)) return hr;
    for (const MessageFile &f : files)
        if (StateFromFlags(SplitMaildirName(f.strName).svFlags) & MSG_UNREAD) ++cUnread;
    cMessage = static_cast<DWORD>(files.size());
    return S_OK;
}

std::string MessagePath(const std::string &strDir, std::string_view svName, bool bNew) {
    std::string strPath = strDir + (bNew ? "/new/" : "/cur/");
    strPath += svName;
    return strPath;
}

bool IsMaildirFolder(const std::string &strDir) {
    return IsDirectory(strDir + "/cur") && IsDirectory(strDir + "/new");
}
