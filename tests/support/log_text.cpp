#include "support/log_text.h"

#include <regex>
#include <sstream>

namespace testsupport {

std::vector<std::string> StripTimeStamps(const std::string &text) {
    static const std::regex stamp(R"(^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d )");
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(std::regex_replace(line, stamp, "", std::regex_constants::format_first_only));
    return lines;
}

} // namespace testsupport
