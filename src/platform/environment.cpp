#include "platform/environment.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/errors.h"

DWORD ExpandEnvironmentStringsA(LPCSTR pszSrc, LPSTR pszDst, DWORD nSize) {
    if (!pszSrc) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::string strResult;
    for (const char *p = pszSrc; *p;) {
        const char *pszEnd = *p == '%' ? std::strchr(p + 1, '%') : nullptr;
        if (pszEnd && pszEnd > p + 1) {
            std::string strName(p + 1, pszEnd);
            if (const char *pszValue = std::getenv(strName.c_str())) {
                strResult += pszValue;
                p = pszEnd + 1;
                continue;
            }
        }
        // Not a defined variable: the '%' stays, and the next one may open a name.
        strResult += *p++;
    }
    DWORD cchNeeded = static_cast<DWORD>(strResult.size() + 1);
    if (pszDst && cchNeeded <= nSize) std::memcpy(pszDst, strResult.c_str(), cchNeeded);
    return cchNeeded;
}
