#include "platform/debugout.h"

#include <cstdio>

void OutputDebugStringA(const char *pszText) {
    if (pszText) std::fputs(pszText, stderr);
}
