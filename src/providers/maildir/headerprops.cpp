#include "providers/maildir/headerprops.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gmime/gmime.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/time.h"

namespace {

// A header block longer than this is cut; what follows is not looked at.
constexpr size_t kMaxHeaderBlock = 1 << 20;

void InitGMime() {
    static std::once_flag s_once;
    std::call_once(s_once, [] { g_mime_init(); });
}

// Reads from fd up to and including the blank line that ends the header block.
HRESULT ReadHeaderBlock(int fd, std::string &strBlock) {
    strBlock.clear();
    char buf[8192];
    for (;;) {
        ssize_t n = read(fd, buf, sizeof(buf));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return HResultFromErrno(errno);
        if (n == 0) return S_OK;
        size_t nFrom = strBlock.size() > 2 ? strBlock.size() - 2 : 0;
        strBlock.append(buf, static_cast<size_t>(n));
        for (size_t i = strBlock.find('\n', nFrom); i != std::string::npos; i = strBlock.find('\n', i + 1)) {
            size_t j = i + 1;
            if (j < strBlock.size() && strBlock[j] == '\r') ++j;
            if (j < strBlock.size() && strBlock[j] == '\n') {
                strBlock.resize(j + 1);
                return S_OK;
            }
        }
        if (strBlock.size() >= kMaxHeaderBlock) return S_OK;
    }
}

// The wanted fields of a header block, first occurrence each, unfolded and trimmed.
struct HeaderFields {
    std::string strSubject, strFrom, strTo, strDate, strReceived, strXPriority, strMsPriority, strImportance;
    bool bSubject = false, bFrom = false, bTo = false, bDate = false, bReceived = false;
};

void Unfold(std::string_view svRaw, std::string &strOut) {
    strOut.clear();
    for (char ch : svRaw)
        if (ch != '\r' && ch != '\n') strOut += ch;
    size_t nBegin = strOut.find_first_not_of(" \t");
    if (nBegin == std::string::npos) {
        strOut.clear();
        return;
    }
    size_t nEnd = strOut.find_last_not_of(" \t");
    strOut = strOut.substr(nBegin, nEnd - nBegin + 1);
}

HeaderFields ParseFields(std::string_view svBlock) {
    HeaderFields f;
    struct Wanted {
        const char *pszName;
        std::string *pstr;
        bool *pbFound;
    };
    bool bXp = false, bMs = false, bImp = false;
    const Wanted rgWanted[] = {
        {"subject", &f.strSubject, &f.bSubject},       {"from", &f.strFrom, &f.bFrom},
        {"to", &f.strTo, &f.bTo},                      {"date", &f.strDate, &f.bDate},
        {"received", &f.strReceived, &f.bReceived},    {"x-priority", &f.strXPriority, &bXp},
        {"x-msmail-priority", &f.strMsPriority, &bMs}, {"importance", &f.strImportance, &bImp},
    };
    size_t nPos = 0;
    while (nPos < svBlock.size()) {
        // One field: its first line and the continuation lines that begin with white space.
        size_t nEnd = nPos;
        do {
            size_t nl = svBlock.find('\n', nEnd);
            nEnd = nl == std::string_view::npos ? svBlock.size() : nl + 1;
        } while (nEnd < svBlock.size() && (svBlock[nEnd] == ' ' || svBlock[nEnd] == '\t'));
        std::string_view svField = svBlock.substr(nPos, nEnd - nPos);
        nPos = nEnd;
        size_t nColon = svField.find(':');
        if (nColon == std::string_view::npos) continue;
        std::string_view svName = svField.substr(0, nColon);
        while (!svName.empty() && (svName.back() == ' ' || svName.back() == '\t')) svName.remove_suffix(1);
        for (const Wanted &w : rgWanted) {
            if (*w.pbFound || strlen(w.pszName) != svName.size() ||
                g_ascii_strncasecmp(w.pszName, svName.data(), svName.size()) != 0)
                continue;
            *w.pbFound = true;
            Unfold(svField.substr(nColon + 1), *w.pstr);
        }
    }
    return f;
}

char *HeapCopy(const char *psz) { return psz ? strdup(psz) : nullptr; }

char *DecodeText(const std::string &strRaw) {
    InitGMime();
    char *pszDecoded = g_mime_utils_header_decode_text(nullptr, strRaw.c_str());
    char *psz = HeapCopy(pszDecoded ? pszDecoded : strRaw.c_str());
    g_free(pszDecoded);
    return psz;
}

// Display names of an address list ("; " between them); the address where a mailbox has no name.
char *DisplayAddresses(const std::string &strRaw) {
    InitGMime();
    InternetAddressList *pList = internet_address_list_parse(nullptr, strRaw.c_str());
    if (!pList) return DecodeText(strRaw);
    std::string str;
    for (int i = 0; i < internet_address_list_length(pList); ++i) {
        InternetAddress *pAddr = internet_address_list_get_address(pList, i);
        const char *pszName = internet_address_get_name(pAddr);
        if ((!pszName || !*pszName) && INTERNET_ADDRESS_IS_MAILBOX(pAddr))
            pszName = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(pAddr));
        if (!pszName || !*pszName) continue;
        if (!str.empty()) str += "; ";
        str += pszName;
    }
    g_object_unref(pList);
    return str.empty() ? DecodeText(strRaw) : HeapCopy(str.c_str());
}

