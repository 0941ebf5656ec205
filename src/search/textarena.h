// CTextArena: keeps many short texts for as long as their owner lives, packed into large blocks, so that each
// costs its bytes and terminating zero rather than a heap allocation of its own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

class CTextArena {
public:
    // A zero-terminated copy of text; it stays in place until Clear.
    const char *Keep(std::string_view text)
    {
        size_t cb = text.size() + 1;
        if (cb > m_nRoom)
            NewBlock(cb);
        char *psz = m_pNext;
        std::memcpy(psz, text.data(), text.size());
        psz[text.size()] = '\0';
        m_pNext += cb;
        m_nRoom -= cb;
        return psz;
    }

    void Clear()
    {
        m_Blocks.clear();
        m_pNext = nullptr;
        m_nRoom = 0;
    }

private:
    static constexpr size_t kBlockSize = 64 * 1024;

    // What is left of the current block is given up: texts are short next to a block.
    void NewBlock(size_t cbAtLeast)
    {
        size_t cb = std::max(cbAtLeast, kBlockSize);
        m_Blocks.push_back(std::make_unique_for_overwrite<char[]>(cb));
        m_pNext = m_Blocks.back().get();
        m_nRoom = cb;
    }

    std::vector<std::unique_ptr<char[]>> m_Blocks;
    char *m_pNext = nullptr;
    size_t m_nRoom = 0;
};
