// Where a message's plain body can be taken straight from its source bytes, because GMime's parse would hand out
// those very bytes: a simple text/plain message, or a multipart/mixed whose first part is such a text. Every test
// here answers "no" where it is not sure; the caller then asks GMime.
#pragma once

#include <string_view>

#include "providers/mime/headerindex.h"

// The plain body of a message with these top header fields and this body (the bytes after the header block) as
// GMime would give it: a view into svBody, or a view with a null data() when only a parse can tell.
std::string_view MimeFindPlainBodyAsIs(const CMimeHeaderIndex &index, std::string_view svBody);

// The text of the first part of a multipart/mixed body whose delimiter is svBoundary, where that part is the
// message's plain body and its text is handed out as it stands; null data() otherwise.
std::string_view MimeFindMixedPlainBody(std::string_view svBody, std::string_view svBoundary);
