// What every command shares: the options that apply to the whole run and the exit code the command leaves.
#pragma once

#include <string>

namespace CLI {
class App;
}

struct GlobalOptions {
    std::string strStore; // --store: the Maildir; else TESSEL_MAILDIR, MAILDIR, ~/Maildir
    std::string strBook;  // --book: the vCard file or vdir; else TESSEL_CONTACTS, ~/.local/share/contacts
    std::string strLog;   // --log: the library's full log
    bool bVerbose = false;
};

struct ToolContext {
    GlobalOptions options;
    int nExit = 0;
};

// Exit codes: 0 done (with or without duplicates), 1 the store or an item could not be worked on, 2 a wrong
// command line (unknown word, folder or entry).
enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

// Writes "tessel: <message>" to standard error and returns nExit.
int Fail(int nExit, const std::string &strMessage);

void AddGlobalOptions(CLI::App &app, GlobalOptions &options);
