// Counted tag lists that the library builds for itself, freed on their own when their owner goes.
#pragma once

#include <memory>

#include "platform/mapi.h"

struct CTagListFree {
    void operator()(SPropTagArray *lpTags) const;
};
using TagListPtr = std::unique_ptr<SPropTagArray, CTagListFree>;

// An empty list (count 0) with room for nRoom tags, at least one.
TagListPtr NewTagList(ULONG nRoom);
// A list holding a copy of the given tags.
TagListPtr CopyTagList(const ULONG *pTags, ULONG cTags);
