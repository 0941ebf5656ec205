// Showing a message's source, and the look-up of the entry points by name.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/mimeole.h"
#include "providers/mime/gmimeutil.h"

namespace {

const char *Viewer() {
    const char *psz = std::getenv("TESSEL_VIEWER");
    return psz && *psz ? psz : nullptr;
}

HRESULT WriteAll(int fd, const std::string &str) {
    for (size_t nDone = 0; nDone < str.size();) {
        ssize_t n = write(fd, str.data() + nDone, str.size() - nDone);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return STG_E_WRITEFAULT;
        nDone += static_cast<size_t>(n);
    }
    return S_OK;
}

// Runs the viewer command through the shell with the file as its one argument, and waits for it.
HRESULT RunViewer(const char *pszViewer, const char *pszPath) {
    std::string strCommand = std::string(pszViewer) + " \"$1\"";
    pid_t pid = fork();
    if (pid < 0) return E_FAIL;
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", strCommand.c_str(), "sh", pszPath, static_cast<char *>(nullptr));
        _exit(127);
    }
    int nStatus = 0;
    while (waitpid(pid, &nStatus, 0) < 0)
        if (errno != EINTR) return E_FAIL;
    return WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0 ? S_OK : E_FAIL;
}

} // namespace

HRESULT MimeEditViewSource(HWND, IMimeMessage *pMessage) {
    const char *pszViewer = Viewer();
    if (!pszViewer) return MIME_E_NO_VIEWER;
    if (!pMessage) return E_INVALIDARG;

    IStream *pStream = nullptr;
    HRESULT hr = pMessage->GetMessageSource(&pStream, 0);
    if (FAILED(hr)) return hr;
    std::string strSource;
    hr = MimeReadStream(pStream, strSource);
    pStream->Release();
    if (FAILED(hr)) return hr;

    const char *pszTmp = std::getenv("TMPDIR");
    std::string strPath = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/tessel-source-XXXXXX.eml";
    int fd = mkstemps(strPath.data(), 4);
    if (fd < 0) return STG_E_WRITEFAULT;
    hr = WriteAll(fd, strSource);
    close(fd);
    if (SUCCEEDED(hr)) hr = RunViewer(pszViewer, strPath.c_str());
    unlink(strPath.c_str());
    return hr;
}

void *MimeOleGetProcAddress(LPCSTR pszName) {
    if (!pszName) return nullptr;
    if (std::strcmp(pszName, "MimeOleInetDateToFileTime") == 0)
        return reinterpret_cast<void *>(static_cast<PFNMIMEOLEINETDATETOFILETIME>(&MimeOleInetDateToFileTime));
    if (std::strcmp(pszName, "MimeEditViewSource") == 0 && Viewer())
        return reinterpret_cast<void *>(static_cast<PFNMIMEEDITVIEWSOURCE>(&MimeEditViewSource));
    return nullptr;
}
