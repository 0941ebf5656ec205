#include "providers/maildir/maildirname.h"

#include <algorithm>
#include <ctime>
#include <unistd.h>

namespace {

struct FlagLetter {
    char ch;
    DWORD dwBit;
};

// S is the odd one: its presence clears MSG_UNREAD.
const FlagLetter g_rgLetters[] = {
    {'D', MSG_UNSENT}, {'F', MSG_FLAGGED}, {'P', MSG_FORWARDED}, {'R', MSG_REPLIED}, {'S', MSG_UNREAD}, {'T', MSG_DELETED},
};

bool IsStateLetter(char ch) {
    return std::any_of(std::begin(g_rgLetters), std::end(g_rgLetters), [ch](const FlagLetter &l) { return l.ch == ch; });
}

std::string HostPart() {
    char szHost[256] = {};
    if (gethostname(szHost, sizeof(szHost) - 1) != 0 || !szHost[0]) return "localhost";
    std::string str;
    for (const char *p = szHost; *p; ++p) {
        if (*p == '/') str += "\\057";
        else if (*p == ':') str += "\\072";
        else str += *p;
    }
    return str;
}

} // namespace

MaildirName SplitMaildirName(std::string_view svName) {
    size_t n = svName.rfind(":2,");
    if (n == std::string_view::npos) return {svName, {}};
    return {svName.substr(0, n), svName.substr(n + 3)};
}

DWORD StateFromFlags(std::string_view svFlags) {
    DWORD dwState = MSG_UNREAD;
    for (char ch : svFlags) {
        for (const FlagLetter &l : g_rgLetters) {
            if (l.ch != ch) continue;
            if (ch == 'S') dwState &= ~MSG_UNREAD;
            else dwState |= l.dwBit;
        }
    }
    return dwState;
}

std::string FlagsFromState(std::string_view svOldFlags, DWORD dwState) {
    std::string str;
    for (char ch : svOldFlags)
        if (!IsStateLetter(ch) && str.find(ch) == std::string::npos) str += ch;
    for (const FlagLetter &l : g_rgLetters) {
        bool bOn = l.ch == 'S' ? !(dwState & MSG_UNREAD) : (dwState & l.dwBit) != 0;
        if (bOn) str += l.ch;
    }
    std::sort(str.begin(), str.end());
    return str;
}

std::string NewUniqueName() {
    static unsigned s_nCounter = 0;
    static const std::string s_strHost = HostPart();
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    return std::to_string(ts.tv_sec) + ".M" + std::to_string(ts.tv_nsec / 1000) + "P" + std::to_string(getpid()) +
           "Q" + std::to_string(++s_nCounter) + "." + s_strHost;
}
