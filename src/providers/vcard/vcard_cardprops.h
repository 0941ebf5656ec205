// The properties of one card as MAPI sees them: the mapped fields of the tag table, the computed ones (entry id,
// object type, record key = UID), the provider's named field properties and the named properties that callers
// created (stored in X-TESSEL-PROP lines).
#pragma once

#include <vector>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_names.h"
#include "providers/vcard/vcard_propdata.h"

namespace vcard {

// What a card is besides its text.
struct CardIdentity {
    std::string sEntryId;
    ULONG ulObjType;
};

// The object type a card's fields give: MAPI_DISTLIST for groups, else MAPI_MAILUSER.
ULONG CardObjectType(const VCard &card);

// Reads one property (the type half of ulTag is not looked at); MAPI_E_NOT_FOUND if the card has none.
HRESULT ReadCardProp(const VCard &card, const CardIdentity &id, CNamedProps &names, ULONG ulTag, PropData *pData);

// The tags of all properties the card has, with their natural types; named field properties come first, so that
// a copy in this order writes a field's lines before the tags refine them.
std::vector<ULONG> CardPropTags(const VCard &card, const CardIdentity &id, CNamedProps &names);

// Writes or deletes one property; an scode for the problem array on failure.
HRESULT WriteCardProp(VCard *pCard, CNamedProps &names, ULONG ulTag, const PropData &data);
HRESULT DeleteCardProp(VCard *pCard, CNamedProps &names, ULONG ulTag);

} // namespace vcard
