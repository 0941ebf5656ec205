// A SYSTEMTIME from its parts, for tests that write dates by hand; the day of the week is left 0.
#pragma once

#include "platform/time.h"

namespace testsupport {

inline SYSTEMTIME MakeSystemTime(int nYear, int nMonth, int nDay, int nHour = 0, int nMinute = 0, int nSecond = 0,
                                 int nMilliseconds = 0)
{
    SYSTEMTIME st{};
    st.wYear = static_cast<WORD>(nYear);
    st.wMonth = static_cast<WORD>(nMonth);
    st.wDay = static_cast<WORD>(nDay);
    st.wHour = static_cast<WORD>(nHour);
    st.wMinute = static_cast<WORD>(nMinute);
    st.wSecond = static_cast<WORD>(nSecond);
    st.wMilliseconds = static_cast<WORD>(nMilliseconds);
    return st;
}

} // namespace testsupport
