// tessel mail dedupe / tessel contacts dedupe: a scan, then one action on every duplicate (the original stays).
// A dry run unless --apply; an applied run keeps a journal (journal.h) from which `tessel undo` restores the store.
#include <cstdio>
#include <filesystem>
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "dedupe_plan.h"
#include "itemstate.h"
#include "journal.h"
#include "listing.h"
#include "progress.h"
#include "scanoptions.h"

namespace {

struct DedupeOptions {
    ScanOptionValues scan;
    std::string strAction = "trash";
    std::string strPrefix = "[duplicate] ";
    bool bApply = false;
    bool bYes = false;
};

struct Counts {
    size_t nDone = 0, nSkipped = 0, nFailed = 0;
};

std::string Describe(const ItemInfo &item) {
    std::string str = item.strFolder + "  \"" + (item.strTitle.empty() ? "(no title)" : item.strTitle) + "\"";
    if (!item.strWho.empty()) str += "  " + item.strWho;
    return str;
}

// Why an item can't be acted on any more, or "" when it is as the scan saw it.
std::string ChangedSinceScan(CSession &session, const std::vector<FolderInfo> &folders, const ItemInfo &item) {
    const auto now = CurrentItem(session, folders, item.strEntry);
    if (!now) return "it is gone";
    if (now->nSize != item.nSize) return "its size changed";
    if (session.Api() == API_OE && now->nState != item.nState) return "its flags changed";
    if (session.Api() == API_WAB &&
        (now->ftDate.dwLowDateTime != item.ftDate.dwLowDateTime ||
         now->ftDate.dwHighDateTime != item.ftDate.dwHighDateTime))
        return "it was modified";
    return std::string();
}

// Fills the "before" line with what undo needs; false with a reason when the item can't be made reversible.
bool PrepareBefore(CSession &session, const DedupePlan &plan, const PlannedAction &a, nlohmann::json &before,
                   std::string &strWhy) {
    before["entry"] = a.item.strEntry;
    before["folder"] = a.item.strFolderEntry;
    before["folder_name"] = tessel::BytesToJson(a.item.strFolder);
    before["title"] = tessel::BytesToJson(a.item.strTitle);
    before["original"] = a.original.strEntry;
    before["group"] = a.nGroup + 1;
    before["size"] = a.item.nSize;
    if (plan.action == ActionKind::Move) before["target"] = plan.strTargetEntry;
    if (session.Api() == API_OE) {
        before["state"] = a.item.nState;
        if (plan.action == ActionKind::Trash) before["target"] = plan.strTargetEntry; // may be "" before the first
        MailPrint print;
        if (!ReadMailPrint(session, a.item.strEntry, print)) {
            strWhy = "its fingerprint could not be read";
            return false;
        }
        before["message_id"] = tessel::BytesToJson(print.strMessageId);
        before["sha1"] = print.strSha1;
    } else {
        if (plan.action == ActionKind::Mark) before["name"] = tessel::BytesToJson(a.item.strTitle);
        if (plan.action != ActionKind::Delete) {
            // The card's text lets undo put it back byte for byte (a moved card is a new card with a new UID); a
            // mark or move without it is undone through the book, by name or by moving the copy back.
            CardText card;
            std::string strNoCard;
            if (!ReadCardText(session.Location(), a.item.strEntry, card, strNoCard)) {
                if (plan.action != ActionKind::Trash) return true;
                strWhy = strNoCard;
                return false;
            }
            before["container"] = tessel::BytesToJson(card.strContainer);
            before["uid"] = tessel::BytesToJson(card.strUid);
            before["file"] = tessel::BytesToJson(card.strFile);
            before["card"] = tessel::BytesToJson(card.strText);
        }
    }
    return true;
}

// A store status for a full disk or an exhausted quota: every further action would fail the same way.
bool IsDiskFull(int32_t nStatus) {
    const uint32_t n = static_cast<uint32_t>(nStatus);
    return n == 0x80030070u /* STG_E_MEDIUMFULL */ || n == 0x80070070u /* ERROR_DISK_FULL as a status */;
}

// Does the action; the new entry (if any) goes into after.
int32_t Perform(CSession &session, const DedupePlan &plan, const PlannedAction &a, nlohmann::json &after) {
    CTessel *pLib = session.Lib();
    const int32_t nApi = session.Api();
    char *pszNew = nullptr;
    int32_t nStatus = 0;
    switch (plan.action) {
    case ActionKind::Trash:
        nStatus = nApi == API_OE ? TS_DeleteItem(pLib, nApi, a.item.strEntry.c_str(), 0, &pszNew)
                                 : TS_DeleteItem(pLib, nApi, a.item.strEntry.c_str(), 1, nullptr);
        break;
    case ActionKind::Delete:
        nStatus = TS_DeleteItem(pLib, nApi, a.item.strEntry.c_str(), 1, nullptr);
        break;
    case ActionKind::Move:
        nStatus = TS_MoveItem(pLib, nApi, a.item.strEntry.c_str(), plan.strTargetEntry.c_str(), &pszNew);
        break;
    case ActionKind::Mark:
        nStatus = nApi == API_OE ? OEMarkItem(pLib, a.item.strEntry.c_str(), TS_MSG_FLAGGED)
                                 : WABMarkItem(pLib, a.item.strEntry.c_str(), plan.strPrefix.c_str());
        break;
    }
    if (pszNew) {
        after["new_entry"] = pszNew;
        TS_FreeBuffer(pLib, nApi, pszNew);
    }
    after["status"] = nStatus;
    return nStatus;
}

int RunDedupe(const StoreKind &kind, ToolContext &ctx, const DedupeOptions &options) {
    CPropertySet props;
    CKeepRule keep;
    ScanRequest request;
    std::string strError;
    if (!PrepareScan(kind, options.scan, props, keep, request, strError)) return Fail(kExitUsage, strError);
    DedupePlan plan;
    if (!ParseAction(kind, options.strAction, options.strPrefix, plan, strError)) return Fail(kExitUsage, strError);
    if (plan.action == ActionKind::Delete && options.bApply && !options.bYes)
        return Fail(kExitUsage, "--action delete removes duplicates for good and can't be undone; add --yes to "
                                "confirm, or use --action trash");

    CSession session(ctx.options);
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);
    ScanResult scan;
    bool bUsage = false;
    if (!RunScan(session, request, scan, strError, bUsage)) return Fail(bUsage ? kExitUsage : kExitFailure, strError);
    std::vector<FolderInfo> folders;
    if (!ListFolders(session, folders, strError)) return Fail(kExitFailure, strError);
    if (!ResolveTarget(session, folders, plan, strError)) return Fail(kExitUsage, strError);
    const std::vector<PlannedAction> actions = PlanActions(session, plan, scan);

