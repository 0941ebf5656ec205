// Folders and items of the open store, as the tool's own records. One listing call per folder gives everything a
// table needs about an item; a scan lists entries only and reads the few items it shows one by one.
#pragma once

#include <string>
#include <vector>

#include "records.h"
#include "session.h"

struct ListFilter {
    bool bSince = false;
    SYSTEMTIME stSince{};   // local time
    int nSort = 0;          // 0 as stored, 1 oldest first, 2 newest first
    uint32_t nObjectType = 0; // contacts: 0 all, MAPI_MAILUSER or MAPI_DISTLIST
    bool bEntriesOnly = false; // mail: entries and states only, no file read (the book has no shorter listing)
};

// A library status for messages: "0x80040107".
std::string StatusText(int32_t nStatus);

// The folder tree (mail) or the containers (contacts), depth-first.
bool ListFolders(CSession &session, std::vector<FolderInfo> &folders, std::string &strError);

// The items of one folder.
bool ListItems(CSession &session, const FolderInfo &folder, const ListFilter &filter, std::vector<ItemInfo> &items,
               std::string &strError);

// A folder by its path ("Work/Projects"), its name when that is unique, or its entry text, ignoring case for
// names; null if there is none.
const FolderInfo *FindFolder(const std::vector<FolderInfo> &folders, const std::string &strName);

// One item by its entry text (for compare); false with a message when the store does not know it.
bool ReadItem(CSession &session, const std::vector<FolderInfo> &folders, const std::string &strEntry, ItemInfo &item,
              std::string &strError);

// One item of a known folder, as a full listing gives it; the status of the store (0 when it was read).
int32_t ReadItemIn(CSession &session, const FolderInfo &folder, const std::string &strEntry, ItemInfo &item);
