#include "providers/mime/fileio.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "providers/mime/headersplice.h"

namespace {

// Header blocks mostly fit the first read; the floor of a header scan reads this much too.
constexpr size_t kHeadChunk = 4096;
// Reads of the rest of a file: a whole message of common size in one read, plus the one that finds the end.
constexpr size_t kWholeChunk = 65536;

HRESULT ResultOfErrno(int nErrno) {
    switch (nErrno) {
    case ENOENT: return STG_E_FILENOTFOUND;
    case ENOTDIR: return STG_E_PATHNOTFOUND;
    case EISDIR:
    case EACCES:
    case EPERM: return STG_E_ACCESSDENIED;
    case ENOMEM: return E_OUTOFMEMORY;
    default: return STG_E_READFAULT;
    }
}

// Reads up to cbChunk (at most kWholeChunk) more bytes onto strOut: how many came (0 at the end), or -1 with errno.
// Through a buffer of this thread, so that strOut grows by what came rather than by a zero-filled chunk.
ssize_t ReadChunk(int fd, std::string &strOut, size_t cbChunk) {
    static thread_local char s_buf[kWholeChunk];
    ssize_t n;
    do {
        n = read(fd, s_buf, cbChunk);
    } while (n < 0 && errno == EINTR);
    if (n > 0) strOut.append(s_buf, static_cast<size_t>(n));
    return n;
}

// Reads fd onto strOut in chunks until fnDone holds or the file ends (*pbEnd). No fstat to size the buffer: a
// message file is read once, and the growing buffer costs less than the call.
template <typename FnDone>
HRESULT ReadUntil(const char *pszPath, std::string &strOut, size_t cbChunk, bool *pbEnd, FnDone fnDone) {
    strOut.clear();
    *pbEnd = false;
    if (!pszPath || !*pszPath) return E_INVALIDARG;
    int fd;
    do {
        fd = open(pszPath, O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return ResultOfErrno(errno);
    HRESULT hr = S_OK;
    for (;;) {
        ssize_t n = ReadChunk(fd, strOut, cbChunk);
        if (n < 0) hr = ResultOfErrno(errno);
        if (n <= 0) {
            *pbEnd = n == 0;
            break;
        }
        if (fnDone()) break;
    }
    close(fd);
    if (FAILED(hr)) strOut.clear();
    return hr;
}

} // namespace

HRESULT MimeReadFile(const char *pszPath, std::string &strOut) {
    bool bEnd = false;
    return ReadUntil(pszPath, strOut, kWholeChunk, &bEnd, [] { return false; });
}

HRESULT MimeReadFileHead(const char *pszPath, std::string &strOut, bool *pbWhole) {
    size_t nLooked = 0; // the block's end lies at or past this much of strOut
    HRESULT hr = ReadUntil(pszPath, strOut, kHeadChunk, pbWhole, [&] {
        bool bFound = MimeFindHeaderBlockEnd(strOut, nLooked) != std::string::npos;
        nLooked = strOut.size();
        return bFound;
    });
    return hr;
}
