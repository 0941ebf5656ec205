// Sends g_Log's full log to a temporary file for the life of the object, so that a test can read back the lines
// the code under test logged. Back to no log at all when it goes.
#pragma once

#include <string>
#include <vector>

#include "support/paths.h"

namespace testsupport {

class CLogCapture {
public:
    explicit CLogCapture(int nLevel = 1);
    ~CLogCapture();
    CLogCapture(const CLogCapture &) = delete;
    CLogCapture &operator=(const CLogCapture &) = delete;

    // Everything written so far, byte for byte.
    std::string Text() const;
    // The non-empty lines, each without its date and time: "Err[0x80004005] in CClass::Method: text".
    std::vector<std::string> Lines() const;
    // Forgets what was logged so far.
    void Clear();

private:
    TempDir m_dir;
    std::string m_path;
    int m_nLevel;
};

} // namespace testsupport
