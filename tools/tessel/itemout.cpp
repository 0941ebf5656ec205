#include "itemout.h"

#include <cstdio>

#include "table.h"
#include "timetext.h"

namespace {

const char *FolderTypeWord(int32_t nType) {
    switch (nType) {
    case FOLDER_INBOX: return "inbox";
    case FOLDER_OUTBOX: return "outbox";
    case FOLDER_SENT: return "sent";
    case FOLDER_DELETED: return "trash";
    case FOLDER_DRAFT: return "drafts";
    default: return "";
    }
}

const char *ObjectTypeWord(uint32_t nObjectType) { return nObjectType == MAPI_DISTLIST ? "group" : "contact"; }

nlohmann::ordered_json OrNull(int64_t n) { return n < 0 ? nlohmann::ordered_json() : nlohmann::ordered_json(n); }

nlohmann::ordered_json OrNull(const std::string &str) { return str.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(str); }

} // namespace

std::vector<std::string> ItemHeader(const StoreKind &kind) {
    if (kind.nAPI == API_OE) return {"Subject", "From", "Date", "Folder", "Size", "Entry"};
    return {"Name", "E-mail", "Phone", "Type", "Modified", "Container", "Entry"};
}

std::vector<std::string> ItemCells(const StoreKind &kind, const ItemInfo &item) {
    if (kind.nAPI == API_OE)
        return {item.strTitle.empty() ? "(no subject)" : item.strTitle, item.strWho, FormatLocal(item.ftDate),
                item.strFolder, HumanSize(item.nSize), item.strEntry};
    return {item.strTitle.empty() ? "(no name)" : item.strTitle, item.strWho, item.strPhone,
            ObjectTypeWord(item.nObjectType), FormatLocal(item.ftDate), item.strFolder, item.strEntry};
}

nlohmann::ordered_json ItemJson(const StoreKind &kind, const ItemInfo &item) {
    nlohmann::ordered_json j;
    j["entry"] = item.strEntry;
    if (kind.nAPI == API_OE) {
        j["folder"] = item.strFolder;
        j["folderEntry"] = item.strFolderEntry;
        j["subject"] = item.strTitle;
        j["from"] = item.strWho;
        j["date"] = OrNull(FormatUtc(item.ftDate));
        j["size"] = OrNull(item.nSize);
    } else {
        j["container"] = item.strFolder;
        j["containerEntry"] = item.strFolderEntry;
        j["type"] = ObjectTypeWord(item.nObjectType);
        j["name"] = item.strTitle;
        j["email"] = OrNull(item.strWho);
        j["phone"] = OrNull(item.strPhone);
        j["modified"] = OrNull(FormatUtc(item.ftDate));
    }
    return j;
}

std::vector<std::string> FolderHeader(const StoreKind &kind) {
    if (kind.nAPI == API_OE) return {"Folder", "Messages", "Unread", "Kind", "Entry"};
    return {"Container", "Entries", "Entry"};
}

std::vector<std::string> FolderCells(const StoreKind &kind, const FolderInfo &folder) {
    const std::string strIndented = std::string(2 * folder.nDepth, ' ') + folder.strName;
    const std::string strItems = folder.nItems < 0 ? "?" : std::to_string(folder.nItems);
    if (kind.nAPI == API_OE)
        return {strIndented, strItems, std::to_string(folder.nUnread), FolderTypeWord(folder.nType), folder.strEntry};
    return {strIndented, strItems, folder.strEntry};
}

nlohmann::ordered_json FolderJson(const StoreKind &kind, const FolderInfo &folder) {
    nlohmann::ordered_json j;
    j["entry"] = folder.strEntry;
    j["name"] = folder.strName;
    j["path"] = folder.strPath;
    if (kind.nAPI == API_OE) {
        j["parentEntry"] = OrNull(folder.strParentEntry);
        j["kind"] = OrNull(std::string(FolderTypeWord(folder.nType)));
        j["messages"] = OrNull(folder.nItems);
        j["unread"] = OrNull(folder.nUnread);
    } else {
        j["entries"] = OrNull(folder.nItems);
    }
    return j;
}

void PrintJson(const nlohmann::ordered_json &doc) {
    // Texts from a store may hold bytes that are not UTF-8; they are replaced rather than failing the output.
    const std::string strText = doc.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    std::fprintf(stdout, "%s\n", strText.c_str());
}
