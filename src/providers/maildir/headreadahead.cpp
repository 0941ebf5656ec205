#include "providers/maildir/headreadahead.h"

#include <sys/stat.h>

#include <chrono>
#include <system_error>

#include "providers/mime/fileio.h"

namespace {

// Bytes read ahead and not yet taken; the worker waits beyond them, and leaves a whole file that would take them
// beyond to the caller.
constexpr size_t kMaxHeld = 4 << 20;
// How long an idle worker waits for more before it ends: a walk asks again well within it, a folder left open
// after its walk keeps no thread.
constexpr auto kIdleEnd = std::chrono::milliseconds(200);

// The whole file at pszPath as MimeReadFile reads it, if it is at most cbRoom bytes; the size is looked at first, so
// that a big file is not read twice (here and by the caller).
bool ReadWholeWithin(const char *pszPath, size_t cbRoom, std::string &strOut) {
    struct stat st {};
    if (stat(pszPath, &st) != 0 || !S_ISREG(st.st_mode) || static_cast<uint64_t>(st.st_size) > cbRoom) return false;
    return SUCCEEDED(MimeReadFile(pszPath, strOut)) && strOut.size() <= cbRoom; // it may have grown since
}

} // namespace

CHeadReadAhead::~CHeadReadAhead() {
    {
        std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_cvWork.notify_one();
    if (m_worker.joinable()) m_worker.join();
}

void CHeadReadAhead::Ask(std::vector<std::string> paths) {
    if (paths.empty()) return;
    bool bStart = false, bWake = false;
    {
        std::lock_guard lock(m_mutex);
        for (std::string &strPath : paths) m_slots.emplace_back().strPath = std::move(strPath);
        bStart = !m_bRunning;
        m_bRunning = true;
        bWake = m_bWorkerWaits;
    }
    if (bWake) m_cvWork.notify_one();
    if (!bStart) return;
    if (m_worker.joinable()) m_worker.join(); // it ended, or is ending, for want of work
    try {
        m_worker = std::thread(&CHeadReadAhead::Work, this);
    } catch (const std::system_error &) { // no thread to be had: the caller reads everything itself
        std::lock_guard lock(m_mutex);
        m_bRunning = false;
        DropFront(m_slots.size());
    }
}

void CHeadReadAhead::ReadWhole(bool bWhole) {
    std::lock_guard lock(m_mutex);
    m_bReadWhole = bWhole;
}

bool CHeadReadAhead::Take(const std::string &strPath, std::string &strOut, bool *pbWhole) {
    std::unique_lock lock(m_mutex);
    size_t i = 0;
    while (i < m_slots.size() && m_slots[i].strPath != strPath) ++i;
    if (i == m_slots.size()) return false;
    // Only this thread drops slots, so slot i stays where it is while the worker finishes it.
    while (m_slots[i].state == State::Reading) {
        m_bTakerWaits = true;
        m_cvRead.wait(lock);
    }
    m_bTakerWaits = false;
    const bool bFull = m_cbHeld >= kMaxHeld;
    Slot &slot = m_slots[i];
    bool bRead = slot.state == State::Read;
    if (bRead) {
        m_cbHeld -= slot.strBytes.size();
        strOut = std::move(slot.strBytes);
        *pbWhole = slot.bWhole;
    }
    DropFront(i + 1);
    // A worker that waits for room is woken once there is some; one that waits for files is woken by Ask. A wake
    // costs both threads a system call, so none is made for nothing.
    bool bWake = m_bWorkerWaits && bFull && m_cbHeld < kMaxHeld;
    lock.unlock();
    if (bWake) m_cvWork.notify_one();
    return bRead;
}

void CHeadReadAhead::Clear() {
    std::lock_guard lock(m_mutex);
    DropFront(m_slots.size());
}

void CHeadReadAhead::DropFront(size_t n) {
    for (size_t i = 0; i < n; ++i) m_cbHeld -= m_slots[i].strBytes.size();
    m_slots.erase(m_slots.begin(), m_slots.begin() + static_cast<ptrdiff_t>(n));
    m_nFrontSeq += n;
}

void CHeadReadAhead::Work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        if (m_nNextSeq < m_nFrontSeq) m_nNextSeq = m_nFrontSeq;
        if (m_bStop) break;
        if (m_nNextSeq == m_nFrontSeq + m_slots.size() || m_cbHeld >= kMaxHeld) {
            m_bWorkerWaits = true;
            bool bWoken = m_cvWork.wait_for(lock, kIdleEnd, [&] {
                return m_bStop || (m_nNextSeq < m_nFrontSeq + m_slots.size() && m_cbHeld < kMaxHeld);
            });
            m_bWorkerWaits = false;
            if (!bWoken) break;
            continue;
        }
        uint64_t nSeq = m_nNextSeq++;
        Slot *pSlot = &m_slots[nSeq - m_nFrontSeq];
        pSlot->state = State::Reading;
        std::string strPath = pSlot->strPath;
        // Only this thread adds to the bytes held, so the room seen now is there when the read is done.
        const size_t cbRoom = kMaxHeld - m_cbHeld;
        bool bWhole = m_bReadWhole;
        lock.unlock();
        std::string strBytes;
        bool bRead = bWhole ? ReadWholeWithin(strPath.c_str(), cbRoom, strBytes)
                            : SUCCEEDED(MimeReadFileHead(strPath.c_str(), strBytes, &bWhole));
        lock.lock();
        if (nSeq < m_nFrontSeq) continue; // dropped meanwhile
        pSlot = &m_slots[nSeq - m_nFrontSeq];
        pSlot->state = bRead ? State::Read : State::Failed;
        if (bRead) {
            m_cbHeld += strBytes.size();
            pSlot->strBytes = std::move(strBytes);
            pSlot->bWhole = bWhole;
        }
        if (m_bTakerWaits) m_cvRead.notify_one();
    }
    m_bRunning = false;
}
