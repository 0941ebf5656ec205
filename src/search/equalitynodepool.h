// CNodePool: the nodes of one equality tree, packed into blocks, so that a node costs its own bytes rather than
// a heap allocation with its header. A node is known by its number, half the size of a pointer, which is what
// the tree's lookup of an element's node keeps. The first block is small, so the short-lived sorters of a build,
// which hold a few nodes, stay small too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

template <typename Node> class CNodePool {
public:
    CNodePool() = default;
    CNodePool(const CNodePool &) = delete;
    CNodePool &operator=(const CNodePool &) = delete;
    // The storage goes with the pool; the owner ends the lives of the nodes still in use first (std::destroy_at).
    ~CNodePool() = default;

    // A new node; *pnNumber receives its number.
    template <typename... Args> Node *Make(uint32_t *pnNumber, Args &&...args)
    {
        uint32_t n;
        if (!m_Free.empty()) {
            n = m_Free.back();
            m_Free.pop_back();
        } else {
            if (m_nMade == Capacity())
                m_Blocks.push_back(std::make_unique_for_overwrite<Slot[]>(m_Blocks.empty() ? kFirstBlock : kBlock));
            n = m_nMade++;
        }
        *pnNumber = n;
        return ::new (static_cast<void *>(Place(n))) Node(std::forward<Args>(args)...);
    }

    Node *At(uint32_t n) const { return std::launder(reinterpret_cast<Node *>(Place(n))); }

    // Ends the node's life; its number and place go to the next node made.
    void Destroy(uint32_t n)
    {
        std::destroy_at(At(n));
        m_Free.push_back(n);
    }

private:
    static constexpr size_t kFirstBlock = 8;
    static constexpr size_t kBlockBits = 10;
    static constexpr size_t kBlock = size_t{1} << kBlockBits;

    struct alignas(Node) Slot {
        std::byte bytes[sizeof(Node)];
    };

    size_t Capacity() const { return m_Blocks.empty() ? 0 : kFirstBlock + (m_Blocks.size() - 1) * kBlock; }

    Slot *Place(uint32_t n) const
    {
        if (n < kFirstBlock)
            return &m_Blocks[0][n];
        size_t nRest = n - kFirstBlock;
        return &m_Blocks[1 + (nRest >> kBlockBits)][nRest & (kBlock - 1)];
    }

    std::vector<std::unique_ptr<Slot[]>> m_Blocks;
    uint32_t m_nMade = 0;        // numbers given out so far, free ones included
    std::vector<uint32_t> m_Free; // numbers of destroyed nodes; only removals make them, and they are rare
};
