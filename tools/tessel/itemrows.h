// The entries of a long listing, packed: all entry texts in one buffer and a small fixed record per row, in place
// of a string each. A scan keeps every listed item until all are in its search, and at a million messages the
// per-item strings were most of its memory. Nothing else of an item is kept: the scan reads the details of the
// few that end up in groups.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class CItemRows {
public:
    // nFolder is the item's folder's place in the scan's list of folders.
    void Append(const std::string &strEntry, uint32_t nFolder);
    void Reserve(size_t nRows) { m_Rows.reserve(nRows); }
    size_t Size() const { return m_Rows.size(); }

    const char *Entry(size_t nRow) const { return Text(m_Rows[nRow].nEntry); }
    uint32_t Folder(size_t nRow) const { return m_Rows[nRow].nFolder; }

private:
    struct PackedRow {
        uint32_t nFolder;
        uint32_t nEntry; // offset of a zero-terminated text in m_Texts
    };

    const char *Text(uint64_t nOffset) const { return m_Texts.data() + nOffset; }

    std::vector<PackedRow> m_Rows;
    std::vector<char> m_Texts;
};
