#include "itemrows.h"

void CItemRows::Append(const std::string &strEntry, uint32_t nFolder) {
    const auto nOffset = static_cast<uint32_t>(m_Texts.size());
    m_Texts.insert(m_Texts.end(), strEntry.begin(), strEntry.end());
    m_Texts.push_back('\0');
    m_Rows.push_back(PackedRow{nFolder, nOffset});
}
