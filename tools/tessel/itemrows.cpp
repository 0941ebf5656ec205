#include "itemrows.h"

#include <algorithm>
#include <cstring>

uint32_t CItemRows::Keep(const std::string &str) {
    const auto nOffset = static_cast<uint32_t>(m_Texts.size());
    m_Texts.insert(m_Texts.end(), str.begin(), str.end());
    m_Texts.push_back('\0');
    return nOffset;
}

void CItemRows::Append(const ItemInfo &item, uint32_t nFolder) {
    PackedRow row{};
    row.nFolder = nFolder;
    row.nEntry = Keep(item.strEntry);
    row.nTitle = Keep(item.strTitle);
    row.nWho = Keep(item.strWho);
    row.nPhone = Keep(item.strPhone);
    row.nState = item.nState;
    row.nObjectType = item.nObjectType;
    row.ftDate = item.ftDate;
    row.nSize = item.nSize;
    m_Rows.push_back(row);
    m_ByEntry.clear();
}

ItemInfo CItemRows::Row(size_t nRow, const std::vector<FolderInfo> &folders) const {
    const PackedRow &row = m_Rows[nRow];
    ItemInfo item;
    item.strEntry = Text(row.nEntry);
    item.strTitle = Text(row.nTitle);
    item.strWho = Text(row.nWho);
    item.strPhone = Text(row.nPhone);
    if (row.nFolder < folders.size()) {
        item.strFolderEntry = folders[row.nFolder].strEntry;
        item.strFolder = folders[row.nFolder].strPath;
    }
    item.ftDate = row.ftDate;
    item.nSize = row.nSize;
    item.nState = row.nState;
    item.nObjectType = row.nObjectType;
    return item;
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
