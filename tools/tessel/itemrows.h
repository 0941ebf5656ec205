// The rows of a long listing, packed: all texts of all rows in one buffer and a small fixed record per row, in
// place of an ItemInfo with six strings each. A scan keeps every listed item until its groups are known, and at a
// million messages the per-item strings were most of its memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records.h"

class CItemRows {
public:
    // Takes a copy of the item; nFolder is its folder's place in the list that Row and FolderEntry get.
    void Append(const ItemInfo &item, uint32_t nFolder);
    void Reserve(size_t nRows) { m_Rows.reserve(nRows); }
    size_t Size() const { return m_Rows.size(); }

    const char *Entry(size_t nRow) const { return Text(m_Rows[nRow].nEntry); }
    uint32_t Folder(size_t nRow) const { return m_Rows[nRow].nFolder; }
    // The row as the tool's record again, its folder filled in from folders.
    ItemInfo Row(size_t nRow, const std::vector<FolderInfo> &folders) const;

    // Makes Find work; call once all rows are in.
    void Index();
    // The row that has the entry, or Size() when none has it.
    size_t Find(const std::string &strEntry) const;

private:
    struct PackedRow {
        uint32_t nFolder;
        uint32_t nEntry, nTitle, nWho, nPhone; // offsets of zero-terminated texts in m_Texts
        uint32_t nState;
        uint32_t nObjectType;
        FILETIME ftDate;
        int64_t nSize;
    };

    uint32_t Keep(const std::string &str);
    const char *Text(uint64_t nOffset) const { return m_Texts.data() + nOffset; }

    std::vector<PackedRow> m_Rows;
    std::vector<char> m_Texts;
    std::vector<uint32_t> m_ByEntry; // rows ordered by entry text
};
