#include "scan.h"

#include "foundmembers.h"
#include "itemrows.h"
#include "progress.h"

namespace {

// A scan shown on a terminal builds the groups of what it has so far after at least this many new items, so that
// the interim builds stay a small share of the work.
constexpr size_t kInterimBuildEvery = 200;

bool ChooseFolders(const std::vector<FolderInfo> &all, const ScanRequest &request, const CSession &session,
                   std::vector<FolderInfo> &chosen, std::string &strError) {
    if (request.folders.empty()) {
        chosen = all;
        return true;
    }
    for (const std::string &strName : request.folders) {
        const FolderInfo *pFolder = FindFolder(all, strName);
        if (!pFolder) {
            strError = "no " + std::string(session.Kind().pszFolder) + " '" + strName + "' in " + session.Location() +
                       " (see: tessel " + session.Kind().pszName + " folders)";
            return false;
        }
        bool bTwice = false;
        for (const FolderInfo &folder : chosen) bTwice = bTwice || folder.strEntry == pFolder->strEntry;
        if (!bTwice) chosen.push_back(*pFolder);
    }
    return true;
}

// Reads one member of a group through the size protocol of the search's result calls.
bool ReadMember(CDuplicateSearch *pSearch, int32_t nGroup, int32_t nMember, std::string &strEntry,
                std::string &strFolder) {
    uint32_t nID = 0, nFolderID = 0;
    auto read = [&](char *pszID, char *pszFolderID) {
        if (nMember < 0) Search_GetOriginal(pSearch, nGroup, pszID, &nID, pszFolderID, &nFolderID);
        else Search_GetDuplicate(pSearch, nGroup, nMember, pszID, &nID, pszFolderID, &nFolderID);
    };
    read(nullptr, nullptr);
    if (nID == 0 || nFolderID == 0) return false;
    std::string id(nID, '\0'), folder(nFolderID, '\0');
    read(id.data(), folder.data());
    strEntry.assign(id.c_str());
    strFolder.assign(folder.c_str());
    return true;
}

std::string GroupsSoFar(CDuplicateSearch *pSearch) {
    Search_Build(pSearch);
    const int32_t nGroups = Search_GetOriginalCount(pSearch);
    return std::to_string(nGroups) + (nGroups == 1 ? " group" : " groups") + " so far";
}

} // namespace

size_t ScanResult::DuplicateCount() const {
    size_t n = 0;
    for (const ScanGroup &group : groups) n += group.duplicates.size();
    return n;
}

bool RunScan(CSession &session, const ScanRequest &request, ScanResult &result, std::string &strError,
             bool &bUsage) {
    if (!FindGroups(session, request, result, strError, bUsage)) return false;
    ReadGroupDetails(session, result);
    return true;
}

bool FindGroups(CSession &session, const ScanRequest &request, ScanResult &result, std::string &strError,
                bool &bUsage) {
    result = ScanResult{};
    bUsage = false;
    std::vector<FolderInfo> all;
    if (!ListFolders(session, all, strError)) return false;
    if (!ChooseFolders(all, request, session, result.folders, strError)) {
        bUsage = true;
        return false;
    }

    // Contact groups (distribution lists) are no contacts to compare: the address book's search opens contacts only.
    // Only entries are listed: the search reads what it compares, and the details of an item are read only when it
    // is in a group.
    ListFilter filter;
    if (session.Api() == API_WAB) filter.nObjectType = MAPI_MAILUSER;
    filter.bEntriesOnly = true;
    // Listed folder by folder into packed rows, kept until every item is in the search.
    CItemRows rows;
    size_t nExpected = 0;
    for (const FolderInfo &folder : result.folders)
        if (folder.nItems > 0) nExpected += static_cast<size_t>(folder.nItems);
    rows.Reserve(nExpected);
    std::vector<ItemInfo> listed;
    for (uint32_t f = 0; f < result.folders.size(); ++f) {
        listed.clear();
        if (!ListItems(session, result.folders[f], filter, listed, strError)) return false;
        for (const ItemInfo &item : listed) rows.Append(item.strEntry, f);
    }
    listed = std::vector<ItemInfo>();
    result.nItems = rows.Size();

    PropList list = request.pProps->List();
    const OriginalDefinition od = request.pKeep->Definition();
    CDuplicateSearch *pSearch = Search_Create(session.Lib(), session.Api(), &list, &od);
    if (!pSearch) {
        strError = "the library could not create a search";
        return false;
    }

    CProgress progress(request.bProgress);
    const std::string strWhat = std::string("scanning ") + session.Kind().pszItems;
    std::string strGroups;
    size_t nLastBuild = 0;
    for (size_t i = 0; i < rows.Size(); ++i) {
        const char *pszEntry = rows.Entry(i);
        if (!Search_Add(pSearch, pszEntry, result.folders[rows.Folder(i)].strEntry.c_str(), nullptr, 0)) {
            ++result.nRefused;
            result.refusedEntries.push_back(pszEntry);
        }
        if (progress.Due()) {
            if (strGroups.empty() || i + 1 - nLastBuild >= kInterimBuildEvery) {
                strGroups = GroupsSoFar(pSearch);
                nLastBuild = i + 1;
            }
            progress.Show(strWhat, i + 1, rows.Size(), strGroups);
        }
    }
    progress.Finish();

    // The listing is done with: the search keeps its own copy of every entry.
    rows = CItemRows();

    Search_Build(pSearch);
    CFoundMembers found;
    std::string strEntry, strFolder;
    const int32_t nGroups = Search_GetOriginalCount(pSearch);
    for (int32_t g = 0; g < nGroups; ++g) {
        found.StartGroup();
        const int32_t nDuplicates = Search_GetDuplicateCount(pSearch, g);
        for (int32_t d = -1; d < nDuplicates; ++d)
            if (ReadMember(pSearch, g, d, strEntry, strFolder)) found.Add(d < 0, strEntry, strFolder);
    }
    // The groups' records are made once the search is gone, so that they don't add to its peak.
    Search_Delete(pSearch);
    found.MakeGroups(result.folders, result.groups);
    return true;
}

void ReadGroupDetails(CSession &session, ScanResult &result) {
    auto read = [&](ItemInfo &member) {
        for (const FolderInfo &folder : result.folders) {
            if (folder.strEntry != member.strFolderEntry) continue;
            ItemInfo item;
            if (ReadItemIn(session, folder, member.strEntry, item) == 0 && !item.strEntry.empty())
                member = std::move(item);
            return;
        }
    };
    for (ScanGroup &group : result.groups) {
        read(group.original);
        for (ItemInfo &item : group.duplicates) read(item);
    }
}
