// Reading and writing the MAPI properties of a card.
#include "providers/vcard/vcard_cardprops.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "providers/vcard/vcard_propmap.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

constexpr const char *kNamedField = "X-TESSEL-PROP";

std::string Trimmed(const std::string &s) {
    size_t b = s.find_first_not_of(" \t");
    size_t e = s.find_last_not_of(" \t");
    return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

bool IsStructural(const std::string &sName) { return sName == "VERSION" || sName == "UID" || sName == kNamedField; }

// ---- Named field properties: every line of one field, as text.

bool ReadFieldLines(const VCard &card, const std::string &sField, PropData *pData) {
    std::string s;
    bool bAny = false;
    for (const VProperty &p : card.props) {
        if (p.sName != sField) continue;
        if (bAny) s += "\r\n";
        s += LogicalLine(p);
        bAny = true;
    }
    if (!bAny) return false;
    pData->ulType = IsValidUtf8(s) ? PT_STRING8 : PT_BINARY;
    pData->sBytes = std::move(s);
    return true;
}

HRESULT WriteFieldLines(VCard *pCard, const std::string &sField, const PropData &data) {
    if (IsStructural(sField)) return MAPI_E_NO_ACCESS;
    if (data.ulType != PT_STRING8 && data.ulType != PT_BINARY) return MAPI_E_INVALID_TYPE;
    std::vector<VProperty> lines;
    if (!data.sBytes.empty() && !ParseContentLines(data.sBytes, &lines)) {
        // Not content lines: the text is the value of one line of this field.
        lines.clear();
        VProperty p;
        p.sName = sField;
        SetPropertyText(*pCard, &p, EscapeText(data.sBytes, pCard->sVersion == "2.1"));
        lines.push_back(std::move(p));
    }
    for (const VProperty &p : lines)
        if (p.sName != sField) return MAPI_E_INVALID_PARAMETER;
    auto first = std::find_if(pCard->props.begin(), pCard->props.end(),
                              [&](const VProperty &p) { return p.sName == sField; });
    size_t nAt = static_cast<size_t>(first - pCard->props.begin());
    pCard->props.erase(std::remove_if(pCard->props.begin(), pCard->props.end(),
                                      [&](const VProperty &p) { return p.sName == sField; }),
                       pCard->props.end());
    nAt = std::min(nAt, pCard->props.size());
    pCard->props.insert(pCard->props.begin() + static_cast<long>(nAt), lines.begin(), lines.end());
    Touch(pCard, nullptr);
    return S_OK;
}

// ---- Named properties of callers: X-TESSEL-PROP;X-GUID=...;X-ID=n or X-NAME=...;X-TYPE=001E:value

std::string EncodeParam(const std::string &s) {
    std::string r;
    for (char c : s) {
        unsigned char u = static_cast<unsigned char>(c);
        if (u < 0x20 || c == '%' || c == '"' || c == ';' || c == ':' || c == ',') {
            char sz[4];
            std::snprintf(sz, sizeof sz, "%%%02X", u);
            r += sz;
        } else {
            r += c;
        }
    }
    return r;
}

std::string DecodeParam(const std::string &s) {
    std::string r;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned n = 0;
        if (s[i] == '%' && i + 2 < s.size() && std::sscanf(s.c_str() + i + 1, "%2x", &n) == 1) {
            r += static_cast<char>(n);
            i += 2;
        } else {
            r += s[i];
        }
    }
    return r;
}

bool LineNames(const VProperty &p, const NamedProp &np) {
    GUID g;
    if (!GuidFromString(p.Param("X-GUID"), &g) || g != np.guid) return false;
    if (np.ulKind == MNID_ID) return !p.Param("X-ID").empty() && std::atol(p.Param("X-ID").c_str()) == np.lID;
    return p.Param("X-ID").empty() && Utf8ToUtf16(DecodeParam(p.Param("X-NAME"))) == np.sName;
}

int FindNamedLine(const VCard &card, const NamedProp &np) {
    for (size_t i = 0; i < card.props.size(); ++i)
        if (card.props[i].sName == kNamedField && LineNames(card.props[i], np)) return static_cast<int>(i);
    return -1;
}

ULONG LineType(const VProperty &p) { return static_cast<ULONG>(std::strtoul(p.Param("X-TYPE").c_str(), nullptr, 16)); }

std::vector<std::string> SplitList(const std::string &s) {
    std::vector<std::string> parts;
    std::string cur;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            cur += s[i];
            cur += s[++i];
        } else if (s[i] == ',') {
            parts.push_back(UnescapeText(cur));
            cur.clear();
        } else {
            cur += s[i];
        }
    }
    parts.push_back(UnescapeText(cur));
    return parts;
}

