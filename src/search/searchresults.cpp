// CDuplicateSearch: taking a refused item out again, the change records between two builds, and handing the
// groups out.
#include <cstring>

#include "log/log.h"
#include "search/duplicatesearch.h"

namespace {

// The size protocol of the result calls: *pnSize holds the buffer's size and receives the size needed; the text
// is copied only if it fits.
void CopyOut(const char *pszText, char *pszBuffer, uint32_t *pnSize)
{
    uint32_t nNeeded = static_cast<uint32_t>(std::strlen(pszText) + 1);
    uint32_t nRoom = *pnSize;
    *pnSize = nNeeded;
    if (pszBuffer && nRoom >= nNeeded)
        std::memcpy(pszBuffer, pszText, nNeeded);
}

const char *NullIfEmpty(const char *pszText) { return *pszText ? pszText : nullptr; }

} // namespace

// Only for the rollback of a refused Add: the item has not reached the equality sets or the groups yet.
void CDuplicateSearch::RemoveItemFromSearch(SearchItem *pItem)
{
    g_Log.Warning("CDuplicateSearch::RemoveItemFromSearch", 0, "Item(%s) removing from duplicate search\n",
                  pItem->ItemID);
    for (SearchProp *pSearchProp : m_SearchProps)
        pSearchProp->Tree.Remove(pItem);
    m_EmptySignatures.Remove(pItem);
    for (auto it = m_Items.begin(); it != m_Items.end(); ++it) {
        if (*it == pItem) {
            m_Items.erase(it);
            break;
        }
    }
}

// A group is known by its original alone: a group taken over by a better item is a new group, and the old one
// is reported removed.
void CDuplicateSearch::FillChanges(std::map<SearchItem *, ItemSet> &previous)
{
    for (auto &group : m_Groups) {
        SearchItem *pOriginal = group[0];
        auto itPrevious = previous.find(pOriginal);
        if (itPrevious == previous.end()) {
            AppendChange(CHANGE_ORIGINAL_ADDED, pOriginal, nullptr, -1);
            for (size_t k = 1; k < group.size(); k++)
                AppendChange(CHANGE_DUPLICATE_ADDED, pOriginal, group[k], static_cast<int32_t>(k) - 1);
            continue;
        }
        ItemSet formerMembers = std::move(itPrevious->second);
        previous.erase(itPrevious);
        for (size_t k = 0; k < group.size(); k++) {
            if (!formerMembers.erase(group[k]))
                AppendChange(CHANGE_DUPLICATE_ADDED, pOriginal, group[k], static_cast<int32_t>(k) - 1);
        }
        for (auto &entry : formerMembers)
            AppendChange(CHANGE_DUPLICATE_REMOVED, pOriginal, entry.first, -1);
    }
    for (auto &entry : previous)
        AppendChange(CHANGE_ORIGINAL_REMOVED, entry.first, nullptr, -1);
    previous.clear();
}

void CDuplicateSearch::AppendChange(int32_t nType, const SearchItem *pOriginal, const SearchItem *pDuplicate,
                                    int32_t nIndex)
{
    m_Changes.push_back(BuildChange{nType, nIndex, pOriginal, pDuplicate});
}

bool CDuplicateSearch::GetBuildChange(int32_t nIndex, int32_t *pnType, const char **ppszOriginalID,
                                      const char **ppszOriginalFolderID, const char **ppszDuplicateID,
                                      const char **ppszDuplicateFolderID, int32_t *pnDuplicateIndex) const
{
    if (nIndex < 0 || static_cast<size_t>(nIndex) >= m_Changes.size()) {
        g_Log.Error("CDuplicateSearch::GetBuildChange", nIndex, "index is out of bounds\n");
        return false;
    }
    const BuildChange &change = m_Changes[static_cast<size_t>(nIndex)];
    if (pnType)
        *pnType = change.nType;
    if (ppszOriginalID)
        *ppszOriginalID = NullIfEmpty(change.pOriginal->ItemID);
    if (ppszOriginalFolderID)
        *ppszOriginalFolderID = NullIfEmpty(change.pOriginal->FolderID);
    if (ppszDuplicateID)
        *ppszDuplicateID = change.pDuplicate ? NullIfEmpty(change.pDuplicate->ItemID) : nullptr;
    if (ppszDuplicateFolderID)
        *ppszDuplicateFolderID = change.pDuplicate ? NullIfEmpty(change.pDuplicate->FolderID) : nullptr;
    if (pnDuplicateIndex)
        *pnDuplicateIndex = change.nType == CHANGE_DUPLICATE_ADDED ? change.nIndex : -1;
    return true;
}

int32_t CDuplicateSearch::GetOriginalCount() const { return static_cast<int32_t>(m_Groups.size()); }

int32_t CDuplicateSearch::GetDuplicateCount(int32_t nGroup) const
{
    if (nGroup < 0 || static_cast<size_t>(nGroup) >= m_Groups.size())
        return 0;
    return static_cast<int32_t>(m_Groups[static_cast<size_t>(nGroup)].size()) - 1;
}

void CDuplicateSearch::GetOriginal(int32_t nGroup, char *pszID, uint32_t *pnID, char *pszFolderID,
                                   uint32_t *pnFolderID) const
{
    CopyMember(nGroup, 0, pszID, pnID, pszFolderID, pnFolderID);
}

void CDuplicateSearch::GetDuplicate(int32_t nGroup, int32_t nDuplicate, char *pszID, uint32_t *pnID,
                                    char *pszFolderID, uint32_t *pnFolderID) const
{
    CopyMember(nGroup, nDuplicate + 1, pszID, pnID, pszFolderID, pnFolderID);
}

void CDuplicateSearch::CopyMember(int32_t nGroup, int32_t nMember, char *pszID, uint32_t *pnID, char *pszFolderID,
                                  uint32_t *pnFolderID) const
{
    if (nGroup < 0 || static_cast<size_t>(nGroup) >= m_Groups.size())
        return;
    const auto &group = m_Groups[static_cast<size_t>(nGroup)];
    if (nMember < 0 || static_cast<size_t>(nMember) >= group.size())
        return;
    const SearchItem *pItem = group[static_cast<size_t>(nMember)];
    if (pnID)
        CopyOut(pItem->ItemID, pszID, pnID);
    if (pnFolderID)
        CopyOut(pItem->FolderID, pszFolderID, pnFolderID);
}
