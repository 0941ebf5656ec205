#include "support/log_capture.h"

#include <fstream>
#include <sstream>

#include "log/log.h"

namespace testsupport {

namespace {
// "dd/mm/yyyy hh:mm:ss " in front of every line.
constexpr size_t kStampLength = 20;
} // namespace

CLogCapture::CLogCapture(int nLevel) : m_path((m_dir.path() / "full.log").string()), m_nLevel(nLevel) {
    g_Log.InitLog(nullptr, m_path.c_str(), false, m_nLevel);
}

CLogCapture::~CLogCapture() { g_Log.InitLog(nullptr, nullptr, false, 1); }

std::string CLogCapture::Text() const {
    std::ifstream in(m_path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<std::string> CLogCapture::Lines() const {
    std::vector<std::string> lines;
    std::istringstream in(Text());
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty()) continue;
        lines.push_back(line.size() > kStampLength ? line.substr(kStampLength) : line);
    }
    return lines;
}

void CLogCapture::Clear() {
    g_Log.InitLog(nullptr, nullptr, false, m_nLevel);
    std::ofstream(m_path, std::ios::trunc);
    g_Log.InitLog(nullptr, m_path.c_str(), false, m_nLevel);
}

} // namespace testsupport
