// Loading a provider module at run time, as the store classes do it. There are no separate provider files on this
// system: the providers are linked into the library and offered here as built-in modules, each a name and a table
// of entry points. A name is matched case-insensitively against its last path component, so that a path read
// from the registry finds the module too.
#pragma once

#include <cstddef>

#include "platform/com.h"

using HMODULE = struct HINSTANCE__ *;
using FARPROC = void (*)();

inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;

// The address book provider over vCard files.
inline constexpr const char *kszVCardModuleName = "tessel-vcard";
// The MIME provider's entry points that the store classes look up by name: the date parser, and the source
// viewer while one is configured.
inline constexpr const char *kszInetCommModuleName = "inetcomm.dll";

struct BuiltinExport {
    const char *pszName;
    FARPROC pfn;
};

// Loads a module by name or path, counting references. Null with the last error ERROR_MOD_NOT_FOUND if there is
// no such module.
HMODULE LoadLibraryA(LPCSTR pszName);

// An entry point of a loaded module; null with the last error ERROR_PROC_NOT_FOUND if it has none of that name.
FARPROC GetProcAddress(HMODULE hModule, LPCSTR pszProcName);

// Drops one reference taken by LoadLibraryA.
BOOL FreeLibrary(HMODULE hModule);

// The handle of a module that is loaded now, without taking a reference; null if it is not loaded.
HMODULE GetModuleHandleA(LPCSTR pszName);

// Adds a module to the built-in ones, so that a host (or a test) can offer its own provider. The table must
// outlive the registration. False if a module of that name exists.
BOOL AddBuiltinModule(LPCSTR pszName, const BuiltinExport *pExports, size_t cExports);

// Withdraws a module added by AddBuiltinModule; false while it is loaded or if it is unknown.
BOOL RemoveBuiltinModule(LPCSTR pszName);