bool ReadNamedLine(const VProperty &p, PropData *pData) {
    ULONG t = LineType(p);
    std::string s = DecodedValue(p);
    pData->ulType = t;
    switch (t) {
    case PT_STRING8: pData->sBytes = UnescapeText(s); return true;
    case PT_BINARY: return Base64Decode(s, &pData->sBytes);
    case PT_LONG: case PT_I2: case PT_BOOLEAN: case PT_I8: case PT_CURRENCY: case PT_SYSTIME:
        pData->n = std::strtoll(s.c_str(), nullptr, 10);
        return true;
    case PT_DOUBLE: case PT_R4: case PT_APPTIME: pData->d = std::strtod(s.c_str(), nullptr); return true;
    case PT_MV_STRING8:
        pData->mv = s.empty() ? std::vector<std::string>() : SplitList(s);
        return true;
    case PT_MV_BINARY:
        for (const std::string &part : s.empty() ? std::vector<std::string>() : SplitList(s)) {
            std::string b;
            if (!Base64Decode(part, &b)) return false;
            pData->mv.push_back(std::move(b));
        }
        return true;
    default: return false;
    }
}

HRESULT EncodeNamedValue(const PropData &data, std::string *pText) {
    char sz[64];
    switch (data.ulType) {
    case PT_STRING8: *pText = EscapeText(data.sBytes, false); return S_OK;
    case PT_BINARY: *pText = Base64Encode(data.sBytes); return S_OK;
    case PT_LONG: case PT_I2: case PT_BOOLEAN: case PT_I8: case PT_CURRENCY: case PT_SYSTIME:
        *pText = std::to_string(data.n);
        return S_OK;
    case PT_DOUBLE: case PT_R4: case PT_APPTIME:
        std::snprintf(sz, sizeof sz, "%.17g", data.d);
        *pText = sz;
        return S_OK;
    case PT_MV_STRING8:
    case PT_MV_BINARY:
        pText->clear();
        for (size_t i = 0; i < data.mv.size(); ++i) {
            if (i) *pText += ',';
            *pText += data.ulType == PT_MV_BINARY ? Base64Encode(data.mv[i]) : EscapeText(data.mv[i], false);
        }
        return S_OK;
    default: return MAPI_E_TYPE_NO_SUPPORT;
    }
}

HRESULT WriteNamedLine(VCard *pCard, const NamedProp &np, const PropData &data) {
    std::string sText;
    HRESULT hr = EncodeNamedValue(data, &sText);
    if (FAILED(hr)) return hr;
    VProperty line;
    line.sName = kNamedField;
    line.params.push_back({"X-GUID", {GuidToString(np.guid)}});
    if (np.ulKind == MNID_ID) line.params.push_back({"X-ID", {std::to_string(np.lID)}});
    else line.params.push_back({"X-NAME", {EncodeParam(Utf16ToUtf8(np.sName))}});
    char szType[8];
    std::snprintf(szType, sizeof szType, "%04X", data.ulType);
    line.params.push_back({"X-TYPE", {szType}});
    SetPropertyText(*pCard, &line, sText);
    int n = FindNamedLine(*pCard, np);
    if (n >= 0) pCard->props[static_cast<size_t>(n)] = std::move(line);
    else pCard->props.push_back(std::move(line));
    Touch(pCard, nullptr);
    return S_OK;
}

bool NamedLineId(CNamedProps &names, const VProperty &p, ULONG *pulId) {
    GUID g;
    if (!GuidFromString(p.Param("X-GUID"), &g)) return false;
    std::string sId = p.Param("X-ID");
    *pulId = sId.empty() ? names.GetId(g, MNID_STRING, 0, Utf8ToUtf16(DecodeParam(p.Param("X-NAME"))), true)
                         : names.GetId(g, MNID_ID, static_cast<LONG>(std::atol(sId.c_str())), u"", true);
    return *pulId != 0;
}

} // namespace

ULONG CardObjectType(const VCard &card) {
    for (const VProperty &p : card.props)
        if ((p.sName == "KIND" || p.sName == "X-ADDRESSBOOKSERVER-KIND") && EqualNoCase(Trimmed(p.sValue), "group"))
            return MAPI_DISTLIST;
    return MAPI_MAILUSER;
}

