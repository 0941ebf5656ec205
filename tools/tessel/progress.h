// The progress line of long work, on standard error and only when that is a terminal; redrawn at most ten times a
// second so that a fast scan is not slowed by its own display.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

class CProgress {
public:
    // Shown only when wanted and standard error is a terminal.
    explicit CProgress(bool bWanted);
    ~CProgress();
    CProgress(const CProgress &) = delete;
    CProgress &operator=(const CProgress &) = delete;

    bool Shown() const { return m_bShown; }
    // True when a redraw is due (the caller may then gather figures that cost something).
    bool Due() const;
    // Redraws the line: "<what>: done/total[, text]".
    void Show(const std::string &strWhat, size_t nDone, size_t nTotal, const std::string &strMore);
    // Clears the line.
    void Finish();

private:
    bool m_bShown;
    bool m_bDrawn = false;
    std::chrono::steady_clock::time_point m_Last{};
};
