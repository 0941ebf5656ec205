// The mapping between MAPI tags and vCard fields.
#include "providers/vcard/vcard_propmap.h"

#include <algorithm>

#include "platform/time.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

const std::vector<FieldMap> kMaps = {
    {PR_DISPLAY_NAME, "FN", "", "", 0, 0, FieldKind::Text},
    {PR_EMAIL_ADDRESS, "EMAIL", "", "", 0, 0, FieldKind::Text},
    {PR_BUSINESS_TELEPHONE_NUMBER, "TEL", "WORK", "FAX,CELL,PAGER", 0, 0, FieldKind::Text},
    {PR_HOME_TELEPHONE_NUMBER, "TEL", "HOME", "FAX,CELL,PAGER", 0, 0, FieldKind::Text},
    {PR_MOBILE_TELEPHONE_NUMBER, "TEL", "CELL", "", 0, 0, FieldKind::Text},
    {PR_PAGER_TELEPHONE_NUMBER, "TEL", "PAGER", "", 0, 0, FieldKind::Text},
    {PR_BUSINESS_FAX_NUMBER, "TEL", "WORK,FAX", "", 0, 0, FieldKind::Text},
    {PR_HOME_FAX_NUMBER, "TEL", "HOME,FAX", "", 0, 0, FieldKind::Text},
    {PR_SURNAME, "N", "", "", 0, 5, FieldKind::Compound},
    {PR_GIVEN_NAME, "N", "", "", 1, 5, FieldKind::Compound},
    {PR_MIDDLE_NAME, "N", "", "", 2, 5, FieldKind::Compound},
    {PR_DISPLAY_NAME_PREFIX, "N", "", "", 3, 5, FieldKind::Compound},
    {PR_GENERATION, "N", "", "", 4, 5, FieldKind::Compound},
    {PR_NICKNAME, "NICKNAME", "", "", 0, 0, FieldKind::Text},
    {PR_COMPANY_NAME, "ORG", "", "", 0, 1, FieldKind::Compound},
    {PR_DEPARTMENT_NAME, "ORG", "", "", 1, 2, FieldKind::Compound},
    {PR_TITLE, "TITLE", "", "", 0, 0, FieldKind::Text},
    {PR_POST_OFFICE_BOX, "ADR", "WORK", "", 0, 7, FieldKind::Compound},
    {PR_STREET_ADDRESS, "ADR", "WORK", "", 2, 7, FieldKind::Compound},
    {PR_LOCALITY, "ADR", "WORK", "", 3, 7, FieldKind::Compound},
    {PR_STATE_OR_PROVINCE, "ADR", "WORK", "", 4, 7, FieldKind::Compound},
    {PR_POSTAL_CODE, "ADR", "WORK", "", 5, 7, FieldKind::Compound},
    {PR_COUNTRY, "ADR", "WORK", "", 6, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_POST_OFFICE_BOX, "ADR", "HOME", "", 0, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_STREET, "ADR", "HOME", "", 2, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_CITY, "ADR", "HOME", "", 3, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_STATE_OR_PROVINCE, "ADR", "HOME", "", 4, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_POSTAL_CODE, "ADR", "HOME", "", 5, 7, FieldKind::Compound},
    {PR_HOME_ADDRESS_COUNTRY, "ADR", "HOME", "", 6, 7, FieldKind::Compound},
    {PR_COMMENT, "NOTE", "", "", 0, 0, FieldKind::Text},
    {PR_LAST_MODIFICATION_TIME, "REV", "", "", 0, 0, FieldKind::Time},
    {PR_BIRTHDAY, "BDAY", "", "", 0, 0, FieldKind::Date},
    {PR_WEDDING_ANNIVERSARY, "ANNIVERSARY", "", "", 0, 0, FieldKind::Date},
    {PR_BUSINESS_HOME_PAGE, "URL", "WORK", "", 0, 0, FieldKind::Text},
    {PR_PERSONAL_HOME_PAGE, "URL", "", "WORK", 0, 0, FieldKind::Text},
};

bool HasAll(const VProperty &p, std::string_view sList, bool bAll) {
    size_t n = 0;
    while (n < sList.size()) {
        size_t e = sList.find(',', n);
        if (e == std::string_view::npos) e = sList.size();
        bool bHas = p.HasType(sList.substr(n, e - n));
        if (bAll && !bHas) return false;
        if (!bAll && bHas) return true;
        n = e + 1;
    }
    return bAll;
}

bool Is21(const VCard &card) { return card.sVersion == "2.1" || card.sVersion.empty(); }

