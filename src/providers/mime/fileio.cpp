#include "providers/mime/fileio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

HRESULT ResultOfErrno(int nErrno) {
    switch (nErrno) {
    case ENOENT: return STG_E_FILENOTFOUND;
    case ENOTDIR: return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM: return STG_E_ACCESSDENIED;
    case ENOMEM: return E_OUTOFMEMORY;
    default: return STG_E_READFAULT;
    }
}

} // namespace

HRESULT MimeReadFile(const char *pszPath, std::string &strOut) {
    strOut.clear();
    if (!pszPath || !*pszPath) return E_INVALIDARG;
    int fd = open(pszPath, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return ResultOfErrno(errno);
    HRESULT hr = S_OK;
    struct stat st {};
    if (fstat(fd, &st) != 0) {
        hr = ResultOfErrno(errno);
    } else if (S_ISDIR(st.st_mode)) {
        hr = STG_E_ACCESSDENIED;
    } else {
        // Sized by fstat, but read to the end: the file may grow or shrink meanwhile.
        size_t cbChunk = st.st_size > 0 ? static_cast<size_t>(st.st_size) + 1 : 65536;
        for (;;) {
            size_t nOld = strOut.size();
            strOut.resize(nOld + cbChunk);
            ssize_t n = read(fd, strOut.data() + nOld, cbChunk);
            if (n < 0 && errno == EINTR) {
                strOut.resize(nOld);
                continue;
            }
            strOut.resize(nOld + (n > 0 ? static_cast<size_t>(n) : 0));
            if (n < 0) hr = ResultOfErrno(errno);
            // A regular file reads short only at its end: no second read to learn that.
            if (n <= 0 || (S_ISREG(st.st_mode) && static_cast<size_t>(n) < cbChunk)) break;
            cbChunk = 65536;
        }
    }
    close(fd);
    if (FAILED(hr)) strOut.clear();
    return hr;
}
