// Log lines in tests: points g_Log at files in a fresh temporary directory for the life of an object, and reads
// them back. Two flavours from two branches, kept side by side until they are folded into one.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/paths.h"

namespace testsupport {

// The whole content of a file; empty if it cannot be read.
std::string ReadFileText(const std::filesystem::path &path);

// The lines of a log text with the time stamp ("dd/mm/yyyy hh:mm:ss ") cut off where a line has one, so that a
// line reads "Err[0x80004005] in CLabel::Method: message". Lines that a message's own line ends made are kept as
// they are.
std::vector<std::string> StripTimeStamps(const std::string &text);

class LogCapture {
public:
    // Configures g_Log with both files and the level; no debug output.
    explicit LogCapture(int32_t nLevel);
    // Puts g_Log back in its unconfigured state (no files, level 1).
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    std::filesystem::path FullLogPath() const { return m_dir.path() / "full.log"; }
    std::filesystem::path ErrorLogPath() const { return m_dir.path() / "error.err"; }

    // The full log's lines without time stamps, leaving out the banner that configuring it wrote.
    std::vector<std::string> Lines() const;
    // The error log's lines, each with the version field in front, unchanged otherwise.
    std::vector<std::string> ErrorLines() const;

private:
    TempDir m_dir;
    size_t m_nBannerLines = 0;
};

// Sends g_Log's full log to a temporary file for the life of the object, so that a test can read back the lines
// the code under test logged. Back to no log at all when it goes.
class CLogCapture {
public:
    explicit CLogCapture(int nLevel = 1);
    ~CLogCapture();
    CLogCapture(const CLogCapture &) = delete;
    CLogCapture &operator=(const CLogCapture &) = delete;

    // Everything written so far, byte for byte, the banner of configuring the log included.
    std::string Text() const;
    // The non-empty lines after the banner, each without its date and time:
    // "Err[0x80004005] in CClass::Method: text".
    std::vector<std::string> Lines() const;
    // Forgets what was logged so far.
    void Clear();

private:
    TempDir m_dir;
    std::string m_path;
    int m_nLevel;
    size_t m_nSkip = 0; // bytes of the banner that configuring the log wrote
};

} // namespace testsupport
