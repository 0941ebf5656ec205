// Buffers carry a small header that chains the blocks hung on them.
#include "providers/vcard/mapi_alloc.h"

#include <cstdlib>
#include <cstring>

namespace vcard {

namespace {

constexpr uint64_t kMagicRoot = 0x5453564352424F4Full;  // marks a buffer from MapiAllocateBuffer
constexpr uint64_t kMagicMore = 0x5453564352424D52ull;  // a block hung on one
constexpr uint64_t kMagicFreed = 0x4445454646524545ull; // a freed buffer, to catch a second free

struct alignas(16) Header {
    uint64_t nMagic;
    Header *pNext; // the next block hung on the same root
};

Header *HeaderOf(void *p) { return reinterpret_cast<Header *>(static_cast<char *>(p) - sizeof(Header)); }

void *Allocate(ULONG cb, uint64_t nMagic) {
    void *pRaw = std::malloc(sizeof(Header) + (cb == 0 ? 1 : cb));
    if (!pRaw) return nullptr;
    Header *h = static_cast<Header *>(pRaw);
    h->nMagic = nMagic;
    h->pNext = nullptr;
    return h + 1;
}

} // namespace

HRESULT MapiAllocateBuffer(ULONG cb, void **pp) {
    if (!pp) return MAPI_E_INVALID_PARAMETER;
    *pp = Allocate(cb, kMagicRoot);
    return *pp ? S_OK : MAPI_E_NOT_ENOUGH_MEMORY;
}

HRESULT MapiAllocateMore(ULONG cb, void *pParent, void **pp) {
    if (!pp || !pParent) return MAPI_E_INVALID_PARAMETER;
    *pp = nullptr;
    Header *root = HeaderOf(pParent);
    if (root->nMagic != kMagicRoot) return MAPI_E_INVALID_PARAMETER;
    void *p = Allocate(cb, kMagicMore);
    if (!p) return MAPI_E_NOT_ENOUGH_MEMORY;
    Header *h = HeaderOf(p);
    h->pNext = root->pNext;
    root->pNext = h;
    *pp = p;
    return S_OK;
}

HRESULT MapiFreeBuffer(void *p) {
    if (!p) return S_OK;
    Header *root = HeaderOf(p);
    if (root->nMagic != kMagicRoot) return MAPI_E_INVALID_PARAMETER;
    Header *h = root->pNext;
    while (h) {
        Header *next = h->pNext;
        h->nMagic = kMagicFreed;
        std::free(h);
        h = next;
    }
    root->nMagic = kMagicFreed;
    std::free(root);
    return S_OK;
}

void *MapiCopyBytes(void *pParent, const void *pData, size_t cb) {
    void *p = nullptr;
    if (FAILED(MapiAllocateMore(static_cast<ULONG>(cb), pParent, &p))) return nullptr;
    if (cb) std::memcpy(p, pData, cb);
    return p;
}

char *MapiCopyString(void *pParent, std::string_view s) {
    void *p = nullptr;
    if (FAILED(MapiAllocateMore(static_cast<ULONG>(s.size() + 1), pParent, &p))) return nullptr;
    char *psz = static_cast<char *>(p);
    if (!s.empty()) std::memcpy(psz, s.data(), s.size());
    psz[s.size()] = '\0';
    return psz;
}

char16_t *MapiCopyWString(void *pParent, std::u16string_view s) {
    void *p = nullptr;
    if (FAILED(MapiAllocateMore(static_cast<ULONG>((s.size() + 1) * sizeof(char16_t)), pParent, &p)))
        return nullptr;
    char16_t *psz = static_cast<char16_t *>(p);
    if (!s.empty()) std::memcpy(psz, s.data(), s.size() * sizeof(char16_t));
    psz[s.size()] = u'\0';
    return psz;
}

} // namespace vcard
