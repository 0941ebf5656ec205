// Named properties of an address book: (property set GUID, number or name) to property ids from 0x8000 up,
// kept in a small file beside the book so that ids stay the same across runs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/wab.h"

namespace vcard {

// The provider's own property set: a named property of this set with a string name is the vCard field of that
// name (all its lines, as text), for every field the tag table does not carry.
// {A8F3C2D1-5B6E-4F70-8E19-2C4D6B7A9E03}
inline constexpr GUID PS_TESSEL_VCARD{0xA8F3C2D1, 0x5B6E, 0x4F70, {0x8E, 0x19, 0x2C, 0x4D, 0x6B, 0x7A, 0x9E, 0x03}};

struct NamedProp {
    ULONG ulId;
    GUID guid;
    ULONG ulKind; // MNID_ID or MNID_STRING
    LONG lID;
    std::u16string sName;
};

std::string GuidToString(const GUID &guid);
bool GuidFromString(std::string_view s, GUID *pGuid);

class CNamedProps {
public:
    // The registry kept in the file at path; an absent file is an empty registry.
    explicit CNamedProps(std::filesystem::path path);

    // The id of a name; with bCreate a new one is made (and the file rewritten). 0 if unknown or the ids are used up.
    ULONG GetId(const GUID &guid, ULONG ulKind, LONG lID, std::u16string_view sName, bool bCreate);
    // The name of an id, or null.
    const NamedProp *Find(ULONG ulId) const;
    // The id of the provider's field of this name (created if new).
    ULONG FieldId(const std::string &sField);
    // The field name if the id is one of the provider's fields, else "".
    std::string FieldName(ULONG ulId) const;

private:
    void Load();
    bool Save();

    std::filesystem::path m_path;
    std::vector<NamedProp> m_props;
};

} // namespace vcard
