// tessel mail scan / tessel contacts scan
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemout.h"
#include "scanoptions.h"
#include "table.h"

namespace {

struct ScanCommandOptions {
    ScanOptionValues scan;
    bool bJson = false;
};

std::string Joined(const std::vector<std::string> &words) {
    std::string str;
    for (const std::string &word : words) str += (str.empty() ? "" : ",") + word;
    return str;
}

void PrintScanJson(const CSession &session, const CPropertySet &props, const CKeepRule &keep,
                   const ScanResult &result) {
    const StoreKind &kind = session.Kind();
    nlohmann::ordered_json doc;
    doc["store"] = kind.pszName;
    doc["location"] = session.Location();
    doc["by"] = props.ComparedNames();
    doc["keep"] = keep.Text();
    doc["folders"] = nlohmann::ordered_json::array();
    for (const FolderInfo &folder : result.folders) doc["folders"].push_back(folder.strPath);
    doc["summary"] = {{"items", result.nItems},
                      {"unreadable", result.nRefused},
                      {"groups", result.groups.size()},
                      {"duplicates", result.DuplicateCount()}};
    doc["unreadable"] = result.refusedEntries;
    doc["groups"] = nlohmann::ordered_json::array();
    for (size_t g = 0; g < result.groups.size(); ++g) {
        nlohmann::ordered_json group;
        group["group"] = g + 1;
        group["original"] = ItemJson(kind, result.groups[g].original);
        group["duplicates"] = nlohmann::ordered_json::array();
        for (const ItemInfo &item : result.groups[g].duplicates) group["duplicates"].push_back(ItemJson(kind, item));
        doc["groups"].push_back(group);
    }
    PrintJson(doc);
}

void PrintScanTable(const CSession &session, const CPropertySet &props, const ScanResult &result) {
    const StoreKind &kind = session.Kind();
    if (!result.groups.empty()) {
        std::vector<std::string> header{"Group", "Role"};
        for (const std::string &strColumn : ItemHeader(kind)) header.push_back(strColumn);
        CTable table(header);
        for (size_t g = 0; g < result.groups.size(); ++g) {
            auto row = [&](const std::string &strGroup, const char *pszRole, const ItemInfo &item) {
                std::vector<std::string> cells{strGroup, pszRole};
                for (std::string &cell : ItemCells(kind, item)) cells.push_back(std::move(cell));
                table.AddRow(std::move(cells));
            };
            row(std::to_string(g + 1), "original", result.groups[g].original);
            for (const ItemInfo &item : result.groups[g].duplicates) row("", "duplicate", item);
        }
        table.Print(stdout);
        std::printf("\n");
    }
    std::printf("Scanned %zu %s in %zu %s%s by %s: %zu %s, %zu %s", result.nItems, kind.pszItems,
                result.folders.size(), kind.pszFolder, result.folders.size() == 1 ? "" : "s",
                Joined(props.ComparedNames()).c_str(), result.groups.size(),
                result.groups.size() == 1 ? "group" : "groups", result.DuplicateCount(),
                result.DuplicateCount() == 1 ? "duplicate" : "duplicates");
    if (result.nRefused) std::printf(", %zu could not be read", result.nRefused);
    std::printf(".\n");
}

int RunScanCommand(const StoreKind &kind, ToolContext &ctx, const ScanCommandOptions &options) {
    CPropertySet props;
    CKeepRule keep;
    ScanRequest request;
    std::string strError;
    if (!PrepareScan(kind, options.scan, props, keep, request, strError)) return Fail(kExitUsage, strError);
    CSession session(ctx.options);
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);
    ScanResult result;
    bool bUsage = false;
    if (!RunScan(session, request, result, strError, bUsage)) return Fail(bUsage ? kExitUsage : kExitFailure, strError);
    if (options.bJson) PrintScanJson(session, props, keep, result);
    else PrintScanTable(session, props, result);
    for (const std::string &strEntry : result.refusedEntries)
        std::fprintf(stderr, "tessel: could not read %s (skipped; see --log or --verbose for why)\n",
                     strEntry.c_str());
    return kExitOk;
}

} // namespace

void RegisterScanCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx) {
    CLI::App *pCmd = parent.add_subcommand(
        "scan", std::string("Find duplicate ") + kind.pszItems +
                    " and print them in groups, the original first; changes nothing");
    auto pOptions = std::make_shared<ScanCommandOptions>();
    AddScanOptions(*pCmd, kind, pOptions->scan);
    pCmd->add_flag("--json", pOptions->bJson, "print one JSON document instead of a table");
    pCmd->footer("Progress is shown on standard error when it is a terminal. The exit code is 0 whether or not "
                 "duplicates were found, 1 when the store could not be read, 2 for a wrong command line.");
    pCmd->callback([&kind, &ctx, pOptions] { ctx.nExit = RunScanCommand(kind, ctx, *pOptions); });
}
