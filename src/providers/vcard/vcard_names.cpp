// The named property registry. One line per name: "8000 {GUID} S name" or "8001 {GUID} I 5", the name in UTF-8
// with "%", CR and LF percent-encoded. Written whole to a temporary file and renamed into place.
#include "providers/vcard/vcard_names.h"

#include <cstdio>
#include <fstream>
#include <sstream>

#include "log/log.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

constexpr ULONG kFirstId = 0x8000;
constexpr ULONG kLastId = 0xFFFE;

std::string EncodeName(const std::string &s) {
    std::string r;
    for (char c : s) {
        if (c == '%' || c == '\r' || c == '\n') {
            char sz[4];
            std::snprintf(sz, sizeof sz, "%%%02X", static_cast<unsigned char>(c));
            r += sz;
        } else {
            r += c;
        }
    }
    return r;
}

std::string DecodeName(const std::string &s) {
    std::string r;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned nByte = 0;
        if (s[i] == '%' && i + 2 < s.size() && std::sscanf(s.c_str() + i + 1, "%2x", &nByte) == 1) {
            r += static_cast<char>(nByte);
            i += 2;
        } else {
            r += s[i];
        }
    }
    return r;
}

bool IsFieldName(const std::string &s) {
    if (s.empty()) return false;
    for (char c : s)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '-')) return false;
    return true;
}

} // namespace

std::string GuidToString(const GUID &g) {
    char sz[40];
    std::snprintf(sz, sizeof sz, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", g.Data1, g.Data2, g.Data3,
                  g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    return sz;
}

bool GuidFromString(std::string_view s, GUID *pGuid) {
    unsigned a, b, c, d[8];
    std::string t(s);
    if (std::sscanf(t.c_str(), "{%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x}", &a, &b, &c, &d[0], &d[1], &d[2], &d[3],
                    &d[4], &d[5], &d[6], &d[7]) != 11)
        return false;
    pGuid->Data1 = a;
    pGuid->Data2 = static_cast<uint16_t>(b);
    pGuid->Data3 = static_cast<uint16_t>(c);
    for (int i = 0; i < 8; ++i) pGuid->Data4[i] = static_cast<uint8_t>(d[i]);
    return true;
}

CNamedProps::CNamedProps(std::filesystem::path path) : m_path(std::move(path)) { Load(); }

void CNamedProps::Load() {
    m_props.clear();
    std::ifstream in(m_path, std::ios::binary);
    std::string sLine;
    while (std::getline(in, sLine)) {
        std::istringstream ls(sLine);
        std::string sId, sGuid, sKind;
        if (!(ls >> sId >> sGuid >> sKind)) continue;
        NamedProp np{};
        char *pEnd = nullptr;
        np.ulId = static_cast<ULONG>(std::strtoul(sId.c_str(), &pEnd, 16));
        if (*pEnd || np.ulId < kFirstId || np.ulId > kLastId || !GuidFromString(sGuid, &np.guid)) continue;
        std::string sRest;
        std::getline(ls, sRest);
        if (!sRest.empty() && sRest[0] == ' ') sRest.erase(0, 1);
        if (sKind == "I") {
            np.ulKind = MNID_ID;
            np.lID = static_cast<LONG>(std::strtol(sRest.c_str(), nullptr, 10));
        } else if (sKind == "S") {
            np.ulKind = MNID_STRING;
            np.sName = Utf8ToUtf16(DecodeName(sRest));
        } else {
            continue;
        }
        m_props.push_back(std::move(np));
    }
}

bool CNamedProps::Save() {
    std::string s;
    for (const NamedProp &np : m_props) {
        char sz[16];
        std::snprintf(sz, sizeof sz, "%04X", np.ulId);
        s += sz;
        s += " " + GuidToString(np.guid) + " ";
        s += np.ulKind == MNID_ID ? "I " + std::to_string(np.lID) : "S " + EncodeName(Utf16ToUtf8(np.sName));
        s += "\n";
    }
    std::filesystem::path tmp = m_path;
    tmp += ".tmp";
    {
        std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
        out << s;
        out.flush();
        if (!out) return false;
    }
    std::error_code ec;
    std::filesystem::rename(tmp, m_path, ec);
    return !ec;
}

ULONG CNamedProps::GetId(const GUID &guid, ULONG ulKind, LONG lID, std::u16string_view sName, bool bCreate) {
    auto find = [&]() -> ULONG {
        for (const NamedProp &np : m_props)
            if (np.guid == guid && np.ulKind == ulKind && (ulKind == MNID_ID ? np.lID == lID : np.sName == sName))
                return np.ulId;
        return 0;
    };
    ULONG ulId = find();
    // The provider's fields are known names whether or not anyone asked for them before.
    if (guid == PS_TESSEL_VCARD && ulKind == MNID_STRING && IsFieldName(UpperAscii(Utf16ToUtf8(sName)))) bCreate = true;
    if (ulId || !bCreate) return ulId;
    // Another program may have added names since we read the file.
    Load();
    if ((ulId = find()) != 0) return ulId;
    ULONG ulNext = kFirstId;
    for (const NamedProp &np : m_props) ulNext = std::max(ulNext, np.ulId + 1);
    if (ulNext > kLastId) return 0;
    m_props.push_back(NamedProp{ulNext, guid, ulKind, lID, std::u16string(sName)});
    if (!Save())
        g_Log.Warning("CNamedProps::GetId", 0, "Cant save named properties to %s; the ids last until the book closes",
                      m_path.c_str());
    return ulNext;
}

const NamedProp *CNamedProps::Find(ULONG ulId) const {
    for (const NamedProp &np : m_props)
        if (np.ulId == ulId) return &np;
    return nullptr;
}

ULONG CNamedProps::FieldId(const std::string &sField) {
    return GetId(PS_TESSEL_VCARD, MNID_STRING, 0, Utf8ToUtf16(sField), true);
}

std::string CNamedProps::FieldName(ULONG ulId) const {
    const NamedProp *np = Find(ulId);
    if (!np || np->guid != PS_TESSEL_VCARD || np->ulKind != MNID_STRING) return std::string();
    std::string s = UpperAscii(Utf16ToUtf8(np->sName));
    return IsFieldName(s) ? s : std::string();
}

} // namespace vcard
