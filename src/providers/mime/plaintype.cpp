#include "providers/mime/plaintype.h"

#include <cstdint>
#include <functional>
#include <unordered_map>

#include "providers/mime/gmimeutil.h"

namespace {

// What a value is, as bits, and the boundary of a multipart/mixed one.
constexpr uint8_t kPlainUtf8 = 1, kNamed = 2;
struct TypeFacts {
    uint8_t bits = 0;
    std::string strMixedBoundary;
};

TypeFacts ParseType(std::string_view svValue) {
    GPtr<GMimeContentType> pType(g_mime_content_type_parse(MimeParserOptions(), std::string(svValue).c_str()));
    TypeFacts facts;
    if (!pType) return facts;
    if (g_mime_content_type_is_type(pType.get(), "multipart", "mixed")) {
        if (const char *pszBoundary = g_mime_content_type_get_parameter(pType.get(), "boundary"))
            facts.strMixedBoundary = pszBoundary;
        return facts;
    }
    if (!g_mime_content_type_is_type(pType.get(), "text", "plain")) return facts;
    facts.bits = g_mime_content_type_get_parameter(pType.get(), "name") ? kNamed : 0;
    const char *pszCharset = g_mime_content_type_get_parameter(pType.get(), "charset");
    if (!pszCharset) {
        facts.bits |= kPlainUtf8;
        return facts;
    }
    for (const char *pszName : {"utf-8", "utf8", "us-ascii"})
        if (MimeEqualNoCase(pszCharset, pszName)) facts.bits |= kPlainUtf8;
    return facts;
}

// Looked up by the value's bytes as they stand in the header: a lookup builds no key.
struct ValueHash {
    using is_transparent = void;
    size_t operator()(std::string_view sv) const { return std::hash<std::string_view>{}(sv); }
};

// fnUse's answer to what the value is, read once per distinct value.
template <class Use>
auto WithTypeFacts(std::string_view svValue, Use fnUse) {
    // Values past the bound are parsed every time: a store of endless distinct values costs no more than before.
    constexpr size_t kMaxRemembered = 256;
    thread_local std::unordered_map<std::string, TypeFacts, ValueHash, std::equal_to<>> s_known;
    if (auto it = s_known.find(svValue); it != s_known.end()) return fnUse(it->second);
    TypeFacts facts = ParseType(svValue);
    if (s_known.size() >= kMaxRemembered) return fnUse(facts);
    return fnUse(s_known.emplace(std::string(svValue), std::move(facts)).first->second);
}

} // namespace

bool MimeIsPlainUtf8Type(std::string_view svValue, bool bUnnamed) {
    return WithTypeFacts(svValue, [bUnnamed](const TypeFacts &facts) {
        return (facts.bits & kPlainUtf8) && !(bUnnamed && (facts.bits & kNamed));
    });
}

bool MimeReadTopType(std::string_view svValue, std::string *pstrMixedBoundary) {
    return WithTypeFacts(svValue, [pstrMixedBoundary](const TypeFacts &facts) {
        *pstrMixedBoundary = facts.strMixedBoundary;
        return (facts.bits & kPlainUtf8) != 0;
    });
}
