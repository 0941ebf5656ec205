// The file operations the store is built from, each safe against a crash at any instant: whole-file replacement
// through a temporary file, renames that never overwrite, and a write lock shared with other processes.
#pragma once

#include <string>

#include "platform/com.h"

// Reads a whole file. A missing file gives STG_E_FILENOTFOUND.
HRESULT ReadWholeFile(const std::string &strPath, std::string &strText);

// Replaces strPath by a file holding strText: written beside it, flushed, renamed over it, directory flushed.
HRESULT ReplaceFileAtomically(const std::string &strPath, const std::string &strText);

// Renames strFrom to strTo unless strTo exists (then STG_E_FILEALREADYEXISTS), as one step.
HRESULT RenameNoReplace(const std::string &strFrom, const std::string &strTo);

// Flushes a directory's entries (after a rename into it).
HRESULT SyncDirectory(const std::string &strDir);

// Makes the directory (mode 0700) if missing.
HRESULT MakeDirectory(const std::string &strDir);

bool IsDirectory(const std::string &strPath);
// Asks the kernel to start reading the whole file into the page cache, without waiting for it; failures are
// ignored (it is only a hint).
void ReadAhead(const std::string &strPath);

inline constexpr HRESULT STG_E_FILEALREADYEXISTS = static_cast<HRESULT>(0x80030050);

// An exclusive flock on a file that is replaced by renames: after locking, the lock is retaken until the locked
// file is the one the path names. Other holders wait. The lock goes with the object.
class CFileLock {
public:
    CFileLock() = default;
    ~CFileLock();
    CFileLock(const CFileLock &) = delete;
    CFileLock &operator=(const CFileLock &) = delete;

    HRESULT Lock(const std::string &strPath);
    // The locked file's content.
    HRESULT Read(std::string &strText) const;

private:
    int m_fd = -1;
};
