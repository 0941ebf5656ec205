// The message files a walk through a folder opens next, read on a worker thread while the caller works on the
// current message: the opens and reads of a scan run on the second core. The worker reads header blocks, or whole
// files while the walk reads whole files. Once its reads go to the disk, more workers take the next files at the
// same time, since the disk serves several reads in flight much faster than one after the other; from the page
// cache one worker is enough, and more would only compete with the caller for the cores. Workers only read files
// into buffers; everything else stays on the caller's thread, which is the only one to call these.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CHeadReadAhead {
public:
    // bManyAlways: as many workers as there is work for, as if the reads went to the disk (for tests).
    explicit CHeadReadAhead(bool bManyAlways = false) : m_bManyAlways(bManyAlways) {}
    ~CHeadReadAhead(); // stops and joins the workers
    CHeadReadAhead(const CHeadReadAhead &) = delete;
    CHeadReadAhead &operator=(const CHeadReadAhead &) = delete;

    // Queues the files for the workers, in the order they will be taken and begun. A worker starts with the first
    // call and ends once it has had nothing to do for a while; more start at this and at Take while the reads go to
    // the disk, and end once they come from the page cache again.
    void Ask(std::vector<std::string> paths);
    // The files no worker has begun yet are read whole (MimeReadFile) with bWhole, else up to their header
    // block's end (MimeReadFileHead). Header reads at first.
    void ReadWhole(bool bWhole);
    // The bytes a worker read for strPath, if it read them without failure (waiting while it is reading them),
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

    // At most this many workers read at once.
    static constexpr size_t kMaxWorkers = 4;
    // Reads in a row from the page cache after which one worker is enough again.
    static constexpr uint32_t kWarmReads = 16;

    void Work(size_t nWorker);
    // Starts the workers the slots not begun call for.
    void StartWorkers();
    // Another worker is called for: the files not begun are more than the workers free for them, and fewer than
    // one (from the page cache) or kMaxWorkers (from the disk) run (under the lock).
    bool MoreWanted() const;
    // Several workers are wanted: reads went to the disk lately (under the lock).
    bool Many() const;
    // The whole file at strPath as MimeReadFile reads it, if its bytes fit in what is left of the bound; they are
    // kept in *pcbReserved (0 if none) until the caller is done with the read. Takes the lock.
    bool ReadWholeWithin(const std::string &strPath, std::string &strOut, size_t *pcbReserved);
    // No room is left for more reads (under the lock).
    bool Full() const;
    // Drops the first n slots (under the lock).
    void DropFront(size_t n);

    std::mutex m_mutex;
    std::condition_variable m_cvWork; // the worker waits for slots, for room or for the stop
    std::condition_variable m_cvRead; // Take waits for the slot being read
    std::deque<Slot> m_slots;         // in the order asked
    uint64_t m_nFrontSeq = 0;         // the number of m_slots.front() in the order of all slots ever asked
    uint64_t m_nNextSeq = 0;          // the next slot a worker begins (below m_nFrontSeq: the front)
    size_t m_cbHeld = 0;              // bytes read and not yet taken or dropped
    size_t m_cbReserved = 0;          // bytes of whole reads under way
    uint32_t m_nWarmReads = kWarmReads; // reads in a row that did not go to the disk (saturating)
    size_t m_nRunning = 0;            // workers running
    size_t m_nReading = 0;            // of them, those reading a file
    size_t m_nWorkersWaiting = 0;
    bool m_bTakerWaits = false;
    bool m_bStop = false;
    bool m_bReadWhole = false;        // the mode of the reads not yet begun
    const bool m_bManyAlways;
    std::array<bool, kMaxWorkers> m_running{}; // m_workers[i] is running (it clears this as it ends)
    std::array<std::thread, kMaxWorkers> m_workers;
};
