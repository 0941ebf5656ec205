// Sends the full log to a temporary file for the life of the object, so that a test can read back the lines the
// code under test wrote. The log goes back to silence (level 1) afterwards.
#pragma once

#include <string>

#include "support/paths.h"

namespace testsupport {

class LogCapture {
public:
    explicit LogCapture(int nLevel = 1);
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    // Everything logged so far, each entry without its date and time, so "Err[0x7e] in CWAB::Init: ...".
    std::string Text() const;
    // True if some entry, date and time left out, is exactly this text (which may span several lines).
    bool Has(const std::string &strEntry) const;
    // Starts afresh: what was logged so far is dropped.
    void Clear();

private:
    TempDir m_dir;
    std::string m_strPath;
    int m_nLevel;
};

} // namespace testsupport