HRESULT ReadCardProp(const VCard &card, const CardIdentity &id, CNamedProps &names, ULONG ulTag, PropData *pData) {
    *pData = PropData();
    ULONG ulId = PROP_ID(ulTag);
    if (ulId == PROP_ID(PR_ENTRYID)) {
        pData->ulType = PT_BINARY;
        pData->sBytes = id.sEntryId;
        return S_OK;
    }
    if (ulId == PROP_ID(PR_OBJECT_TYPE)) {
        pData->ulType = PT_LONG;
        pData->n = id.ulObjType;
        return S_OK;
    }
    if (ulId == PROP_ID(PR_RECORD_KEY)) {
        std::string sUid = card.Uid();
        if (sUid.empty()) return MAPI_E_NOT_FOUND;
        pData->ulType = PT_BINARY;
        pData->sBytes = sUid;
        return S_OK;
    }
    if (const FieldMap *map = FindFieldMap(ulId)) return ReadField(card, *map, pData) ? S_OK : MAPI_E_NOT_FOUND;
    if (ulId < 0x8000) return MAPI_E_NOT_FOUND;
    std::string sField = names.FieldName(ulId);
    if (!sField.empty()) return ReadFieldLines(card, sField, pData) ? S_OK : MAPI_E_NOT_FOUND;
    const NamedProp *np = names.Find(ulId);
    if (!np) return MAPI_E_NOT_FOUND;
    int n = FindNamedLine(card, *np);
    if (n < 0 || !ReadNamedLine(card.props[static_cast<size_t>(n)], pData)) return MAPI_E_NOT_FOUND;
    return S_OK;
}

std::vector<ULONG> CardPropTags(const VCard &card, const CardIdentity &id, CNamedProps &names) {
    std::vector<ULONG> tags;
    std::vector<std::string> exposed;
    for (size_t i = 0; i < card.props.size(); ++i) {
        const VProperty &p = card.props[i];
        if (IsStructural(p.sName) || IsFullyMapped(card, i)) continue;
        if (std::find(exposed.begin(), exposed.end(), p.sName) == exposed.end()) exposed.push_back(p.sName);
    }
    for (const std::string &sField : exposed) {
        ULONG ulId = names.FieldId(sField);
        PropData data;
        if (ulId && ReadFieldLines(card, sField, &data)) tags.push_back(PROP_TAG(data.ulType, ulId));
    }
    for (const VProperty &p : card.props) {
        ULONG ulId = 0;
        PropData data;
        if (p.sName == kNamedField && NamedLineId(names, p, &ulId) && ReadNamedLine(p, &data))
            tags.push_back(PROP_TAG(data.ulType, ulId));
    }
    tags.push_back(PR_ENTRYID);
    tags.push_back(PR_OBJECT_TYPE);
    if (!card.Uid().empty()) tags.push_back(PR_RECORD_KEY);
    for (const FieldMap &m : FieldMaps()) {
        PropData data;
        if (ReadField(card, m, &data)) tags.push_back(m.ulTag);
    }
    return tags;
}

HRESULT WriteCardProp(VCard *pCard, CNamedProps &names, ULONG ulTag, const PropData &data) {
    ULONG ulId = PROP_ID(ulTag);
    if (ulId == PROP_ID(PR_ENTRYID) || ulId == PROP_ID(PR_OBJECT_TYPE) || ulId == PROP_ID(PR_RECORD_KEY))
        return MAPI_E_COMPUTED;
    if (const FieldMap *map = FindFieldMap(ulId)) return WriteField(pCard, *map, data);
    if (ulId < 0x8000) return MAPI_E_NO_SUPPORT;
    std::string sField = names.FieldName(ulId);
    if (!sField.empty()) return WriteFieldLines(pCard, sField, data);
    const NamedProp *np = names.Find(ulId);
    if (!np) return MAPI_E_NOT_FOUND;
    return WriteNamedLine(pCard, *np, data);
}

HRESULT DeleteCardProp(VCard *pCard, CNamedProps &names, ULONG ulTag) {
    ULONG ulId = PROP_ID(ulTag);
    if (ulId == PROP_ID(PR_ENTRYID) || ulId == PROP_ID(PR_OBJECT_TYPE) || ulId == PROP_ID(PR_RECORD_KEY))
        return MAPI_E_COMPUTED;
    if (const FieldMap *map = FindFieldMap(ulId)) {
        RemoveField(pCard, *map);
        return S_OK;
    }
    std::string sField = names.FieldName(ulId);
    if (!sField.empty()) {
        PropData empty;
        empty.ulType = PT_STRING8;
        return WriteFieldLines(pCard, sField, empty);
    }
    const NamedProp *np = names.Find(ulId);
    if (!np) return S_OK;
    int n = FindNamedLine(*pCard, *np);
    if (n >= 0) {
        pCard->props.erase(pCard->props.begin() + n);
        Touch(pCard, nullptr);
    }
    return S_OK;
}

} // namespace vcard
