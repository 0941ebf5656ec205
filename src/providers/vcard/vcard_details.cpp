// Runs the viewer on a card: a vdir card's own file, or for a card of a .vcf book a temporary file holding just
// that card (the viewer should show one contact, not the whole book).
#include "providers/vcard/vcard_details.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "log/log.h"

extern char **environ;

namespace vcard {

namespace {

HRESULT RunViewer(const char *pszViewer, const std::string &sFile) {
    // The variable may hold a command with arguments: the shell splits it, the file comes last as "$1".
    std::string sScript = std::string(pszViewer) + " \"$1\"";
    const char *argv[] = {"sh", "-c", sScript.c_str(), "sh", sFile.c_str(), nullptr};
    pid_t pid;
    int nErr = posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char *const *>(argv), environ);
    if (nErr != 0) {
        g_Log.Error("vcard::ShowDetails", HResultFromErrno(nErr), "Cant run %s", pszViewer);
        return MAPI_E_CALL_FAILED;
    }
    int nStatus = 0;
    while (waitpid(pid, &nStatus, 0) < 0)
        if (errno != EINTR) return MAPI_E_CALL_FAILED;
    if (!WIFEXITED(nStatus) || WEXITSTATUS(nStatus) != 0) {
        g_Log.Error("vcard::ShowDetails", MAPI_E_CALL_FAILED, "Viewer %s failed on %s", pszViewer, sFile.c_str());
        return MAPI_E_CALL_FAILED;
    }
    return S_OK;
}

} // namespace

HRESULT ShowDetails(CBook &book, std::string_view sEntryId) {
    const char *pszViewer = std::getenv("TESSEL_VIEWER");
    if (!pszViewer || !*pszViewer) return MAPI_E_NO_SUPPORT;
    CardPos pos;
    if (!book.FindCard(sEntryId, &pos)) return MAPI_E_NOT_FOUND;
    if (book.IsDirectory()) return RunViewer(pszViewer, book.FileAt(pos).path.string());
    const char *pszTmp = std::getenv("TMPDIR");
    std::string sTemplate = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/tessel-card-XXXXXX.vcf";
    int fd = mkstemps(sTemplate.data(), 4);
    if (fd < 0) {
        g_Log.Error("vcard::ShowDetails", HResultFromErrno(errno), "Cant create %s", sTemplate.c_str());
        return MAPI_E_CALL_FAILED;
    }
    std::string sText = WriteCard(book.CardAt(pos));
    bool bOk = write(fd, sText.data(), sText.size()) == static_cast<ssize_t>(sText.size());
    close(fd);
    HRESULT hr = bOk ? RunViewer(pszViewer, sTemplate) : MAPI_E_CALL_FAILED;
    unlink(sTemplate.c_str());
    return hr;
}

} // namespace vcard
