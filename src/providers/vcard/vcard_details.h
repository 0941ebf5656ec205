// The details "dialog" of an entry: the program in TESSEL_VIEWER, run on the card's file.
#pragma once

#include <memory>
#include <string_view>

#include "providers/vcard/vcard_book.h"

namespace vcard {

// MAPI_E_NO_SUPPORT without TESSEL_VIEWER; MAPI_E_NOT_FOUND for an unknown entry; MAPI_E_CALL_FAILED if the
// viewer could not run or failed.
HRESULT ShowDetails(CBook &book, std::string_view sEntryId);

} // namespace vcard
