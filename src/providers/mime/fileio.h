// Reading files for the MIME objects: a message file whole or up to its header block's end, a file to attach.
#pragma once

#include <string>

#include "platform/com.h"

// The file's bytes; STG_E_FILENOTFOUND, STG_E_PATHNOTFOUND, STG_E_ACCESSDENIED or STG_E_READFAULT on failure.
HRESULT MimeReadFile(const char *pszPath, std::string &strOut);

// The file's first bytes, read a few kilobytes at a time up to at least the empty line that ends its header block
// (as MimeHeaderBlockEnd finds it). *pbWhole says whether they are all of the file: true when the file ended
// before such a line or within the bytes read. Failures as for MimeReadFile.
HRESULT MimeReadFileHead(const char *pszPath, std::string &strOut, bool *pbWhole);
