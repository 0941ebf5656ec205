#include "foundmembers.h"

#include <algorithm>

void CFoundMembers::Add(bool bOriginal, const std::string &strEntry, const std::string &strFolderEntry) {
    m_Members.push_back(Member{m_nGroups, bOriginal, static_cast<uint32_t>(m_Texts.size())});
    m_Texts.insert(m_Texts.end(), strEntry.c_str(), strEntry.c_str() + strEntry.size() + 1);
    m_Texts.insert(m_Texts.end(), strFolderEntry.c_str(), strFolderEntry.c_str() + strFolderEntry.size() + 1);
}

bool CFoundMembers::Kept(size_t nBegin, size_t nEnd) const {
    bool bOriginal = false, bDuplicate = false;
    for (size_t i = nBegin; i < nEnd; ++i) {
        if (m_Members[i].bOriginal) bOriginal = m_Texts[m_Members[i].nText] != '\0';
        else bDuplicate = true;
    }
    return bOriginal && bDuplicate;
}

ItemInfo CFoundMembers::Item(const Member &member, const std::vector<FolderInfo> &folders) const {
    ItemInfo item;
    const char *pszEntry = m_Texts.data() + member.nText;
    item.strEntry = pszEntry;
    item.strFolderEntry = pszEntry + item.strEntry.size() + 1;
    auto it = std::find_if(folders.begin(), folders.end(),
                           [&](const FolderInfo &folder) { return folder.strEntry == item.strFolderEntry; });
    if (it != folders.end()) item.strFolder = it->strPath;
    return item;
}

void CFoundMembers::MakeGroups(const std::vector<FolderInfo> &folders, std::vector<ScanGroup> &groups) const {
    size_t nKept = 0;
    ForEachGroup([&](size_t nBegin, size_t nEnd) { nKept += Kept(nBegin, nEnd) ? 1 : 0; });
    groups.reserve(groups.size() + nKept);
    ForEachGroup([&](size_t nBegin, size_t nEnd) {
        if (!Kept(nBegin, nEnd)) return;
        ScanGroup &group = groups.emplace_back();
        group.duplicates.reserve(nEnd - nBegin - 1);
        for (size_t i = nBegin; i < nEnd; ++i) {
            if (m_Members[i].bOriginal) group.original = Item(m_Members[i], folders);
            else group.duplicates.push_back(Item(m_Members[i], folders));
        }
    });
}
