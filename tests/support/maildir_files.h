// Building Maildir folders by hand in tests and listing the message files in them.
#pragma once

#include <filesystem>
#include <vector>

namespace testsupport {

// cur/, new/ and tmp/ under dir.
void MakeMaildir(const std::filesystem::path &dir);

// The files in cur/ and new/ of one Maildir folder, in no particular order.
std::vector<std::filesystem::path> MessageFiles(const std::filesystem::path &dir);

} // namespace testsupport
