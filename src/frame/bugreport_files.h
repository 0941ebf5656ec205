// The file work behind CreateBugReport: a unique temporary directory, and the attaching of the log files of a
// directory to a message, with a copy for a file that can't be attached where it lies.
#pragma once

#include <cstdint>

#include "log/log.h"
#include "platform/mimeole.h"

// Makes a new directory with a unique name under the directory for temporary files and writes its path to
// pszDir (nSize bytes). Non-zero on success; failures are logged under "CreateTempDirectory".
int32_t CreateTempDirectory(uint32_t nSize, char *pszDir);

// Deletes the files directly in pszDir, then the directory itself. Subdirectories stay; failures are ignored.
void DeleteTempDirectory(const char *pszDir);

// Attaches to pMessage every "*.err" file of pszLogDir, then every "*.log" file, each group by name. A file that
// can't be attached is copied into pszTempDir (unless that is empty) and the copy is attached; what fails there
// is logged in pPrivateLog under "CreateBugReport". Returns the number of such failures.
int AttachLogFiles(IMimeMessage *pMessage, const char *pszLogDir, const char *pszTempDir, CLog *pPrivateLog);
