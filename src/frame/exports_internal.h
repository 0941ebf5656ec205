// What the export families share: the check of a library handle and the way from (pLib, nAPI) to the store.
#pragma once

#include <cstdint>

#include "compare/icompare.h"
#include "frame/tessel_record.h"
#include "log/log.h"

// The assertion every export makes on its handle: the failed condition is the label, the line the place.
#define TS_ASSERT_HANDLE(p, pszCondition) g_Log.Assert((p) != nullptr, pszCondition, __LINE__)
#define TS_ASSERT_LIB(pLib) TS_ASSERT_HANDLE(pLib, "pLib != NULL")

// The initialized store of nAPI (API_OE or API_WAB) as ICompare, or null after an error line under pszFunc: for
// a null pLib, a store that is not initialized, or an unknown nAPI (an assertion with the number 3).
ICompare *_TS_GetCompare(CTessel *pLib, int32_t nAPI, const char *pszFunc);
