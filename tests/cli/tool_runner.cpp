#include "tool_runner.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "support/file_text.h"
#include "support/paths.h"

namespace fs = std::filesystem;

namespace clitest {

namespace {

using testsupport::ReadFileText;

std::string ReadAll(int fd) {
    std::string str;
    char buf[4096];
    for (;;) {
        const ssize_t n = read(fd, buf, sizeof buf);
        if (n > 0) str.append(buf, static_cast<size_t>(n));
        else if (n < 0 && errno == EINTR) continue;
        else break; // end, or EIO once the terminal's other side is gone
    }
    return str;
}

std::vector<char *> Argv(const std::vector<std::string> &args, std::vector<std::string> &storage) {
    storage.clear();
    storage.push_back(TESSEL_CLI);
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char *> argv;
    for (std::string &arg : storage) argv.push_back(arg.data());
    argv.push_back(nullptr);
    return argv;
}

int WaitExit(pid_t pid) {
    int nStatus = 0;
    while (waitpid(pid, &nStatus, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
}

} // namespace

nlohmann::json ToolRun::Json() const {
    nlohmann::json doc = nlohmann::json::parse(strOut, nullptr, false);
    EXPECT_FALSE(doc.is_discarded()) << "not JSON:\n" << strOut;
    return doc;
}

ToolRun RunTool(const std::vector<std::string> &args) {
    testsupport::TempDir tmp;
    const fs::path out = tmp.path() / "out", err = tmp.path() / "err";
    std::vector<std::string> storage;
    std::vector<char *> argv = Argv(args, storage);
    const pid_t pid = fork();
    if (pid == 0) {
        const int fdOut = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int fdErr = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int fdIn = open("/dev/null", O_RDONLY);
        dup2(fdIn, 0);
        dup2(fdOut, 1);
        dup2(fdErr, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    ToolRun run;
    run.nExit = WaitExit(pid);
    run.strOut = ReadFileText(out);
    run.strErr = ReadFileText(err);
    return run;
}

ToolRun RunToolOnTerminal(const std::vector<std::string> &args) {
    std::vector<std::string> storage;
    std::vector<char *> argv = Argv(args, storage);
    int fdMaster = -1;
    const pid_t pid = forkpty(&fdMaster, nullptr, nullptr, nullptr);
    if (pid == 0) {
        execv(argv[0], argv.data());
        _exit(127);
    }
    ToolRun run;
    if (pid < 0) return run;
    run.strOut = ReadAll(fdMaster);
    close(fdMaster);
    run.nExit = WaitExit(pid);
    return run;
}

fs::path CopySample(const std::string &strName, const fs::path &dir) {
    const fs::path from = testsupport::SourceDir() / "samples" / strName;
    const fs::path to = dir / strName;
    fs::copy(from, to, fs::copy_options::recursive);
    // Same times as the repository's files: the store numbers messages in the order of their times.
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(from)) {
        std::error_code ec;
        fs::last_write_time(to / fs::relative(entry.path(), from), entry.last_write_time(), ec);
    }
    return to;
}

void MakeMaildirFolder(const fs::path &path) {
    for (const char *pszSub : {"cur", "new", "tmp"}) fs::create_directories(path / pszSub);
}

} // namespace clitest
