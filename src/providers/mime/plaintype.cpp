#include "providers/mime/plaintype.h"

#include <string>
#include <unordered_map>

#include "providers/mime/gmimeutil.h"

namespace {

bool ParsePlainUtf8Type(const std::string &strValue) {
    GPtr<GMimeContentType> pType(g_mime_content_type_parse(MimeParserOptions(), strValue.c_str()));
    if (!pType || !g_mime_content_type_is_type(pType.get(), "text", "plain")) return false;
    const char *pszCharset = g_mime_content_type_get_parameter(pType.get(), "charset");
    if (!pszCharset) return true;
    for (const char *pszName : {"utf-8", "utf8", "us-ascii"})
        if (MimeEqualNoCase(pszCharset, pszName)) return true;
    return false;
}

} // namespace

bool MimeIsPlainUtf8Type(std::string_view svValue) {
    // Values past the bound are parsed every time: a store of endless distinct values costs no more than before.
    constexpr size_t kMaxRemembered = 256;
    thread_local std::unordered_map<std::string, bool> s_known;
    std::string strValue(svValue);
    if (auto it = s_known.find(strValue); it != s_known.end()) return it->second;
    bool bPlain = ParsePlainUtf8Type(strValue);
    if (s_known.size() < kMaxRemembered) s_known.emplace(std::move(strValue), bPlain);
    return bPlain;
}
