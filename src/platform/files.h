// Files and directories in the platform's terms, for the bug report and whoever else needs temporary files:
// the temporary directory, unique temporary names, listing by mask, a copy that refuses to overwrite. Calls
// that fail return 0 or false and leave the cause as the thread's last error (platform/errors.h).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/com.h"

using UINT = uint32_t;

inline constexpr DWORD MAX_PATH = 260;

// The directory for temporary files, with a trailing "/": $TMPDIR if it names a directory, else /tmp. Returns
// the length written (without terminator) if it fits nBufferLength bytes, else the size needed with terminator
// and writes nothing; 0 on failure.
DWORD GetTempPathA(DWORD nBufferLength, char *lpBuffer);

// "<lpPathName>/<up to three characters of the prefix><number in hex>.tmp" into lpTempFileName, a buffer of
// MAX_PATH bytes. With uUnique 0 it picks a number whose name is free and creates that file, empty, so that the
// name stays taken; otherwise it only builds the name from the low 16 bits of uUnique. Returns the number used,
// 0 on failure.
UINT GetTempFileNameA(const char *lpPathName, const char *lpPrefixString, UINT uUnique, char *lpTempFileName);

struct DirEntry {
    std::string strName;
    bool bDirectory = false;
};

// The entries of pszDir whose names match the shell pattern pszMask (fnmatch, case-sensitive), without "." and
// "..", sorted by name so that a listing is the same every time. False if the directory cannot be read.
bool ListDirectory(const char *pszDir, const char *pszMask, std::vector<DirEntry> *pEntries);

// Copies a file with its permission bits. With bFailIfExists an existing target is left alone and the copy fails
// with ERROR_FILE_EXISTS; a copy onto the file itself fails with ERROR_SHARING_VIOLATION and leaves it whole; a
// copy that fails half-way removes what it wrote.
BOOL CopyFileA(const char *lpExistingFileName, const char *lpNewFileName, BOOL bFailIfExists);

BOOL DeleteFileA(const char *lpFileName);
BOOL CreateDirectoryA(const char *lpPathName);
// Removes an empty directory.
BOOL RemoveDirectoryA(const char *lpPathName);

// Deletes the files directly in pszDir, not its subdirectories. Failures are ignored.
void DeleteDirectoryFiles(const char *pszDir);
