#include "log/log.h"

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "platform/debugout.h"
#include "platform/module.h"

CLog g_Log;

namespace {

constexpr size_t kPartSize = 512;          // head and message are each cut to this buffer size
constexpr long kErrorLogLimit = 0x20000;   // 128 KiB
constexpr long kFullLogLimit = 0xE0000;    // 896 KiB
constexpr size_t kTrimProbe = 4095;        // bytes searched for a line end behind the cut
constexpr size_t kCopyBlock = 4096;
constexpr const char *kAppendMode = "ae"; // append, close on exec

const char *const kKindWords[] = {"Inf", "War", "Err"};

char *DuplicatePath(const char *psz) {
    if (!psz) return nullptr;
    size_t n = std::strlen(psz) + 1;
    char *p = static_cast<char *>(std::malloc(n));
    if (p) std::memcpy(p, psz, n);
    return p;
}

void AppendUtf8(std::string &out, const char16_t *psz) {
    for (size_t i = 0; psz[i]; ++i) {
        uint32_t c = psz[i];
        if (c >= 0xD800 && c < 0xDC00 && psz[i + 1] >= 0xDC00 && psz[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (psz[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD; // a lone surrogate
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
}

// Formats one conversion whose argument has already been taken from the va_list.
template <class T>
void AppendFormatted(std::string &out, const std::string &directive, T value) {
    char buf[128];
    int n = std::snprintf(buf, sizeof buf, directive.c_str(), value);
    if (n < 0) return;
    if (static_cast<size_t>(n) < sizeof buf) {
        out.append(buf, static_cast<size_t>(n));
    } else {
        std::string big(static_cast<size_t>(n) + 1, '\0');
        std::snprintf(big.data(), big.size(), directive.c_str(), value);
        out.append(big.data(), static_cast<size_t>(n));
    }
}

// printf with "%S" as UTF-16 text. Width and precision given as "*" are taken from the arguments.
std::string FormatToString(const char *pszFormat, va_list args) {
    std::string out;
    if (!pszFormat) return out;
    for (const char *p = pszFormat; *p; ++p) {
        if (*p != '%') {
            out += *p;
            continue;
        }
        const char *start = p++;
        if (*p == '%') {
            out += '%';
            continue;
        }
        std::string directive = "%";
        while (*p && std::strchr("-+ #0", *p)) directive += *p++;
        if (*p == '*') {
            directive += std::to_string(va_arg(args, int));
            ++p;
        } else {
            while (*p >= '0' && *p <= '9') directive += *p++;
        }
        if (*p == '.') {
            directive += *p++;
            if (*p == '*') {
                directive += std::to_string(va_arg(args, int));
                ++p;
            } else {
                while (*p >= '0' && *p <= '9') directive += *p++;
            }
        }
        std::string length;
        while (*p && std::strchr("hlLqjzt", *p)) length += *p++;
        char conv = *p;
        if (!conv) {
            out.append(start);
            break;
        }
        switch (conv) {
        case 'S':
        case 's':
            if (conv == 's' && length != "l") {
                const char *psz = va_arg(args, const char *);
                AppendFormatted(out, directive + "s", psz ? psz : "(null)");
            } else { // "%S" and "%ls": wide text, UTF-16 here as on the platform the formats come from
                const char16_t *psz = va_arg(args, const char16_t *);
                std::string text;
                if (psz) AppendUtf8(text, psz); else text = "(null)";
                AppendFormatted(out, directive + "s", text.c_str());
            }
            break;
        case 'd':
        case 'i':
            if (length == "ll" || length == "q" || length == "j")
                AppendFormatted(out, directive + "lld", va_arg(args, long long));
            else if (length == "l" || length == "z" || length == "t")
                AppendFormatted(out, directive + "ld", va_arg(args, long));
            else
                AppendFormatted(out, directive + length + conv, va_arg(args, int));
            break;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (length == "ll" || length == "q" || length == "j")
                AppendFormatted(out, directive + "ll" + conv, va_arg(args, unsigned long long));
            else if (length == "l" || length == "z" || length == "t")
                AppendFormatted(out, directive + "l" + conv, va_arg(args, unsigned long));
            else
                AppendFormatted(out, directive + length + conv, va_arg(args, unsigned int));
            break;
        case 'c':
            AppendFormatted(out, directive + conv, va_arg(args, int));
            break;
        case 'p':
            AppendFormatted(out, directive + conv, va_arg(args, void *));
            break;
        case 'f': case 'F': case 'e': case 'E': case 'g': case 'G': case 'a': case 'A':
            if (length == "L")
                AppendFormatted(out, directive + "L" + conv, va_arg(args, long double));
            else
                AppendFormatted(out, directive + conv, va_arg(args, double));
            break;
        case 'n':
            (void)va_arg(args, int *); // never written to: a log format must not change memory
            break;
        default:
            out.append(start, static_cast<size_t>(p - start + 1));
            break;
        }
    }
    return out;
}

// Keeps about half of a file that grew above its limit, starting at a line start. Anything that goes wrong
// leaves the file as it was; nothing is reported.
void TrimFile(const char *pszPath, long nLimit) {
    struct stat st{};
    if (stat(pszPath, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size <= nLimit) return;
    const long nSize = static_cast<long>(st.st_size);

    const std::string tempPath = std::string(pszPath) + "1";
    FILE *in = std::fopen(pszPath, "rb");
    FILE *out = in ? std::fopen(tempPath.c_str(), "wb") : nullptr;
    if (!in || !out) {
        if (in) std::fclose(in);
        return;
    }
    const long nCut = nSize - nLimit / 2;
    std::fseek(in, nCut, SEEK_SET);
    char probe[kTrimProbe + 1];
    const size_t nRead = std::fread(probe, 1, kTrimProbe, in);
    probe[nRead] = '\0';
    long nKeep = -1;
    if (const char *pEnd = std::strstr(probe, "\r\n")) {
        nKeep = nCut + (pEnd - probe) + 2;
    } else if ((pEnd = std::strchr(probe, '\n')) != nullptr) {
        nKeep = nCut + (pEnd - probe) + 1;
    }
    if (nKeep >= 0) std::fseek(in, nKeep, SEEK_SET); // else the kept part begins behind the bytes read
    char block[kCopyBlock];
    size_t n;
    while ((n = std::fread(block, 1, sizeof block, in)) > 0)
        if (std::fwrite(block, 1, n, out) != n) break;
    // A copy cut short (a full disk) must not cost the log: then the temporary file goes instead.
    const bool bCopied = !std::ferror(in) && !std::ferror(out);
    std::fclose(in);
    const bool bClosed = std::fclose(out) == 0;
    if (bCopied && bClosed)
        std::rename(tempPath.c_str(), pszPath); // replaces the log in one step
    else
        std::remove(tempPath.c_str());
}

// "%d.%d.%d.%d" of a version.
std::string VersionText(const ModuleVersion &version) {
    char sz[64];
    std::snprintf(sz, sizeof sz, "%u.%u.%u.%u", version.nMajor, version.nMinor, version.nPatch, version.nBuild);
    return sz;
}

// The name behind the last "\\", or if there is none the last "/", or the whole path.
const char *BaseName(const char *pszPath) {
    if (const char *p = std::strrchr(pszPath, '\\')) return p + 1;
    if (const char *p = std::strrchr(pszPath, '/')) return p + 1;
    return pszPath;
}

// The banner of InitLog: the library's version, the program's version and name, each where it is known.
// Sets the version field of the error log when the library's version is read.
std::string BuildBanner(char (&szVersion)[32]) {
    std::string banner;
    char szName[1024];
    if (GetOwnModuleFileName(szName, sizeof szName)) {
        const std::string version = VersionText(GetOwnModuleVersion());
        std::snprintf(szVersion, sizeof szVersion, "%s", version.c_str());
        banner += "\n\tDLL.Version = " + version;
    }
    ModuleVersion programVersion;
    if (GetProgramFileName(szName, sizeof szName) && GetProgramVersion(&programVersion)) {
        banner += "\n\tEXE.Version = " + VersionText(programVersion);
        banner += "\n\tEXE.Filename = ";
        banner += BaseName(szName);
    }
    return banner;
}

} // namespace

int FormatLogText(char *pszBuffer, size_t nSize, const char *pszFormat, va_list args) {
    if (!pszBuffer || nSize == 0) return 0;
    va_list copy;
    va_copy(copy, args);
    std::string text = FormatToString(pszFormat, copy);
    va_end(copy);
    size_t n = text.size() < nSize - 1 ? text.size() : nSize - 1;
    std::memcpy(pszBuffer, text.data(), n);
    pszBuffer[n] = '\0';
    return static_cast<int>(n);
}

CLog::CLog()
    : m_szVersion{}, m_pszLogPath(nullptr), m_pszErrorPath(nullptr), m_fLog(nullptr), m_fError(nullptr),
      m_bDebugOutput(false), m_nLevel(1) {}

CLog::~CLog() {
    if (m_fLog) g_Log.Info(2, "DoneLog", "\n\n");
    std::free(m_pszLogPath);
    std::free(m_pszErrorPath);
    m_pszLogPath = m_pszErrorPath = nullptr;
    if (m_fError) std::fclose(m_fError);
    if (m_fLog) std::fclose(m_fLog);
    m_fError = m_fLog = nullptr;
}

void CLog::Write(Kind kind, int32_t nCode, const char *pszLabel, const char *pszFormat, va_list args) {
    if (!m_bDebugOutput && !m_pszLogPath && !m_pszErrorPath) return;

    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char code[16] = "";
    if (nCode != 0) std::snprintf(code, sizeof code, "[0x%x]", static_cast<unsigned>(nCode));

    char head[kPartSize];
    std::snprintf(head, sizeof head, "%02d/%02d/%02d %02d:%02d:%02d %s%s in %s: ", local.tm_mday, local.tm_mon + 1,
                  local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec, kKindWords[kind], code,
                  pszLabel ? pszLabel : "(null)");
    char message[kPartSize];
    FormatLogText(message, sizeof message, pszFormat, args);

    if (m_bDebugOutput) {
        OutputDebugStringA(head);
        OutputDebugStringA(message);
        OutputDebugStringA("\n");
    }
    if (m_pszLogPath && m_fLog) {
        std::fprintf(m_fLog, "%s%s\n", head, message);
        std::fflush(m_fLog);
    }
    if (m_pszErrorPath && kind != KIND_INFO && m_fError) {
        std::fprintf(m_fError, "%s %s%s\n", m_szVersion, head, message);
        std::fflush(m_fError);
    }
}

void CLog::Error(const char *pszLabel, int32_t nCode, const char *pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    Write(KIND_ERROR, nCode, pszLabel, pszFormat, args);
    va_end(args);
}

void CLog::Warning(const char *pszLabel, int32_t nCode, const char *pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    Write(KIND_WARNING, nCode, pszLabel, pszFormat, args);
    va_end(args);
}

void CLog::Info(int32_t nLevel, const char *pszLabel, const char *pszFormat, ...) {
    if (nLevel > m_nLevel) return;
    va_list args;
    va_start(args, pszFormat);
    Write(KIND_INFO, 0, pszLabel, pszFormat, args);
    va_end(args);
}

void CLog::Assert(bool bCondition, const char *pszLabel, int32_t nNumber) {
    if (!bCondition) Error(pszLabel, 0, "ASSERT failed in line %d", nNumber);
}

void CLog::InitLog(const char *pszErrorLog, const char *pszLog, bool bDebugOutput, int32_t nLevel) {
    if (m_fError) std::fclose(m_fError);
    m_fError = nullptr;
    std::free(m_pszErrorPath);
    m_pszErrorPath = DuplicatePath(pszErrorLog);

    if (m_fLog) std::fclose(m_fLog);
    m_fLog = nullptr;
    std::free(m_pszLogPath);
    m_pszLogPath = DuplicatePath(pszLog);

    m_nLevel = nLevel;
    m_bDebugOutput = bDebugOutput;

    // Trim before opening: the trim replaces the file, and the appending handle must point at the new one.
    // "e" keeps the files from leaking into programs the library starts (a viewer).
    if (m_pszErrorPath) {
        TrimFile(m_pszErrorPath, kErrorLogLimit);
        m_fError = std::fopen(m_pszErrorPath, kAppendMode);
    }
    if (m_pszLogPath) {
        TrimFile(m_pszLogPath, kFullLogLimit);
        m_fLog = std::fopen(m_pszLogPath, kAppendMode);
    }

    const std::string banner = BuildBanner(m_szVersion);
    if (!banner.empty()) g_Log.Info(2, "InitLog", "%s", banner.c_str()); // the banner is no format
}

void CLog::CloseFiles() {
    if (m_fError) std::fclose(m_fError);
    if (m_fLog) std::fclose(m_fLog);
    m_fError = m_fLog = nullptr;
}

bool CLog::ReopenFiles() {
    CloseFiles();
    bool ok = true;
    if (m_pszErrorPath) {
        m_fError = std::fopen(m_pszErrorPath, kAppendMode);
        ok = ok && m_fError;
    }
    if (m_pszLogPath) {
        m_fLog = std::fopen(m_pszLogPath, kAppendMode);
        ok = ok && m_fLog;
    }
    return ok;
}
