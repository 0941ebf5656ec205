// Lookups on parsed cards and properties.
#include "providers/vcard/vcard_card.h"

#include "providers/vcard/vcard_value.h"

namespace vcard {

bool VProperty::HasType(std::string_view sType) const {
    for (const VParam &p : params) {
        if (!(p.sName == "TYPE" || p.sName.empty())) continue;
        for (const std::string &v : p.values) {
            // "TYPE=home,work" may also arrive as one value with commas inside quotes.
            size_t nStart = 0;
            while (nStart <= v.size()) {
                size_t nComma = v.find(',', nStart);
                if (nComma == std::string::npos) nComma = v.size();
                if (EqualNoCase(std::string_view(v).substr(nStart, nComma - nStart), sType)) return true;
                nStart = nComma + 1;
            }
        }
    }
    return false;
}

std::string VProperty::Param(std::string_view sParam) const {
    for (const VParam &p : params)
        if (p.sName == sParam && !p.values.empty()) return p.values[0];
    return std::string();
}

bool VProperty::IsQuotedPrintable() const {
    return EqualNoCase(Param("ENCODING"), "QUOTED-PRINTABLE") || HasType("QUOTED-PRINTABLE");
}

bool VProperty::IsBase64() const {
    std::string s = Param("ENCODING");
    return EqualNoCase(s, "BASE64") || EqualNoCase(s, "B") || HasType("BASE64");
}

std::string VProperty::Charset() const { return Param("CHARSET"); }

const VProperty *VCard::Find(std::string_view sName) const {
    for (const VProperty &p : props)
        if (p.sName == sName) return &p;
    return nullptr;
}

VProperty *VCard::Find(std::string_view sName) {
    for (VProperty &p : props)
        if (p.sName == sName) return &p;
    return nullptr;
}

std::string VCard::Uid() const {
    const VProperty *p = Find("UID");
    if (!p) return std::string();
    std::string s = p->sValue;
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.pop_back();
    return s;
}

} // namespace vcard
