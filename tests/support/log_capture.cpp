#include "support/log_capture.h"

#include <cctype>
#include <fstream>
#include <sstream>

#include "log/log.h"

namespace testsupport {

namespace {

// "dd/mm/yyyy hh:mm:ss " at the start of a line: the head's date and time.
size_t TimestampLength(const std::string &strLine) {
    const char *pszShape = "##/##/#### ##:##:## ";
    size_t n = std::char_traits<char>::length(pszShape);
    if (strLine.size() < n) return 0;
    for (size_t i = 0; i < n; ++i) {
        bool bDigit = std::isdigit(static_cast<unsigned char>(strLine[i])) != 0;
        if (pszShape[i] == '#' ? !bDigit : strLine[i] != pszShape[i]) return 0;
    }
    return n;
}

} // namespace

LogCapture::LogCapture(int nLevel) : m_strPath((m_dir.path() / "full.log").string()), m_nLevel(nLevel) {
    g_Log.InitLog(nullptr, m_strPath.c_str(), false, m_nLevel);
}

LogCapture::~LogCapture() { g_Log.InitLog(nullptr, nullptr, false, 1); }

std::string LogCapture::Text() const {
    std::ifstream in(m_strPath, std::ios::binary);
    std::string strText, strLine;
    while (std::getline(in, strLine))
        strText += strLine.substr(TimestampLength(strLine)) + "\n";
    return strText;
}

bool LogCapture::Has(const std::string &strEntry) const {
    std::string strText = "\n" + Text();
    return strText.find("\n" + strEntry + "\n") != std::string::npos;
}

void LogCapture::Clear() {
    g_Log.InitLog(nullptr, nullptr, false, m_nLevel);
    std::ofstream(m_strPath, std::ios::trunc).close();
    g_Log.InitLog(nullptr, m_strPath.c_str(), false, m_nLevel);
}

} // namespace testsupport
