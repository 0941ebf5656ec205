// What the log's banner tells about the code that runs: the library's own file and version, and the running
// program's file and version.
//
// A Linux program has no version resource. Its version is read from the ELF package note that the linker writes
// with --package-metadata (owner "FDO", the note distributions use for the same purpose): the leading numbers of
// its "version" field, epoch dropped ("2:1.4.2-3" reads as 1.4.2.0). A program without that note has no version.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct ModuleVersion {
    uint32_t nMajor = 0;
    uint32_t nMinor = 0;
    uint32_t nPatch = 0;
    uint32_t nBuild = 0;
};

// The path of the file that holds the library's code (the shared library, or the program it is linked into).
// False if it is unknown or does not fit nSize bytes with its terminator.
bool GetOwnModuleFileName(char *pszBuffer, size_t nSize);
// The library's own version. Always known.
ModuleVersion GetOwnModuleVersion();

// The path of the running program. False if it is unknown or does not fit.
bool GetProgramFileName(char *pszBuffer, size_t nSize);
// The running program's version from its package note; false if it has none.
bool GetProgramVersion(ModuleVersion *pVersion);

// The version in the JSON text of a package note, as described above; false without a readable "version".
bool ParsePackageVersion(std::string_view json, ModuleVersion *pVersion);
