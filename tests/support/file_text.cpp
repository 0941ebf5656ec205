#include "support/file_text.h"

#include <fstream>
#include <sstream>

namespace testsupport {

std::string ReadFileText(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFileText(const std::filesystem::path &path, const std::string &strText) {
    std::ofstream out(path, std::ios::binary);
    out << strText;
}

} // namespace testsupport
