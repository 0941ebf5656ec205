#include "providers/maildir/fileops.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int OpenRetrying(const char *pszPath, int nFlags, mode_t mode = 0600) {
    int fd;
    do {
        fd = open(pszPath, nFlags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

HRESULT ReadFd(int fd, std::string &strText) {
    strText.clear();
    char buf[65536];
    for (off_t nPos = 0;;) {
        ssize_t n = pread(fd, buf, sizeof(buf), nPos);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return HResultFromErrno(errno);
        if (n == 0) return S_OK;
        strText.append(buf, static_cast<size_t>(n));
        nPos += n;
    }
}

HRESULT WriteAll(int fd, const std::string &strText) {
    size_t nDone = 0;
    while (nDone < strText.size()) {
        ssize_t n = write(fd, strText.data() + nDone, strText.size() - nDone);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return HResultFromErrno(errno);
        nDone += static_cast<size_t>(n);
    }
    return S_OK;
}

std::string DirectoryOf(const std::string &strPath) {
    size_t n = strPath.rfind('/');
    return n == std::string::npos ? std::string(".") : n == 0 ? std::string("/") : strPath.substr(0, n);
}

} // namespace

HRESULT ReadWholeFile(const std::string &strPath, std::string &strText) {
    int fd = OpenRetrying(strPath.c_str(), O_RDONLY);
    if (fd < 0) return errno == ENOENT ? STG_E_FILENOTFOUND : HResultFromErrno(errno);
    HRESULT hr = ReadFd(fd, strText);
    close(fd);
    return hr;
}

HRESULT ReplaceFileAtomically(const std::string &strPath, const std::string &strText) {
    std::string strTemp = strPath + ".tmp." + std::to_string(getpid());
    int fd = OpenRetrying(strTemp.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
    if (fd < 0) return HResultFromErrno(errno);
    HRESULT hr = WriteAll(fd, strText);
    if (SUCCEEDED(hr) && fsync(fd) != 0) hr = HResultFromErrno(errno);
    if (close(fd) != 0 && SUCCEEDED(hr)) hr = HResultFromErrno(errno);
    if (SUCCEEDED(hr) && rename(strTemp.c_str(), strPath.c_str()) != 0) hr = HResultFromErrno(errno);
    if (FAILED(hr)) {
        unlink(strTemp.c_str());
        return hr;
    }
    return SyncDirectory(DirectoryOf(strPath));
}

HRESULT RenameNoReplace(const std::string &strFrom, const std::string &strTo) {
    if (renameat2(AT_FDCWD, strFrom.c_str(), AT_FDCWD, strTo.c_str(), RENAME_NOREPLACE) == 0) return S_OK;
    if (errno == EEXIST) return STG_E_FILEALREADYEXISTS;
    if (errno != EINVAL && errno != ENOSYS) return HResultFromErrno(errno);
    // A file system without RENAME_NOREPLACE: a hard link refuses to overwrite, and the unlink that follows
    // leaves the file in one place.
    if (link(strFrom.c_str(), strTo.c_str()) != 0) return errno == EEXIST ? STG_E_FILEALREADYEXISTS : HResultFromErrno(errno);
    if (unlink(strFrom.c_str()) != 0) return HResultFromErrno(errno);
    return S_OK;
}

HRESULT SyncDirectory(const std::string &strDir) {
    int fd = OpenRetrying(strDir.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd < 0) return HResultFromErrno(errno);
    HRESULT hr = fsync(fd) == 0 || errno == EINVAL ? S_OK : HResultFromErrno(errno);
    close(fd);
    return hr;
}

HRESULT MakeDirectory(const std::string &strDir) {
    if (mkdir(strDir.c_str(), 0700) == 0 || (errno == EEXIST && IsDirectory(strDir))) return S_OK;
    return HResultFromErrno(errno);
}

bool IsDirectory(const std::string &strPath) {
    struct stat st;
    return stat(strPath.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

CFileLock::~CFileLock() {
    if (m_fd >= 0) close(m_fd); // closing the descriptor drops the flock
}

HRESULT CFileLock::Lock(const std::string &strPath) {
    for (;;) {
        int fd = OpenRetrying(strPath.c_str(), O_RDWR | O_CREAT);
        if (fd < 0) return HResultFromErrno(errno);
        int r;
        do {
            r = flock(fd, LOCK_EX);
        } while (r != 0 && errno == EINTR);
        if (r != 0) {
            HRESULT hr = HResultFromErrno(errno);
            close(fd);
            return hr;
        }
        struct stat stLocked, stNow;
        if (fstat(fd, &stLocked) == 0 && stat(strPath.c_str(), &stNow) == 0 && stLocked.st_ino == stNow.st_ino &&
            stLocked.st_dev == stNow.st_dev) {
            if (m_fd >= 0) close(m_fd);
            m_fd = fd;
            return S_OK;
        }
        close(fd); // replaced while we waited: lock the new file
    }
}

HRESULT CFileLock::Read(std::string &strText) const {
    if (m_fd < 0) return E_FAIL;
    return ReadFd(m_fd, strText);
}

void ReadAhead(const std::string &strPath) {
    int fd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME);
    if (fd < 0 && errno == EPERM) fd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC); // O_NOATIME needs the owner
    if (fd < 0) return;
    posix_fadvise(fd, 0, 0, POSIX_FADV_WILLNEED);
    close(fd);
}
