#include "platform/cocreate.h"

#include <iterator>
#include <vector>

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

struct ClassOverride {
    CLSID clsid;
    PFNCREATEINSTANCE pfnCreate;
};

std::vector<ClassOverride> &Overrides() {
    static std::vector<ClassOverride> overrides;
    return overrides;
}

} // namespace

PFNCREATEINSTANCE CoRegisterClassOverride(REFCLSID rclsid, PFNCREATEINSTANCE pfnCreate) {
    std::vector<ClassOverride> &overrides = Overrides();
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        if (it->clsid != rclsid) continue;
        PFNCREATEINSTANCE pfnOld = it->pfnCreate;
        if (pfnCreate)
            it->pfnCreate = pfnCreate;
        else
            overrides.erase(it);
        return pfnOld;
    }
    if (pfnCreate) overrides.push_back({rclsid, pfnCreate});
    return nullptr;
}

HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown *pUnkOuter, DWORD dwClsContext, REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (pUnkOuter) return CLASS_E_NOAGGREGATION;
    for (const ClassOverride &entry : Overrides())
        if (entry.clsid == rclsid) return entry.pfnCreate(riid, ppv);
    for (const ClassEntry &entry : g_rgClasses)
        if (*entry.pClsid == rclsid) return entry.pfnCreate(riid, ppv);
    return REGDB_E_CLASSNOTREG;
}
