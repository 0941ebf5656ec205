// Environment strings as the platform expands them.
#pragma once

#include "platform/com.h"

// Replaces every %NAME% of a defined variable by its value; an undefined one stays as written. Returns the length
// of the result with its terminator; if that exceeds nSize, the result is not written and the size needed is
// returned. 0 with ERROR_INVALID_PARAMETER as the last error for a null source.
DWORD ExpandEnvironmentStringsA(LPCSTR pszSrc, LPSTR pszDst, DWORD nSize);
