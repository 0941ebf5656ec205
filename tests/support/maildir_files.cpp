#include "support/maildir_files.h"

namespace fs = std::filesystem;

namespace testsupport {

void MakeMaildir(const fs::path &dir) {
    for (const char *psz : {"cur", "new", "tmp"}) fs::create_directories(dir / psz);
}

std::vector<fs::path> MessageFiles(const fs::path &dir) {
    std::vector<fs::path> files;
    for (const char *psz : {"cur", "new"}) {
        std::error_code ec;
        for (const auto &entry : fs::directory_iterator(dir / psz, ec)) files.push_back(entry.path());
    }
    return files;
}

} // namespace testsupport
