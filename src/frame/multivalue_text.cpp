#include "frame/multivalue_text.h"

#include <cstring>

std::string JoinValues(const SLPSTRArray &values, const std::string &strSeparator) {
    std::string strText;
    for (ULONG i = 0; i < values.cValues; ++i) {
        if (i > 0) strText += strSeparator;
        if (values.lppszA[i]) strText += values.lppszA[i];
    }
    return strText;
}

ULONG JoinedBufferSize(const SLPSTRArray &values, const std::string &strSeparator) {
    size_t cb = 1;
    for (ULONG i = 0; i < values.cValues; ++i)
        cb += (values.lppszA[i] ? std::strlen(values.lppszA[i]) : 0) + strSeparator.size() + 1;
    return static_cast<ULONG>(cb);
}

CSplitText::CSplitText(const char *pszText, const std::string &strSeparator) {
    if (!pszText || !*pszText || strSeparator.empty()) {
        if (pszText && *pszText) m_strCopy = pszText; // no separator at all: the whole text is one value
        if (!m_strCopy.empty()) m_values.push_back(m_strCopy.data());
        return;
    }
    m_strCopy = pszText;
    size_t nStart = 0;
    for (size_t nAt = m_strCopy.find(strSeparator); nAt != std::string::npos;
         nAt = m_strCopy.find(strSeparator, nStart)) {
        m_strCopy[nAt] = '\0';
        m_values.push_back(m_strCopy.data() + nStart);
        nStart = nAt + 1;
    }
    if (nStart < m_strCopy.size()) m_values.push_back(m_strCopy.data() + nStart);
}

SLPSTRArray CSplitText::Values() {
    return SLPSTRArray{static_cast<ULONG>(m_values.size()), m_values.empty() ? nullptr : m_values.data()};
}
