// SearchItem: what the duplicate search and the comparison matrix keep of one item of a store.
#pragma once

#include <cstdint>

#include "compare/icompare.h"

// Kept once per item for a whole scan, so its texts are not its own: they belong to whoever made the item (the
// search or the matrix), which keeps them in place for as long as the item lives. What only some items need (the
// search's ranking numbers) is kept by the search beside the item, so the record stays small.
struct SearchItem {
    const char *ItemID = "";                  // the item's entry as the caller gave it
    const char *FolderID = "";                // the entry of the folder that holds it, as the caller gave it
    SPropValue *lpValues = nullptr;           // plain values, owned by the store adaptor: see ReleaseItemValues
    ULONG cValues = 0;
    int32_t nIndex = 0;                       // order of arrival (search) or row number (matrix), from 0
    static constexpr uint32_t kNoSignature = UINT32_MAX;
    uint32_t nEmptySignature = kNoSignature;  // the search's number for where the item is empty (emptysignatures.h)
    static constexpr uint32_t kNoRank = UINT32_MAX;
    uint32_t nRank = kNoRank;                 // the search's record of its ranking numbers, if it has one
};

// Gives the item's values back to the adaptor that read them.
inline void ReleaseItemValues(ICompare *pCompare, SearchItem *pItem)
{
    if (pItem->lpValues && pCompare)
        pCompare->FreeItemProps(pItem->lpValues);
    pItem->lpValues = nullptr;
    pItem->cValues = 0;
}

// For an item made with new: gives its values back, then frees the record.
inline void FreeSearchItem(ICompare *pCompare, SearchItem *pItem)
{
    if (!pItem)
        return;
    ReleaseItemValues(pCompare, pItem);
    delete pItem;
}
