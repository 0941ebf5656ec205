// SYSTEMTIME to FILETIME for the exports' date filters and date properties, with the shift from local time on
// request. FileTime2SystemTime, the other way, is an export (tessel.h).
#pragma once

#include <cstdint>

#include "tessel.h"

// False after an error line under "SystemTime2FileTime" if the time does not convert; *pnError (if given) gets
// the platform's error. When only the local shift fails, *pFileTime holds the unshifted value.
bool SystemTime2FileTime(const SYSTEMTIME *pSystemTime, FILETIME *pFileTime, bool bFromLocal, int32_t *pnError);
