// The platform's "last error" of a thread, its Win32 error numbers, and the mapping from errno to both, so that
// code written against the platform's calls reads and logs the same codes on Linux.
#pragma once

#include "platform/com.h"

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_BUFFER_OVERFLOW = 111;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

// The Win32 error as an HRESULT of FACILITY_WIN32; 0 stays 0.
inline constexpr HRESULT HResultFromWin32(DWORD dwError) {
    return dwError == 0 ? S_OK : static_cast<HRESULT>((dwError & 0xFFFFu) | 0x80070000u);
}

// The calling thread's last error, as the platform's GetLastError and SetLastError keep it.
DWORD GetLastError();
void SetLastError(DWORD dwError);

// The Win32 error closest to an errno; ERROR_IO_DEVICE for those without a closer one, ERROR_SUCCESS for 0.
DWORD Win32ErrorFromErrno(int nErrno);

// Sets the last error from an errno and returns false, for the platform's BOOL calls that fail.
bool FailWithErrno(int nErrno);
