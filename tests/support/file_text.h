// Whole files as text, byte for byte, for tests that plant files and read them back.
#pragma once

#include <filesystem>
#include <string>

namespace testsupport {

// The whole content of a file; empty if it cannot be read.
std::string ReadFileText(const std::filesystem::path &path);

// Writes the file whole, replacing what was there.
void WriteFileText(const std::filesystem::path &path, const std::string &strText);

} // namespace testsupport
