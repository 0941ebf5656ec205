// The tool's own view of what a store lists: folders (mail folders or address book containers) and items
// (messages or contacts), copied out of the library's records so that they outlive the lists they came from.
#pragma once

#include <cstdint>
#include <string>

#include "tessel.h"

struct FolderInfo {
    std::string strEntry;
    std::string strParentEntry; // empty directly below the store root
    std::string strName;
    std::string strPath;        // names from the top down, joined by "/"
    int nDepth = 0;
    int32_t nType = -1;         // FOLDER_* for mail; -1 for contacts
    int64_t nItems = -1;        // -1 when the store does not say
    int64_t nUnread = -1;
};

struct ItemInfo {
    std::string strEntry;
    std::string strFolderEntry;
    std::string strFolder;   // the folder's path, for people
    std::string strTitle;    // subject, or display name
    std::string strWho;      // sender, or e-mail address
    std::string strPhone;    // contacts: the first telephone number there is
    FILETIME ftDate{};       // sent, or last modified; zero when unknown
    int64_t nSize = -1;      // bytes; -1 when unknown
    uint32_t nState = 0;     // mail: the state flags the listing gave
    uint32_t nObjectType = 0; // contacts: MAPI_MAILUSER or MAPI_DISTLIST
};
