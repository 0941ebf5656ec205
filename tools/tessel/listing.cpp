#include "listing.h"

#include <strings.h>

#include <cstdio>
#include <map>

#include "timetext.h"

namespace {

std::string Text(const char *psz) { return psz ? std::string(psz) : std::string(); }

void FillPaths(std::vector<FolderInfo> &folders) {
    std::map<std::string, size_t> byEntry;
    for (size_t i = 0; i < folders.size(); ++i) {
        FolderInfo &folder = folders[i];
        auto parent = folder.strParentEntry.empty() ? byEntry.end() : byEntry.find(folder.strParentEntry);
        if (parent == byEntry.end()) {
            folder.strPath = folder.strName;
            folder.nDepth = 0;
        } else {
            folder.strPath = folders[parent->second].strPath + "/" + folder.strName;
            folder.nDepth = folders[parent->second].nDepth + 1;
        }
        byEntry[folder.strEntry] = i;
    }
}

bool ListMailFolders(CTessel *pLib, std::vector<FolderInfo> &folders) {
    OEFolders *pFolders = nullptr;
    OEGetFolders(pLib, &pFolders);
    if (!pFolders) return false;
    for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
        const OEFolder &f = pFolders->pFolders[i];
        FolderInfo folder;
        folder.strEntry = Text(f.szEntry);
        folder.strParentEntry = Text(f.szParentEntry);
        folder.strName = Text(f.szName);
        folder.nType = f.sfType;
        folder.nItems = f.cMessage;
        folder.nUnread = f.cUnread;
        folders.push_back(folder);
    }
    OEFreeFolders(pLib, pFolders);
    return true;
}

int32_t ListContactFolders(CTessel *pLib, std::vector<FolderInfo> &folders) {
    WABFolders *pFolders = nullptr;
    const int32_t nStatus = WABGetFolders(pLib, &pFolders, 0);
    if (pFolders) {
        for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
            const WABFolder &f = pFolders->pFolders[i];
            FolderInfo folder;
            folder.strEntry = Text(f.szEntry);
            folder.strName = f.szName && *f.szName ? Text(f.szName) : folder.strEntry;
            folder.nItems = f.nItems;
            folders.push_back(folder);
        }
        WABFreeFolders(pLib, pFolders);
    }
    return nStatus;
}

ItemInfo MailItem(const OEItem &it, const FolderInfo &folder) {
    ItemInfo item;
    item.strEntry = Text(it.szEntry);
    item.strFolderEntry = folder.strEntry;
    item.strFolder = folder.strPath;
    item.strTitle = Text(it.szSubject);
    item.strWho = Text(it.szDisplayFrom);
    item.ftDate = it.ftSent;
    item.nSize = it.cbMessage;
    item.nState = it.dwState;
    return item;
}

ItemInfo ContactItem(const WABItem &it, const FolderInfo &folder) {
    ItemInfo item;
    item.strEntry = Text(it.szEntry);
    item.strFolderEntry = folder.strEntry;
    item.strFolder = folder.strPath;
    item.strTitle = Text(it.szDisplayName);
    item.strWho = Text(it.szEmailAddress);
    item.strPhone = it.szBusinessPhone && *it.szBusinessPhone ? Text(it.szBusinessPhone) : Text(it.szHomePhone);
    item.ftDate = it.ftLastModification;
    item.nObjectType = it.nObjectType;
    return item;
}

} // namespace

std::string StatusText(int32_t nStatus) {
    char sz[32];
    std::snprintf(sz, sizeof sz, "0x%08X", static_cast<uint32_t>(nStatus));
    // The few a user can act on get words too.
    switch (static_cast<uint32_t>(nStatus)) {
    case 0x80030070u: // STG_E_MEDIUMFULL
    case 0x80070070u: return std::string(sz) + ", the disk is full";
    case 0x80030005u: // STG_E_ACCESSDENIED
    case 0x80070005u: return std::string(sz) + ", permission denied";
    case 0x8004010Fu: return std::string(sz) + ", not found";
    default: return sz;
    }
}

bool ListFolders(CSession &session, std::vector<FolderInfo> &folders, std::string &strError) {
    folders.clear();
    if (session.Api() == API_OE) {
        if (!ListMailFolders(session.Lib(), folders)) {
            strError = "the folders of " + session.Location() + " could not be listed";
            return false;
        }
    } else {
        const int32_t nStatus = ListContactFolders(session.Lib(), folders);
        if (nStatus != 0) {
            strError = "the containers of " + session.Location() + " could not be listed (" + StatusText(nStatus) + ")";
            return false;
        }
    }
    FillPaths(folders);
    return true;
}

