// The allocator of the MIME objects: texts and arrays they hand out are malloc'd, so Free is free().
#include <cstdlib>
#include <new>

#include "platform/mimeole.h"

namespace {

class CMimeAllocator final : public CRefCounted<IMimeAllocator> {
public:
    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IMimeAllocator) {
            AddRef();
            *ppv = static_cast<IMimeAllocator *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    void *Alloc(size_t cb) override { return std::malloc(cb ? cb : 1); }
    void Free(void *pv) override { std::free(pv); }

    HRESULT PropVariantClear(LPPROPVARIANT pProp) override {
        if (!pProp) return E_POINTER;
        if (pProp->vt == VT_LPSTR) std::free(pProp->pszVal);
        *pProp = PROPVARIANT{};
        return S_OK;
    }
};

} // namespace

HRESULT MimeOleCreateAllocator(IMimeAllocator **ppAllocator) {
    if (!ppAllocator) return E_POINTER;
    *ppAllocator = new (std::nothrow) CMimeAllocator();
    return *ppAllocator ? S_OK : E_OUTOFMEMORY;
}
