#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "support/log_text.h"
#include "support/paths.h"

namespace {

// The function names that tessel.h declares: every line that begins with TESSEL_API starts a prototype.
std::set<std::string> DeclaredExports() {
    std::istringstream header(testsupport::ReadFileText(testsupport::SourceDir() / "include" / "tessel.h"));
    static const std::regex declaration(R"(^TESSEL_API\s+[^(]*?(\w+)\s*\()");
    std::set<std::string> names;
    std::smatch match;
    for (std::string line; std::getline(header, line);)
        if (std::regex_search(line, match, declaration)) names.insert(match[1]);
    return names;
}

struct Symbol {
    std::string name;
    char type;
};

// The dynamic symbols that libtessel.so defines, as nm -D --defined-only lists them.
std::vector<Symbol> DefinedSymbols(std::string *pError) {
    std::vector<Symbol> symbols;
    const std::string command = std::string("nm -D --defined-only '") + TESSEL_SHARED_LIBRARY + "' 2>&1";
    FILE *pipe = popen(command.c_str(), "r");
    if (!pipe) {
        *pError = "cannot run nm";
        return symbols;
    }
    std::string output;
    char buffer[4096];
    while (size_t n = fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, n);
    if (pclose(pipe) != 0) *pError = output;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string address, type, name;
        if (fields >> address >> type >> name && type.size() == 1) symbols.push_back(Symbol{name, type[0]});
    }
    return symbols;
}

TEST(ExportSurface, HeaderDeclaresSixtyThreeFunctions) { EXPECT_EQ(DeclaredExports().size(), 63u); }

TEST(ExportSurface, EveryExportedSymbolIsADeclaredFunction) {
    const std::set<std::string> declared = DeclaredExports();
    std::string error;
    const std::vector<Symbol> symbols = DefinedSymbols(&error);
    ASSERT_TRUE(error.empty()) << error;
    ASSERT_FALSE(symbols.empty());
    for (const Symbol &symbol : symbols) {
        EXPECT_TRUE(declared.count(symbol.name)) << "exported but not in tessel.h: " << symbol.name;
        EXPECT_EQ(symbol.type, 'T') << symbol.name << " is not a plain function";
        EXPECT_NE(symbol.name.rfind("_Z", 0), 0u) << "C++ symbol leaks: " << symbol.name;
    }
}

TEST(ExportSurface, EveryDeclaredFunctionIsExported) {
    std::string error;
    std::set<std::string> exported;
    for (const Symbol &symbol : DefinedSymbols(&error)) exported.insert(symbol.name);
    ASSERT_TRUE(error.empty()) << error;
    for (const std::string &name : DeclaredExports())
        EXPECT_TRUE(exported.count(name)) << "declared in tessel.h but not exported: " << name;
    EXPECT_EQ(exported.size(), 63u);
}

// Each prototype of tessel.h has its contract in a comment right above it.
TEST(ExportSurface, HeaderDocumentsEveryExport) {
    std::istringstream header(testsupport::ReadFileText(testsupport::SourceDir() / "include" / "tessel.h"));
    std::string previous;
    for (std::string line; std::getline(header, line); previous = line) {
        if (line.rfind("TESSEL_API", 0) != 0) continue;
        const bool bComment = previous.rfind("/*", 0) == 0 || previous.rfind("   ", 0) == 0;
        const bool bClosed = previous.size() >= 2 && previous.compare(previous.size() - 2, 2, "*/") == 0;
        EXPECT_TRUE(bComment && bClosed) << "no comment above: " << line;
    }
}

// The family counts of the library's description: 3 + 10 + 11 + 18 + 9 + 10 + 2.
TEST(ExportSurface, FamiliesHaveTheirSizes) {
    std::map<std::string, int> families;
    for (const std::string &name : DeclaredExports()) {
        std::string family = "other";
        for (const char *pszPrefix : {"TS_", "Search_", "CmpMatrix_", "OE", "WAB"})
            if (name.rfind(pszPrefix, 0) == 0) {
                family = pszPrefix;
                break;
            }
        ++families[family];
    }
    EXPECT_EQ(families, (std::map<std::string, int>{{"OE", 10}, {"WAB", 11}, {"TS_", 18}, {"Search_", 9},
                                                    {"CmpMatrix_", 10}, {"other", 5}}));
}

} // namespace
