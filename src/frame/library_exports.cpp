#include <new>

#include "frame/exports_internal.h"

extern "C" void CreateTessel(CTessel **ppLib) {
    if (ppLib) *ppLib = new (std::nothrow) CTessel;
}

extern "C" void DeleteTessel(CTessel *pLib) {
    if (!pLib) return;
    WABDone(pLib);
    OEDone(pLib);
    delete pLib;
}

extern "C" void ConfigLog(const char *pszErrorLog, const char *pszLog, int32_t bDebugOutput, int32_t nLevel) {
    g_Log.InitLog(pszErrorLog, pszLog, bDebugOutput != 0, nLevel);
}
