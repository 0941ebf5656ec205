// The guard of the store routines that reach the store root. The exports refuse a store that is not connected
// before any of them runs; this keeps a late caller (a search or an open item used after Done) from reaching
// through a null root.
#pragma once

#include "log/log.h"
#include "platform/msgstore.h"

// True with a store root; else an error line under pszLabel, and the caller gives -1.
inline bool OEConnected(const IStoreNamespace *pNamespace, const char *pszLabel) {
    if (pNamespace) return true;
    g_Log.Error(pszLabel, 0, "OE is not initialized");
    return false;
}
