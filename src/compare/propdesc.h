// Deep copies of the caller's property descriptors and the counted tag lists built from them. The search and the
// matrix both keep their own copies, so that the caller's records may go away after creation.
#pragma once

#include "platform/mapi.h"

// Copies all ten fields to *pDst and gives the copy its own Key, Name, GUID and sID; a null string stays null.
void CopyPropDesc(const PropDesc &src, PropDesc *pDst);
// Frees the four strings of a copy made by CopyPropDesc and nulls them.
void FreePropDescStrings(PropDesc *pDesc);

// A tag list with room for nRoom tags (at least one) and count 0; give it back with FreeTagArray.
SPropTagArray *NewTagArray(ULONG nRoom);
void FreeTagArray(SPropTagArray *lpTags);
