#include "frame/exports_internal.h"

extern "C" int32_t OEInitialized(CTessel *pLib) {
    TS_AssertLib(pLib, 202);
    return pLib && pLib->oe.m_Lib.Initialized();
}

extern "C" void OEDone(CTessel *pLib) {
    g_Log.Info(3, "OEDone", "->");
    TS_AssertLib(pLib, 210);
    if (pLib) pLib->oe.m_Lib.Done();
}
