// File access of the book: reading a file with the size and time it had, and replacing one atomically.
#pragma once

#include <filesystem>
#include <string>

#include "platform/com.h"

namespace vcard {

struct FileStamp {
    bool bExists = false;
    int64_t nSize = -1;
    int64_t nMtime = 0; // nanoseconds
    bool operator==(const FileStamp &o) const {
        return bExists == o.bExists && nSize == o.nSize && nMtime == o.nMtime;
    }
};

FileStamp StampOf(const std::filesystem::path &path);

// Reads a whole file, retrying while it changes under us; the stamp belongs to the bytes read. False if the file
// can't be read (*pStamp then says whether it exists).
bool ReadWholeFile(const std::filesystem::path &path, std::string *pText, FileStamp *pStamp);

// Writes sText to a temporary file beside path, flushes it and renames it into place (the directory flushed too).
// The temporary name starts with "." and does not end in ".vcf", so no reader takes it for a card.
HRESULT ReplaceFile(const std::filesystem::path &path, const std::string &sText);

// Removes a file and flushes its directory.
HRESULT RemoveFile(const std::filesystem::path &path);

} // namespace vcard
