// ItemRank: an item's equal items and what the original definition ranks it by. Only items with an equal item
// are ranked, and few items have one, so the search keeps this beside the items that need it rather than in every
// item.
#pragma once

#include <cstdint>
#include <memory>

#include "compare/icompare.h"
#include "search/equalityitems.h"
#include "search/searchitem.h"

struct ItemRank {
    std::unique_ptr<ULONG[]> pValuesSizes; // size of each compared property; only when ranking by sizes
    int32_t nPriority = 0;                 // the caller's; lower is the better original whatever the definition
    int32_t nFilledProps = -1;             // non-empty properties; -1 until computed
    int32_t nMessageSize = -1;             // the item's size as the store reports it; -1 until computed
    int32_t nHasFieldValue = -1;           // 1 holds the wanted field value, 0 not, -1 not computed
    int32_t nBuildIndex = 0;               // rank at the latest build of the search
    CEqualItems<SearchItem *> Equals;      // the items equal to this one, ordered by address; mostly one
};
