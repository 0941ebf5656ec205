#include "frame/exports_internal.h"

extern "C" int32_t WABInitialized(CTessel *pLib) {
    TS_AssertLib(pLib, 302);
    return pLib && pLib->wab.m_Lib.Initialized();
}

extern "C" void WABDone(CTessel *pLib) {
    g_Log.Info(3, "WABDone", "->");
    TS_AssertLib(pLib, 311);
    if (pLib) pLib->wab.m_Lib.Done();
}