    if (!options.bApply) {
        for (size_t i = 0; i < actions.size(); ++i) {
            const PlannedAction &a = actions[i];
            if (i == 0 || actions[i - 1].nGroup != a.nGroup)
                std::printf("group %zu: keep %s\n", a.nGroup + 1, Describe(a.original).c_str());
            std::printf("  would %s: %s%s\n", ActionVerb(plan, false).c_str(), Describe(a.item).c_str(),
                        a.strSkip.empty() ? "" : ("  (skipped: " + a.strSkip + ")").c_str());
        }
        std::printf("Dry run: %zu %s, %zu groups; %zu duplicates would be %s. Nothing was changed; add --apply "
                    "to do it.\n",
                    scan.nItems, kind.pszItems, scan.groups.size(), actions.size(), ActionVerb(plan, true).c_str());
        return kExitOk;
    }

    nlohmann::json header{{"tool", std::string("tessel ") + TESSEL_TOOL_VERSION},
                          {"store", kind.pszName},
                          // undo may run from another directory
                          {"location", std::filesystem::absolute(session.Location()).lexically_normal().string()},
                          {"action", options.strAction},
                          {"target", plan.strTargetEntry},
                          {"prefix", plan.strPrefix},
                          {"by", props.ComparedNames()},
                          {"keep", keep.Text()},
                          {"started", tessel::UtcTimestamp()}};
    auto pJournal = tessel::CJournalWriter::Create(tessel::JournalDirectory(), kind.pszName, header, &strError);
    if (!pJournal) return Fail(kExitFailure, strError + "; nothing was changed");
    std::fprintf(stderr, "tessel: journal %s\n", pJournal->Path().c_str());

