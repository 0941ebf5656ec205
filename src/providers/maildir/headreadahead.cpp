#include "providers/maildir/headreadahead.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <system_error>

#include "providers/mime/fileio.h"

namespace {

// Bytes read ahead and not yet taken; the workers wait beyond them, and leave a whole file that would take them
// beyond to the caller.
constexpr size_t kMaxHeld = 4 << 20;
// How long an idle worker waits for more before it ends: a walk asks again well within it, a folder left open
// after its walk keeps no thread.
constexpr auto kIdleEnd = std::chrono::milliseconds(200);
// Reads between two looks at a worker's block reads while one worker reads from the page cache.
constexpr uint32_t kLookEvery = 8;

// This thread's block reads so far (-1 if unknown).
long InBlocks() {
    struct rusage usage {};
    return getrusage(RUSAGE_THREAD, &usage) == 0 ? usage.ru_inblock : -1;
}

} // namespace

CHeadReadAhead::~CHeadReadAhead() {
    {
        std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_cvWork.notify_all();
    for (std::thread &worker : m_workers)
        if (worker.joinable()) worker.join();
}

void CHeadReadAhead::Ask(std::vector<std::string> paths) {
    if (paths.empty()) return;
    bool bWake = false;
    {
        std::lock_guard lock(m_mutex);
        for (std::string &strPath : paths) m_slots.emplace_back().strPath = std::move(strPath);
        bWake = m_nWorkersWaiting > 0;
    }
    if (bWake) m_cvWork.notify_all();
    StartWorkers();
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
    // Only this thread drops slots, so slot i stays where it is while a worker finishes it.
    while (m_slots[i].state == State::Reading) {
        m_bTakerWaits = true;
        m_cvRead.wait(lock);
    }
    m_bTakerWaits = false;
    const bool bFull = Full();
    Slot &slot = m_slots[i];
    bool bRead = slot.state == State::Read;
    if (bRead) {
        m_cbHeld -= slot.strBytes.size();
        strOut = std::move(slot.strBytes);
        *pbWhole = slot.bWhole;
    }
    DropFront(i + 1);
    // Workers that wait for room are woken once there is some; those that wait for files are woken by Ask. A wake
    // costs both threads a system call, so none is made for nothing.
    bool bWake = m_nWorkersWaiting > 0 && bFull && !Full();
    bool bStart = MoreWanted();
    lock.unlock();
    if (bWake) m_cvWork.notify_all();
    if (bStart) StartWorkers();
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

bool CHeadReadAhead::Many() const { return m_bManyAlways || m_nWarmReads < kWarmReads; }

bool CHeadReadAhead::Full() const { return m_cbHeld + m_cbReserved >= kMaxHeld; }

bool CHeadReadAhead::MoreWanted() const {
    const uint64_t nEnd = m_nFrontSeq + m_slots.size();
    const uint64_t nNotBegun = nEnd - std::min(nEnd, std::max(m_nNextSeq, m_nFrontSeq));
    // The workers not reading now take the next files first.
    return !m_bStop && nNotBegun > m_nRunning - m_nReading && m_nRunning < (Many() ? kMaxWorkers : 1);
}

void CHeadReadAhead::StartWorkers() {
    for (;;) {
        size_t nWorker = 0;
        {
            std::lock_guard lock(m_mutex);
            if (!MoreWanted()) return;
            while (m_running[nWorker]) ++nWorker; // fewer than kMaxWorkers run
            m_running[nWorker] = true;
            ++m_nRunning;
        }
        if (m_workers[nWorker].joinable()) m_workers[nWorker].join(); // it ended, or is ending
        try {
            m_workers[nWorker] = std::thread(&CHeadReadAhead::Work, this, nWorker);
        } catch (const std::system_error &) {
            std::lock_guard lock(m_mutex);
            m_running[nWorker] = false;
            // With no worker at all, the caller reads everything itself.
            if (--m_nRunning == 0) DropFront(m_slots.size());
            return;
        }
    }
}

bool CHeadReadAhead::ReadWholeWithin(const std::string &strPath, std::string &strOut, size_t *pcbReserved) {
    *pcbReserved = 0;
    // The size is looked at first, so that a file that does not fit is not read twice (here and by the caller).
    struct stat st {};
    if (stat(strPath.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    const size_t cbFile = static_cast<size_t>(st.st_size);
    {
        std::lock_guard lock(m_mutex);
        if (m_cbHeld + m_cbReserved + cbFile > kMaxHeld) return false;
        m_cbReserved += cbFile;
    }
    *pcbReserved = cbFile;
    return SUCCEEDED(MimeReadFile(strPath.c_str(), strOut)) && strOut.size() <= cbFile; // it may have grown since
}

void CHeadReadAhead::Work(size_t nWorker) {
    long nInBlocks = InBlocks();
    uint32_t nNotLooked = 0; // reads since the last look at nInBlocks
    std::unique_lock lock(m_mutex);
    for (;;) {
        if (m_nNextSeq < m_nFrontSeq) m_nNextSeq = m_nFrontSeq;
        if (m_bStop) break;
        if (m_nRunning > 1 && !Many()) break; // the reads come from the page cache again: one worker does
        if (m_nNextSeq == m_nFrontSeq + m_slots.size() || Full()) {
            ++m_nWorkersWaiting;
            bool bWoken = m_cvWork.wait_for(lock, kIdleEnd, [&] {
                return m_bStop || (m_nNextSeq < m_nFrontSeq + m_slots.size() && !Full());
            });
            --m_nWorkersWaiting;
            if (!bWoken) break;
            continue;
        }
        uint64_t nSeq = m_nNextSeq++;
        Slot *pSlot = &m_slots[nSeq - m_nFrontSeq];
        pSlot->state = State::Reading;
        ++m_nReading;
        std::string strPath = pSlot->strPath;
        bool bWhole = m_bReadWhole;
        const bool bMany = Many();
        lock.unlock();
        std::string strBytes;
        size_t cbReserved = 0;
        bool bRead = bWhole ? ReadWholeWithin(strPath, strBytes, &cbReserved)
                            : SUCCEEDED(MimeReadFileHead(strPath.c_str(), strBytes, &bWhole));
        // A look at the block reads costs a system call: from the page cache, one every few reads is soon enough.
        uint32_t nLooked = 0;
        bool bFromDisk = false;
        if (++nNotLooked >= kLookEvery || bMany) {
            const long nInBlocksNow = InBlocks();
            bFromDisk = nInBlocks >= 0 && nInBlocksNow > nInBlocks;
            nInBlocks = nInBlocksNow;
            nLooked = nNotLooked;
            nNotLooked = 0;
        }
        lock.lock();
        --m_nReading;
        if (nLooked > 0) m_nWarmReads = bFromDisk ? 0 : std::min(m_nWarmReads + nLooked, kWarmReads);
        m_cbReserved -= cbReserved;
        const bool bKept = bRead && nSeq >= m_nFrontSeq; // else dropped meanwhile
        if (nSeq >= m_nFrontSeq) {
            pSlot = &m_slots[nSeq - m_nFrontSeq];
            pSlot->state = bKept ? State::Read : State::Failed;
            if (m_bTakerWaits) m_cvRead.notify_one();
        }
        if (bKept) {
            m_cbHeld += strBytes.size();
            pSlot->strBytes = std::move(strBytes);
            pSlot->bWhole = bWhole;
        }
        // What was reserved and not kept is room again for the workers waiting for some.
        if (m_nWorkersWaiting > 0 && cbReserved > (bKept ? pSlot->strBytes.size() : 0)) m_cvWork.notify_all();
    }
    m_running[nWorker] = false;
    --m_nRunning;
}
