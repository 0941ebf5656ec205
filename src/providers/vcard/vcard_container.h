// Containers: the root (whose contents are the containers) and each container of cards.
#pragma once

#include <memory>

#include "providers/vcard/vcard_book.h"

namespace vcard {

// Opens the root container (bRoot) or container nContainer.
IABContainer *NewContainer(const std::shared_ptr<CBook> &book, bool bRoot, size_t nContainer);

// Opens any object of the book by entry id: nothing (or the root's id) opens the root, then containers, cards.
HRESULT OpenBookEntry(const std::shared_ptr<CBook> &book, ULONG cbEntryID, const ENTRYID *lpEntryID,
                      LPCIID lpInterface, ULONG *lpulObjType, LPUNKNOWN *lppUnk);

} // namespace vcard
