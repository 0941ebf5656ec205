#include "context.h"

#include <cstdio>

#include <CLI/CLI.hpp>

int Fail(int nExit, const std::string &strMessage) {
    std::fprintf(stderr, "tessel: %s\n", strMessage.c_str());
    return nExit;
}

void AddGlobalOptions(CLI::App &app, GlobalOptions &options) {
    app.add_option("--store", options.strStore,
                   "the Maildir to work on (default: $TESSEL_MAILDIR, else $MAILDIR, else ~/Maildir)");
    app.add_option("--book", options.strBook,
                   "the address book: a .vcf file or a directory of them (default: $TESSEL_CONTACTS, else "
                   "~/.local/share/contacts)");
    app.add_option("--log", options.strLog, "write the library's log to this file");
    app.add_flag("-v,--verbose", options.bVerbose, "show the library's log lines on standard error");
}
