// tessel: the command-line host of libtessel. This file is the command table: one Register call per command.
#include <CLI/CLI.hpp>

#include "commands.h"

int main(int argc, char **argv) {
    CLI::App app("tessel finds duplicate messages in a Maildir and duplicate contacts in vCard address books, shows "
                 "why they match, and removes them safely. Scans, comparisons and reports only read; dedupe changes "
                 "a store only with --apply, journals every action, and undo reverses it.",
                 "tessel");
    app.fallthrough();
    app.require_subcommand(1);
    ToolContext ctx;
    AddGlobalOptions(app, ctx.options);
    RegisterVersionFlag(app);

    CLI::App *pMail = app.add_subcommand("mail", "Messages of a Maildir (--store)")->require_subcommand(1);
    RegisterFoldersCommand(*pMail, MailStore(), ctx);
    RegisterListCommand(*pMail, MailStore(), ctx);
    RegisterScanCommand(*pMail, MailStore(), ctx);
    RegisterCompareCommand(*pMail, MailStore(), ctx);
    RegisterDedupeCommand(*pMail, MailStore(), ctx);

    CLI::App *pContacts =
        app.add_subcommand("contacts", "Contacts of a vCard file or directory (--book)")->require_subcommand(1);
    RegisterFoldersCommand(*pContacts, ContactStore(), ctx);
    RegisterListCommand(*pContacts, ContactStore(), ctx);
    RegisterScanCommand(*pContacts, ContactStore(), ctx);
    RegisterCompareCommand(*pContacts, ContactStore(), ctx);
    RegisterDedupeCommand(*pContacts, ContactStore(), ctx);
    RegisterUndoCommand(app, ctx);
    RegisterReportCommand(app, ctx);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &e) {
        const int nExit = app.exit(e);
        return nExit == 0 ? kExitOk : kExitUsage;
    }
    return ctx.nExit;
}
