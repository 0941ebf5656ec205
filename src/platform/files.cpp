#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/errors.h"

namespace {

bool IsDirectory(const char *pszPath) {
    struct stat st{};
    return stat(pszPath, &st) == 0 && S_ISDIR(st.st_mode);
}

// The temporary file name for one number; false if it does not fit MAX_PATH.
bool BuildTempFileName(const char *pszDir, const char *pszPrefix, UINT nNumber, char *pszName) {
    const size_t nDir = std::strlen(pszDir);
    const char *pszSlash = nDir > 0 && pszDir[nDir - 1] == '/' ? "" : "/";
    const int n = std::snprintf(pszName, MAX_PATH, "%s%s%.3s%X.tmp", pszDir, pszSlash, pszPrefix ? pszPrefix : "",
                                nNumber & 0xFFFFu);
    return n > 0 && static_cast<DWORD>(n) < MAX_PATH;
}

// Writes all of a buffer, going on after short writes and interruptions.
bool WriteAll(int fd, const char *p, size_t n) {
    while (n > 0) {
        const ssize_t nWritten = write(fd, p, n);
        if (nWritten < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += nWritten;
        n -= static_cast<size_t>(nWritten);
    }
    return true;
}

// Copies the bytes of one open file to another; errno tells the cause when it fails.
bool CopyContents(int fdIn, int fdOut) {
    char buffer[65536];
    for (;;) {
        const ssize_t nRead = read(fdIn, buffer, sizeof buffer);
        if (nRead == 0) return true;
        if (nRead < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (!WriteAll(fdOut, buffer, static_cast<size_t>(nRead))) return false;
    }
}

} // namespace

DWORD GetTempPathA(DWORD nBufferLength, char *lpBuffer) {
    std::string strDir = "/tmp/";
    if (const char *pszEnv = std::getenv("TMPDIR"); pszEnv && *pszEnv && IsDirectory(pszEnv)) {
        strDir = pszEnv;
        if (strDir.back() != '/') strDir += '/';
    }
    if (strDir.size() + 1 > nBufferLength || !lpBuffer) return static_cast<DWORD>(strDir.size() + 1);
    std::memcpy(lpBuffer, strDir.c_str(), strDir.size() + 1);
    return static_cast<DWORD>(strDir.size());
}

UINT GetTempFileNameA(const char *lpPathName, const char *lpPrefixString, UINT uUnique, char *lpTempFileName) {
    if (!lpPathName || !lpTempFileName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (uUnique != 0) {
        if (BuildTempFileName(lpPathName, lpPrefixString, uUnique, lpTempFileName)) return uUnique & 0xFFFFu;
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    // Start somewhere that differs between processes and between calls, and walk the 65535 numbers from there.
    const UINT nStart = static_cast<UINT>(std::time(nullptr)) ^ (static_cast<UINT>(getpid()) << 4) ^
                        static_cast<UINT>(clock());
    for (UINT i = 0; i < 0xFFFFu; ++i) {
        const UINT nNumber = (nStart + i) % 0xFFFFu + 1; // 1 .. 0xFFFF
        if (!BuildTempFileName(lpPathName, lpPrefixString, nNumber, lpTempFileName)) {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        const int fd = open(lpTempFileName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd >= 0) {
            close(fd);
            return nNumber;
        }
        if (errno != EEXIST) {
            FailWithErrno(errno);
            return 0;
        }
    }
    SetLastError(ERROR_FILE_EXISTS);
    return 0;
}

bool ListDirectory(const char *pszDir, const char *pszMask, std::vector<DirEntry> *pEntries) {
    pEntries->clear();
    DIR *pDir = opendir(pszDir);
    if (!pDir) return FailWithErrno(errno);
    const int fdDir = dirfd(pDir);
    while (const dirent *pEntry = readdir(pDir)) {
        const char *pszName = pEntry->d_name;
        if (std::strcmp(pszName, ".") == 0 || std::strcmp(pszName, "..") == 0) continue;
        if (fnmatch(pszMask, pszName, 0) != 0) continue;
        bool bDirectory = pEntry->d_type == DT_DIR;
        if (pEntry->d_type == DT_UNKNOWN || pEntry->d_type == DT_LNK) {
            struct stat st{};
            bDirectory = fstatat(fdDir, pszName, &st, 0) == 0 && S_ISDIR(st.st_mode);
        }
        pEntries->push_back(DirEntry{pszName, bDirectory});
    }
    closedir(pDir);
    std::sort(pEntries->begin(), pEntries->end(),
              [](const DirEntry &a, const DirEntry &b) { return a.strName < b.strName; });
    return true;
}

BOOL CopyFileA(const char *lpExistingFileName, const char *lpNewFileName, BOOL bFailIfExists) {
    const int fdIn = open(lpExistingFileName, O_RDONLY | O_CLOEXEC);
    if (fdIn < 0) return FailWithErrno(errno);
    struct stat st{};
    if (fstat(fdIn, &st) != 0 || S_ISDIR(st.st_mode)) {
        const int nErrno = S_ISDIR(st.st_mode) ? EISDIR : errno;
        close(fdIn);
        return FailWithErrno(nErrno);
    }
    // No O_TRUNC: a copy of a file onto itself must be refused before it empties the file.
    const int nFlags = O_WRONLY | O_CREAT | O_CLOEXEC | (bFailIfExists ? O_EXCL : 0);
    const int fdOut = open(lpNewFileName, nFlags, st.st_mode & 07777);
    if (fdOut < 0) {
        const int nErrno = errno;
        close(fdIn);
        return FailWithErrno(nErrno);
    }
    struct stat stOut{};
    if (fstat(fdOut, &stOut) != 0 || (stOut.st_dev == st.st_dev && stOut.st_ino == st.st_ino) ||
        ftruncate(fdOut, 0) != 0) {
        const bool bSame = stOut.st_dev == st.st_dev && stOut.st_ino == st.st_ino;
        const int nErrno = errno;
        close(fdOut);
        close(fdIn);
        if (bSame) {
            SetLastError(ERROR_SHARING_VIOLATION);
            return false;
        }
        return FailWithErrno(nErrno);
    }
    bool bOk = CopyContents(fdIn, fdOut) && fchmod(fdOut, st.st_mode & 07777) == 0;
    int nErrno = bOk ? 0 : errno;
    if (close(fdOut) != 0 && bOk) {
        bOk = false;
        nErrno = errno;
    }
    close(fdIn);
    if (bOk) return true;
    unlink(lpNewFileName);
    return FailWithErrno(nErrno);
}

BOOL DeleteFileA(const char *lpFileName) { return unlink(lpFileName) == 0 ? true : FailWithErrno(errno); }

BOOL CreateDirectoryA(const char *lpPathName) {
    return mkdir(lpPathName, 0700) == 0 ? true : FailWithErrno(errno);
}

BOOL RemoveDirectoryA(const char *lpPathName) { return rmdir(lpPathName) == 0 ? true : FailWithErrno(errno); }

void DeleteDirectoryFiles(const char *pszDir) {
    std::vector<DirEntry> entries;
    if (!ListDirectory(pszDir, "*", &entries)) return;
    for (const DirEntry &entry : entries)
        if (!entry.bDirectory) DeleteFileA((std::string(pszDir) + "/" + entry.strName).c_str());
}