bool ValueParses(const VProperty &p, FieldKind kind) {
    if (kind != FieldKind::Time && kind != FieldKind::Date) return true;
    int64_t n;
    return ParseTimestamp(DecodedValue(p), &n);
}

} // namespace

const std::vector<FieldMap> &FieldMaps() { return kMaps; }

const FieldMap *FindFieldMap(ULONG ulPropId) {
    for (const FieldMap &m : kMaps)
        if (PROP_ID(m.ulTag) == ulPropId) return &m;
    return nullptr;
}

int SelectField(const VCard &card, const FieldMap &map) {
    for (size_t i = 0; i < card.props.size(); ++i) {
        const VProperty &p = card.props[i];
        if (p.sName != map.pszField) continue;
        if (!HasAll(p, map.pszTypes, true) || HasAll(p, map.pszNotTypes, false)) continue;
        if (!ValueParses(p, map.kind)) continue;
        return static_cast<int>(i);
    }
    return -1;
}

std::string DecodedValue(const VProperty &prop) {
    if (!prop.IsQuotedPrintable()) return ToUtf8(prop.sValue, prop.Charset());
    // Line breaks in quoted-printable are CRLF; text values use "\n" as the escapes of 3.0 and 4.0 give it.
    std::string s = DecodeQuotedPrintable(prop.sValue);
    std::string r;
    for (size_t i = 0; i < s.size(); ++i)
        if (!(s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n')) r += s[i];
    return ToUtf8(r, prop.Charset());
}

bool ReadField(const VCard &card, const FieldMap &map, PropData *pData) {
    int n = SelectField(card, map);
    if (n < 0) return false;
    std::string s = DecodedValue(card.props[static_cast<size_t>(n)]);
    *pData = PropData();
    switch (map.kind) {
    case FieldKind::Text:
        pData->ulType = PT_STRING8;
        pData->sBytes = UnescapeText(s);
        return true;
    case FieldKind::Compound: {
        std::vector<std::string> parts = SplitCompound(s);
        if (static_cast<size_t>(map.nComponent) >= parts.size() || parts[map.nComponent].empty()) return false;
        pData->ulType = PT_STRING8;
        pData->sBytes = parts[map.nComponent];
        return true;
    }
    case FieldKind::Time:
    case FieldKind::Date: {
        int64_t nSeconds = 0;
        ParseTimestamp(s, &nSeconds);
        pData->ulType = PT_SYSTIME;
        pData->n = static_cast<int64_t>(FileTimeToU64(FileTimeFromUnixSeconds(nSeconds)));
        return true;
    }
    }
    return false;
}

void Touch(VCard *pCard, VProperty *pProp) {
    pCard->sRaw.clear();
    if (pProp) pProp->sRaw.clear();
}

void SetPropertyText(const VCard &card, VProperty *pProp, const std::string &sEscaped) {
    // Drop the old encoding; 2.1 gets quoted-printable for anything beyond plain ASCII on one line.
    std::vector<VParam> kept;
    for (VParam &p : pProp->params) {
        bool bEncoding = p.sName == "ENCODING" || p.sName == "CHARSET" ||
                         (p.sName.empty() && !p.values.empty() &&
                          (EqualNoCase(p.values[0], "QUOTED-PRINTABLE") || EqualNoCase(p.values[0], "8BIT") ||
                           EqualNoCase(p.values[0], "BASE64") || EqualNoCase(p.values[0], "7BIT")));
        if (!bEncoding) kept.push_back(std::move(p));
    }
    pProp->params = std::move(kept);
    bool bPlain = true;
    for (char c : sEscaped)
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\n' || c == '\r') bPlain = false;
    if (Is21(card) && !bPlain) {
        pProp->params.push_back({"ENCODING", {"QUOTED-PRINTABLE"}});
        pProp->params.push_back({"CHARSET", {"UTF-8"}});
        pProp->sValue = EncodeQuotedPrintable(sEscaped);
    } else {
        pProp->sValue = sEscaped;
    }
}

void AddTypes(const VCard &card, VProperty *pProp, const char *pszTypes) {
    std::string_view sList = pszTypes;
    size_t n = 0;
    bool b4 = card.sVersion == "4.0";
    VParam typeParam{"TYPE", {}};
    while (n < sList.size()) {
        size_t e = sList.find(',', n);
        if (e == std::string_view::npos) e = sList.size();
        std::string sType(sList.substr(n, e - n));
        if (b4) std::transform(sType.begin(), sType.end(), sType.begin(), [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
        if (Is21(card)) pProp->params.push_back({"", {sType}});
        else typeParam.values.push_back(sType);
        n = e + 1;
    }
    if (!typeParam.values.empty()) pProp->params.push_back(std::move(typeParam));
}

HRESULT WriteField(VCard *pCard, const FieldMap &map, const PropData &data) {
    bool bTime = map.kind == FieldKind::Time || map.kind == FieldKind::Date;
    if (bTime ? data.ulType != PT_SYSTIME : (data.ulType != PT_STRING8)) return MAPI_E_INVALID_TYPE;
    if (!bTime && map.kind == FieldKind::Text && data.sBytes.empty()) {
        RemoveField(pCard, map);
        return S_OK;
    }
    int n = SelectField(*pCard, map);
    if (n < 0) {
        if (map.kind == FieldKind::Compound && data.sBytes.empty()) return S_OK;
        VProperty prop;
        prop.sName = map.pszField;
        AddTypes(*pCard, &prop, map.pszTypes);
        // Keep VERSION and the fields before END in their place: new fields go last.
        pCard->props.push_back(std::move(prop));
        n = static_cast<int>(pCard->props.size() - 1);
    }
    VProperty &prop = pCard->props[static_cast<size_t>(n)];
    Touch(pCard, &prop);
    bool b21 = Is21(*pCard);
    switch (map.kind) {
    case FieldKind::Text:
        SetPropertyText(*pCard, &prop, EscapeText(data.sBytes, b21));
        break;
    case FieldKind::Compound: {
        std::vector<std::string> parts = SplitCompound(DecodedValue(prop));
        if (prop.sValue.empty()) parts.clear();
        if (parts.size() < static_cast<size_t>(map.nComponents)) parts.resize(static_cast<size_t>(map.nComponents));
        parts[static_cast<size_t>(map.nComponent)] = data.sBytes;
        bool bEmpty = std::all_of(parts.begin(), parts.end(), [](const std::string &s) { return s.empty(); });
        if (bEmpty && std::string(map.pszField) != "N") {
            pCard->props.erase(pCard->props.begin() + n);
            return S_OK;
        }
        SetPropertyText(*pCard, &prop, JoinCompound(parts, b21));
        break;
    }
    case FieldKind::Time:
    case FieldKind::Date: {
        int64_t nSeconds = UnixSecondsFromFileTime(U64ToFileTime(static_cast<uint64_t>(data.n)));
        bool bDate = map.kind == FieldKind::Date;
        prop.params.erase(std::remove_if(prop.params.begin(), prop.params.end(),
                                         [](const VParam &p) { return p.sName == "VALUE"; }),
                          prop.params.end());
        SetPropertyText(*pCard, &prop, FormatTimestamp(nSeconds, bDate, bDate && pCard->sVersion != "4.0"));
        break;
    }
    }
    return S_OK;
}

void RemoveField(VCard *pCard, const FieldMap &map) {
    int n = SelectField(*pCard, map);
    if (n < 0) return;
    if (map.kind == FieldKind::Compound) {
        PropData empty;
        empty.ulType = PT_STRING8;
        WriteField(pCard, map, empty);
        return;
    }
    pCard->props.erase(pCard->props.begin() + n);
    Touch(pCard, nullptr);
}

bool IsFullyMapped(const VCard &card, size_t nProp) {
    const VProperty &prop = card.props[nProp];
    if (!prop.sGroup.empty()) return false;
    std::vector<const FieldMap *> maps;
    for (const FieldMap &m : kMaps)
        if (SelectField(card, m) == static_cast<int>(nProp)) maps.push_back(&m);
    if (maps.empty()) return false;
    auto requiredType = [&](const std::string &sType) {
        for (const FieldMap *m : maps) {
            VProperty probe;
            probe.params.push_back({"TYPE", {sType}});
            if (HasAll(probe, m->pszTypes, false)) return true;
        }
        return false;
    };
    for (const VParam &p : prop.params) {
        if (p.sName == "ENCODING" || p.sName == "CHARSET" || p.sName == "VALUE") continue;
        if (!(p.sName == "TYPE" || p.sName.empty())) return false;
        for (const std::string &v : p.values) {
            if (p.sName.empty() && (EqualNoCase(v, "QUOTED-PRINTABLE") || EqualNoCase(v, "8BIT"))) continue;
            if (!requiredType(v)) return false;
        }
    }
    if (maps[0]->kind == FieldKind::Compound) {
        std::vector<std::string> parts = SplitCompound(DecodedValue(prop));
        for (size_t i = 0; i < parts.size(); ++i) {
            if (parts[i].empty()) continue;
            bool bCovered = false;
            for (const FieldMap *m : maps)
                if (static_cast<size_t>(m->nComponent) == i) bCovered = true;
            if (!bCovered) return false;
        }
    }
    return true;
}

} // namespace vcard
