// Log text read back in tests, with the time stamps cut off.
#pragma once

#include <string>
#include <vector>

#include "support/file_text.h"

namespace testsupport {

// The lines of a log text with the time stamp ("dd/mm/yyyy hh:mm:ss ") cut off where a line has one, so that a
// line reads "Err[0x80004005] in CLabel::Method: message". Empty lines, which a message's own line ends leave,
// are kept.
std::vector<std::string> StripTimeStamps(const std::string &text);

} // namespace testsupport
