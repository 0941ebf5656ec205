// A duplicate scan: lists the chosen folders, adds every item to one search, builds the groups and hands them out
// as the tool's own records (original first, then its duplicates). Commands that act on duplicates reuse it.
#pragma once

#include <string>
#include <vector>

#include "keeprule.h"
#include "listing.h"
#include "propset.h"
#include "session.h"

struct ScanRequest {
    std::vector<std::string> folders; // paths, names or entries; empty for all folders
    CPropertySet *pProps = nullptr;   // what makes items equal
    const CKeepRule *pKeep = nullptr; // which item of a group is the original
    bool bProgress = true;            // a progress line on standard error when it is a terminal
};

struct ScanGroup {
    ItemInfo original;
    std::vector<ItemInfo> duplicates;
};

struct ScanResult {
    std::vector<FolderInfo> folders;        // the folders scanned
    std::vector<ScanGroup> groups;
    size_t nItems = 0;                      // items listed
    size_t nRefused = 0;                    // items the search could not read (counted, skipped)
    std::vector<std::string> refusedEntries;
    size_t DuplicateCount() const;
};

// False with a message when a folder is unknown (bUsage set) or the store fails; a single unreadable item is no
// failure. FindGroups and then ReadGroupDetails.
bool RunScan(CSession &session, const ScanRequest &request, ScanResult &result, std::string &strError,
             bool &bUsage);

// The groups, their members known only by entry and folder. Fails as RunScan does.
bool FindGroups(CSession &session, const ScanRequest &request, ScanResult &result, std::string &strError,
                bool &bUsage);
// Every member of the groups as a full listing shows it; a member that can't be read any more keeps only its entry
// and folder.
void ReadGroupDetails(CSession &session, ScanResult &result);
