// Deep copies of the caller's property descriptors: the search and the matrix keep their own, so the caller's
// list may go away after creation.
#pragma once

#include "tessel.h"

// Copies every field of source into *pTarget and gives the copy its own Key, Name, GUID and sID (null stays null).
void CopyPropDesc(PropDesc *pTarget, const PropDesc &source);

// Frees the four strings of a copy made by CopyPropDesc and nulls them.
void FreePropDescStrings(PropDesc *pDesc);
