#include "platform/cocreate.h"

#include <iterator>

#include "platform/mimeole.h"
#include "platform/msgstore.h"
#include "providers/maildir/storefactory.h"

namespace {

struct ClassEntry {
    const CLSID *pClsid;
    HRESULT (*pfnCreate)(REFIID riid, void **ppv);
};

HRESULT CreateMimeAllocator(REFIID riid, void **ppv) {
    IMimeAllocator *pAllocator = nullptr;
    HRESULT hr = MimeOleCreateAllocator(&pAllocator);
    if (FAILED(hr)) return hr;
    hr = pAllocator->QueryInterface(riid, ppv);
    pAllocator->Release();
    return hr;
}

const ClassEntry g_rgClasses[] = {
    {&CLSID_StoreNamespace, MaildirCreateStoreNamespace},
    {&CLSID_IMimeAllocator, CreateMimeAllocator},
};

} // namespace

HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown *pUnkOuter, DWORD dwClsContext, REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (pUnkOuter) return CLASS_E_NOAGGREGATION;
    for (const ClassEntry &entry : g_rgClasses)
        if (*entry.pClsid == rclsid) return entry.pfnCreate(riid, ppv);
    return REGDB_E_CLASSNOTREG;
}
