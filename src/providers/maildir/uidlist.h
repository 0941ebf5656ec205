// The message ids of one folder, as kept in "tessel-uidlist" inside it: which unique file name has which id,
// the state bits that file names can't carry, and the next id to give. Ids ascend and are never reused.
//
// File format (text, one record a line):
//   tessel-uidlist 1 <next id>
//   <id> <extra state bits, hex> <c: committed | t: reserved, still in tmp/> <unique name>
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/msgstore.h"

struct UidEntry {
    MESSAGEID id = 0;
    DWORD dwExtra = 0;          // state bits outside kNameStateBits
    bool bReserved = false;     // given out by CreateStream; the file is still in tmp/
    std::string strUnique;      // the file name up to ":2,"
};

// One message file found in cur/ or new/.
struct MessageFile {
    std::string strName; // file name in its subdirectory
    bool bNew = false;   // in new/ rather than cur/
    std::string_view Unique() const;
};

class CUidList {
public:
    // Reads the file text. An empty text is a fresh list. False if the text is damaged: what could be read is
    // kept, and the next id stays above every id seen.
    bool Parse(std::string_view svText);
    std::string Serialize() const;

    // Matches the list with the files of the folder. Ids whose files vanished are dropped, except a reservation
    // whose file fnInTmp finds in tmp/. index[i] becomes the entry index of files[i], or SIZE_MAX for a file
    // without an id; those files are returned, but for files whose unique name an earlier file has (they stay
    // without an id). bChanged is set when entries were dropped or reservations found.
    std::vector<size_t> Match(const std::vector<MessageFile> &files,
                              const std::function<bool(const std::string &)> &fnInTmp, std::vector<size_t> &index,
                              bool &bChanged);
    // Gives the files of newFiles (indices into files, in delivery order) the next ids and fills their index.
    void Assign(const std::vector<size_t> &newFiles, const std::vector<MessageFile> &files, std::vector<size_t> &index);

    // Gives the next id to a new reservation for strUnique.
    MESSAGEID Reserve(const std::string &strUnique);

    UidEntry *Find(MESSAGEID id);
    // Sets the extra state bits of the entries whose unique names are keys of extras.
    void SetExtras(const std::map<std::string, DWORD> &extras);
    const std::vector<UidEntry> &Entries() const { return m_entries; }
    MESSAGEID NextId() const { return m_idNext; }

private:
    std::vector<UidEntry> m_entries; // ascending ids
    MESSAGEID m_idNext = 1;
};

