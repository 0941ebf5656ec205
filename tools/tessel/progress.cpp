#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace {
constexpr std::chrono::milliseconds kInterval(100);
}

CProgress::CProgress(bool bWanted) : m_bShown(bWanted && isatty(STDERR_FILENO)) {}

CProgress::~CProgress() { Finish(); }

bool CProgress::Due() const {
    return m_bShown && std::chrono::steady_clock::now() - m_Last >= kInterval;
}

void CProgress::Show(const std::string &strWhat, size_t nDone, size_t nTotal, const std::string &strMore) {
    if (!m_bShown) return;
    m_Last = std::chrono::steady_clock::now();
    std::fprintf(stderr, "\r\033[K%s: %zu/%zu%s%s", strWhat.c_str(), nDone, nTotal, strMore.empty() ? "" : ", ",
                 strMore.c_str());
    std::fflush(stderr);
    m_bDrawn = true;
}

void CProgress::Finish() {
    if (!m_bDrawn) return;
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
    m_bDrawn = false;
}
