// SearchItem: what the duplicate search and the comparison matrix keep of one item of a store.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "compare/icompare.h"

struct SearchItem {
    std::string ItemID;   // the item's entry as the caller gave it
    std::string FolderID; // the entry of the folder that holds it, as the caller gave it
    int32_t nIndex = 0;   // order of arrival (search) or row number (matrix), from 0
    int32_t nPriority = 0;
    int32_t nFilledProps = -1;                // non-empty properties; -1 until computed
    std::unique_ptr<ULONG[]> pValuesSizes;    // size of each compared property; only when ranking by sizes
    int32_t nMessageSize = -1;                // the item's size as the store reports it; -1 until computed
    int32_t nHasFieldValue = -1;              // 1 holds the wanted field value, 0 not, -1 not computed
    SPropValue *lpValues = nullptr;           // plain values, owned by the store adaptor: see FreeSearchItem
    ULONG cValues = 0;
    int32_t nBuildIndex = 0;                  // rank at the latest build of the search
};

// Gives the item's values back to the adaptor that read them, then frees the record.
inline void FreeSearchItem(ICompare *pCompare, SearchItem *pItem)
{
    if (!pItem)
        return;
    if (pItem->lpValues && pCompare)
        pCompare->FreeItemProps(pItem->lpValues);
    delete pItem;
}