bool ListItems(CSession &session, const FolderInfo &folder, const ListFilter &filter, std::vector<ItemInfo> &items,
               std::string &strError) {
    const int32_t bSort = filter.nSort != 0, bDescending = filter.nSort == 2;
    int32_t nStatus = 0;
    if (session.Api() == API_OE) {
        // The message store filters by UTC, the address book by local time.
        SYSTEMTIME stUtc{};
        if (filter.bSince && !LocalToUtc(filter.stSince, stUtc)) {
            strError = "the --since date does not exist in the local time zone";
            return false;
        }
        OEItems *pItems = nullptr;
        nStatus = OEGetItems(session.Lib(), &pItems, folder.strEntry.c_str(), filter.bEntriesOnly,
                             filter.bSince ? &stUtc : nullptr, bSort, bDescending);
        if (pItems) {
            for (uint32_t i = 0; i < pItems->cItems; ++i) items.push_back(MailItem(pItems->pItems[i], folder));
            OEFreeItems(session.Lib(), pItems);
        }
    } else {
        WABItems *pItems = nullptr;
        nStatus = WABGetItems(session.Lib(), &pItems, folder.strEntry.c_str(), filter.nObjectType, 0, 0,
                              filter.bSince ? &filter.stSince : nullptr, bSort, bDescending);
        if (pItems) {
            for (uint32_t i = 0; i < pItems->cItems; ++i) items.push_back(ContactItem(pItems->pItems[i], folder));
            WABFreeItems(session.Lib(), pItems);
        }
    }
    if (nStatus != 0) {
        strError = "the " + std::string(session.Kind().pszItems) + " of " + folder.strPath + " could not be listed (" +
                   StatusText(nStatus) + ")";
        return false;
    }
    return true;
}

const FolderInfo *FindFolder(const std::vector<FolderInfo> &folders, const std::string &strName) {
    for (const FolderInfo &folder : folders)
        if (strcasecmp(folder.strPath.c_str(), strName.c_str()) == 0 || folder.strEntry == strName) return &folder;
    const FolderInfo *pFound = nullptr;
    for (const FolderInfo &folder : folders) {
        if (strcasecmp(folder.strName.c_str(), strName.c_str()) != 0) continue;
        if (pFound) return nullptr; // the name alone is ambiguous
        pFound = &folder;
    }
    return pFound;
}

bool ReadItem(CSession &session, const std::vector<FolderInfo> &folders, const std::string &strEntry, ItemInfo &item,
              std::string &strError) {
    const FolderInfo *pFolder = nullptr;
    if (session.Api() == API_OE) {
        // An item entry begins with its folder's entry (8 digits).
        for (const FolderInfo &folder : folders)
            if (strEntry.size() == 16 && strEntry.compare(0, 8, folder.strEntry) == 0) pFolder = &folder;
    } else {
        // The book finds a contact's container without listing every contact (a dedupe asks once per action).
        char *pszFolder = nullptr;
        if (WABFindItemFolder(session.Lib(), strEntry.c_str(), &pszFolder, 0) == 0 && pszFolder)
            for (const FolderInfo &folder : folders)
                if (folder.strEntry == pszFolder) pFolder = &folder;
        if (pszFolder) TS_FreeBuffer(session.Lib(), API_WAB, pszFolder);
    }
    if (!pFolder) {
        strError = "no " + std::string(session.Api() == API_OE ? "message" : "contact") + " with the entry " + strEntry;
        return false;
    }
    const int32_t nStatus = ReadItemIn(session, *pFolder, strEntry, item);
    if (nStatus != 0 || item.strEntry.empty()) {
        strError = "no " + std::string(session.Api() == API_OE ? "message" : "contact") + " with the entry " + strEntry +
                   " (" + StatusText(nStatus) + ")";
        return false;
    }
    return true;
}

int32_t ReadItemIn(CSession &session, const FolderInfo &folder, const std::string &strEntry, ItemInfo &item) {
    int32_t nStatus = 0;
    if (session.Api() == API_OE) {
        OEItem *pItem = nullptr;
        nStatus = OEGetItem(session.Lib(), &pItem, strEntry.c_str(), 0);
        if (pItem) {
            item = MailItem(*pItem, folder);
            OEFreeItem(session.Lib(), pItem);
        }
    } else {
        WABItem *pItem = nullptr;
        nStatus = WABGetItem(session.Lib(), &pItem, strEntry.c_str());
        if (pItem) {
            item = ContactItem(*pItem, folder);
            WABFreeItem(session.Lib(), pItem);
        }
    }
    return nStatus;
}
