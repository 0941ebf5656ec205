#include "compare/propdesccopy.h"

#include <cstring>

namespace {

template <typename Char> const Char *DuplicateText(const Char *pszSource)
{
    if (!pszSource)
        return nullptr;
    size_t nLength = 0;
    while (pszSource[nLength])
        nLength++;
    Char *pszCopy = new Char[nLength + 1];
    std::memcpy(pszCopy, pszSource, (nLength + 1) * sizeof(Char));
    return pszCopy;
}

template <typename Char> void FreeText(const Char *&pszText)
{
    delete[] pszText;
    pszText = nullptr;
}

} // namespace

void CopyPropDesc(PropDesc *pTarget, const PropDesc &source)
{
    *pTarget = source;
    pTarget->Key = DuplicateText(source.Key);
    pTarget->Name = DuplicateText(source.Name);
    pTarget->GUID = DuplicateText(source.GUID);
    pTarget->sID = DuplicateText(source.sID);
}

void FreePropDescStrings(PropDesc *pDesc)
{
    FreeText(pDesc->Key);
    FreeText(pDesc->Name);
    FreeText(pDesc->GUID);
    FreeText(pDesc->sID);
}
