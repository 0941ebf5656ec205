// tessel report mail|contacts --html FILE: the groups of a scan (or of an applied run's journal) as one
// self-contained HTML page, each group with its comparison matrix.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemstate.h"
#include "journal.h"
#include "listing.h"
#include "matrixview.h"
#include "progress.h"
#include "report_html.h"
#include "scratch_book.h"
#include "scanoptions.h"
#include "timetext.h"

namespace {

struct ReportOptions {
    ScanOptionValues scan;
    std::string strHtml;
    std::string strJournal;
};

struct GroupItems {
    std::vector<ItemInfo> items; // original first
    std::vector<std::string> fates;
    // A contacts run removed some of the group's cards: every item's card text (from the book, or from the
    // journal for the removed ones), compared in a scratch book.
    std::vector<std::string> cards;
    bool bRemoved = false;
};

tessel::ReportItem ToReportItem(const ItemInfo &item, bool bOriginal, const std::string &strFate) {
    tessel::ReportItem r;
    r.sEntry = item.strEntry;
    r.sFolder = item.strFolder;
    r.sTitle = item.strTitle;
    r.sDetail = item.strWho;
    r.sDate = FormatLocal(item.ftDate);
    r.nSize = item.nSize > 0 ? static_cast<uint64_t>(item.nSize) : 0;
    r.bOriginal = bOriginal;
    r.sFate = strFate;
    return r;
}

// The matrix's equality numbers back from the view's letters: a value's number is 1 + the first item holding it.
tessel::ReportGroup ToReportGroup(const MatrixView &view, const GroupItems &group) {
    tessel::ReportGroup g;
    for (size_t i = 0; i < view.items.size(); ++i)
        g.items.push_back(ToReportItem(view.items[i], i == 0, i < group.fates.size() ? group.fates[i] : ""));
    for (size_t p = 0; p < view.properties.size(); ++p) {
        tessel::ReportRow row{view.properties[p], {}, {}, {}};
        std::map<std::string, int32_t> first;
        for (size_t i = 0; i < view.cells[p].size(); ++i) {
            const MatrixCell &cell = view.cells[p][i];
            int32_t nEq = 0;
            if (!cell.strMark.empty()) nEq = first.emplace(cell.strMark, static_cast<int32_t>(i) + 1).first->second;
            row.values.push_back(nEq);
            row.sizes.push_back(cell.nSize);
            row.texts.push_back(cell.strValue);
        }
        g.rows.push_back(std::move(row));
    }
    for (const MatrixView::Attachment &a : view.attachments) {
        tessel::ReportAttachment att{a.strName, {}};
        uint32_t nFirst = 0;
        for (size_t i = 0; i < a.in.size(); ++i) {
            if (a.in[i] && !nFirst) nFirst = static_cast<uint32_t>(i) + 1;
            att.cells.push_back(a.in[i] ? nFirst : 0);
        }
        g.attachments.push_back(std::move(att));
    }
    return g;
}

// What the run did to an item, for people.
std::string FateText(const tessel::JournalAction &a, bool bMail) {
    const std::string strAction = a.before.value("action", "");
    std::string str;
    if (a.Interrupted()) str = strAction + " interrupted";
    else if (!a.Done()) str = strAction + " failed";
    else if (strAction == "trash") str = bMail ? "moved to Deleted Items" : "removed";
    else if (strAction == "move") str = "moved";
    else if (strAction == "mark") str = bMail ? "flagged" : "marked";
    else str = "deleted for good";
    if (a.undo) str += "; undo: " + a.undo->value("result", "");
    return str;
}

// The groups of an applied run, with each item where it is now.
bool GroupsFromJournal(CSession &session, const tessel::Journal &journal, std::vector<GroupItems> &groups,
                       std::string &strError) {
    std::vector<FolderInfo> folders;
    if (!ListFolders(session, folders, strError)) return false;
    std::map<int, size_t> byGroup;
    for (const tessel::JournalAction &a : journal.actions) {
        const int nGroup = a.before.value("group", 0);
        if (!byGroup.count(nGroup)) {
            const auto original = CurrentItem(session, folders, a.before.value("original", ""));
            if (!original) continue;
            byGroup[nGroup] = groups.size();
            groups.push_back(GroupItems{{*original}, {""}, {""}, false});
        }
        std::string strEntry = a.before.value("entry", "");
        std::string strFate = FateText(a, session.Api() == API_OE);
        if (a.Done() && a.after->contains("new_entry") && !(a.undo && a.undo->value("result", "") == "restored"))
            strEntry = (*a.after)["new_entry"].get<std::string>();
        if (a.undo && a.undo->contains("entry")) strEntry = (*a.undo)["entry"].get<std::string>();
        GroupItems &group = groups[byGroup[nGroup]];
        const auto now = CurrentItem(session, folders, strEntry);
        const auto card = a.before.contains("card") ? tessel::BytesFromJson(a.before["card"]) : std::nullopt;
        if (now) {
            group.items.push_back(*now);
            group.cards.emplace_back();
        } else if (card && a.Done()) {
            ItemInfo removed;
            removed.strEntry = a.before.value("entry", "");
            removed.strFolder = tessel::BytesFromJson(a.before.value("folder_name", nlohmann::json(""))).value_or("");
            removed.strTitle = tessel::BytesFromJson(a.before.value("title", nlohmann::json(""))).value_or("");
            removed.nSize = a.before.value("size", int64_t(-1));
            group.items.push_back(removed);
            group.cards.push_back(*card);
            group.bRemoved = true;
            strFate += "; the card is kept in the journal";
        } else {
            continue; // deleted for good
        }
        group.fates.push_back(strFate);
    }
    // The cards still in the book join the removed ones in the scratch book.
    for (GroupItems &group : groups) {
        if (!group.bRemoved) continue;
        GroupItems readable{{}, {}, {}, true};
        for (size_t i = 0; i < group.items.size(); ++i) {
            CardText card;
            std::string strIgnored;
            if (group.cards[i].empty() && ReadCardText(session.Location(), group.items[i].strEntry, card, strIgnored))
                group.cards[i] = card.strText;
            if (group.cards[i].empty()) continue; // a card without a UID can't be found in its files
            readable.items.push_back(group.items[i]);
            readable.fates.push_back(group.fates[i]);
            readable.cards.push_back(group.cards[i]);
        }
        group = std::move(readable);
    }
    return true;
}

// The book lists no sizes: a card's size is that of its text, from the journal for a removed card.
void SizeCards(const std::string &strBook, std::vector<GroupItems> &groups) {
    for (GroupItems &group : groups)
        for (size_t i = 0; i < group.items.size(); ++i) {
            ItemInfo &item = group.items[i];
            if (item.nSize > 0) continue;
            CardText card;
            std::string strIgnored;
            if (i < group.cards.size() && !group.cards[i].empty()) item.nSize = static_cast<int64_t>(group.cards[i].size());
            else if (ReadCardText(strBook, item.strEntry, card, strIgnored)) item.nSize = static_cast<int64_t>(card.strText.size());
        }
}

int RunReport(const StoreKind &kind, ToolContext &ctx, const ReportOptions &options) {
    std::string strError;
    std::optional<tessel::Journal> journal;
    GlobalOptions global = ctx.options;
    ScanOptionValues scanOptions = options.scan;
    if (!options.strJournal.empty()) {
        journal = tessel::ReadJournal(options.strJournal, &strError);
        if (!journal) return Fail(kExitUsage, strError);
        if (journal->header.value("store", "") != kind.pszName)
            return Fail(kExitUsage, options.strJournal + " is not a journal of a " + kind.pszName + " run");
        (kind.nAPI == API_OE ? global.strStore : global.strBook) = journal->header.value("location", "");
        // The matrix compares what the run compared unless --by says otherwise.
        if (scanOptions.strBy.empty() && journal->header.contains("by") && journal->header["by"].is_array())
            for (const auto &word : journal->header["by"])
                if (word.is_string())
                    scanOptions.strBy += (scanOptions.strBy.empty() ? "" : ",") + word.get<std::string>();
    }
    CPropertySet props;
    CKeepRule keep;
    ScanRequest request;
    if (!PrepareScan(kind, scanOptions, props, keep, request, strError)) return Fail(kExitUsage, strError);
    CSession session(global);
    if (!session.Open(kind, strError)) return Fail(kExitFailure, strError);

    std::vector<GroupItems> groups;
    if (journal) {
        if (!GroupsFromJournal(session, *journal, groups, strError)) return Fail(kExitFailure, strError);
    } else {
        ScanResult scan;
        bool bUsage = false;
        if (!RunScan(session, request, scan, strError, bUsage))
            return Fail(bUsage ? kExitUsage : kExitFailure, strError);
        for (const ScanGroup &g : scan.groups) {
            GroupItems items{{g.original}, {""}, {}, false};
            for (const ItemInfo &d : g.duplicates) items.items.push_back(d), items.fates.push_back("");
            groups.push_back(std::move(items));
        }
    }

    if (kind.nAPI == API_WAB) SizeCards(session.Location(), groups);

    tessel::ReportData data;
    data.sTitle = kind.nAPI == API_OE ? "Duplicate messages" : "Duplicate contacts";
    data.sStore = std::filesystem::absolute(session.Location()).lexically_normal().string();
    data.sSource = journal ? journal->path.string() : "scan by " + request.pProps->ComparedNames().front() +
                                                          (request.pProps->ComparedNames().size() > 1 ? ", ..." : "");
    data.sGenerated = tessel::UtcTimestamp();
    CScratchBook scratch;
    bool bScratch = false;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].bRemoved && groups[i].items.size() >= 2) {
            if (!scratch.AddGroup(i, groups[i].cards, strError)) return Fail(kExitFailure, strError);
            bScratch = true;
        }
    }
    if (bScratch && !scratch.Open(global, strError)) return Fail(kExitFailure, strError);
    CProgress progress(true);
    size_t nUnreadable = 0;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (progress.Due()) progress.Show("report", i, groups.size(), "");
        MatrixView view;
        const bool bBuilt = groups[i].items.size() >= 2 &&
                            (groups[i].bRemoved ? scratch.Compare(i, props, view, strError)
                                                : BuildMatrixView(session, props, groups[i].items, view, strError));
        if (!bBuilt || view.items.size() != groups[i].items.size()) {
            ++nUnreadable;
            continue;
        }
        // Where the items are (or were) in the user's book; a removed card's e-mail and date come from its copy.
        for (size_t k = 0; k < view.items.size(); ++k) {
            ItemInfo &item = groups[i].items[k];
            if (item.strWho.empty()) item.strWho = view.items[k].strWho;
            if (item.ftDate.dwLowDateTime == 0 && item.ftDate.dwHighDateTime == 0) item.ftDate = view.items[k].ftDate;
        }
        view.items = groups[i].items;
        data.groups.push_back(ToReportGroup(view, groups[i]));
    }
    progress.Finish();
    const std::string html = tessel::RenderReportHtml(data);
    std::ofstream out(options.strHtml, std::ios::binary | std::ios::trunc);
    out << html;
    out.close();
    if (!out) return Fail(kExitFailure, "cannot write " + options.strHtml);
    const auto summary = tessel::Summarize(data);
    std::printf("Report: %llu groups, %llu duplicates, %llu bytes a dedupe would free: %s\n",
                static_cast<unsigned long long>(summary.nGroups), static_cast<unsigned long long>(summary.nDuplicates),
                static_cast<unsigned long long>(summary.nBytesFreed), options.strHtml.c_str());
    if (nUnreadable) std::fprintf(stderr, "tessel: %zu groups could not be compared and are left out\n", nUnreadable);
    return kExitOk;
}

