// Multi-valued text (PT_MV_STRING8) as the caller sees it: one string with the values joined by the list
// separator. Joining and splitting are exact inverses as long as no value holds the separator.
#pragma once

#include <string>
#include <vector>

#include "platform/mapi.h"

// The values joined by strSeparator, in list order; a null value counts as empty. No values give "".
std::string JoinValues(const SLPSTRArray &values, const std::string &strSeparator);

// The size of the buffer a joined text is handed out in: every value's length plus the separator's and one more
// for each value, plus the terminator. It is never less than JoinValues(...).size() + 1.
ULONG JoinedBufferSize(const SLPSTRArray &values, const std::string &strSeparator);

// A text cut into values at every place where the separator stands; the values point into a copy that this object
// owns. The walk goes on one byte behind each separator, so "a;;b" gives a, "" and b, and "a;" gives just a; a
// longer separator leaves its further bytes at the head of the next value. A null or empty text has no values.
class CSplitText {
public:
    CSplitText(const char *pszText, const std::string &strSeparator);
    CSplitText(const CSplitText &) = delete;
    CSplitText &operator=(const CSplitText &) = delete;

    // The values as a PT_MV_STRING8 array; lppszA is null when there are none.
    SLPSTRArray Values();

private:
    std::string m_strCopy;
    std::vector<char *> m_values;
};
