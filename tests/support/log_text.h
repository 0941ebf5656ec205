// Reading log files back in tests, byte for byte.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace testsupport {

// The whole content of a file; empty if it cannot be read.
std::string ReadFileText(const std::filesystem::path &path);

// The lines of a log text with the time stamp ("dd/mm/yyyy hh:mm:ss ") cut off where a line has one, so that a
// line reads "Err[0x80004005] in CLabel::Method: message". Empty lines, which a message's own line ends leave,
// are kept.
std::vector<std::string> StripTimeStamps(const std::string &text);

} // namespace testsupport
