#include "platform/errors.h"

#include <cerrno>

namespace {

thread_local DWORD t_dwLastError = ERROR_SUCCESS;

} // namespace

DWORD GetLastError() { return t_dwLastError; }

void SetLastError(DWORD dwError) { t_dwLastError = dwError; }

DWORD Win32ErrorFromErrno(int nErrno) {
    switch (nErrno) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM: return ERROR_ACCESS_DENIED;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EROFS: return ERROR_WRITE_PROTECT;
    case ENOTSUP: return ERROR_NOT_SUPPORTED;
    case EEXIST: return ERROR_FILE_EXISTS;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case EPIPE: return ERROR_BROKEN_PIPE;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case ENOSPC:
    case EDQUOT: return ERROR_DISK_FULL;
    case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
    case EBUSY: return ERROR_BUSY;
    case EISDIR: return ERROR_DIRECTORY;
    case ELOOP: return ERROR_CANT_RESOLVE_FILENAME;
    default: return ERROR_IO_DEVICE;
    }
}

HRESULT HResultFromErrno(int nErrno) {
    switch (nErrno) {
    case 0: return E_FAIL; // asked after a failure that left no cause behind
    case ENOSPC:
    case EDQUOT: return STG_E_MEDIUMFULL;
    case EACCES:
    case EPERM: return STG_E_ACCESSDENIED;
    case ENOMEM: return E_OUTOFMEMORY;
    case EINVAL: return E_INVALIDARG;
    default: return HResultFromWin32(Win32ErrorFromErrno(nErrno));
    }
}

bool FailWithErrno(int nErrno) {
    SetLastError(Win32ErrorFromErrno(nErrno));
    return false;
}
