#include "frame/exports_internal.h"

ICompare *_TS_GetCompare(CTessel *pLib, int32_t nAPI, const char *pszFunc) {
    if (!pLib) {
        g_Log.Error(pszFunc, 0, "pLib == NULL");
        return nullptr;
    }
    switch (nAPI) {
    case API_OE:
        if (pLib->oe.m_Lib.Initialized()) return &pLib->oe;
        g_Log.Error(pszFunc, 0, "OE is not initialized");
        return nullptr;
    case API_WAB:
        if (pLib->wab.m_Lib.Initialized()) return &pLib->wab;
        g_Log.Error(pszFunc, 0, "WAB is not initialized");
        return nullptr;
    default:
        g_Log.Assert(false, pszFunc, 3);
        return nullptr;
    }
}
