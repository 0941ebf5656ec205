// The opens of the files of one directory, from the file system's own notices: counts of real reads, whoever made
// them, with nothing of the reading stood in for.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace testsupport {

class CFileWatch {
public:
    explicit CFileWatch(const std::filesystem::path &dir);
    ~CFileWatch();
    CFileWatch(const CFileWatch &) = delete;
    CFileWatch &operator=(const CFileWatch &) = delete;
    bool Valid() const { return m_fd >= 0; }

    // The opens of each file of the directory since the last Take.
    std::map<std::string, int> Take();
    // Adds the opens since the last Take to counts until strName has one there; false if none came within a few
    // seconds.
    bool WaitForOpen(const std::string &strName, std::map<std::string, int> &counts);

private:
    int m_fd = -1;
};

} // namespace testsupport
