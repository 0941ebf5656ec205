// COELib: the single reads behind the message properties: a header as text, number or date, an Internet date
// text, and the addresses of one kind.
#include <cstdlib>

#include "log/log.h"
#include "oestore/heapcopy.h"
#include "oestore/oelib.h"
#include "oestore/oevalues.h"
#include "platform/errors.h"
#include "platform/loader.h"
#include "platform/time.h"

namespace {

void ToLocal(FILETIME *pft) {
    FILETIME ftLocal{};
    if (FileTimeToLocalFileTime(pft, &ftLocal)) *pft = ftLocal;
}

} // namespace

HRESULT COELib::_GetTextProp(IMimePropertySet *pPropSet, const char *szName, char **ppsz, DWORD dwFlags) {
    *ppsz = nullptr;
    PROPVARIANT var{};
    var.vt = VT_LPSTR;
    HRESULT hr = pPropSet->GetProp(szName, dwFlags, &var);
    if (FAILED(hr)) return hr;
    g_Log.Assert(var.pszVal != nullptr, "COELib::_GetTextProp", 0);
    *ppsz = HeapCopy(var.pszVal);
    m_pAllocator->PropVariantClear(&var);
    return hr;
}

HRESULT COELib::ReadLongProp(IMimePropertySet *pPropSet, const char *szName, LONG *pn) {
    *pn = 0;
    PROPVARIANT var{};
    var.vt = VT_I4;
    HRESULT hr = pPropSet->GetProp(szName, 0, &var);
    if (FAILED(hr)) return hr;
    *pn = var.lVal;
    m_pAllocator->PropVariantClear(&var);
    return hr;
}

HRESULT COELib::_GetFiletimeProp(IMimePropertySet *pPropSet, const char *szName, FILETIME *pft, bool bLocal) {
    *pft = FILETIME{};
    PROPVARIANT var{};
    var.vt = VT_FILETIME;
    HRESULT hr = pPropSet->GetProp(szName, 0, &var);
    if (FAILED(hr)) return hr;
    *pft = var.filetime;
    if (bLocal) ToLocal(pft);
    m_pAllocator->PropVariantClear(&var);
    return hr;
}

HRESULT COELib::_InetDateToFileTime(const char *szDate, FILETIME *pft, bool bLocal) {
    const char *const kszLabel = "COELib::_InetDateToFileTime";
    HMODULE hModule = LoadLibraryA(kszInetCommModuleName);
    if (!hModule) {
        g_Log.Error(kszLabel, static_cast<int32_t>(GetLastError()), "LoadLibrary");
        return -1;
    }
    auto pfn = reinterpret_cast<PFNMIMEOLEINETDATETOFILETIME>(GetProcAddress(hModule, "MimeOleInetDateToFileTime"));
    if (!pfn) {
        g_Log.Error(kszLabel, static_cast<int32_t>(GetLastError()), "GetProcAddress");
        FreeLibrary(hModule);
        return -2;
    }
    HRESULT hr = pfn(szDate, pft);
    if (hr == S_OK && bLocal) ToLocal(pft);
    FreeLibrary(hModule);
    return hr;
}

HRESULT COELib::_GetAddressFormat(IMimeMessage *pMessage, DWORD dwAdrType, DWORD nFormat, char **ppsz) {
    const char *const kszLabel = "COELib::_GetAddressFormat";
    g_Log.Assert(ppsz != nullptr && m_pAllocator != nullptr, kszLabel, 0);
    if (!ppsz || !m_pAllocator) return -1;
    *ppsz = nullptr;
    char *pszFormat = nullptr;
    HRESULT hr = pMessage->GetAddressFormat(dwAdrType, nFormat, &pszFormat);
    if (hr == S_OK)
        *ppsz = HeapCopy(pszFormat);
    else if (hr != MIME_E_NOT_FOUND)
        g_Log.Warning(kszLabel, hr, "Unknown error");
    if (pszFormat) m_pAllocator->Free(pszFormat);
    return hr;
}
