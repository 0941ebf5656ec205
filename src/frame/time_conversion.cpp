#include "frame/time_conversion.h"

#include "log/log.h"
#include "platform/errors.h"
#include "platform/time.h"

namespace {

// Logs the failed step with the thread's last error and hands that error out.
bool Failed(const char *pszLabel, const char *pszStep, int32_t *pnError) {
    const int32_t nError = static_cast<int32_t>(GetLastError());
    g_Log.Error(pszLabel, nError, pszStep);
    if (pnError) *pnError = nError;
    return false;
}

} // namespace

extern "C" int32_t FileTime2SystemTime(const FILETIME *pFileTime, SYSTEMTIME *pSystemTime, int32_t bToLocal,
                                       int32_t *pnError) {
    FILETIME ftLocal{};
    if (bToLocal) {
        if (!FileTimeToLocalFileTime(pFileTime, &ftLocal))
            return Failed("FileTime2SystemTime", "FileTimeToLocalFileTime", pnError);
        pFileTime = &ftLocal;
    }
    if (!FileTimeToSystemTime(pFileTime, pSystemTime))
        return Failed("FileTime2SystemTime", "FileTimeToSystemTime", pnError);
    return true;
}

bool SystemTime2FileTime(const SYSTEMTIME *pSystemTime, FILETIME *pFileTime, bool bFromLocal, int32_t *pnError) {
    if (!SystemTimeToFileTime(pSystemTime, pFileTime))
        return Failed("SystemTime2FileTime", "SystemTimeToFileTime", pnError);
    if (!bFromLocal) return true;
    FILETIME ftUniversal{};
    if (!LocalFileTimeToFileTime(pFileTime, &ftUniversal))
        return Failed("SystemTime2FileTime", "LocalFileTimeToFileTime", pnError);
    *pFileTime = ftUniversal;
    return true;
}
