#include "itemrows.h"

#include <algorithm>
#include <cstring>

void CItemRows::Append(const std::string &strEntry, uint32_t nFolder) {
    const auto nOffset = static_cast<uint32_t>(m_Texts.size());
    m_Texts.insert(m_Texts.end(), strEntry.begin(), strEntry.end());
    m_Texts.push_back('\0');
    m_Rows.push_back(PackedRow{nFolder, nOffset});
    m_ByEntry.clear();
}

void CItemRows::Index() {
    m_ByEntry.resize(m_Rows.size());
    for (size_t i = 0; i < m_Rows.size(); ++i) m_ByEntry[i] = static_cast<uint32_t>(i);
    // Stable, so that of two rows with one entry the first listed is found, as a map filled in listing order gave.
    std::stable_sort(m_ByEntry.begin(), m_ByEntry.end(),
                     [this](uint32_t a, uint32_t b) { return std::strcmp(Entry(a), Entry(b)) < 0; });
}

size_t CItemRows::Find(const std::string &strEntry) const {
    auto it = std::lower_bound(m_ByEntry.begin(), m_ByEntry.end(), strEntry,
                               [this](uint32_t nRow, const std::string &str) { return str.compare(Entry(nRow)) > 0; });
    if (it == m_ByEntry.end() || strEntry != Entry(*it)) return m_Rows.size();
    return *it;
}
