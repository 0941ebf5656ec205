// The folders of a Maildir store and their ids. Both layouts are read: Maildir++ (".Work.Sub" directories in the
// root, the root itself being the Inbox) and nested ("Work/Sub", any directory with cur/ and new/). Folder ids
// are kept in "tessel-folders" at the root, so that a folder keeps its id across runs; a folder that appears gets
// a new id, one that is gone loses its id for good.
//
// File format: "tessel-folders 1 <next id>" then one line "<id> <path below the root>" per folder ("." is the root).
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/msgstore.h"
#include "providers/maildir/folderindex.h"

struct FolderEntry {
    STOREFOLDERID id = 0;
    STOREFOLDERID idParent = FOLDERID_ROOT;
    std::string strRel;  // "." for the root, ".A.B" (Maildir++) or "A/B" (nested)
    std::string strName; // what the user sees: "Inbox" for the root, else the last part(s) of the path
    SPECIALFOLDER sfType = FOLDER_OTHER;
    std::vector<STOREFOLDERID> children; // the Inbox first, the others by name
};

class CFolderTree {
public:
    explicit CFolderTree(std::string strRoot) : m_strRoot(std::move(strRoot)) {}

    // Walks the store's directories again and updates the ids.
    HRESULT Scan();

    const std::string &Root() const { return m_strRoot; }
    const FolderEntry *Find(STOREFOLDERID id) const;
    const FolderEntry *FindSpecial(SPECIALFOLDER sfType) const;
    // The folders directly below idParent (FOLDERID_ROOT for the top level); null for an unknown id.
    const std::vector<STOREFOLDERID> *Children(STOREFOLDERID idParent) const;
    bool Empty() const { return m_folders.empty(); }
    std::string DirOf(const FolderEntry &folder) const;

    // The special folder's id; all but the Inbox are created (at the top level) when the store has none.
    HRESULT OpenSpecial(SPECIALFOLDER sfType, STOREFOLDERID *pidFolder);
    // The props of a folder: counts from its files, the tree scanned again if the folder is not where it was.
    HRESULT GetProps(STOREFOLDERID id, FOLDERPROPS *pProps);

    // The message index of the folder in strDir, shared by every open of that folder.
    std::shared_ptr<CFolderIndex> IndexFor(const std::string &strDir);

    // Makes a new folder below idParent, in the parent's layout (the store's, at the top level), and scans.
    HRESULT Create(STOREFOLDERID idParent, const std::string &strName, STOREFOLDERID *pidFolder);

private:
    HRESULT AssignIds(const std::vector<std::string> &rels, std::map<std::string, STOREFOLDERID> &ids);
    bool NewFoldersNested() const;

    std::string m_strRoot;
    std::map<STOREFOLDERID, FolderEntry> m_folders;
    std::vector<STOREFOLDERID> m_top;
    std::map<std::string, std::shared_ptr<CFolderIndex>> m_indexes;
};

// The canonical name of a special folder that the store creates when it has none ("Trash" for Deleted Items).
const char *SpecialFolderNewName(SPECIALFOLDER sfType);
