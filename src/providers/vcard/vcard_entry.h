// An open card: a contact (IMailUser) or a group (IDistList). The object works on its own copy of the card;
// SaveChanges writes it into the book, unless another program changed the card in the meantime.
#pragma once

#include <memory>

#include "providers/vcard/vcard_book.h"

namespace vcard {

// Opens the card with this entry id; MAPI_E_NOT_FOUND if the book has none.
HRESULT OpenCard(const std::shared_ptr<CBook> &book, std::string_view sEntryId, ULONG *pulObjType,
                 IUnknown **ppUnk);

// A new, unsaved card of that type for a container, as CreateEntry gives it.
HRESULT NewCard(const std::shared_ptr<CBook> &book, size_t nContainer, ULONG ulObjType, IMAPIProp **ppEntry);

} // namespace vcard
