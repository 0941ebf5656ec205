// CWABLib: marking an entry by a prefix in its display name.
#include <cstdlib>
#include <cstring>
#include <string>

#include "log/log.h"
#include "wabstore/wablib.h"

HRESULT CWABLib::MarkItemDisplayName(const char *szEntry, const char *szPrefix) {
    const char *const kszLabel = "CWABLib::MarkItemDisplayName";
    g_Log.Assert(szEntry != nullptr && szPrefix != nullptr && *szPrefix != '\0', kszLabel, 0);
    if (!szEntry || !szPrefix) return -1;

    IMAPIProp *pItem = nullptr;
    ULONG nType = 0;
    HRESULT hr = OpenItem(szEntry, &pItem, &nType, true);
    if (FAILED(hr)) return hr;

    struct {
        ULONG cValues = 1;
        ULONG aulPropTag[1] = {PR_DISPLAY_NAME};
    } tags;
    ULONG cValues = 0;
    SPropValue *pValues = nullptr;
    SPropProblemArray *pProblems = nullptr;
    hr = GetItemProps(pItem, reinterpret_cast<SPropTagArray *>(&tags), &cValues, &pValues, true);
    if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
        g_Log.Error(kszLabel, hr, "GetItemProp");
    } else {
        const char *pszOld = nullptr;
        if (pValues && cValues > 0 && PROP_TYPE(pValues[0].ulPropTag) == PT_STRING8) pszOld = pValues[0].Value.lpszA;
        // Marked already: the name starts with the prefix, byte for byte.
        if (!pszOld || std::strncmp(pszOld, szPrefix, std::strlen(szPrefix)) != 0) {
            std::string strName = std::string(szPrefix) + (pszOld ? pszOld : "");
            SPropValue name{};
            name.ulPropTag = PR_DISPLAY_NAME;
            name.Value.lpszA = strName.data();
            hr = SetItemProps(pItem, 1, &name, &pProblems);
            if (FAILED(hr))
                g_Log.Error(kszLabel, hr, "SetItemProps");
            else
                hr = SaveItem(pItem, false, false, false);
        }
    }
    pItem->Release();
    if (pValues) FreeBuffer(pValues);
    if (pProblems) FreeBuffer(pProblems);
    return hr;
}
