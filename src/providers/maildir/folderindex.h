// The messages of one folder by id: the folder's uid list brought in line with its files. Every Refresh re-reads
// both, so that deliveries and flag changes of other programs show; changes to the list are made under the
// list's flock, on a fresh reading, and written back by an atomic replace.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "providers/maildir/folderfiles.h"
#include "providers/maildir/packednames.h"
#include "providers/maildir/uidlist.h"

// A message as a view keeps it, where its file is now included: 12 bytes, since a view holds every message of its
// folder for as long as the folder is open. The state bits fit in 31 bits (MSG_ALLSTATES).
struct IndexedMessage {
    uint32_t nName;     // file name in its subdirectory: its place in the view's names
    MESSAGEID id;
    DWORD dwState : 31; // from the file name and the uid list
    DWORD bNew : 1;     // in new/ rather than cur/
};
static_assert(sizeof(IndexedMessage) == 12);

// The messages of one reading. A view lives as long as the folder is open (a whole scan, for a scan), so the
// names are packed rather than taking one allocation each.
struct MessageList {
    std::vector<IndexedMessage> messages; // ascending ids
    CPackedNames names;

    std::string NameOf(const IndexedMessage &msg) const { return names.Name(msg.nName); }
};
using MessageView = std::shared_ptr<const MessageList>;

class CFolderIndex {
public:
    explicit CFolderIndex(std::string strDir) : m_strDir(std::move(strDir)) {}

    const std::string &Dir() const { return m_strDir; }

    // Reads the list and the folder's files again, unless neither they nor cur/ and new/ changed since the last
    // reading (by inode, size and modification time, trusted only once they are older than a second). A list
    // that had to change is written back; if it can't be, a warning is logged and the ids hold for this process.
    // STG_E_PATHNOTFOUND when cur/ or new/ is no directory (the folder is gone or moved).
    HRESULT Refresh();

    // Under the lock, on a fresh reading: fnChange may change the list (its result ends the update), which is
    // then written. The view follows the change.
    HRESULT Update(const std::function<HRESULT(CUidList &)> &fnChange);

    // The messages as of the last Refresh or Update.
    const MessageView &View() const { return m_view; }
    const IndexedMessage *Find(MESSAGEID id) const;

    // The path and name of a message of list, or of the current view.
    std::string PathOf(const MessageList &list, const IndexedMessage &msg) const;
    std::string PathOf(const IndexedMessage &msg) const { return PathOf(*m_view, msg); }
    std::string NameOf(const IndexedMessage &msg) const { return m_view->NameOf(msg); }
    std::string UidListPath() const { return m_strDir + "/tessel-uidlist"; }

private:
    struct FileSig {
        uint64_t nDev = 0, nIno = 0, nSize = 0;
        int64_t nMtime = -1; // ns; -1 when the file is missing
        bool operator==(const FileSig &o) const = default;
    };
    using FolderSig = std::array<FileSig, 3>; // uid list, cur/, new/
    FolderSig TakeSig() const;
    static bool Settled(const FolderSig &sig);

    // Parses strText into list, matches it with the files; true in bChanged if the list must be written.
    HRESULT Pass(const std::string &strText, CUidList &list, bool &bChanged, bool &bDamaged);
    void BuildView(CUidList &list);

    std::string m_strDir;
    std::vector<MessageFile> m_files; // the files of the reading in progress; emptied once the view is built
    std::vector<size_t> m_index;      // m_index[i]: entry of m_files[i]
    MessageView m_view = std::make_shared<MessageList>();
    FolderSig m_sig;           // what the view was read from
    bool m_bSigValid = false;  // m_sig can tell whether a new reading is needed
};
