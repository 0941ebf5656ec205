#include "support/oe_inbox.h"

#include <cstdint>

namespace testsupport {

std::vector<std::string> InboxEntries(CTessel *pLib) {
    std::vector<std::string> entries;
    OEFolders *pFolders = nullptr;
    OEGetFolders(pLib, &pFolders);
    if (!pFolders) return entries;
    std::string strInbox;
    for (uint32_t i = 0; i < pFolders->cFolders; ++i)
        if (std::string(pFolders->pFolders[i].szName) == "Inbox") strInbox = pFolders->pFolders[i].szEntry;
    OEFreeFolders(pLib, pFolders);
    if (strInbox.empty()) return entries;
    OEItems *pItems = nullptr;
    if (OEGetItems(pLib, &pItems, strInbox.c_str(), 1, nullptr, 0, 0) != 0 || !pItems) return entries;
    for (uint32_t i = 0; i < pItems->cItems; ++i) entries.push_back(pItems->pItems[i].szEntry);
    OEFreeItems(pLib, pItems);
    return entries;
}

} // namespace testsupport
