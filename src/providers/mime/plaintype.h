// What a Content-Type value says of a message's plain body: GMime's own reading of the value, remembered per
// distinct value, since a store repeats a handful of them over and over and each parse builds and drops a GObject.
#pragma once

#include <string>
#include <string_view>

// text/plain with no charset or one of utf-8, utf8, us-ascii (in any case), as g_mime_content_type_parse reads it.
// bUnnamed: and without a name parameter, which makes a text part inside a multipart a file rather than the body.
bool MimeIsPlainUtf8Type(std::string_view svValue, bool bUnnamed = false);

// Both answers of one reading of a message's top Content-Type value: whether it is a plain UTF-8 type as above
// (named or not), and for a multipart/mixed one its boundary parameter in *pstrMixedBoundary (left empty for any
// other type or without one).
bool MimeReadTopType(std::string_view svValue, std::string *pstrMixedBoundary);
