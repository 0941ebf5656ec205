#include "support/file_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace testsupport {

// Closes are watched too, so that two opens in a row are two notices: the kernel merges a notice into an equal one
// just before it.
CFileWatch::CFileWatch(const std::filesystem::path &dir) {
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd >= 0 && inotify_add_watch(m_fd, dir.c_str(), IN_OPEN | IN_CLOSE_NOWRITE) < 0) {
        close(m_fd);
        m_fd = -1;
    }
}

CFileWatch::~CFileWatch() {
    if (m_fd >= 0) close(m_fd);
}

std::map<std::string, int> CFileWatch::Take() {
    std::map<std::string, int> counts;
    alignas(inotify_event) char buf[65536];
    for (;;) {
        ssize_t n = read(m_fd, buf, sizeof(buf));
        if (n <= 0) break;
        for (ssize_t i = 0; i < n;) {
            auto *pEvent = reinterpret_cast<inotify_event *>(buf + i);
            if (pEvent->len && (pEvent->mask & IN_OPEN)) ++counts[pEvent->name];
            i += static_cast<ssize_t>(sizeof(inotify_event) + pEvent->len);
        }
    }
    return counts;
}

bool CFileWatch::WaitForOpen(const std::string &strName, std::map<std::string, int> &counts) {
    for (int i = 0; i < 5000; ++i) {
        for (const auto &[strFile, n] : Take()) counts[strFile] += n;
        if (counts.count(strName)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

} // namespace testsupport
