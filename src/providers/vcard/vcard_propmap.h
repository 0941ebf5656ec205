// The one table that maps MAPI property tags to vCard fields, and the reading and writing of those fields.
#pragma once

#include <vector>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_propdata.h"

namespace vcard {

enum class FieldKind {
    Text,     // the whole value as text
    Compound, // one component of a ";"-separated value
    Time,     // a date-time (REV)
    Date      // a date (BDAY, ANNIVERSARY)
};

struct FieldMap {
    ULONG ulTag;              // PT_STRING8 for text, PT_SYSTIME for times
    const char *pszField;     // the vCard property
    const char *pszTypes;     // TYPE values the instance must have, comma-separated, or ""
    const char *pszNotTypes;  // TYPE values it must not have, or ""
    int nComponent;           // for FieldKind::Compound
    int nComponents;          // size of a new compound value
    FieldKind kind;
};

// The entry of a property id, or null.
const FieldMap *FindFieldMap(ULONG ulPropId);
const std::vector<FieldMap> &FieldMaps();

// The instance of the card that a mapping reads and writes (the first that fits), or -1.
int SelectField(const VCard &card, const FieldMap &map);

// Reads the mapped value; false if the card has none (or an unreadable one, which then stays an unmapped field).
bool ReadField(const VCard &card, const FieldMap &map, PropData *pData);

// Writes the mapped value (an empty text removes it); MAPI_E_INVALID_TYPE if the value doesn't fit.
HRESULT WriteField(VCard *pCard, const FieldMap &map, const PropData &data);
void RemoveField(VCard *pCard, const FieldMap &map);

// Whether the tags carry everything of this property: a mapping reads it, and it has no group, no parameter and
// no component that the mappings don't carry. Other properties are also exposed whole, as named properties.
bool IsFullyMapped(const VCard &card, size_t nProp);

// A text value of a property, decoded (quoted-printable, character set) but not unescaped.
std::string DecodedValue(const VProperty &prop);

// Marks a property and its card as changed, so both are written anew.
void Touch(VCard *pCard, VProperty *pProp);

// Sets a property's value from text, choosing the encoding the card's version wants.
void SetPropertyText(const VCard &card, VProperty *pProp, const std::string &sEscaped);

// The TYPE parameters of a new property, in the style of the card's version.
void AddTypes(const VCard &card, VProperty *pProp, const char *pszTypes);

} // namespace vcard
