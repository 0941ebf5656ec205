// The value arrays that COELib hands out for messages and attachments.
//
// Read into: one zeroed heap block of SPropValues with one hidden element in front, whose first word holds the
// number of values; the caller sees the element behind it. Texts and binary buffers inside the values are heap
// blocks of their own, owned by the array. Attachments are handed out so.
//
// Packed (message values, which a scan keeps for every message): one block cut from the connection's chunks
// (oestore/oevaluechunks.h), the values first and their texts and buffers behind them; the first value's padding
// word holds the number of values. A text that many messages hold alike may instead be a shared one
// (oestore/oesharedtexts.h). Freed by OEFreePackedValues alone.
#pragma once

#include "oestore/oevaluechunks.h"
#include "platform/mapi.h"

// A zeroed array of cValues values with its count in front; null if memory runs out.
SPropValue *OEAllocValueArray(ULONG cValues);

// Frees the texts and buffers of the values and then the block from its true start; null is ignored. A value
// whose whole tag is ulNoPointerTag holds no pointer whatever its type says (0: none such). A type that holds
// nothing the array knows logs the error "Unsupported prop type" under szLabel and is skipped.
void OEFreeValueArray(SPropValue *lpProps, const char *szLabel, ULONG ulNoPointerTag);

// Turns a value into an error value: the tag's id with PT_ERROR, the code in err.
void OESetErrorValue(SPropValue *pValue, HRESULT hr);

// Moves the values of an array of OEAllocValueArray into one packed block from chunks and frees the array
// (szLabel as for OEFreeValueArray). The texts of the values whose tags fnShared names are shared ones where
// memory allows. Null if memory runs out; the array is freed then too.
SPropValue *OEPackValueArray(SPropValue *lpProps, const char *szLabel, COEValueChunks &chunks,
                             bool (*fnShared)(ULONG ulTag));

// Frees a block of OEPackValueArray and lets go of its shared texts; null is ignored. chunks: those it was packed
// into, which then take its room back if it was the last block (null: the block is freed alone).
void OEFreePackedValues(SPropValue *lpProps, COEValueChunks *pChunks);
