// The platform's debug output. Linux has no debugger channel that every program can see, so it is standard
// error, unbuffered as it is.
#pragma once

void OutputDebugStringA(const char *pszText);
