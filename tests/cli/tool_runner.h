// Runs the built tessel command as a user would, capturing what it prints and its exit code.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace clitest {

struct ToolRun {
    int nExit = -1;
    std::string strOut;
    std::string strErr;
    nlohmann::json Json() const; // standard output parsed; a test failure if it is no JSON
};

// Runs the tool with these arguments (no shell involved in their meaning).
ToolRun RunTool(const std::vector<std::string> &args);

// Runs the tool with a pseudo-terminal as its standard output and error; gives all it wrote there.
ToolRun RunToolOnTerminal(const std::vector<std::string> &args);

// Copies a sample store (samples/<name>) into dir, keeping the files' times, so that the tool can write its id
// files there and messages arrive in the order of the repository's files.
std::filesystem::path CopySample(const std::string &strName, const std::filesystem::path &dir);

// An empty Maildir folder (cur/, new/, tmp/) at path.
void MakeMaildirFolder(const std::filesystem::path &path);

} // namespace clitest
