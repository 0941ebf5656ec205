#include "dedupe_plan.h"

#include "listing.h"

bool ParseAction(const StoreKind &kind, const std::string &strAction, const std::string &strPrefix, DedupePlan &plan,
                 std::string &strError) {
    plan.strPrefix = kind.nAPI == API_WAB ? strPrefix : std::string(); // mail marks by a flag
    if (strAction == "trash") plan.action = ActionKind::Trash;
    else if (strAction == "delete") plan.action = ActionKind::Delete;
    else if (strAction == "mark") plan.action = ActionKind::Mark;
    else if (strAction.rfind("move:", 0) == 0 && strAction.size() > 5) {
        plan.action = ActionKind::Move;
        plan.strTargetWord = strAction.substr(5);
    } else {
        strError = "unknown --action \"" + strAction + "\"; use trash, delete, move:" +
                   (kind.nAPI == API_OE ? "FOLDER" : "CONTAINER") + " or mark";
        return false;
    }
    if (plan.action == ActionKind::Mark && kind.nAPI == API_WAB && strPrefix.empty()) {
        strError = "--prefix must not be empty";
        return false;
    }
    return true;
}

bool ResolveTarget(CSession &session, const std::vector<FolderInfo> &folders, DedupePlan &plan, std::string &strError) {
    if (plan.action == ActionKind::Move) {
        const FolderInfo *pFolder = FindFolder(folders, plan.strTargetWord);
        if (!pFolder) {
            strError = "no " + std::string(session.Kind().pszFolder) + " \"" + plan.strTargetWord + "\" in " +
                       session.Location();
            return false;
        }
        plan.strTargetEntry = pFolder->strEntry;
        plan.strTargetName = pFolder->strPath;
    } else if (plan.action == ActionKind::Trash && session.Api() == API_OE) {
        plan.strTargetName = "Deleted Items";
        for (const FolderInfo &folder : folders)
            if (folder.nType == FOLDER_DELETED) {
                plan.strTargetEntry = folder.strEntry;
                plan.strTargetName = folder.strPath;
                break;
            }
    }
    return true;
}

std::vector<PlannedAction> PlanActions(CSession &session, const DedupePlan &plan, const ScanResult &scan) {
    std::vector<PlannedAction> actions;
    for (size_t g = 0; g < scan.groups.size(); ++g) {
        for (const ItemInfo &item : scan.groups[g].duplicates) {
            PlannedAction a;
            a.nGroup = g;
            a.item = item;
            a.original = scan.groups[g].original;
            // A delete in Deleted Items is final: a trash there would destroy what the user can't get back.
            if (plan.action == ActionKind::Trash && session.Api() == API_OE && !plan.strTargetEntry.empty() &&
                item.strFolderEntry == plan.strTargetEntry)
                a.strSkip = "it is in " + plan.strTargetName + " already";
            if (plan.action == ActionKind::Move && item.strFolderEntry == plan.strTargetEntry)
                a.strSkip = "it is in " + plan.strTargetName + " already";
            if (plan.action == ActionKind::Mark && session.Api() == API_OE && (item.nState & TS_MSG_FLAGGED))
                a.strSkip = "it is flagged already";
            actions.push_back(std::move(a));
        }
    }
    return actions;
}

const char *ActionName(ActionKind action) {
    switch (action) {
    case ActionKind::Trash: return "trash";
    case ActionKind::Delete: return "delete";
    case ActionKind::Move: return "move";
    case ActionKind::Mark: return "mark";
    }
    return "";
}

std::string ActionVerb(const DedupePlan &plan, bool bDone) {
    switch (plan.action) {
    case ActionKind::Trash:
        if (!plan.strTargetName.empty()) return (bDone ? "moved to " : "move to ") + plan.strTargetName;
        return bDone ? "removed (kept in the journal)" : "remove (keeping it in the journal)";
    case ActionKind::Delete: return bDone ? "deleted for good" : "delete for good";
    case ActionKind::Move: return (bDone ? "moved to " : "move to ") + plan.strTargetName;
    case ActionKind::Mark:
        if (plan.strPrefix.empty()) return bDone ? "flagged" : "flag";
        return bDone ? "marked" : "mark";
    }
    return "";
}
