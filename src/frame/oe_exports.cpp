#include "frame/exports_internal.h"

extern "C" int32_t OEInitialized(CTessel *pLib) {
    TS_ASSERT_LIB(pLib);
    return pLib && pLib->oe.m_Lib.Initialized();
}

extern "C" void OEDone(CTessel *pLib) {
    g_Log.Info(3, "OEDone", "->");
    TS_ASSERT_LIB(pLib);
    if (pLib) pLib->oe.m_Lib.Done();
}
