#include "oestore/oesharedtexts.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <new>
#include <vector>

#include "oestore/oevaluechunks.h"

namespace {

// A text's heap block: this header, then the text and its terminating zero.
struct SharedText {
    uint32_t nHolders;
    uint32_t nHash;

    char *Text() { return reinterpret_cast<char *>(this + 1); }
    std::string_view View() { return Text(); }
    static SharedText *Of(const char *psz) {
        return reinterpret_cast<SharedText *>(const_cast<char *>(psz)) - 1;
    }
};

// Open addressing with linear probing: one pointer per slot and no node per text.
class CTextTable {
public:
    const char *Acquire(std::string_view svText) {
        const auto nHash = static_cast<uint32_t>(std::hash<std::string_view>{}(svText));
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_slots.empty()) {
            for (size_t i = nHash & Mask(); m_slots[i]; i = (i + 1) & Mask()) {
                SharedText *pText = m_slots[i];
                if (pText->nHash == nHash && pText->View() == svText) {
                    ++pText->nHolders;
                    return pText->Text();
                }
            }
        }
        if ((m_nUsed + 1) * 4 > m_slots.size() * 3 && !Grow()) return nullptr;
        auto *pText = static_cast<SharedText *>(m_chunks.Allocate(sizeof(SharedText) + svText.size() + 1));
        if (!pText) return nullptr;
        pText->nHolders = 1;
        pText->nHash = nHash;
        std::memcpy(pText->Text(), svText.data(), svText.size());
        pText->Text()[svText.size()] = '\0';
        Place(pText);
        ++m_nUsed;
        return pText->Text();
    }

    void Release(const char *psz) {
        SharedText *pText = SharedText::Of(psz);
        std::lock_guard<std::mutex> lock(m_mutex);
        if (--pText->nHolders != 0) return;
        size_t i = pText->nHash & Mask();
        while (m_slots[i] != pText) i = (i + 1) & Mask();
        m_slots[i] = nullptr;
        // Moves the texts of the run behind the hole that would no longer be found past it.
        for (size_t j = (i + 1) & Mask(); m_slots[j]; j = (j + 1) & Mask()) {
            size_t nHome = m_slots[j]->nHash & Mask();
            if (((j - nHome) & Mask()) >= ((j - i) & Mask())) {
                m_slots[i] = m_slots[j];
                m_slots[j] = nullptr;
                i = j;
            }
        }
        --m_nUsed;
        COEValueChunks::Release(pText);
    }

private:
    size_t Mask() const { return m_slots.size() - 1; }

    void Place(SharedText *pText) {
        size_t i = pText->nHash & Mask();
        while (m_slots[i]) i = (i + 1) & Mask();
        m_slots[i] = pText;
    }

    bool Grow() {
        std::vector<SharedText *> old;
        old.swap(m_slots);
        try {
            m_slots.assign(old.empty() ? 256 : old.size() * 2, nullptr);
        } catch (const std::bad_alloc &) {
            m_slots.swap(old);
            return false;
        }
        for (SharedText *pText : old)
            if (pText) Place(pText);
        return true;
    }

    std::mutex m_mutex;
    COEValueChunks m_chunks; // the texts, without a heap block each
    std::vector<SharedText *> m_slots; // a power of two long, at most three quarters used
    size_t m_nUsed = 0;
};

// Never destroyed: a value block may be freed during the process's exit, after the statics are gone.
CTextTable &Table() {
    static CTextTable *s_pTable = new CTextTable;
    return *s_pTable;
}

} // namespace

const char *OEAcquireSharedText(std::string_view svText) { return Table().Acquire(svText); }

void OEReleaseSharedText(const char *psz) { Table().Release(psz); }
