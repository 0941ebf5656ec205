// Header edits applied to a message's source bytes, so that a message whose headers alone changed keeps every
// other byte: the untouched header lines (odd ones included) and the whole body.
#pragma once

#include <string>
#include <vector>

// Where the header block ends: just past the first empty line, or the end of the source.
size_t MimeHeaderBlockEnd(const std::string &strSource);

struct MimeHeaderEdit {
    std::string strName;            // the header that changed
    std::vector<std::string> rgRows; // its rows now ("Name: value" with line end); empty when it was deleted
};

// The source with each edited header's fields replaced by its rows, where its first field stood or else at the
// end of the block. With bHeaderless the source is all body, and the rows go in front of it with an empty line.
std::string MimeSpliceHeaders(const std::string &strSource, const std::vector<MimeHeaderEdit> &rgEdits,
                              bool bHeaderless);
