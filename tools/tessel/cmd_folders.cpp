// tessel mail folders / tessel contacts folders
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemout.h"
#include "listing.h"
#include "table.h"

namespace {

int RunFolders(const StoreKind &kind, ToolContext &ctx, bool bJson) {
    CSession session(ctx.options);
    std::string strError;
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);
    std::vector<FolderInfo> folders;
    if (!ListFolders(session, folders, strError)) return Fail(kExitFailure, strError);
    if (bJson) {
        nlohmann::ordered_json doc;
        doc["store"] = kind.pszName;
        doc["location"] = session.Location();
        doc["folders"] = nlohmann::ordered_json::array();
        for (const FolderInfo &folder : folders) doc["folders"].push_back(FolderJson(kind, folder));
        PrintJson(doc);
        return kExitOk;
    }
    CTable table(FolderHeader(kind), 60);
    for (const FolderInfo &folder : folders) table.AddRow(FolderCells(kind, folder));
    table.Print(stdout);
    return kExitOk;
}

} // namespace

void RegisterFoldersCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx) {
    CLI::App *pCmd = parent.add_subcommand(
        "folders", kind.nAPI == API_OE ? "Show the folder tree with the number of messages and unread messages"
                                        : "Show the containers of the address book with their number of entries");
    auto pJson = std::make_shared<bool>(false);
    pCmd->add_flag("--json", *pJson, "print one JSON document instead of a table");
    pCmd->callback([&kind, &ctx, pJson] { ctx.nExit = RunFolders(kind, ctx, *pJson); });
}