bool ParseDate(const std::string &strDate, FILETIME &ft) {
    InitGMime();
    GDateTime *pDate = g_mime_utils_header_decode_date(strDate.c_str());
    if (!pDate) return false;
    ft = FileTimeFromUnixSeconds(g_date_time_to_unix(pDate));
    g_date_time_unref(pDate);
    return true;
}

IMSGPRIORITY PriorityOf(const HeaderFields &f) {
    if (!f.strXPriority.empty()) {
        char ch = f.strXPriority[0];
        if (ch == '1' || ch == '2') return IMSG_PRI_HIGH;
        if (ch == '4' || ch == '5') return IMSG_PRI_LOW;
        if (ch == '3') return IMSG_PRI_NORMAL;
    }
    for (const std::string *pstr : {&f.strMsPriority, &f.strImportance}) {
        if (g_ascii_strncasecmp(pstr->c_str(), "high", 4) == 0) return IMSG_PRI_HIGH;
        if (g_ascii_strncasecmp(pstr->c_str(), "low", 3) == 0) return IMSG_PRI_LOW;
    }
    return IMSG_PRI_NORMAL;
}

} // namespace

std::string_view NormalizeSubject(std::string_view svSubject) {
    static const char *const s_rgPrefixes[] = {"re", "fw", "fwd", "aw", "wg", "sv", "vs", "antw", "tr", "rif", "ref"};
    for (;;) {
        size_t nSkip = svSubject.find_first_not_of(" \t");
        if (nSkip == std::string_view::npos) return {};
        svSubject.remove_prefix(nSkip);
        size_t nWord = 0;
        while (nWord < svSubject.size() && g_ascii_isalpha(svSubject[nWord])) ++nWord;
        bool bPrefix = false;
        for (const char *psz : s_rgPrefixes)
            if (strlen(psz) == nWord && g_ascii_strncasecmp(psz, svSubject.data(), nWord) == 0) bPrefix = true;
        if (!bPrefix || nWord == 0) return svSubject;
        size_t n = nWord;
        if (n < svSubject.size() && svSubject[n] == '[') { // "Re[2]:"
            size_t nClose = svSubject.find(']', n);
            if (nClose == std::string_view::npos) return svSubject;
            n = nClose + 1;
        }
        if (n >= svSubject.size() || svSubject[n] != ':') return svSubject;
        svSubject.remove_prefix(n + 1);
    }
}

HRESULT ReadHeaderProps(const std::string &strPath, MESSAGEPROPS *pProps) {
    int fd;
    do {
        fd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return errno == ENOENT ? STG_E_FILENOTFOUND : HResultFromErrno(errno);
    struct stat st;
    std::string strBlock;
    HRESULT hr = fstat(fd, &st) == 0 ? ReadHeaderBlock(fd, strBlock) : HResultFromErrno(errno);
    close(fd);
    if (FAILED(hr)) return hr;

    HeaderFields f = ParseFields(strBlock);
    pProps->cbMessage = static_cast<DWORD>(st.st_size);
    pProps->priority = PriorityOf(f);
    pProps->ftSent = FILETIME{0, 0};
    if (f.bDate) ParseDate(f.strDate, pProps->ftSent);
    size_t nSemi = f.strReceived.rfind(';');
    if (!f.bReceived || nSemi == std::string::npos || !ParseDate(f.strReceived.substr(nSemi + 1), pProps->ftReceived))
        pProps->ftReceived = FileTimeFromUnixSeconds(st.st_mtim.tv_sec);
    if (f.bSubject) {
        pProps->pszSubject = DecodeText(f.strSubject);
        pProps->pszNormalSubject = HeapCopy(std::string(NormalizeSubject(pProps->pszSubject ? pProps->pszSubject : "")).c_str());
    }
    if (f.bFrom) pProps->pszDisplayFrom = DisplayAddresses(f.strFrom);
    if (f.bTo) pProps->pszDisplayTo = DisplayAddresses(f.strTo);
    return S_OK;
}

void FreeHeaderTexts(MESSAGEPROPS *pProps) {
    for (LPSTR *pp : {&pProps->pszSubject, &pProps->pszDisplayTo, &pProps->pszDisplayFrom, &pProps->pszNormalSubject}) {
        free(*pp);
        *pp = nullptr;
    }
}
