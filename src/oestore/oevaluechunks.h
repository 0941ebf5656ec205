// Room for the value blocks of one connection: blocks are cut one after the other from large chunks, so that a
// scan, which keeps a block for every message, pays no heap header and rounding per message. A chunk is freed
// when the last block cut from it is released and no connection cuts from it any more, so the blocks keep the
// lifetime of a heap block of their own: each is released on its own, in any order, from any thread, also after
// the connection is gone.
#pragma once

#include <cstddef>

class COEValueChunks {
public:
    COEValueChunks() = default;
    ~COEValueChunks();
    COEValueChunks(const COEValueChunks &) = delete;
    COEValueChunks &operator=(const COEValueChunks &) = delete;

    // cb bytes, aligned for any value; a block larger than a chunk gets a chunk of its own. Null if memory runs
    // out. Not for two threads at once on the same object.
    void *Allocate(size_t cb);
    // Gives back a block of Allocate; null is ignored.
    static void Release(void *pBlock);
    // As Release; the room of the block cut last is also taken back, so that a block read and freed at once (a
    // count of a message's values, say) leaves no hole between the blocks that are kept. Not at the same time
    // as Allocate.
    void ReleaseOwn(void *pBlock);
    // True if p points into the chunk that holds the block pBlock of Allocate.
    static bool InChunkOf(const void *pBlock, const void *p);

private:
    struct Chunk;
    static Chunk *ChunkOf(const void *p);
    static void Unref(Chunk *pChunk);

    Chunk *m_pCurrent = nullptr; // the chunk blocks are cut from; held by this object
    size_t m_cbUsed = 0;         // of m_pCurrent, header included
    void *m_pLast = nullptr;     // the block cut last from m_pCurrent, while it is not released
};
