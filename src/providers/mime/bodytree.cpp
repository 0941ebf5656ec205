#include "providers/mime/bodytree.h"

#include <cstring>

namespace {

void Walk(GMimeObject *pPart, GMimeMultipart *pParent, int nIndex,
          const std::function<void(GMimeObject *, GMimeMultipart *, int)> &fnVisit) {
    fnVisit(pPart, pParent, nIndex);
    if (!GMIME_IS_MULTIPART(pPart)) return;
    GMimeMultipart *pMultipart = GMIME_MULTIPART(pPart);
    int cParts = g_mime_multipart_get_count(pMultipart);
    for (int i = 0; i < cParts; i++)
        if (GMimeObject *pChild = g_mime_multipart_get_part(pMultipart, i)) Walk(pChild, pMultipart, i, fnVisit);
}

const char *FileNameOf(GMimeObject *pPart) {
    if (GMIME_IS_PART(pPart)) return g_mime_part_get_filename(GMIME_PART(pPart));
    const char *pszName = g_mime_object_get_content_disposition_parameter(pPart, "filename");
    return pszName ? pszName : g_mime_object_get_content_type_parameter(pPart, "name");
}

bool HasFileName(GMimeObject *pPart) {
    const char *pszName = FileNameOf(pPart);
    return pszName && *pszName;
}

bool IsDisposition(GMimeObject *pPart, const char *pszDisposition) {
    const char *psz = g_mime_object_get_disposition(pPart);
    return psz && g_ascii_strcasecmp(psz, pszDisposition) == 0;
}

bool IsAttachmentPart(GMimeObject *pPart, GMimeMultipart *pParent, int nIndex) {
    if (GMIME_IS_MULTIPART(pPart)) return false;
    if (pParent && GMIME_IS_MULTIPART_SIGNED(pParent) && nIndex == 1) return false;
    if (IsDisposition(pPart, "attachment") || GMIME_IS_MESSAGE_PART(pPart)) return true;
    // Images and the like that an HTML body refers to are part of how it looks.
    if (pParent && nIndex > 0 && MimeIsType(GMIME_OBJECT(pParent), "multipart", "related") &&
        (g_mime_object_get_content_id(pPart) || g_mime_object_get_header(pPart, "Content-Location")))
        return false;
    if (HasFileName(pPart)) return true;
    if (IsDisposition(pPart, "inline")) return false;
    return !(MimeIsType(pPart, "text", "plain") || MimeIsType(pPart, "text", "html"));
}

// Text as UTF-8 from a charset, GMime's fallbacks where the charset is unknown or the bytes don't fit it.
std::string ConvertPiece(const char *pszCharset, const char *p, size_t cb) {
    if (cb == 0) return std::string();
    bool bUtf8 = !pszCharset || g_ascii_strcasecmp(pszCharset, "utf-8") == 0 ||
                 g_ascii_strcasecmp(pszCharset, "utf8") == 0 || g_ascii_strcasecmp(pszCharset, "us-ascii") == 0;
    if (bUtf8 && MimeIsUtf8(std::string_view(p, cb))) return std::string(p, cb);
    if (!bUtf8) {
        iconv_t cd = g_mime_iconv_open("UTF-8", pszCharset);
        if (cd != reinterpret_cast<iconv_t>(-1)) {
            GCharPtr pConverted(g_mime_iconv_strndup(cd, p, cb));
            g_mime_iconv_close(cd);
            if (pConverted && g_utf8_validate(pConverted.get(), -1, nullptr)) return std::string(pConverted.get());
        }
    }
    GCharPtr pDecoded(g_mime_utils_decode_8bit(MimeParserOptions(), p, cb));
    return pDecoded ? std::string(pDecoded.get()) : std::string();
}

std::string ExtensionFor(GMimeContentType *pType) {
    static const struct {
        const char *pszMime;
        const char *pszExt;
    } s_rgTable[] = {
        {"text/plain", "txt"},        {"text/html", "html"},        {"text/calendar", "ics"},
        {"text/x-vcard", "vcf"},      {"text/vcard", "vcf"},        {"text/csv", "csv"},
        {"image/jpeg", "jpg"},        {"image/png", "png"},         {"image/gif", "gif"},
        {"application/pdf", "pdf"},   {"application/zip", "zip"},   {"message/rfc822", "eml"},
        {"application/pgp-signature", "asc"},
    };
    GCharPtr pMime(pType ? g_mime_content_type_get_mime_type(pType) : nullptr);
    if (pMime)
        for (const auto &entry : s_rgTable)
            if (g_ascii_strcasecmp(pMime.get(), entry.pszMime) == 0) return entry.pszExt;
    return "bin";
}

} // namespace

