// Figures for the text comparison that orders every text value of a search: nanoseconds per comparison of two
// equal subjects (the worst case: read to the end), and lower-casing throughput. Processor time of this process,
// so that other work on the machine does not count. Prints, never asserts.
#include <strings.h>

#include <time.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/text.h"

namespace {

double CpuNanoseconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

template <class F>
double NanosecondsPerCall(int nCalls, F f) {
    double nStart = CpuNanoseconds();
    for (int i = 0; i < nCalls; ++i) f(i);
    return (CpuNanoseconds() - nStart) / nCalls;
}

volatile int g_nSink;
// Read through a volatile pointer, so that a pure function's call cannot be lifted out of the loop.
const char *volatile g_pszA;
const char *volatile g_pszB;

} // namespace

int main() {
    const int kCalls = 2000000;
    std::string ascii1 = "Re: Quarterly report for the project meeting (draft 3)";
    std::string ascii2 = "RE: QUARTERLY REPORT FOR THE PROJECT MEETING (DRAFT 3)";
    std::string cyr1 = "\xD0\x9E\xD1\x82\xD1\x87\xD1\x91\xD1\x82 \xD0\xB7\xD0\xB0 \xD0\xBA\xD0\xB2\xD0\xB0\xD1\x80\xD1\x82\xD0\xB0\xD0\xBB";
    std::string cyr2 = "\xD0\x9E\xD0\xA2\xD0\xA7\xD0\x81\xD0\xA2 \xD0\x97\xD0\x90 \xD0\x9A\xD0\x92\xD0\x90\xD0\xA0\xD0\xA2\xD0\x90\xD0\x9B";

    g_pszA = ascii1.c_str();
    g_pszB = ascii2.c_str();
    double nAscii = NanosecondsPerCall(kCalls, [&](int) { g_nSink = lstrcmpiA(g_pszA, g_pszB); });
    double nBaseline =
        NanosecondsPerCall(kCalls, [&](int) { g_nSink = strcasecmp(g_pszA, g_pszB); });
    double nCyrillic = NanosecondsPerCall(kCalls, [&](int) { g_nSink = lstrcmpiA(cyr1.c_str(), cyr2.c_str()); });
    std::u16string w1 = Utf8ToUtf16(cyr1), w2 = Utf8ToUtf16(cyr2);
    double nWide = NanosecondsPerCall(kCalls, [&](int) { g_nSink = lstrcmpiW(w1.c_str(), w2.c_str()); });

    std::string body;
    while (body.size() < (1u << 20)) body += ascii2 + " " + cyr2 + "\n";
    std::vector<char> buffer(body.begin(), body.end());
    buffer.push_back('\0');
    const int kRounds = 50;
    double nLower = NanosecondsPerCall(kRounds, [&](int) {
        std::copy(body.begin(), body.end(), buffer.begin());
        CharLowerA(buffer.data());
    });
    double nMBps = static_cast<double>(body.size()) / (nLower / 1e9) / (1 << 20);

    std::printf("lstrcmpiA, equal ASCII subject (%zu bytes): %.1f ns (strcasecmp %.1f ns)\n", ascii1.size(),
                nAscii, nBaseline);
    std::printf("lstrcmpiA, equal Cyrillic subject (%zu bytes): %.1f ns\n", cyr1.size(), nCyrillic);
    std::printf("lstrcmpiW, equal Cyrillic subject (%zu units): %.1f ns\n", w1.size(), nWide);
    std::printf("CharLowerA on mixed text: %.0f MiB/s\n", nMBps);
    return 0;
}
