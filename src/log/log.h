// The library's log: every failure ends up as a line here. Three sinks (full log, error log, debug output on
// standard error), all off until InitLog configures them. "%S" in a format takes a UTF-16 string.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>

class CLog {
public:
    enum Kind { KIND_INFO = 0, KIND_WARNING = 1, KIND_ERROR = 2 };

    CLog();
    virtual ~CLog();
    CLog(const CLog &) = delete;
    CLog &operator=(const CLog &) = delete;

    // No printf format checking: "%S" takes char16_t text, which the compiler's checker does not know.
    void Error(const char *pszLabel, int32_t nCode, const char *pszFormat, ...);
    void Warning(const char *pszLabel, int32_t nCode, const char *pszFormat, ...);
    void Info(int32_t nLevel, const char *pszLabel, const char *pszFormat, ...);
    // Logs the error "ASSERT failed in line %d" with nNumber when bCondition is false; never stops anything.
    void Assert(bool bCondition, const char *pszLabel, int32_t nNumber);

    void InitLog(const char *pszErrorLog, const char *pszLog, bool bDebugOutput, int32_t nLevel);
    void CloseFiles();
    bool ReopenFiles();

    int32_t Level() const { return m_nLevel; }
    const char *Version() const { return m_szVersion; }

private:
    void Write(Kind kind, int32_t nCode, const char *pszLabel, const char *pszFormat, va_list args);

    char m_szVersion[32];
    char *m_pszLogPath;
    char *m_pszErrorPath;
    FILE *m_fLog;
    FILE *m_fError;
    bool m_bDebugOutput;
    int32_t m_nLevel;
};

extern CLog g_Log;

// vsnprintf with "%S" taking a UTF-16 (char16_t) string, rendered as UTF-8; everything else as printf does.
// Cuts at nSize - 1 bytes like snprintf and returns what was written.
int FormatLogText(char *pszBuffer, size_t nSize, const char *pszFormat, va_list args);
