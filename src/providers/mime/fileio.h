// Reading whole files for the MIME objects (a message file, a file to attach).
#pragma once

#include <string>

#include "platform/com.h"

// The file's bytes; STG_E_FILENOTFOUND, STG_E_PATHNOTFOUND, STG_E_ACCESSDENIED or STG_E_READFAULT on failure.
HRESULT MimeReadFile(const char *pszPath, std::string &strOut);
