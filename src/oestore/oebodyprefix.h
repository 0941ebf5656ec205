// The first block of every body opened as a stream during one connection, by message and tag. Comparing two bodies
// reads them block by block and mostly ends in the first block, so a stream that serves the first block from here needs
// neither message's file; only a read past it reads the message. A message's bytes never change under its id (a save
// makes a new message), so an entry holds while the connection lasts; items edited in memory neither use nor feed it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/com.h"
#include "platform/mimeole.h"
#include "platform/msgstore.h"
#include "oestore/oebodytable.h"

class COEBodyPrefixes {
public:
    static constexpr ULONG kPrefix = 256;          // the block a comparison reads at once
    static constexpr size_t kMaxEntries = 1 << 18; // about 80 MB; bodies beyond are read from their messages

    // A stream over the body of (dwFolderId, dwMessageId, nTag) as first opened: its first block from here, the rest
    // from pMessage's text body of type dwTxtType when a read or a write goes past it. False if nothing is known of
    // that body.
    bool Open(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, IMimeMessage *pMessage,
              IStream **ppStream) const;
    // Notes the first block and the size of a body stream just opened at position 0, and puts it back there.
    void Learn(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, DWORD dwTxtType, IStream *pStream);
    void Clear() { m_Entries.Clear(); }
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
        BlockPtr pPrefix; // at most kPrefix bytes
        uint64_t cbSize;  // of the whole body
        DWORD dwTxtType;
    };

    COEBodyTable<Entry> m_Entries;
};
