// CEqualItems: a short list of plain words, such as the elements of one equality-tree node in order of arrival.
// Most lists hold a single element, so that one is kept in place and only a second element allocates an array.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <vector>

template <typename T> class CEqualItems {
    static_assert(std::is_trivially_copyable_v<T>, "elements are plain words");

public:
    using value_type = T;
    using iterator = const T *;
    using const_iterator = const T *;

    CEqualItems() : m_One() {}
    explicit CEqualItems(T first) : m_One(first), m_nSize(1) {}
    ~CEqualItems()
    {
        if (m_nCapacity > 1)
            delete[] m_pMany;
    }
    CEqualItems(const CEqualItems &) = delete;
    CEqualItems &operator=(const CEqualItems &) = delete;

    size_t size() const { return m_nSize; }
    bool empty() const { return m_nSize == 0; }
    const T *begin() const { return m_nCapacity > 1 ? m_pMany : &m_One; }
    const T *end() const { return begin() + m_nSize; }
    const T &operator[](size_t n) const { return begin()[n]; }

    void push_back(T element)
    {
        if (m_nSize == m_nCapacity)
            Grow();
        Data()[m_nSize++] = element;
    }

    // Puts the element at position n, the ones from there on moving back.
    void insert(size_t n, T element)
    {
        push_back(element);
        T *pData = Data();
        std::rotate(pData + n, pData + m_nSize - 1, pData + m_nSize);
    }

    // Takes out the first occurrence of the element, keeping the order of the others.
    void erase(T element)
    {
        T *pData = Data();
        T *pEnd = pData + m_nSize;
        T *pAt = std::find(pData, pEnd, element);
        if (pAt == pEnd)
            return;
        std::copy(pAt + 1, pEnd, pAt);
        m_nSize--;
    }

    friend bool operator==(const CEqualItems &items, const std::vector<T> &other)
    {
        return std::equal(items.begin(), items.end(), other.begin(), other.end());
    }

private:
    T *Data() { return m_nCapacity > 1 ? m_pMany : &m_One; }

    void Grow()
    {
        // Most lists that grow at all stop at two elements: the first array holds just those.
        uint32_t nCapacity = m_nCapacity * 2;
        T *pMany = new T[nCapacity];
        std::copy(begin(), end(), pMany);
        if (m_nCapacity > 1)
            delete[] m_pMany;
        m_pMany = pMany;
        m_nCapacity = nCapacity;
    }

    union {
        T m_One;   // while the capacity is 1
        T *m_pMany; // beyond
    };
    uint32_t m_nSize = 0;
    uint32_t m_nCapacity = 1;
};