bool MimeIsType(GMimeObject *pPart, const char *pszType, const char *pszSubtype) {
    GMimeContentType *pType = pPart ? g_mime_object_get_content_type(pPart) : nullptr;
    return pType && g_mime_content_type_is_type(pType, pszType, pszSubtype);
}

void MimeWalkTree(GMimeObject *pRoot, const std::function<void(GMimeObject *, GMimeMultipart *, int)> &fnVisit) {
    if (pRoot) Walk(pRoot, nullptr, 0, fnVisit);
}

GMimeMultipart *MimeFindParent(GMimeObject *pRoot, GMimeObject *pPart, int *pnIndex) {
    GMimeMultipart *pFound = nullptr;
    MimeWalkTree(pRoot, [&](GMimeObject *p, GMimeMultipart *pParent, int nIndex) {
        if (p == pPart && pParent && !pFound) {
            pFound = pParent;
            if (pnIndex) *pnIndex = nIndex;
        }
    });
    return pFound;
}

bool MimeTreeContains(GMimeObject *pRoot, GMimeObject *pPart) {
    bool bFound = false;
    MimeWalkTree(pRoot, [&](GMimeObject *p, GMimeMultipart *, int) { bFound = bFound || p == pPart; });
    return bFound;
}

GMimeObject *MimeFindTextBody(GMimeObject *pRoot, bool bHtml) {
    GMimeObject *pFound = nullptr;
    MimeWalkTree(pRoot, [&](GMimeObject *pPart, GMimeMultipart *pParent, int) {
        if (pFound || !GMIME_IS_PART(pPart) || !MimeIsType(pPart, "text", bHtml ? "html" : "plain")) return;
        // A named text part is a body where it stands alone or is marked inline.
        if (IsDisposition(pPart, "attachment") || (pParent && HasFileName(pPart) && !IsDisposition(pPart, "inline")))
            return;
        pFound = pPart;
    });
    return pFound;
}

std::vector<GMimeObject *> MimeListAttachments(GMimeObject *pRoot) {
    std::vector<GMimeObject *> rgParts;
    GMimeObject *pPlain = MimeFindTextBody(pRoot, false);
    GMimeObject *pHtml = MimeFindTextBody(pRoot, true);
    MimeWalkTree(pRoot, [&](GMimeObject *pPart, GMimeMultipart *pParent, int nIndex) {
        if (pPart != pPlain && pPart != pHtml && IsAttachmentPart(pPart, pParent, nIndex)) rgParts.push_back(pPart);
    });
    return rgParts;
}

std::string MimeDecodedContent(GMimeObject *pPart) {
    GPtr<GMimeStream> pStream(g_mime_stream_mem_new());
    if (GMIME_IS_PART(pPart)) {
        GMimeDataWrapper *pContent = g_mime_part_get_content(GMIME_PART(pPart));
        if (!pContent) return std::string();
        g_mime_data_wrapper_write_to_stream(pContent, pStream.get());
    } else if (GMIME_IS_MESSAGE_PART(pPart)) {
        GMimeMessage *pMessage = g_mime_message_part_get_message(GMIME_MESSAGE_PART(pPart));
        if (!pMessage) return std::string();
        g_mime_object_write_to_stream(GMIME_OBJECT(pMessage), MimeFormatOptions(false), pStream.get());
    } else {
        return std::string();
    }
    return MimeReadGStream(pStream.get());
}

std::string MimeTextContent(GMimeObject *pPart) {
    std::string strRaw = MimeDecodedContent(pPart);
    const char *pszCharset = g_mime_object_get_content_type_parameter(pPart, "charset");
    std::string strText;
    size_t nStart = 0;
    for (;;) {
        size_t nZero = strRaw.find('\0', nStart);
        size_t nEnd = nZero == std::string::npos ? strRaw.size() : nZero;
        strText += ConvertPiece(pszCharset, strRaw.data() + nStart, nEnd - nStart);
        if (nZero == std::string::npos) break;
        strText.push_back('\0');
        nStart = nZero + 1;
    }
    return strText;
}

std::string MimeDisplayName(GMimeObject *pPart) {
    if (const char *pszName = FileNameOf(pPart); pszName && *pszName) return pszName;
    if (GMIME_IS_MESSAGE_PART(pPart)) return "message.eml";
    return "attachment." + ExtensionFor(g_mime_object_get_content_type(pPart));
}
