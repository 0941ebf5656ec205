// tessel mail list FOLDER / tessel contacts list [CONTAINER]
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemout.h"
#include "listing.h"
#include "table.h"
#include "timetext.h"

namespace {

struct ListOptions {
    std::string strFolder;
    std::string strSince;
    std::string strSort;
    std::string strType;
    bool bJson = false;
};

bool MakeFilter(const ListOptions &options, ListFilter &filter, std::string &strError) {
    if (!options.strSince.empty()) {
        if (!ParseDate(options.strSince, filter.stSince)) {
            strError = "--since needs a date such as 2024-03-01 or \"2024-03-01 14:30\", not '" + options.strSince + "'";
            return false;
        }
        filter.bSince = true;
    }
    if (options.strSort == "oldest") filter.nSort = 1;
    else if (options.strSort == "newest") filter.nSort = 2;
    else if (!options.strSort.empty()) {
        strError = "--sort takes oldest or newest, not '" + options.strSort + "'";
        return false;
    }
    if (options.strType == "contact") filter.nObjectType = MAPI_MAILUSER;
    else if (options.strType == "group") filter.nObjectType = MAPI_DISTLIST;
    else if (!options.strType.empty()) {
        strError = "--type takes contact or group, not '" + options.strType + "'";
        return false;
    }
    return true;
}

int RunList(const StoreKind &kind, ToolContext &ctx, const ListOptions &options) {
    ListFilter filter;
    std::string strError;
    if (!MakeFilter(options, filter, strError)) return Fail(kExitUsage, strError);
    CSession session(ctx.options);
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);
    std::vector<FolderInfo> folders;
    if (!ListFolders(session, folders, strError)) return Fail(kExitFailure, strError);

    std::vector<FolderInfo> chosen = folders;
    if (!options.strFolder.empty()) {
        const FolderInfo *pFolder = FindFolder(folders, options.strFolder);
        if (!pFolder)
            return Fail(kExitUsage, "no " + std::string(kind.pszFolder) + " '" + options.strFolder + "' in " +
                                        session.Location() + " (see: tessel " + kind.pszName + " folders)");
        chosen = {*pFolder};
    }
    std::vector<ItemInfo> items;
    for (const FolderInfo &folder : chosen)
        if (!ListItems(session, folder, filter, items, strError)) return Fail(kExitFailure, strError);

    if (options.bJson) {
        nlohmann::ordered_json doc;
        doc["store"] = kind.pszName;
        doc["location"] = session.Location();
        doc["items"] = nlohmann::ordered_json::array();
        for (const ItemInfo &item : items) doc["items"].push_back(ItemJson(kind, item));
        PrintJson(doc);
        return kExitOk;
    }
    CTable table(ItemHeader(kind));
    for (const ItemInfo &item : items) table.AddRow(ItemCells(kind, item));
    table.Print(stdout);
    std::printf("%zu %s\n", items.size(), kind.pszItems);
    return kExitOk;
}

} // namespace

void RegisterListCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx) {
    const bool bMail = kind.nAPI == API_OE;
    CLI::App *pCmd = parent.add_subcommand(
        "list", bMail ? "List the messages of a folder" : "List the entries of a container (default: all containers)");
    auto pOptions = std::make_shared<ListOptions>();
    CLI::Option *pFolder =
        pCmd->add_option(bMail ? "FOLDER" : "CONTAINER", pOptions->strFolder,
                         bMail ? "the folder: a path such as Work/Projects, a name, or an entry"
                               : "the container: its name or its entry");
    if (bMail) pFolder->required();
    pCmd->add_option("--since", pOptions->strSince,
                     bMail ? "only messages sent at or after this local time (2024-03-01, \"2024-03-01 14:30\")"
                           : "only entries changed at or after this local time (2024-03-01, \"2024-03-01 14:30\")")
        ->type_name("DATE");
    pCmd->add_option("--sort", pOptions->strSort,
                     bMail ? "order by the time sent: oldest or newest first (default: as stored)"
                           : "order by the time of the last change: oldest or newest first (default: as stored)")
        ->type_name("ORDER");
    if (!bMail) pCmd->add_option("--type", pOptions->strType, "only contact or only group entries")->type_name("TYPE");
    pCmd->add_flag("--json", pOptions->bJson, "print one JSON document instead of a table");
    pCmd->callback([&kind, &ctx, pOptions] { ctx.nExit = RunList(kind, ctx, *pOptions); });
}
