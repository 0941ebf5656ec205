// The message files a walk through a folder opens next, read on a worker thread while the caller works on the
// current message: the opens and reads of a scan run on the second core. The worker reads header blocks, or whole
// files while the walk reads whole files. It only reads files into buffers; everything else stays on the caller's
// thread, which is the only one to call these.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CHeadReadAhead {
public:
    CHeadReadAhead() = default;
    ~CHeadReadAhead(); // stops and joins the worker
    CHeadReadAhead(const CHeadReadAhead &) = delete;
    CHeadReadAhead &operator=(const CHeadReadAhead &) = delete;

    // Queues the files for the worker, in the order they will be taken. The worker starts with the first call and
    // ends once it has had nothing to do for a while.
    void Ask(std::vector<std::string> paths);
    // The files the worker has not begun yet are read whole (MimeReadFile) with bWhole, else up to their header
    // block's end (MimeReadFileHead). Header reads at first.
    void ReadWhole(bool bWhole);
    // The bytes the worker read for strPath, if it read them without failure (waiting while it is reading them),
    // and in *pbWhole whether they are all of the file; the files asked before strPath are dropped with it. Bytes
    // of a header read are as MimeReadFileHead gives them, those of a whole read as MimeReadFile does. False when
    // strPath was not asked for, its read failed, had not begun or would have held more than the bound: the caller
    // reads it itself, so that failures are its own.
    bool Take(const std::string &strPath, std::string &strOut, bool *pbWhole);
    // Forgets everything asked for and read.
    void Clear();

private:
    enum class State { Queued, Reading, Read, Failed };
    struct Slot {
        std::string strPath;
        std::string strBytes;
        bool bWhole = false;
        State state = State::Queued;
    };

    void Work();
    // Drops the first n slots (under the lock).
    void DropFront(size_t n);

    std::mutex m_mutex;
    std::condition_variable m_cvWork; // the worker waits for slots, for room or for the stop
    std::condition_variable m_cvRead; // Take waits for the slot being read
    std::deque<Slot> m_slots;         // in the order asked
    uint64_t m_nFrontSeq = 0;         // the number of m_slots.front() in the order of all slots ever asked
    uint64_t m_nNextSeq = 0;          // the next slot the worker reads (below m_nFrontSeq: the front)
    size_t m_cbHeld = 0;              // bytes read and not yet taken or dropped
    bool m_bRunning = false;          // m_worker is running (it clears this as it ends)
    bool m_bWorkerWaits = false;
    bool m_bTakerWaits = false;
    bool m_bStop = false;
    bool m_bReadWhole = false;        // the mode of the reads not yet begun
    std::thread m_worker;
};
