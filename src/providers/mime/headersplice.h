// Header edits applied to a message's source bytes, so that a message whose headers alone changed keeps every
// other byte: the untouched header lines (odd ones included) and the whole body.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Where the header block ends: just past the first empty line, or the end of the source.
size_t MimeHeaderBlockEnd(const std::string &strSource);
// The same end, or npos while the bytes so far hold no empty line. nFrom: how much of sv an earlier call already
// looked at (the bytes since were appended), so that a block read piece by piece is looked at about once.
size_t MimeFindHeaderBlockEnd(std::string_view sv, size_t nFrom = 0);

struct MimeHeaderEdit {
    std::string strName;            // the header that changed
    std::vector<std::string> rgRows; // its rows now ("Name: value" with line end); empty when it was deleted
};

// The source with each edited header's fields replaced by its rows, where its first field stood or else at the
// end of the block. With bHeaderless the source is all body, and the rows go in front of it with an empty line.
std::string MimeSpliceHeaders(const std::string &strSource, const std::vector<MimeHeaderEdit> &rgEdits,
                              bool bHeaderless);
