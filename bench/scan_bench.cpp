// The whole path of a duplicate scan through the exports, as a host runs it: list every folder, add every message
// to a search, build the groups. Compared properties: Message-ID, subject, from and date; a second run adds the
// body as a stream property. Each is set against the floor of reading every message file once.
//
// Usage: scan_bench STORE [RUNS [plain|body]]
//   STORE: a Maildir (e.g. made by ../shared/bench/gen-maildir.py STORE N --seed 11). Each figure is the median of
//   RUNS runs (3 by default), taken with a warm page cache. "plain" or "body" runs only that scan (for a profiler).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

#include "oestore/oetags.h"
#include "tessel.h"

namespace fs = std::filesystem;

namespace {

double Seconds(const std::function<void()> &fn) {
    auto t0 = std::chrono::steady_clock::now();
    fn();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double Median(int nRuns, const std::function<void()> &fn) {
    std::vector<double> times;
    for (int i = 0; i < nRuns; ++i) times.push_back(Seconds(fn));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Every message file of every folder (cur/ and new/ of each directory that has them).
std::vector<fs::path> MessageFiles(const fs::path &root) {
    std::vector<fs::path> files;
    for (const auto &entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::string strDir = entry.path().parent_path().filename().string();
        if (strDir == "cur" || strDir == "new") files.push_back(entry.path());
    }
    return files;
}

// The floor: every message file read whole, once.
size_t ReadAll(const std::vector<fs::path> &files) {
    static char ab[1 << 16];
    size_t cbTotal = 0;
    for (const fs::path &path : files) {
        int fd = open(path.c_str(), O_RDONLY);
        if (fd < 0) continue;
        ssize_t n;
        while ((n = read(fd, ab, sizeof ab)) > 0) cbTotal += static_cast<size_t>(n);
        close(fd);
    }
    return cbTotal;
}

PropDesc Desc(const char16_t *pszKey, uint32_t ulTag, uint32_t nInterface) {
    PropDesc desc{};
    desc.Key = pszKey;
    desc.Name = pszKey;
    desc.Tag = ulTag;
    desc.nInterface = nInterface;
    desc.bCompare = 1;
    return desc;
}

struct ScanResult {
    int cItems = 0;
    int cAccepted = 0;
    int cGroups = 0;
    int cDuplicates = 0;
};

// One scan: connect, list, add every item, build, count the groups, disconnect.
ScanResult Scan(bool bBody) {
    ScanResult result;
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    if (!OEInit(pLib, nullptr, 0)) {
        std::fprintf(stderr, "OEInit failed\n");
        std::exit(1);
    }
    std::vector<PropDesc> props = {Desc(u"message-id", PR_OE_MESSAGE_ID, TS_INTERFACE_VALUE),
                                   Desc(u"subject", PR_OE_SUBJECT, TS_INTERFACE_VALUE),
                                   Desc(u"from", PR_OE_FROM, TS_INTERFACE_VALUE),
                                   Desc(u"date", PR_OE_SENT, TS_INTERFACE_VALUE)};
    if (bBody) props.push_back(Desc(u"body", PR_OE_BODY, TS_INTERFACE_STREAM));
    PropList list{static_cast<uint32_t>(props.size()), props.data()};
    OriginalDefinition od{};
    od.nDefinition = OD_FIRST_ADDED;
    CDuplicateSearch *pSearch = Search_Create(pLib, API_OE, &list, &od);

    OEFolders *pFolders = nullptr;
    OEGetFolders(pLib, &pFolders);
    for (uint32_t f = 0; pFolders && f < pFolders->cFolders; ++f) {
        const char *szFolder = pFolders->pFolders[f].szEntry;
        OEItems *pItems = nullptr;
        if (OEGetItems(pLib, &pItems, szFolder, 1, nullptr, 0, 0) != 0 || !pItems) continue;
        for (uint32_t i = 0; i < pItems->cItems; ++i) {
            ++result.cItems;
            result.cAccepted += Search_Add(pSearch, pItems->pItems[i].szEntry, szFolder, nullptr, 0);
        }
        OEFreeItems(pLib, pItems);
    }
    OEFreeFolders(pLib, pFolders);
    Search_Build(pSearch);
    result.cGroups = Search_GetOriginalCount(pSearch);
    for (int g = 0; g < result.cGroups; ++g) result.cDuplicates += Search_GetDuplicateCount(pSearch, g);
    Search_Delete(pSearch);
    OEDone(pLib);
    DeleteTessel(pLib);
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: scan_bench STORE [RUNS [plain|body]]\n");
        return 2;
    }
    fs::path store = fs::absolute(argv[1]);
    int nRuns = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
    std::string strOnly = argc > 3 ? argv[3] : "";
    setenv("TESSEL_MAILDIR", store.c_str(), 1);

    std::vector<fs::path> files = MessageFiles(store);
    size_t cbStore = ReadAll(files); // warms the page cache
    double dFloor = Median(nRuns, [&] { ReadAll(files); });
    std::printf("store %s: %zu messages, %.1f MB\n", store.c_str(), files.size(), cbStore / 1e6);
    std::printf("floor (read every file once): %.3f s, %.0f messages/s\n", dFloor, files.size() / dFloor);

    for (bool bBody : {false, true}) {
        if (!strOnly.empty() && strOnly != (bBody ? "body" : "plain")) continue;
        ScanResult result;
        double dScan = Median(nRuns, [&] { result = Scan(bBody); });
        std::printf("scan %-38s %.3f s, %.0f messages/s, %.2f x floor; %d items, %d accepted, %d groups, "
                    "%d duplicates\n",
                    bBody ? "(Message-ID, subject, from, date, body):" : "(Message-ID, subject, from, date):", dScan,
                    result.cItems / dScan, dScan / dFloor, result.cItems, result.cAccepted, result.cGroups,
                    result.cDuplicates);
    }
    return 0;
}
