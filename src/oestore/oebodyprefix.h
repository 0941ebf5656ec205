// The first block of every body opened as a stream during one connection, by message and tag. Comparing two bodies
// reads them block by block and mostly ends in the first block, so a stream that serves the first block from here needs
// neither message's file; only a read past it reads the message. Bodies whose first block another body shares are
// compared past it, often to their end, so those are remembered whole (up to a bound each and in all), the first of
// them at its next open. A message's bytes never change under its id (a save makes a new message), so an entry holds
// while the connection lasts; items edited in memory neither use nor feed it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "platform/com.h"
#include "platform/mimeole.h"
#include "platform/msgstore.h"
#include "oestore/oebodytable.h"

class COEBodyPrefixes {
public:
    static constexpr ULONG kPrefix = 256;          // the block a comparison reads at once
    static constexpr size_t kMaxEntries = 1 << 18; // about 80 MB; bodies beyond are read from their messages
    static constexpr ULONG kMaxWhole = 64 << 10;   // of a body remembered whole; a longer one is remembered this far
    static constexpr size_t kWholeBudget = 32 << 20; // bytes of all bodies remembered whole; beyond, first blocks only

    COEBodyPrefixes() = default;
    COEBodyPrefixes(const COEBodyPrefixes &) = delete;
    COEBodyPrefixes &operator=(const COEBodyPrefixes &) = delete;

    // A stream over the body of (dwFolderId, dwMessageId, nTag) as first opened: its remembered bytes from here, the
    // rest from pMessage's text body of type dwTxtType when a read or a write goes past them. False if nothing is
    // known of that body.
    bool Open(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, IMimeMessage *pMessage, IStream **ppStream);
    // Notes the first block (or all, see above) and the size of a body stream just opened at position 0, and puts
    // it back there.
    void Learn(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, DWORD dwTxtType, IStream *pStream);
    void Clear();
    size_t Count() const { return m_Entries.Count(); }

    // A first block in one allocation with its count of owners in front: the table and every stream that serves
    // it share the bytes, so an open copies nothing and a stream may outlive the table's entry.
    class CBlock {
    public:
        static CBlock *Make(const char *pb, uint32_t cb); // one owner; null without memory
        void AddRef() { ++m_cRef; }
        void Release() {
            if (--m_cRef == 0) std::free(this);
        }
        const char *Data() const { return reinterpret_cast<const char *>(this + 1); }
        uint32_t Size() const { return m_cb; }

    private:
        CBlock(uint32_t cb) : m_cb(cb) {}
        uint32_t m_cRef = 1; // one calling thread
        uint32_t m_cb;
    };

private:
    struct BlockRelease {
        void operator()(CBlock *pBlock) const { pBlock->Release(); }
    };
    using BlockPtr = std::unique_ptr<CBlock, BlockRelease>;
    struct Entry {
        BlockPtr pPrefix;     // the first kPrefix bytes, or more of a body remembered whole
        uint64_t cbSize;      // of the whole body
        DWORD dwTxtType;
        bool bWantWhole;      // another body shares its first block: the next open remembers it whole
    };

    // Reads up to cbWant bytes of a stream at position 0 into a new block, and puts the stream back there. Null
    // unless it read cbWant bytes or the whole body.
    static BlockPtr ReadBlock(IStream *pStream, uint64_t cbSize, ULONG cbWant);
    // The whole body (up to kMaxWhole) in place of the first block, read from pMessage, where the budget allows.
    void RememberWhole(Entry &entry, IMimeMessage *pMessage);
    ULONG WholeSize(uint64_t cbSize) const;

    COEBodyTable<Entry> m_Entries;
    // The first blocks that filled a whole block, by their hash, each with the first body that had it.
    std::unordered_map<size_t, COEBodyKey> m_FirstBlocks;
    size_t m_cbWhole = 0; // bytes of the bodies remembered whole
};
