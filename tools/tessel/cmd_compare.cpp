// tessel mail compare / tessel contacts compare
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemout.h"
#include "matrixview.h"
#include "scanoptions.h"

namespace {

struct CompareOptions {
    std::vector<std::string> entries;
    int nGroup = 0;
    ScanOptionValues scan;
    bool bJson = false;
};

// The items of group nGroup (from 1) of a scan with the command's scan options.
bool GroupItems(CSession &session, const CompareOptions &options, CPropertySet &props, CKeepRule &keep,
                std::vector<ItemInfo> &items, std::string &strError, int &nExit) {
    ScanRequest request;
    ScanResult result;
    bool bUsage = false;
    nExit = kExitUsage;
    if (!PrepareScan(session.Kind(), options.scan, props, keep, request, strError)) return false;
    if (!RunScan(session, request, result, strError, bUsage)) {
        nExit = bUsage ? kExitUsage : kExitFailure;
        return false;
    }
    if (options.nGroup < 1 || static_cast<size_t>(options.nGroup) > result.groups.size()) {
        strError = "no group " + std::to_string(options.nGroup) + ": the scan found " +
                   std::to_string(result.groups.size()) + " group" + (result.groups.size() == 1 ? "" : "s");
        return false;
    }
    const ScanGroup &group = result.groups[options.nGroup - 1];
    items.push_back(group.original);
    items.insert(items.end(), group.duplicates.begin(), group.duplicates.end());
    return true;
}

int RunCompare(const StoreKind &kind, ToolContext &ctx, const CompareOptions &options) {
    if (options.entries.empty() == (options.nGroup == 0))
        return Fail(kExitUsage, "compare needs either entries or --group N (from a scan), not both");
    CPropertySet props;
    CKeepRule keep;
    std::string strError;
    CSession session(ctx.options);
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);

    std::vector<ItemInfo> items;
    if (options.nGroup) {
        int nExit = kExitFailure;
        if (!GroupItems(session, options, props, keep, items, strError, nExit)) return Fail(nExit, strError);
    } else {
        if (!props.AddWords(kind, options.scan.strBy, strError)) return Fail(kExitUsage, strError);
        std::vector<FolderInfo> folders;
        if (!ListFolders(session, folders, strError)) return Fail(kExitFailure, strError);
        for (const std::string &strEntry : options.entries) {
            ItemInfo item;
            if (!ReadItem(session, folders, strEntry, item, strError)) return Fail(kExitUsage, strError);
            items.push_back(item);
        }
    }
    MatrixView view;
    if (!BuildMatrixView(session, props, items, view, strError)) return Fail(kExitFailure, strError);
    if (options.bJson) PrintJson(MatrixJson(kind, view));
    else PrintMatrixTable(kind, view);
    return kExitOk;
}

} // namespace

void RegisterCompareCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx) {
    CLI::App *pCmd = parent.add_subcommand(
        "compare", std::string("Show ") + kind.pszItems + " side by side: which properties hold equal values" +
                       (kind.nAPI == API_OE ? ", and which attachments each has" : ""));
    auto pOptions = std::make_shared<CompareOptions>();
    pCmd->add_option("ENTRY", pOptions->entries,
                     std::string("the entries to compare (the Entry column of list and scan)"));
    pCmd->add_option("--group", pOptions->nGroup,
                     "compare the items of this group of a scan (numbered from 1, as scan prints them); the scan "
                     "runs with --folder, --by and --keep")
        ->type_name("N");
    AddScanOptions(*pCmd, kind, pOptions->scan);
    pCmd->add_flag("--json", pOptions->bJson, "print one JSON document instead of tables");
    pCmd->callback([&kind, &ctx, pOptions] { ctx.nExit = RunCompare(kind, ctx, *pOptions); });
}
