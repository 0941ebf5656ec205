#include "support/paths.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace testsupport {

std::filesystem::path SourceDir() { return std::filesystem::path(TESSEL_SOURCE_DIR); }

std::filesystem::path SharedDir() {
    std::error_code ec;
    if (const char *env = std::getenv("TESSEL_SHARED_DIR"); env && *env) {
        std::filesystem::path p(env);
        return std::filesystem::is_directory(p / "corpus", ec) ? p : std::filesystem::path();
    }
    std::filesystem::path p = SourceDir().parent_path() / "shared";
    return std::filesystem::is_directory(p / "corpus", ec) ? p : std::filesystem::path();
}

std::vector<std::filesystem::path> SharedCorpusMessages() {
    std::vector<std::filesystem::path> rgPaths;
    std::filesystem::path shared = SharedDir();
    if (shared.empty()) return rgPaths;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(shared / "corpus" / "mail", ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        if (it->is_regular_file() && it->path().extension() == ".eml") rgPaths.push_back(it->path());
    std::sort(rgPaths.begin(), rgPaths.end());
    return rgPaths;
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessel-test-XXXXXX").string();
    if (char *made = mkdtemp(pattern.data())) m_path = made;
}

TempDir::~TempDir() {
    std::error_code ec;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ec);
}

} // namespace testsupport
