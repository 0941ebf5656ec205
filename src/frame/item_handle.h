// The item handle the TS_ exports hand out. It wraps the store's own open item with the record and the API it was
// opened for, so that a handle given back with the other nAPI, or to another library record, is refused with a
// log line instead of being taken apart as the wrong kind of object. The caller sees only an opaque pointer.
#pragma once

#include <cstdint>

#include "compare/icompare.h"
#include "tessel.h"

// A new handle for hItem, opened through pLib for nAPI; null if memory runs out.
TS_HITEM TS_WrapItem(const CTessel *pLib, int32_t nAPI, HITEM hItem);

// The store's open item behind h, or null after an error line under pszLabel: h null ("hItem != NULL"
// assertion), not a live handle of this library, or opened for another record or another nAPI.
HITEM TS_UnwrapItem(TS_HITEM h, const CTessel *pLib, int32_t nAPI, const char *pszLabel, int32_t nPlace);

// Frees the wrapper (not the store's item); the handle is dead afterwards.
void TS_FreeItemWrapper(TS_HITEM h);
