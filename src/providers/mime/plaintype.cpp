#include "providers/mime/plaintype.h"

#include <cstdint>
#include <string>
#include <unordered_map>

#include "providers/mime/gmimeutil.h"

namespace {

// What a value is, as bits.
constexpr uint8_t kPlainUtf8 = 1, kNamed = 2;

uint8_t ParsePlainUtf8Type(const std::string &strValue) {
    GPtr<GMimeContentType> pType(g_mime_content_type_parse(MimeParserOptions(), strValue.c_str()));
    if (!pType || !g_mime_content_type_is_type(pType.get(), "text", "plain")) return 0;
    uint8_t bits = g_mime_content_type_get_parameter(pType.get(), "name") ? kNamed : 0;
    const char *pszCharset = g_mime_content_type_get_parameter(pType.get(), "charset");
    if (!pszCharset) return bits | kPlainUtf8;
    for (const char *pszName : {"utf-8", "utf8", "us-ascii"})
        if (MimeEqualNoCase(pszCharset, pszName)) return bits | kPlainUtf8;
    return bits;
}

} // namespace

bool MimeIsPlainUtf8Type(std::string_view svValue, bool bUnnamed) {
    // Values past the bound are parsed every time: a store of endless distinct values costs no more than before.
    constexpr size_t kMaxRemembered = 256;
    thread_local std::unordered_map<std::string, uint8_t> s_known;
    std::string strValue(svValue);
    uint8_t bits = 0;
    if (auto it = s_known.find(strValue); it != s_known.end()) {
        bits = it->second;
    } else {
        bits = ParsePlainUtf8Type(strValue);
        if (s_known.size() < kMaxRemembered) s_known.emplace(std::move(strValue), bits);
    }
    return (bits & kPlainUtf8) && !(bUnnamed && (bits & kNamed));
}
