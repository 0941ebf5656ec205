// The table behind the remembered bodies: looked up for both bodies of every comparison, so one flat array with
// open addressing, where a lookup touches one slot (two at most, mostly) instead of a chain of nodes. Entries are
// only added, until the whole table is cleared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/com.h"
#include "platform/msgstore.h"

struct COEBodyKey {
    uint64_t nItem; // folder id in the high half, message id in the low one
    ULONG nTag;

    COEBodyKey(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTagOf)
        : nItem((static_cast<uint64_t>(dwFolderId) << 32) | dwMessageId), nTag(nTagOf) {}
    bool operator==(const COEBodyKey &other) const { return nItem == other.nItem && nTag == other.nTag; }
};

template <class TEntry> class COEBodyTable {
public:
    const TEntry *Find(const COEBodyKey &key) const {
        if (m_rgSlots.empty()) return nullptr;
        const Slot &slot = m_rgSlots[SlotOf(m_rgSlots, key)];
        return slot.bUsed ? &slot.entry : nullptr;
    }

    // Adds the entry unless the key has one already.
    void Insert(const COEBodyKey &key, TEntry entry) {
        if ((m_cUsed + 1) * 2 > m_rgSlots.size()) Grow();
        Slot &slot = m_rgSlots[SlotOf(m_rgSlots, key)];
        if (slot.bUsed) return;
        slot = Slot{key, true, std::move(entry)};
        ++m_cUsed;
    }

    size_t Count() const { return m_cUsed; }
    void Clear() {
        std::vector<Slot>().swap(m_rgSlots);
        m_cUsed = 0;
    }

private:
    struct Slot {
        COEBodyKey key{0, 0, 0};
        bool bUsed = false;
        TEntry entry{};
    };

    // The key's slot, or the free slot where it would go. The array is never full.
    static size_t SlotOf(const std::vector<Slot> &rgSlots, const COEBodyKey &key) {
        size_t nMask = rgSlots.size() - 1;
        uint64_t nHash = (key.nItem ^ (static_cast<uint64_t>(key.nTag) << 17)) * 0x9E3779B97F4A7C15ull;
        for (size_t i = static_cast<size_t>(nHash >> 32) & nMask;; i = (i + 1) & nMask)
            if (!rgSlots[i].bUsed || rgSlots[i].key == key) return i;
    }

    void Grow() {
        std::vector<Slot> rgNew(m_rgSlots.empty() ? 1024 : m_rgSlots.size() * 2);
        for (Slot &slot : m_rgSlots)
            if (slot.bUsed) rgNew[SlotOf(rgNew, slot.key)] = std::move(slot);
        m_rgSlots.swap(rgNew);
    }

    std::vector<Slot> m_rgSlots; // a power of two in size, at most half used
    size_t m_cUsed = 0;
};