    Counts counts;
    CProgress progress(true);
    int nSeq = 0;
    for (size_t i = 0; i < actions.size(); ++i) {
        const PlannedAction &a = actions[i];
        ++nSeq;
        if (progress.Due()) progress.Show("dedupe", i, actions.size(), std::to_string(counts.nDone) + " done");
        std::string strWhy = a.strSkip;
        if (strWhy.empty()) strWhy = ChangedSinceScan(session, folders, a.original).empty() ? "" : "its original changed";
        if (strWhy.empty()) strWhy = ChangedSinceScan(session, folders, a.item);
        nlohmann::json before{{"type", "before"}, {"seq", nSeq}, {"action", ActionName(plan.action)}};
        if (strWhy.empty()) PrepareBefore(session, plan, a, before, strWhy);
        if (!strWhy.empty()) {
            ++counts.nSkipped;
            progress.Finish();
            std::printf("skipped: %s (%s)\n", Describe(a.item).c_str(), strWhy.c_str());
            if (!pJournal->Append({{"type", "skip"}, {"seq", nSeq}, {"entry", a.item.strEntry}, {"reason", strWhy}},
                                  &strError))
                return Fail(kExitFailure, strError + "; stopped, " + std::to_string(counts.nDone) +
                                              " actions were done and are in the journal");
            continue;
        }
        if (!pJournal->Append(before, &strError))
            return Fail(kExitFailure, strError + "; stopped before " + a.item.strEntry + ", " +
                                          std::to_string(counts.nDone) + " actions were done and are in the journal");
        nlohmann::json after{{"type", "after"}, {"seq", nSeq}};
        const int32_t nStatus = Perform(session, plan, a, after);
        after["result"] = nStatus == 0 ? "done" : "failed";
        if (nStatus == 0) ++counts.nDone;
        else ++counts.nFailed;
        if (!pJournal->Append(after, &strError))
            return Fail(kExitFailure, strError + "; stopped after " + a.item.strEntry + ", " +
                                          std::to_string(counts.nDone) + " actions were done; `tessel undo` can "
                                          "still reverse them");
        progress.Finish();
        if (nStatus == 0) std::printf("%s: %s\n", ActionVerb(plan, true).c_str(), Describe(a.item).c_str());
        else std::printf("failed (%s): %s\n", StatusText(nStatus).c_str(), Describe(a.item).c_str());
        std::fflush(stdout);
        if (IsDiskFull(nStatus))
            return Fail(kExitFailure, "the disk is full; stopped after " + std::to_string(counts.nDone) +
                                          (counts.nDone == 1 ? " action, which is" : " actions, which are") +
                                          " in the journal " + pJournal->Path().string() +
                                          " (`tessel undo` reverses them)");
    }
    progress.Finish();
    pJournal->Append({{"type", "end"},
                      {"done", counts.nDone},
                      {"skipped", counts.nSkipped},
                      {"failed", counts.nFailed},
                      {"finished", tessel::UtcTimestamp()}},
                     &strError);
    std::printf("Dedupe: %zu groups, %zu duplicates: %zu %s, %zu skipped, %zu failed.\nJournal: %s\n%s\n",
                scan.groups.size(), actions.size(), counts.nDone, ActionVerb(plan, true).c_str(), counts.nSkipped,
                counts.nFailed, pJournal->Path().c_str(),
                plan.action == ActionKind::Delete ? "A delete for good can't be undone." : "Undo with: tessel undo");
    return counts.nFailed ? kExitFailure : kExitOk;
}

} // namespace

void RegisterDedupeCommand(CLI::App &parent, const StoreKind &kind, ToolContext &ctx) {
    CLI::App *pCmd = parent.add_subcommand(
        "dedupe", std::string("Scan as `scan` does, keep each group's original and act on its duplicate ") +
                      kind.pszItems + "; a dry run unless --apply");
    auto pOptions = std::make_shared<DedupeOptions>();
    AddScanOptions(*pCmd, kind, pOptions->scan);
    pCmd->add_option("--action", pOptions->strAction,
                     kind.nAPI == API_OE
                         ? "trash (move to the Deleted Items folder, Trash, made if missing; the default), delete "
                           "(for good, needs --yes), move:FOLDER, mark (flag the duplicates)"
                         : "trash (removed, the card kept in the journal; the default), delete (for good, needs "
                           "--yes), move:CONTAINER, mark (prefix the display name, see --prefix)");
    if (kind.nAPI == API_WAB)
        pCmd->add_option("--prefix", pOptions->strPrefix,
                         "the mark put before a duplicate's display name (default \"[duplicate] \")");
    pCmd->add_flag("--apply", pOptions->bApply, "change the store (each action is journaled; `tessel undo` reverses)");
    pCmd->add_flag("--yes", pOptions->bYes, "confirm --action delete");
    pCmd->footer("Without --apply: prints each group's kept item and what each duplicate would undergo, and changes "
                 "nothing. With --apply: prints each action as it is done and a summary, and writes a journal to "
                 "$XDG_STATE_HOME/tessel (default ~/.local/state/tessel) from which `tessel undo` reverses the run, "
                 "even one that was interrupted. An item that changed since the scan (or whose original did) is skipped "
                 "with its reason and counted, and the run goes on; a full disk stops it at once. Exit code 0 when every action worked, 1 when one failed or the store could "
                 "not be read, 2 for a wrong command line.");
    pCmd->callback([&kind, &ctx, pOptions] { ctx.nExit = RunDedupe(kind, ctx, *pOptions); });
}
