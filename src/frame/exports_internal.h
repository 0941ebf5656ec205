// What the export families share: the check of a library handle and the way from (pLib, nAPI) to the store.
#pragma once

#include <cstdint>

#include "compare/icompare.h"
#include "frame/tessel_record.h"
#include "log/log.h"

// The assertion every export makes on its handle: the failed condition is the label, and the number names the
// export, so that a log line tells which call got the null handle. Numbers by family, then by the export's place
// in the family as tessel.h lists it: 1xx library, 2xx OE*, 3xx WAB*, 4xx TS_*, 5xx Search_*, 6xx CmpMatrix_*,
// 7xx the others (OEInitialized, second of its family, is 202).
inline void TS_AssertHandle(const void *p, const char *pszCondition, int32_t nPlace) {
    g_Log.Assert(p != nullptr, pszCondition, nPlace);
}
inline void TS_AssertLib(const CTessel *pLib, int32_t nPlace) { TS_AssertHandle(pLib, "pLib != NULL", nPlace); }

// The initialized store of nAPI (API_OE or API_WAB) as ICompare, or null after an error line under pszFunc: for
// a null pLib, a store that is not initialized, or an unknown nAPI (an assertion with the number 3).
ICompare *_TS_GetCompare(CTessel *pLib, int32_t nAPI, const char *pszFunc);
