// Enumeration of one large Maildir folder through IStoreFolder, fast (ids and states) and full (header fields),
// against the floor of reading each message's header block once. Fast listings are measured on a settled folder
// (nothing read again) and right after another program changed a flag (the folder read again).
//
// Usage: maildir_bench [STORE]
//   STORE: a Maildir whose Inbox (the root) is listed. Without it a store of 10,000 messages is made in a
//   temporary directory: by the shared generator (../shared/bench/gen-maildir.py, or $TESSEL_SHARED_DIR/bench),
//   all its folders gathered into the Inbox, else by a small generator of our own.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/cocreate.h"
#include "platform/msgstore.h"
#include "providers/maildir/headerprops.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMessages = 10000;
constexpr int kRepeats = 5;

double Seconds(const std::function<void()> &fn) {
    auto t0 = std::chrono::steady_clock::now();
    fn();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double Median(const std::function<void()> &fn) {
    std::vector<double> times;
    for (int i = 0; i < kRepeats; ++i) times.push_back(Seconds(fn));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

fs::path SharedGenerator() {
    if (const char *psz = getenv("TESSEL_SHARED_DIR"); psz && *psz) return fs::path(psz) / "bench" / "gen-maildir.py";
    return fs::path(__FILE__).parent_path().parent_path().parent_path() / "shared" / "bench" / "gen-maildir.py";
}

// Our own stand-in for the shared generator: plain messages with bodies of 1 to 20 KB.
void Generate(const fs::path &root) {
    for (const char *psz : {"cur", "new", "tmp"}) fs::create_directories(root / psz);
    std::mt19937 rng(7);
    for (int i = 0; i < kMessages; ++i) {
        std::ofstream out(root / "cur" / (std::to_string(1600000000 + i) + ".M" + std::to_string(i) + "P1.bench:2,S"));
        out << "Received: from a.example by b.example; Tue, 03 Mar 2020 10:20:30 +0000\n"
            << "From: Sender " << i % 97 << " <s" << i % 97 << "@example.org>\n"
            << "To: Robin <robin@example.org>\n"
            << "Subject: =?UTF-8?Q?Nachricht_=C3=BCber?= topic " << i % 500 << "\n"
            << "Date: Tue, 03 Mar 2020 10:20:30 +0000\n"
            << "Message-ID: <" << i << "@bench.example>\n\n"
            << std::string(1024 + rng() % 19456, 'x') << "\n";
    }
}

// Moves every message of the generated store's subfolders into its Inbox.
void GatherIntoInbox(const fs::path &root) {
    for (const auto &entry : fs::directory_iterator(root)) {
        std::string strName = entry.path().filename().string();
        if (!entry.is_directory() || strName.size() < 2 || strName[0] != '.') continue;
        for (const char *psz : {"cur", "new"})
            for (const auto &msg : fs::directory_iterator(entry.path() / psz))
                fs::rename(msg.path(), root / psz / msg.path().filename());
    }
}

std::vector<std::string> MessagePaths(const fs::path &root) {
    std::vector<std::string> paths;
    for (const char *psz : {"cur", "new"})
        for (const auto &entry : fs::directory_iterator(root / psz)) paths.push_back(entry.path().string());
    return paths;
}

// The floor: open each file, read up to the blank line after its header block, close.
size_t ReadHeaderBlocks(const std::vector<std::string> &paths) {
    static char buf[65536];
    size_t cbTotal = 0;
    for (const std::string &strPath : paths) {
        int fd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) continue;
        size_t n = 0;
        for (;;) {
            ssize_t r = read(fd, buf + n, std::min<size_t>(4096, sizeof(buf) - n));
            if (r <= 0) break;
            size_t nFrom = n > 2 ? n - 2 : 0;
            n += static_cast<size_t>(r);
            std::string_view sv(buf, n);
            if (sv.find("\n\n", nFrom) != std::string_view::npos || sv.find("\n\r\n", nFrom) != std::string_view::npos ||
                n == sizeof(buf))
                break;
        }
        cbTotal += n;
        close(fd);
    }
    return cbTotal;
}

size_t Enumerate(IStoreNamespace *pNs, DWORD dwFlags) {
    IStoreFolder *pInbox = nullptr;
    if (pNs->OpenSpecialFolder(FOLDER_INBOX, 0, &pInbox) != S_OK) return 0;
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    size_t c = 0;
    for (HRESULT hr = pInbox->GetFirstMessage(dwFlags, 0, MESSAGEID_FIRST, &props, &hEnum); hr == S_OK;
         hr = pInbox->GetNextMessage(hEnum, dwFlags, &props)) {
        ++c;
        pInbox->FreeMessageProps(&props);
    }
    if (hEnum) pInbox->GetMessageClose(hEnum);
    pInbox->Release();
    return c;
}

} // namespace

