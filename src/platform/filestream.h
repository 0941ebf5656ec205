// IStream over a file: a read-only view of a message file, and a writer that makes a new file and keeps it only
// when told to (the store writes new messages this way into tmp/ and then renames them into place).
#pragma once

#include "platform/com.h"

// {6A1C3E52-93D4-4F0B-8E1A-5C2B7D40F911}: asked of a stream made here, to reach its file.
inline constexpr IID IID_IFileStream{0x6A1C3E52, 0x93D4, 0x4F0B, {0x8E, 0x1A, 0x5C, 0x2B, 0x7D, 0x40, 0xF9, 0x11}};

struct IFileStream : IStream {
    // The path the file was opened or created under.
    virtual const char *GetPath() = 0;
    // Flushes the written bytes to the disk (fsync).
    virtual HRESULT Sync() = 0;
    // A writer's file is removed when the last reference goes, unless it was kept: the caller has moved it into
    // place. No effect on a reader.
    virtual void Keep() = 0;

protected:
    ~IFileStream() = default;
};

// Opens pszPath for reading. The stream sees the file it opened even if the file is renamed or unlinked later.
HRESULT CreateFileStreamForRead(const char *pszPath, IStream **ppStream);

// Creates pszPath (which must not exist) for writing and reading, mode 0600.
HRESULT CreateFileStreamForWrite(const char *pszPath, IStream **ppStream);
