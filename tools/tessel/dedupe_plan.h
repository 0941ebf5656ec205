// What a dedupe will do: the action chosen on the command line, its target, and one planned action per duplicate
// of a scan. Shared by the dedupe command and the report.
#pragma once

#include <string>
#include <vector>

#include "records.h"
#include "scan.h"
#include "session.h"

enum class ActionKind { Trash, Delete, Move, Mark };

struct DedupePlan {
    ActionKind action = ActionKind::Trash;
    std::string strTargetWord;  // the FOLDER of move:FOLDER
    std::string strTargetEntry; // move: the target folder; mail trash: Deleted Items ("" until the store has one)
    std::string strTargetName;
    std::string strPrefix;      // contacts mark
};

struct PlannedAction {
    size_t nGroup = 0;
    ItemInfo item;
    ItemInfo original;
    std::string strSkip; // why it won't be done, known before anything is touched
};

// Parses trash, delete, move:FOLDER, mark; false with a message.
bool ParseAction(const StoreKind &kind, const std::string &strAction, const std::string &strPrefix, DedupePlan &plan,
                 std::string &strError);
// Finds the target folder of a move (and Deleted Items for a mail trash); false with a message for an unknown one.
bool ResolveTarget(CSession &session, const std::vector<FolderInfo> &folders, DedupePlan &plan, std::string &strError);
std::vector<PlannedAction> PlanActions(CSession &session, const DedupePlan &plan, const ScanResult &scan);

const char *ActionName(ActionKind action);
// "move to Deleted Items" (bDone false) or "moved to Deleted Items".
std::string ActionVerb(const DedupePlan &plan, bool bDone);
