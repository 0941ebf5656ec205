// Where tests find their data: the repository's own files, and the shared corpus beside the checkout (absent in
// a user's fresh clone; tests that need it skip with a message).
#pragma once

#include <filesystem>
#include <vector>

namespace testsupport {

// The repository's top directory.
std::filesystem::path SourceDir();

// ../shared next to the checkout, or $TESSEL_SHARED_DIR; empty if neither exists.
std::filesystem::path SharedDir();

// The messages of the shared mail corpus, sorted; empty when the corpus is absent.
std::vector<std::filesystem::path> SharedCorpusMessages();

// A fresh, empty directory under the system's temporary directory, removed when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace testsupport

// Skips the current test when the shared corpus is not there.
#define SKIP_WITHOUT_SHARED_CORPUS()                                                                           \
    do {                                                                                                       \
        if (testsupport::SharedDir().empty())                                                                  \
            GTEST_SKIP() << "shared corpus not found (../shared next to the checkout, or TESSEL_SHARED_DIR)";  \
    } while (0)
