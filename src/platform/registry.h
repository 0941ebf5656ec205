// The registry as the store classes read it: a small in-process tree of keys and values. It holds what a Windows
// installation would tell the library about its providers, answered by our own built-in modules (loader.h).
// Keys and value names are case-insensitive; an empty or null value name is the key's default value.
#pragma once

#include <cstdint>

#include "platform/com.h"
#include "platform/errors.h"

using HKEY = struct HKEY__ *;
using REGSAM = DWORD;

// Predefined roots, pseudo-handles that are never closed.
inline HKEY const HKEY_CURRENT_USER = reinterpret_cast<HKEY>(uintptr_t{0x80000001});
inline HKEY const HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(uintptr_t{0x80000002});

inline constexpr REGSAM KEY_READ = 0x20019;

inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;

// The registry functions return their error code (platform/errors.h) directly; these two are theirs alone.
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_MORE_DATA = 234;
using LSTATUS = LONG;

// Where the address book provider is found; its default value names the module to load.
inline constexpr const char *kszWabDllPathKey = "Software\\Microsoft\\WAB\\DLLPath";

// Opens an existing key below hKey; the handle goes back through RegCloseKey.
LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR pszSubKey, DWORD ulOptions, REGSAM samDesired, HKEY *phkResult);

// Reads a value. With pData null only *pcbData (the size, a string's terminator included) is written; a buffer
// that is too small gives ERROR_MORE_DATA and the size needed.
LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR pszValueName, DWORD *pReserved, DWORD *pType, BYTE *pData, DWORD *pcbData);

LSTATUS RegCloseKey(HKEY hKey);

// Writes a value, creating the key if needed. Hosts and tests use it to point the library at another provider.
LSTATUS RegSetKeyValueA(HKEY hKey, LPCSTR pszSubKey, LPCSTR pszValueName, DWORD dwType, const void *pData,
                        DWORD cbData);

// Removes a key with its values.
LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR pszSubKey);
