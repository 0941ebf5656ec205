// COELib: construction, the connection to the store (root and MIME allocator) and the library's heap.
#include <cstdlib>

#include "log/log.h"
#include "oestore/hex.h"
#include "oestore/oelib.h"
#include "platform/cocreate.h"

COELib::COELib() : m_pNamespace(nullptr), m_pAllocator(nullptr) {
    Str2Guid("{E70C92A9-4BFD-11d1-8A95-00C04FB951F3}", &CLSID_StoreNamespace);
    Str2Guid("{E70C92AA-4BFD-11d1-8A95-00C04FB951F3}", &IID_IStoreNamespace);
    Str2Guid("{E70C92AC-4BFD-11d1-8A95-00C04FB951F3}", &IID_IStoreFolder);
    Str2Guid("{FD853CDD-7F86-11d0-8252-00C04FD85AB4}", &CLSID_IMimeAllocator);
    Str2Guid("{C5588351-7F86-11d0-8252-00C04FD85AB4}", &IID_IMimeAllocator);
    Str2Guid("{FD853CD3-7F86-11d0-8252-00C04FD85AB4}", &IID_IMimePropertySet);
    Str2Guid("{C558834C-7F86-11d0-8252-00C04FD85AB4}", &IID_IMimeBody);
    Str2Guid("{FD853CD1-7F86-11d0-8252-00C04FD85AB4}", &IID_IMimeHeaderTable);
    Str2Guid("{FD853CD5-7F86-11d0-8252-00C04FD85AB4}", &IID_IMimeMessage);
}

COELib::~COELib() { Done(); }

bool COELib::Init(HWND hwndOwner, bool bFlag) {
    static const char kLabel[] = "COELib::Init";
    Done();
    HRESULT hr = CoCreateInstance(CLSID_StoreNamespace, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                  IID_IStoreNamespace, reinterpret_cast<void **>(&m_pNamespace));
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "CoCreateInstance");
        Done();
        return false;
    }
    hr = m_pNamespace->Initialize(hwndOwner, bFlag ? 0 : 1);
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "Namespace->Initialize");
        Done();
        return false;
    }
    // The allocator is judged by the reference it hands out, not by the code.
    hr = CoCreateInstance(CLSID_IMimeAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_IMimeAllocator,
                          reinterpret_cast<void **>(&m_pAllocator));
    if (!m_pAllocator) {
        g_Log.Error(kLabel, hr, "create IMimeAllocator");
        Done();
        return false;
    }
    return true;
}

bool COELib::Initialized() const { return m_pNamespace && m_pAllocator; }

void COELib::Done() {
    m_BodyPrefixes.Clear();
    if (m_pAllocator) {
        m_pAllocator->Release();
        m_pAllocator = nullptr;
    }
    if (m_pNamespace) {
        m_pNamespace->Release();
        m_pNamespace = nullptr;
    }
}

HRESULT COELib::AllocateBuffer(ULONG cb, void **ppv) {
    g_Log.Assert(ppv != nullptr, "COELib::AllocateBuffer", 1);
    g_Log.Assert(cb != 0, "COELib::AllocateBuffer", 2);
    if (!ppv || cb == 0) return -1;
    *ppv = std::malloc(cb);
    return 0;
}

void COELib::FreeBuffer(void *pv) {
    if (pv) std::free(pv);
}
