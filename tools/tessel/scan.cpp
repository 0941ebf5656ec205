#include "scan.h"

#include <unordered_map>

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
    result = ScanResult{};
    bUsage = false;
    std::vector<FolderInfo> all;
    if (!ListFolders(session, all, strError)) return false;
    if (!ChooseFolders(all, request, session, result.folders, strError)) {
        bUsage = true;
        return false;
    }

    // Contact groups (distribution lists) are no contacts to compare: the address book's search opens contacts only.
    ListFilter filter;
    if (session.Api() == API_WAB) filter.nObjectType = MAPI_MAILUSER;
    std::vector<ItemInfo> items;
    for (const FolderInfo &folder : result.folders)
        if (!ListItems(session, folder, filter, items, strError)) return false;
    result.nItems = items.size();

    PropList list = request.pProps->List();
    const OriginalDefinition od = request.pKeep->Definition();
    CDuplicateSearch *pSearch = Search_Create(session.Lib(), session.Api(), &list, &od);
    if (!pSearch) {
        strError = "the library could not create a search";
        return false;
    }

    std::unordered_map<std::string, size_t> byEntry;
    byEntry.reserve(items.size());
    CProgress progress(request.bProgress);
    const std::string strWhat = std::string("scanning ") + session.Kind().pszItems;
    std::string strGroups;
    size_t nLastBuild = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        const ItemInfo &item = items[i];
        byEntry.emplace(item.strEntry, i);
        if (!Search_Add(pSearch, item.strEntry.c_str(), item.strFolderEntry.c_str(), nullptr, 0)) {
            ++result.nRefused;
            result.refusedEntries.push_back(item.strEntry);
        }
        if (progress.Due()) {
            if (strGroups.empty() || i + 1 - nLastBuild >= kInterimBuildEvery) {
                strGroups = GroupsSoFar(pSearch);
                nLastBuild = i + 1;
            }
            progress.Show(strWhat, i + 1, items.size(), strGroups);
        }
    }
    progress.Finish();

    Search_Build(pSearch);
    const int32_t nGroups = Search_GetOriginalCount(pSearch);
    for (int32_t g = 0; g < nGroups; ++g) {
        ScanGroup group;
        std::string strEntry, strFolder;
        const int32_t nDuplicates = Search_GetDuplicateCount(pSearch, g);
        for (int32_t d = -1; d < nDuplicates; ++d) {
            if (!ReadMember(pSearch, g, d, strEntry, strFolder)) continue;
            auto found = byEntry.find(strEntry);
            ItemInfo member;
            if (found != byEntry.end()) member = items[found->second];
            else member.strEntry = strEntry, member.strFolderEntry = strFolder;
            if (d < 0) group.original = std::move(member);
            else group.duplicates.push_back(std::move(member));
        }
        if (!group.original.strEntry.empty() && !group.duplicates.empty()) result.groups.push_back(std::move(group));
    }
    Search_Delete(pSearch);
    return true;
}
