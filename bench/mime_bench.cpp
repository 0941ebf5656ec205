// Messages per second through the MIME objects over the mail corpus: parse plus subject, from, date and body
// reads, and the same with headers only, against a plain read of the same files as the floor.
//
//   mime_bench [corpus-dir] [rounds]
// The corpus defaults to $TESSEL_SHARED_DIR/corpus/mail, else ../shared/corpus/mail beside the checkout.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/mimeole.h"

namespace fs = std::filesystem;

namespace {

fs::path DefaultCorpus() {
    if (const char *psz = std::getenv("TESSEL_SHARED_DIR"); psz && *psz) return fs::path(psz) / "corpus" / "mail";
    return fs::path(__FILE__).parent_path().parent_path().parent_path() / "shared" / "corpus" / "mail";
}

size_t g_nSink = 0; // keeps the reads from being optimised away

void ReadFileOnly(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::string str((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    g_nSink += str.size();
}

void ReadMessage(const fs::path &path, bool bBody) {
    IMimeMessage *pMessage = nullptr;
    if (MimeOleOpenMessageFile(path.c_str(), &pMessage) != S_OK) return;
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    if (pMessage->GetProp("Subject", 0, &value) == S_OK) {
        g_nSink += std::char_traits<char>::length(value.pszVal);
        std::free(value.pszVal);
    }
    LPSTR psz = nullptr;
    if (pMessage->GetAddressFormat(IAT_FROM, AFT_DISPLAY_FRIENDLY, &psz) == S_OK) {
        g_nSink += std::char_traits<char>::length(psz);
        std::free(psz);
    }
    value = PROPVARIANT{};
    value.vt = VT_FILETIME;
    if (pMessage->GetProp("Date", 0, &value) == S_OK) g_nSink += value.filetime.dwLowDateTime & 1;
    if (bBody) {
        IStream *pStream = nullptr;
        if (pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, nullptr) == S_OK ||
            pMessage->GetTextBody(TXT_HTML, IET_BINARY, &pStream, nullptr) == S_OK) {
            STATSTG stat{};
            pStream->Stat(&stat, STATFLAG_NONAME);
            g_nSink += stat.cbSize.QuadPart;
            pStream->Release();
        }
    }
    pMessage->Release();
}

template <class Fn>
double MessagesPerSecond(const std::vector<fs::path> &rgPaths, int nRounds, Fn fn) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < nRounds; i++)
        for (const auto &path : rgPaths) fn(path);
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return static_cast<double>(rgPaths.size()) * nRounds / elapsed.count();
}

} // namespace

int main(int argc, char **argv) {
    fs::path root = argc > 1 ? fs::path(argv[1]) : DefaultCorpus();
    int nRounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    std::vector<fs::path> rgPaths;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
        if (it->is_regular_file()) rgPaths.push_back(it->path());
    if (rgPaths.empty()) {
        std::printf("mime_bench: no messages under %s\n", root.c_str());
        return 1;
    }
    std::sort(rgPaths.begin(), rgPaths.end());

    // One warm-up round so that every figure sees the files in the page cache and GMime initialised.
    MessagesPerSecond(rgPaths, 1, [](const fs::path &p) { ReadMessage(p, true); });

    double nFloor = MessagesPerSecond(rgPaths, nRounds, ReadFileOnly);
    double nHeaders = MessagesPerSecond(rgPaths, nRounds, [](const fs::path &p) { ReadMessage(p, false); });
    double nFull = MessagesPerSecond(rgPaths, nRounds, [](const fs::path &p) { ReadMessage(p, true); });

    std::printf("mime_bench: %zu messages x %d rounds from %s\n", rgPaths.size(), nRounds, root.c_str());
    std::printf("  plain file read (floor)            %10.0f msg/s\n", nFloor);
    std::printf("  parse + subject/from/date          %10.0f msg/s  (%.1fx the floor's time)\n", nHeaders,
                nFloor / nHeaders);
    std::printf("  parse + subject/from/date + body   %10.0f msg/s  (%.1fx the floor's time)\n", nFull,
                nFloor / nFull);
    std::printf("  (checksum %zu)\n", g_nSink);
    return 0;
}
