// The members of a scan's groups as the search hands them out, packed: one text buffer and a small record per
// member. They are kept while the search still holds all its items, so that the groups' full records (an ItemInfo
// each) are made only after the search is gone and don't add to the scan's peak memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records.h"
#include "scan.h"

class CFoundMembers {
public:
    // The members added from now on belong to a new group.
    void StartGroup() { ++m_nGroups; }
    // A member of the latest group by its entry and its folder's entry.
    void Add(bool bOriginal, const std::string &strEntry, const std::string &strFolderEntry);

    // Every group that has an original and at least one duplicate, in the order of the groups, its duplicates in
    // the order they were added. A member knows its folder's path when its folder is one of folders; else it
    // keeps the folder entry the search gave.
    void MakeGroups(const std::vector<FolderInfo> &folders, std::vector<ScanGroup> &groups) const;

private:
    struct Member {
        uint32_t nGroup;   // from 1, as counted by StartGroup
        bool bOriginal;
        uint32_t nText;    // offset of "<entry>\0<folder entry>\0" in m_Texts
    };

    // Calls fn(nBegin, nEnd) for the members of each group that has any.
    template <class Fn>
    void ForEachGroup(Fn fn) const {
        for (size_t nBegin = 0, nEnd = 0; nBegin < m_Members.size(); nBegin = nEnd) {
            while (nEnd < m_Members.size() && m_Members[nEnd].nGroup == m_Members[nBegin].nGroup) ++nEnd;
            fn(nBegin, nEnd);
        }
    }
    // Whether the members from nBegin to nEnd make a group: an original with an entry and a duplicate.
    bool Kept(size_t nBegin, size_t nEnd) const;
    ItemInfo Item(const Member &member, const std::vector<FolderInfo> &folders) const;

    std::vector<Member> m_Members;
    std::vector<char> m_Texts;
    uint32_t m_nGroups = 0;
};
