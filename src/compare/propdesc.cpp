#include "compare/propdesc.h"

#include <cstdlib>
#include <new>

namespace {

template <class Char>
const Char *CopyText(const Char *psz) {
    if (psz == nullptr) return nullptr;
    size_t n = 0;
    while (psz[n] != 0) ++n;
    Char *pCopy = new Char[n + 1];
    for (size_t i = 0; i <= n; ++i) pCopy[i] = psz[i];
    return pCopy;
}

template <class Char>
void FreeText(const Char *&psz) {
    delete[] psz;
    psz = nullptr;
}

} // namespace

void CopyPropDesc(const PropDesc &src, PropDesc *pDst) {
    *pDst = src;
    pDst->Key = CopyText(src.Key);
    pDst->Name = CopyText(src.Name);
    pDst->GUID = CopyText(src.GUID);
    pDst->sID = CopyText(src.sID);
}

void FreePropDescStrings(PropDesc *pDesc) {
    FreeText(pDesc->Key);
    FreeText(pDesc->Name);
    FreeText(pDesc->GUID);
    FreeText(pDesc->sID);
}

SPropTagArray *NewTagArray(ULONG nRoom) {
    void *pMemory = ::operator new(CbNewSPropTagArray(nRoom));
    SPropTagArray *lpTags = static_cast<SPropTagArray *>(pMemory);
    lpTags->cValues = 0;
    return lpTags;
}

void FreeTagArray(SPropTagArray *lpTags) { ::operator delete(lpTags); }
