#include "support/paths.h"

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

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessel-test-XXXXXX").string();
    if (char *made = mkdtemp(pattern.data())) m_path = made;
}

TempDir::~TempDir() {
    std::error_code ec;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ec);
}

} // namespace testsupport
