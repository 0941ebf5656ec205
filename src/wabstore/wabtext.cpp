#include "wabstore/wabtext.h"

#include <cstdlib>
#include <cstring>

char *WABCopyText(const char *psz) {
    if (!psz) return nullptr;
    size_t cb = std::strlen(psz) + 1;
    char *pszCopy = static_cast<char *>(std::malloc(cb));
    if (pszCopy) std::memcpy(pszCopy, psz, cb);
    return pszCopy;
}
