#include "support/log_capture.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

#include "log/log.h"

namespace testsupport {

namespace {

std::vector<std::string> SplitLines(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

} // namespace

std::string ReadFileText(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> StripTimeStamps(const std::string &text) {
    static const std::regex stamp(R"(^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d )");
    std::vector<std::string> lines = SplitLines(text);
    for (std::string &line : lines) line = std::regex_replace(line, stamp, "", std::regex_constants::format_first_only);
    return lines;
}

LogCapture::LogCapture(int32_t nLevel) {
    g_Log.InitLog(ErrorLogPath().c_str(), FullLogPath().c_str(), false, nLevel);
    m_nBannerLines = SplitLines(ReadFileText(FullLogPath())).size();
}

LogCapture::~LogCapture() { g_Log.InitLog(nullptr, nullptr, false, 1); }

std::vector<std::string> LogCapture::Lines() const {
    std::vector<std::string> lines = StripTimeStamps(ReadFileText(FullLogPath()));
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(m_nBannerLines, lines.size())));
    return lines;
}

std::vector<std::string> LogCapture::ErrorLines() const { return SplitLines(ReadFileText(ErrorLogPath())); }

CLogCapture::CLogCapture(int nLevel) : m_path((m_dir.path() / "full.log").string()), m_nLevel(nLevel) {
    g_Log.InitLog(nullptr, m_path.c_str(), false, m_nLevel);
    m_nSkip = ReadFileText(m_path).size();
}

CLogCapture::~CLogCapture() { g_Log.InitLog(nullptr, nullptr, false, 1); }

std::string CLogCapture::Text() const { return ReadFileText(m_path); }

std::vector<std::string> CLogCapture::Lines() const {
    std::string text = Text();
    std::vector<std::string> lines;
    for (std::string &line : StripTimeStamps(text.substr(std::min(m_nSkip, text.size()))))
        if (!line.empty()) lines.push_back(std::move(line));
    return lines;
}

void CLogCapture::Clear() {
    g_Log.InitLog(nullptr, nullptr, false, m_nLevel);
    std::ofstream(m_path, std::ios::trunc);
    g_Log.InitLog(nullptr, m_path.c_str(), false, m_nLevel);
    m_nSkip = ReadFileText(m_path).size();
}

} // namespace testsupport