int main(int argc, char **argv) {
    fs::path root;
    std::string strTemp;
    if (argc > 1) {
        root = argv[1];
    } else {
        strTemp = (fs::temp_directory_path() / "tessel-bench-XXXXXX").string();
        if (!mkdtemp(strTemp.data())) return 1;
        root = fs::path(strTemp) / "Maildir";
        fs::path gen = SharedGenerator();
        std::string strCommand = "python3 '" + gen.string() + "' '" + root.string() + "' " +
                                 std::to_string(kMessages) + " --seed 1 > /dev/null";
        if (fs::exists(gen) && system(strCommand.c_str()) == 0) {
            GatherIntoInbox(root);
            printf("store: %s (gen-maildir.py, all folders gathered into the Inbox)\n", root.c_str());
        } else {
            Generate(root);
            printf("store: %s (own generator)\n", root.c_str());
        }
    }
    setenv("TESSEL_MAILDIR", root.c_str(), 1);
    std::vector<std::string> paths = MessagePaths(root);
    printf("messages: %zu\n", paths.size());

    IStoreNamespace *pNs = nullptr;
    if (CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreNamespace, reinterpret_cast<void **>(&pNs)) != S_OK ||
        pNs->Initialize(nullptr, 1) != S_OK) {
        fprintf(stderr, "cannot open the store %s\n", root.c_str());
        return 1;
    }
    double tFirst = Seconds([&] { Enumerate(pNs, MSGPROPS_FAST); }); // gives every message its id
    ReadHeaderBlocks(paths);                                           // warm the page cache

    size_t cbHeaders = 0, cFast = 0, cFull = 0;
    double tFloor = Median([&] { cbHeaders = ReadHeaderBlocks(paths); });
    double tDecode = Median([&] {
        for (const std::string &strPath : paths) {
            MESSAGEPROPS props{};
            if (ReadHeaderProps(strPath, &props) == S_OK) FreeHeaderTexts(&props);
        }
    });
    // Another program changes a flag before each listing: the folder is read again.
    std::string strFlagged = paths.front(), strOther = paths.front() + "F";
    double tResync = Median([&] {
        std::rename(strFlagged.c_str(), strOther.c_str());
        std::swap(strFlagged, strOther);
        Enumerate(pNs, MSGPROPS_FAST);
    });
    if (strFlagged != paths.front()) std::rename(strFlagged.c_str(), paths.front().c_str());
    sleep(2); // the folder settles: its times can be trusted again
    Enumerate(pNs, MSGPROPS_FAST);
    double tFast = Median([&] { cFast = Enumerate(pNs, MSGPROPS_FAST); });
    double tFull = Median([&] { cFull = Enumerate(pNs, 0); });
    pNs->Release();

    double n = static_cast<double>(paths.size());
    printf("first enumeration (ids given):      %8.3f s\n", tFirst);
    printf("floor, header blocks read (%zu KB): %8.3f s  %6.1f us/msg\n", cbHeaders / 1024, tFloor, tFloor / n * 1e6);
    printf("header blocks read and decoded:     %8.3f s  %6.1f us/msg  %5.2f x floor\n", tDecode, tDecode / n * 1e6,
           tDecode / tFloor);
    printf("enumeration, fast (%zu):          %8.3f s  %6.1f us/msg  %5.2f x floor\n", cFast, tFast, tFast / n * 1e6,
           tFast / tFloor);
    printf("enumeration, fast, folder changed:  %8.3f s  %6.1f us/msg  %5.2f x floor\n", tResync, tResync / n * 1e6,
           tResync / tFloor);
    printf("enumeration, full (%zu):          %8.3f s  %6.1f us/msg  %5.2f x floor  %5.2f x decode\n", cFull, tFull,
           tFull / n * 1e6, tFull / tFloor, tFull / tDecode);
    if (!strTemp.empty()) fs::remove_all(strTemp);
    return 0;
}