void RegisterReportFor(CLI::App &report, const StoreKind &kind, ToolContext &ctx) {
    CLI::App *pCmd = report.add_subcommand(kind.pszName, std::string("A report of duplicate ") + kind.pszItems);
    auto pOptions = std::make_shared<ReportOptions>();
    AddScanOptions(*pCmd, kind, pOptions->scan);
    pCmd->add_option("--html", pOptions->strHtml, "the page to write")->required();
    pCmd->add_option("--journal", pOptions->strJournal,
                     "report the groups of an applied dedupe from its journal instead of a new scan (its store, "
                     "and its --by unless given), each item where it is now");
    pCmd->footer("Writes one self-contained page: a summary (items, groups, bytes a dedupe would free, a chart of "
                 "group sizes), then each group's matrix (one column per item, the original marked, equal values in "
                 "one colour) and attachments. Groups past the first dozen start collapsed; a filter box narrows "
                 "them. Exit code 0, 1 when the store could not be read or the page not written, 2 for a wrong "
                 "command line.");
    pCmd->callback([&kind, &ctx, pOptions] { ctx.nExit = RunReport(kind, ctx, *pOptions); });
}

} // namespace

void RegisterReportCommand(CLI::App &app, ToolContext &ctx) {
    CLI::App *pReport = app.add_subcommand("report", "Write the duplicate groups as one HTML page, side by side")
                            ->require_subcommand(1);
    pReport->footer("The page needs nothing but a browser: no network, no other files. Changes nothing.");
    RegisterReportFor(*pReport, MailStore(), ctx);
    RegisterReportFor(*pReport, ContactStore(), ctx);
}
