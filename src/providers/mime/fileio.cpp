#include "providers/mime/fileio.h"

#include <cerrno>
#include <cstdio>
#include <memory>


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

struct FileCloser {
    void operator()(FILE *p) const { std::fclose(p); }
};

} // namespace

HRESULT MimeReadFile(const char *pszPath, std::string &strOut) {
    strOut.clear();
    if (!pszPath || !*pszPath) return E_INVALIDARG;
    std::unique_ptr<FILE, FileCloser> pFile(std::fopen(pszPath, "rb"));
    if (!pFile) return ResultOfErrno(errno);
    char buffer[65536];
    for (;;) {
        size_t n = std::fread(buffer, 1, sizeof(buffer), pFile.get());
        strOut.append(buffer, n);
        if (n < sizeof(buffer)) break;
    }
    // A directory opens but doesn't read.
    return std::ferror(pFile.get()) ? ResultOfErrno(errno) : S_OK;
}
