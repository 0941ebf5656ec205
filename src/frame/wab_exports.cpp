#include "frame/exports_internal.h"

extern "C" int32_t WABInitialized(CTessel *pLib) {
    TS_ASSERT_LIB(pLib);
    return pLib && pLib->wab.m_Lib.Initialized();
}

extern "C" void WABDone(CTessel *pLib) {
    g_Log.Info(3, "WABDone", "->");
    TS_ASSERT_LIB(pLib);
    if (pLib) pLib->wab.m_Lib.Done();
}
