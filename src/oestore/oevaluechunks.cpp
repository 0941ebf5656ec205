#include "oestore/oevaluechunks.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// Chunks are aligned to their size, so that a block finds its chunk from its own address.
constexpr size_t kChunkBytes = size_t{64} * 1024;
// Value blocks hold nothing that needs more than the alignment of a 64-bit word or a pointer.
constexpr size_t kAlign = alignof(uint64_t) > alignof(void *) ? alignof(uint64_t) : alignof(void *);

constexpr size_t RoundUp(size_t cb, size_t nUnit) { return (cb + nUnit - 1) / nUnit * nUnit; }

} // namespace

struct COEValueChunks::Chunk {
    std::atomic<uint32_t> nRefs; // blocks not yet released, and one while a connection cuts from the chunk
    size_t cbSize;               // the whole chunk, header included
};

namespace {

constexpr size_t kHeaderBytes = 16;

} // namespace

COEValueChunks::Chunk *COEValueChunks::ChunkOf(const void *p) {
    return reinterpret_cast<Chunk *>(reinterpret_cast<uintptr_t>(p) & ~(uintptr_t{kChunkBytes} - 1));
}

void COEValueChunks::Unref(Chunk *pChunk) {
    if (pChunk->nRefs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    pChunk->~Chunk();
    std::free(pChunk);
}

COEValueChunks::~COEValueChunks() {
    if (m_pCurrent) Unref(m_pCurrent);
}

void *COEValueChunks::Allocate(size_t cb) {
    static_assert(sizeof(Chunk) <= kHeaderBytes && kHeaderBytes % kAlign == 0);
    cb = RoundUp(cb, kAlign);
    if (m_pCurrent && m_cbUsed + cb <= kChunkBytes) {
        void *p = reinterpret_cast<char *>(m_pCurrent) + m_cbUsed;
        m_cbUsed += cb;
        m_pCurrent->nRefs.fetch_add(1, std::memory_order_relaxed);
        m_pLast = p;
        return p;
    }
    // A block too large for a chunk gets one of its own, which no later block shares.
    const bool bOwn = kHeaderBytes + cb > kChunkBytes;
    const size_t cbChunk = bOwn ? RoundUp(kHeaderBytes + cb, kChunkBytes) : kChunkBytes;
    void *pMemory = std::aligned_alloc(kChunkBytes, cbChunk);
    if (!pMemory) return nullptr;
    auto *pChunk = new (pMemory) Chunk{{1}, cbChunk};
    if (!bOwn) {
        if (m_pCurrent) Unref(m_pCurrent);
        pChunk->nRefs.fetch_add(1, std::memory_order_relaxed); // this object's own hold
        m_pCurrent = pChunk;
        m_cbUsed = kHeaderBytes + cb;
        m_pLast = static_cast<char *>(pMemory) + kHeaderBytes;
    }
    return static_cast<char *>(pMemory) + kHeaderBytes;
}

void COEValueChunks::Release(void *pBlock) {
    if (pBlock) Unref(ChunkOf(pBlock));
}

void COEValueChunks::ReleaseOwn(void *pBlock) {
    if (pBlock && pBlock == m_pLast) {
        m_cbUsed = static_cast<size_t>(static_cast<char *>(pBlock) - reinterpret_cast<char *>(m_pCurrent));
        m_pLast = nullptr;
    }
    Release(pBlock);
}

bool COEValueChunks::InChunkOf(const void *pBlock, const void *p) {
    const Chunk *pChunk = ChunkOf(pBlock);
    auto nStart = reinterpret_cast<uintptr_t>(pChunk);
    auto nAt = reinterpret_cast<uintptr_t>(p);
    return nAt >= nStart && nAt - nStart < pChunk->cbSize;
}
