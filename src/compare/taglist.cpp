#include "compare/taglist.h"

#include <algorithm>
#include <new>

void CTagListFree::operator()(SPropTagArray *lpTags) const { ::operator delete(lpTags); }

TagListPtr NewTagList(ULONG nRoom) {
    TagListPtr lpTags(static_cast<SPropTagArray *>(::operator new(CbNewSPropTagArray(nRoom))));
    lpTags->cValues = 0;
    return lpTags;
}

TagListPtr CopyTagList(const ULONG *pTags, ULONG cTags) {
    TagListPtr lpTags = NewTagList(cTags);
    std::copy(pTags, pTags + cTags, lpTags->aulPropTag);
    lpTags->cValues = cTags;
    return lpTags;
}
