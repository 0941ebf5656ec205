#include "platform/filestream.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/time.h"

namespace {

class CFileStream final : public CRefCounted<IFileStream> {
public:
    CFileStream(int fd, std::string strPath, bool bWriter)
        : m_fd(fd), m_strPath(std::move(strPath)), m_bWriter(bWriter), m_bKeep(!bWriter) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IStream || riid == IID_IFileStream) {
            *ppv = static_cast<IFileStream *>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override {
        if (pcbRead) *pcbRead = 0;
        if (!pv && cb) return E_POINTER;
        ULONG cbDone = 0;
        while (cbDone < cb) {
            ssize_t n = pread(m_fd, static_cast<char *>(pv) + cbDone, cb - cbDone, m_nPos);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return HResultFromErrno(errno);
            if (n == 0) break;
            cbDone += static_cast<ULONG>(n);
            m_nPos += n;
        }
        if (pcbRead) *pcbRead = cbDone;
        return S_OK;
    }

    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override {
        if (pcbWritten) *pcbWritten = 0;
        if (!m_bWriter) return STG_E_ACCESSDENIED;
        if (!pv && cb) return E_POINTER;
        ULONG cbDone = 0;
        while (cbDone < cb) {
            ssize_t n = pwrite(m_fd, static_cast<const char *>(pv) + cbDone, cb - cbDone, m_nPos);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return HResultFromErrno(errno);
            cbDone += static_cast<ULONG>(n);
            m_nPos += n;
        }
        if (pcbWritten) *pcbWritten = cbDone;
        return S_OK;
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override {
        int64_t nBase = 0;
        if (dwOrigin == STREAM_SEEK_CUR) {
            nBase = m_nPos;
        } else if (dwOrigin == STREAM_SEEK_END) {
            struct stat st;
            if (fstat(m_fd, &st) != 0) return HResultFromErrno(errno);
            nBase = st.st_size;
        } else if (dwOrigin != STREAM_SEEK_SET) {
            return E_INVALIDARG;
        }
        int64_t nPos = nBase + dlibMove.QuadPart;
        if (nPos < 0) return E_INVALIDARG;
        m_nPos = nPos;
        if (plibNewPosition) plibNewPosition->QuadPart = static_cast<uint64_t>(nPos);
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
        if (!m_bWriter) return STG_E_ACCESSDENIED;
        if (ftruncate(m_fd, static_cast<off_t>(libNewSize.QuadPart)) != 0) return HResultFromErrno(errno);
        return S_OK;
    }

    HRESULT Commit(DWORD) override { return m_bWriter ? Sync() : S_OK; }

    HRESULT Stat(STATSTG *pstatstg, DWORD) override {
        if (!pstatstg) return E_POINTER;
        struct stat st;
        if (fstat(m_fd, &st) != 0) return HResultFromErrno(errno);
        *pstatstg = STATSTG{};
        pstatstg->type = 2; // STGTY_STREAM
        pstatstg->cbSize.QuadPart = static_cast<uint64_t>(st.st_size);
        pstatstg->mtime = FileTimeFromUnixSeconds(st.st_mtim.tv_sec);
        pstatstg->ctime = FileTimeFromUnixSeconds(st.st_ctim.tv_sec);
        pstatstg->atime = FileTimeFromUnixSeconds(st.st_atim.tv_sec);
        pstatstg->grfMode = m_bWriter ? 2 : 0; // STGM_READWRITE : STGM_READ
        return S_OK;
    }

    const char *GetPath() override { return m_strPath.c_str(); }

    HRESULT Sync() override {
        if (fsync(m_fd) != 0) return HResultFromErrno(errno);
        return S_OK;
    }

    void Keep() override { m_bKeep = true; }

protected:
    ~CFileStream() override {
        close(m_fd);
        if (!m_bKeep) unlink(m_strPath.c_str());
    }

private:
    int m_fd;
    std::string m_strPath;
    bool m_bWriter;
    bool m_bKeep;
    int64_t m_nPos = 0;
};

HRESULT MakeStream(const char *pszPath, int nFlags, bool bWriter, IStream **ppStream) {
    if (!ppStream) return E_POINTER;
    *ppStream = nullptr;
    if (!pszPath) return E_INVALIDARG;
    int fd;
    do {
        fd = open(pszPath, nFlags | O_CLOEXEC, 0600);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return HResultFromErrno(errno);
    *ppStream = new CFileStream(fd, pszPath, bWriter);
    return S_OK;
}

} // namespace

HRESULT CreateFileStreamForRead(const char *pszPath, IStream **ppStream) {
    return MakeStream(pszPath, O_RDONLY, false, ppStream);
}

HRESULT CreateFileStreamForWrite(const char *pszPath, IStream **ppStream) {
    return MakeStream(pszPath, O_RDWR | O_CREAT | O_EXCL, true, ppStream);
}
