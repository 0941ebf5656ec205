// A heap copy of a text, for the records and values that the store hands out and that go back through
// std::free (FreeBuffer, the Free routines).
#pragma once

#include <cstdlib>
#include <cstring>

// Null for a null text (or when memory runs out).
inline char *HeapCopy(const char *psz) {
    if (!psz) return nullptr;
    size_t cb = std::strlen(psz) + 1;
    char *pszCopy = static_cast<char *>(std::malloc(cb));
    if (pszCopy) std::memcpy(pszCopy, psz, cb);
    return pszCopy;
}
