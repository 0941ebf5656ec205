// tessel undo [JOURNAL]: reverses an applied dedupe from its journal, newest action first. Messages come back from
// Deleted Items (or the move target) to their folders, marks are taken off, removed and moved cards get their own
// text back in their old place. An
// action the run was killed in is looked up first: it is reversed only if it happened. Each reversal is appended
// to the journal, so an undo that is itself interrupted can simply be run again.
#include <cstdio>
#include <memory>
#include <set>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "itemstate.h"
#include "journal.h"
#include "listing.h"

namespace {

using nlohmann::json;

struct UndoOptions {
    std::string strJournal;
    bool bList = false;
};

std::string Str(const json &j, const char *pszKey) {
    if (!j.contains(pszKey)) return std::string();
    return tessel::BytesFromJson(j[pszKey]).value_or(std::string());
}

struct Outcome {
    std::string strResult; // restored, not-done, missing, failed, permanent
    std::string strDetail;
    std::string strEntry;  // where the item is now
};

std::string TakeNewEntry(char *pszNew, CSession &session) {
    std::string str = pszNew ? pszNew : "";
    if (pszNew) TS_FreeBuffer(session.Lib(), session.Api(), pszNew);
    return str;
}

// Mail trash and move, and contacts move: the item went to another folder; bring it back.
Outcome UndoRelocation(CSession &session, const std::vector<FolderInfo> &folders, const tessel::JournalAction &a,
                       const std::set<std::string> &claimed) {
    const json &before = a.before;
    const std::string strEntry = Str(before, "entry"), strFolder = Str(before, "folder");
    std::string strNow = a.after ? Str(*a.after, "new_entry") : std::string();
    if (!a.after || strNow.empty() || !CurrentItem(session, folders, strNow)) {
        if (CurrentItem(session, folders, strEntry)) return {"not-done", "it never left its folder", strEntry};
        strNow.clear();
        if (session.Api() == API_OE) {
            MailPrint print{Str(before, "message_id"), Str(before, "sha1")};
            std::string strWhere = Str(before, "target");
            if (strWhere.empty()) // Deleted Items made by the delete itself
                for (const FolderInfo &folder : folders)
                    if (folder.nType == FOLDER_DELETED) strWhere = folder.strEntry;
            if (!strWhere.empty()) strNow = FindMessage(session, strWhere, print, claimed);
        }
        if (strNow.empty()) return {"missing", "it is no longer where the journal says", ""};
    }
    char *pszNew = nullptr;
    const int32_t nStatus = TS_MoveItem(session.Lib(), session.Api(), strNow.c_str(), strFolder.c_str(), &pszNew);
    const std::string strBack = TakeNewEntry(pszNew, session);
    if (nStatus != 0) return {"failed", "the store refused the move back (" + StatusText(nStatus) + ")", strNow};
    return {"restored", "", strBack};
}

CardText CardFromJournal(const json &before) {
    return CardText{Str(before, "container"), Str(before, "uid"), Str(before, "file"), Str(before, "card")};
}

// Changes one property of an item and saves it; the item's entry afterwards, or "" and *pnStatus on failure.
// The message store writes a changed message anew: the old copy, which differs only in that property, is destroyed
// rather than dropped into Deleted Items.
std::string SetAndSave(CSession &session, const std::string &strEntry, uint32_t nTag, const std::string &strText,
                       int32_t *pnStatus) {
    TS_HITEM hItem = nullptr;
    int32_t nStatus = TS_OpenItem(session.Lib(), session.Api(), strEntry.c_str(), &hItem, 1);
    std::string strNow;
    if (nStatus == 0 && hItem) {
        PropDesc desc{};
        desc.Tag = nTag;
        desc.nInterface = TS_INTERFACE_VALUE;
        nStatus = session.Api() == API_OE ? TS_SetItemNumProp(session.Lib(), API_OE, hItem, &desc, 0)
                                          : TS_SetItemTextProp(session.Lib(), API_WAB, hItem, &desc, strText.c_str());
        if (nStatus == 0) nStatus = TS_SaveItem(session.Lib(), session.Api(), hItem, session.Api() == API_OE ? 3 : -1);
        char *pszNow = nullptr;
        if (nStatus == 0 && TS_GetItemID(session.Lib(), session.Api(), hItem, &pszNow) == 0) strNow = pszNow;
        if (pszNow) TS_FreeBuffer(session.Lib(), session.Api(), pszNow);
        if (nStatus == 0 && strNow.empty()) strNow = strEntry;
        TS_CloseItem(session.Lib(), session.Api(), hItem);
    }
    *pnStatus = nStatus;
    return strNow;
}

Outcome UndoMark(CSession &session, const std::vector<FolderInfo> &folders, const tessel::JournalAction &a) {
    const std::string strEntry = Str(a.before, "entry");
    const auto now = CurrentItem(session, folders, strEntry);
    if (!now) return {"missing", "it is gone", ""};
    uint32_t nTag = TS_PR_OE_FLAGGED;
    if (session.Api() == API_OE) {
        if (a.before.value("state", 0u) & TS_MSG_FLAGGED) return {"not-done", "it was flagged before the run", strEntry};
        if (!(now->nState & TS_MSG_FLAGGED)) return {"not-done", "it is not flagged", strEntry};
    } else {
        // The card's own text goes back when nothing but the mark changed it; else only the name is put back.
        if (a.before.contains("card")) {
            switch (CompareCardText(session.Location(), CardFromJournal(a.before))) {
            case CardState::Equal: return {"not-done", "the card was never marked", strEntry};
            case CardState::Marked: return {"restore-card", "", ""};
            default: break;
            }
        }
        nTag = TS_PR_DISPLAY_NAME;
    }
    int32_t nStatus = 0;
    const std::string strNow = SetAndSave(session, strEntry, nTag, Str(a.before, "name"), &nStatus);
    if (nStatus != 0) return {"failed", "the store refused the change (" + StatusText(nStatus) + ")", strEntry};
    return {"restored", "", strNow};
}

// A moved card: the book made a new card (new UID, new file) in the target; it goes, and the journal's text comes
// back in the old place.
Outcome UndoCardMove(CSession &session, const std::vector<FolderInfo> &folders, const tessel::JournalAction &a) {
    const std::string strEntry = Str(a.before, "entry");
    if (CurrentItem(session, folders, strEntry)) return {"not-done", "it never left its container", strEntry};
    const std::string strCopy = a.after ? Str(*a.after, "new_entry") : std::string();
    if (!strCopy.empty() && CurrentItem(session, folders, strCopy)) {
        const int32_t nStatus = TS_DeleteItem(session.Lib(), API_WAB, strCopy.c_str(), 1, nullptr);
        if (nStatus != 0)
            return {"failed", "the moved copy could not be removed (" + StatusText(nStatus) + ")", strCopy};
    }
    return {"restore-card", "", ""};
}

// A removed card (and a marked one, see UndoMark) is written back into the book's files after the book is closed.
Outcome CheckCardRestore(CSession &session, const std::vector<FolderInfo> &folders, const tessel::JournalAction &a) {
    if (CurrentItem(session, folders, Str(a.before, "entry"))) return {"not-done", "the card is still there", ""};
    return {"restore-card", "", ""};
}

int ListJournalsCommand() {
    for (const auto &path : tessel::ListJournals(tessel::JournalDirectory())) {
        std::string strError;
        const auto journal = tessel::ReadJournal(path, &strError);
        if (!journal) continue;
        std::printf("%s  %s %s on %s: %zu actions%s%s\n", path.filename().c_str(),
                    journal->header.value("store", "?").c_str(), journal->header.value("action", "?").c_str(),
                    journal->header.value("location", "?").c_str(), journal->actions.size(),
                    journal->end ? "" : ", interrupted", journal->HasWorkForUndo() ? "" : ", undone");
    }
    return kExitOk;
}

int RunUndo(ToolContext &ctx, const UndoOptions &options) {
    if (options.bList) return ListJournalsCommand();
    std::string strError;
    std::filesystem::path path = options.strJournal;
    std::optional<tessel::Journal> journal;
    if (path.empty()) {
        const auto all = tessel::ListJournals(tessel::JournalDirectory());
        for (auto it = all.rbegin(); it != all.rend() && !journal; ++it) {
            auto candidate = tessel::ReadJournal(*it, &strError);
            if (candidate && candidate->HasWorkForUndo()) journal = std::move(candidate);
        }
        if (!journal) {
            std::printf("Nothing to undo: no journal in %s has actions left to reverse.\n",
                        tessel::JournalDirectory().c_str());
            return kExitOk;
        }
    } else {
        journal = tessel::ReadJournal(path, &strError);
        if (!journal) return Fail(kExitUsage, strError);
    }
    const std::string strStore = journal->header.value("store", "");
    const StoreKind *pKind = strStore == "mail" ? &MailStore() : strStore == "contacts" ? &ContactStore() : nullptr;
    if (!pKind) return Fail(kExitUsage, journal->path.string() + " is not a journal of a tessel run");
    GlobalOptions options2 = ctx.options;
    const std::string strLocation = journal->header.value("location", "");
    (pKind->nAPI == API_OE ? options2.strStore : options2.strBook) = strLocation;
    std::printf("Undoing %s (%s %s on %s)\n", journal->path.c_str(), strStore.c_str(),
                journal->header.value("action", "").c_str(), strLocation.c_str());

    auto pWriter = tessel::CJournalWriter::OpenForAppend(journal->path, &strError);
    if (!pWriter) return Fail(kExitFailure, strError);

    std::set<std::string> claimed; // entries that other actions of this run account for
    for (const auto &a : journal->actions)
        if (a.after && a.after->contains("new_entry")) claimed.insert(Str(*a.after, "new_entry"));

    size_t nRestored = 0, nNotDone = 0, nMissing = 0, nFailed = 0, nPermanent = 0;
    std::vector<const tessel::JournalAction *> cards;
    auto record = [&](const tessel::JournalAction &a, const Outcome &o) -> bool {
        const std::string strName = Str(a.before, "title");
        const std::string strTitle =
            Str(a.before, "folder_name") + "  \"" + (strName.empty() ? "(no title)" : strName) + "\"";
        if (o.strResult == "restored") ++nRestored, std::printf("restored: %s\n", strTitle.c_str());
        else if (o.strResult == "not-done") ++nNotDone, std::printf("nothing to undo: %s (%s)\n", strTitle.c_str(), o.strDetail.c_str());
        else if (o.strResult == "permanent") ++nPermanent, std::printf("cannot undo: %s (%s)\n", strTitle.c_str(), o.strDetail.c_str());
        else if (o.strResult == "missing") ++nMissing, std::printf("missing: %s (%s)\n", strTitle.c_str(), o.strDetail.c_str());
        else ++nFailed, std::printf("failed: %s (%s)\n", strTitle.c_str(), o.strDetail.c_str());
        std::fflush(stdout);
        json line{{"type", "undo"}, {"seq", a.nSeq}, {"result", o.strResult}, {"at", tessel::UtcTimestamp()}};
        if (!o.strEntry.empty()) line["entry"] = o.strEntry;
        if (!o.strDetail.empty()) line["detail"] = o.strDetail;
        if (!pWriter->Append(line, &strError)) {
            Fail(kExitFailure, strError + "; stopped");
            return false;
        }
        return true;
    };
    {
        CSession session(options2);
        if (!session.Open(*pKind, strError)) return Fail(kExitFailure, strError);
        std::vector<FolderInfo> folders;
        if (!ListFolders(session, folders, strError)) return Fail(kExitFailure, strError);
        for (auto it = journal->actions.rbegin(); it != journal->actions.rend(); ++it) {
            const tessel::JournalAction &a = *it;
            if (!a.NeedsUndo()) continue;
            const std::string strAction = a.before.value("action", "");
            Outcome o;
            if (strAction == "delete")
                o = CurrentItem(session, folders, Str(a.before, "entry"))
                        ? Outcome{"not-done", "it was never deleted", ""}
                        : Outcome{"permanent", "it was deleted for good", ""};
            else if (strAction == "mark") o = UndoMark(session, folders, a);
            else if (strAction == "trash" && pKind->nAPI == API_WAB) o = CheckCardRestore(session, folders, a);
            else if (strAction == "move" && a.before.contains("card")) o = UndoCardMove(session, folders, a);
            else o = UndoRelocation(session, folders, a, claimed);
            if (o.strResult == "restore-card") {
                cards.push_back(&a);
                continue;
            }
            if (!record(a, o)) return kExitFailure;
        }
    }
    for (const tessel::JournalAction *pAction : cards) {
        const CardText card = CardFromJournal(pAction->before);
        const bool bMark = pAction->before.value("action", "") == "mark";
        std::string strWhy;
        const Outcome o = card.strText.empty() ? Outcome{"failed", "the journal holds no card text", ""}
                          : (bMark ? ReplaceCardText(strLocation, card, strWhy) : WriteCardBack(strLocation, card, strWhy))
                              ? Outcome{"restored", "", ""}
                              : Outcome{"failed", strWhy, ""};
        if (!record(*pAction, o)) return kExitFailure;
    }
    pWriter->Append({{"type", "undo-end"}, {"restored", nRestored}, {"missing", nMissing}, {"failed", nFailed},
                     {"at", tessel::UtcTimestamp()}},
                    &strError);
    std::printf("Undo: %zu restored, %zu had nothing to undo, %zu missing, %zu could not be undone, %zu failed.\n",
                nRestored, nNotDone, nMissing, nPermanent, nFailed);
    return nMissing || nFailed ? kExitFailure : kExitOk;
}

} // namespace

void RegisterUndoCommand(CLI::App &app, ToolContext &ctx) {
    CLI::App *pCmd = app.add_subcommand("undo", "Reverse the last applied dedupe (or the one whose journal is named)");
    auto pOptions = std::make_shared<UndoOptions>();
    pCmd->add_option("journal", pOptions->strJournal, "a journal file (default: the newest with something to undo)");
    pCmd->add_flag("--list", pOptions->bList, "list the journals and what they did");
    pCmd->footer("Messages come back from Deleted Items (or a move's target) to their folders, flags and name "
                 "marks come off, removed contacts are written back from the journal; a delete for good can't be "
                 "undone. Journals are in $XDG_STATE_HOME/tessel (default ~/.local/state/tessel). Undo may be run "
                 "again: what is reversed already is left alone. An item that is no longer where the journal says "
                 "is reported, and the rest goes on. Exit code 0 when everything that could be undone was, 1 when an item "
                 "was missing or could not be restored, 2 for a journal that can't be read.");
    pCmd->callback([&ctx, pOptions] { ctx.nExit = RunUndo(ctx, *pOptions); });
}
