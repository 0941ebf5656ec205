// POSIX file access for the book.
#include "providers/vcard/vcard_fileio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "log/log.h"

namespace vcard {

namespace {

FileStamp StampFromStat(const struct stat &st) {
    FileStamp s;
    s.bExists = true;
    s.nSize = st.st_size;
    s.nMtime = static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec;
    return s;
}

void SyncDirectory(const std::filesystem::path &dir) {
    int fd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

FileStamp StampOf(const std::filesystem::path &path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) return FileStamp();
    return StampFromStat(st);
}

bool ReadWholeFile(const std::filesystem::path &path, std::string *pText, FileStamp *pStamp) {
    for (int nTry = 0; nTry < 5; ++nTry) {
        int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            *pStamp = FileStamp();
            return false;
        }
        struct stat before;
        if (::fstat(fd, &before) != 0) {
            ::close(fd);
            *pStamp = FileStamp();
            return false;
        }
        pText->clear();
        char buf[65536];
        ssize_t n;
        bool bOk = true;
        while ((n = ::read(fd, buf, sizeof buf)) != 0) {
            if (n < 0) {
                if (errno == EINTR) continue;
                bOk = false;
                break;
            }
            pText->append(buf, static_cast<size_t>(n));
        }
        ::close(fd);
        *pStamp = StampFromStat(before);
        if (!bOk) return false;
        // A writer that replaces the file renames a new one into place; ours stays whole. One that writes in place
        // shows as a changed stamp: read again.
        if (StampOf(path) == *pStamp) return true;
    }
    return true;
}

HRESULT ReplaceFile(const std::filesystem::path &path, const std::string &sText) {
    std::filesystem::path dir = path.parent_path();
    std::filesystem::path tmp = dir / ("." + path.filename().string() + ".tessel-" + std::to_string(::getpid()) + ".tmp");
    mode_t mode = 0644;
    struct stat st;
    if (::stat(path.c_str(), &st) == 0) mode = st.st_mode & 07777;
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0) {
        HRESULT hr = HResultFromErrno(errno);
        g_Log.Error("vcard::ReplaceFile", hr, "Cant create %s", tmp.c_str());
        return hr;
    }
    size_t nDone = 0;
    int nErr = 0;
    while (nDone < sText.size()) {
        ssize_t n = ::write(fd, sText.data() + nDone, sText.size() - nDone);
        if (n < 0) {
            if (errno == EINTR) continue;
            nErr = errno;
            break;
        }
        nDone += static_cast<size_t>(n);
    }
    if (!nErr && ::fsync(fd) != 0) nErr = errno;
    if (::close(fd) != 0 && !nErr) nErr = errno;
    if (!nErr && ::rename(tmp.c_str(), path.c_str()) != 0) nErr = errno;
    if (nErr) {
        ::unlink(tmp.c_str());
        HRESULT hr = HResultFromErrno(nErr);
        g_Log.Error("vcard::ReplaceFile", hr, "Cant write %s", path.c_str());
        return hr;
    }
    SyncDirectory(dir);
    return S_OK;
}

HRESULT RemoveFile(const std::filesystem::path &path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        HRESULT hr = HResultFromErrno(errno);
        g_Log.Error("vcard::RemoveFile", hr, "Cant remove %s", path.c_str());
        return hr;
    }
    SyncDirectory(path.parent_path());
    return S_OK;
}

} // namespace vcard
