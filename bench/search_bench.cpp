// Measures the duplicate search over an in-memory store: comparisons and time per Add, time of one Build, and
// heap per item, for n = 1,000, 10,000 and 100,000 items with three compared text properties.
//
// Workload "spread": every value is filled; every tenth item repeats the values of the item before it, so that
// n / 10 groups form. Workload "mostly-empty": the same, but the first property is empty in 90% of the items, so
// that its set of empty items is large; an Add reads that set in place and must not grow with it. Workload
// "gaps": the same as spread, but each value is missing in 3% of the items, as in mail where a few messages lack a
// message-id, a subject or a sender; the items empty in some property are a few percent of the store, and an Add
// must not walk them.
//
// Prints a table; run it from the build tree: bench/search_bench [max-n [spread|mostly-empty|gaps|all]]. Times
// are processor time of the process.
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "processmeasure.h"
#include "search/duplicatesearch.h"

namespace {

constexpr int kProps = 3;
constexpr ULONG kTags[kProps] = {PROP_TAG(PT_STRING8, 0x6001), PROP_TAG(PT_STRING8, 0x6002),
                                 PROP_TAG(PT_STRING8, 0x6003)};

// A store of n items with three text values each; an empty text means the item has no such value. The item's
// entry text is its number.
class CBenchStore : public ICompare {
public:
    std::vector<std::string> m_Values; // kProps per item

    HRESULT OpenFolder(const char *, HFOLDER *phFolder) override
    {
        *phFolder = this;
        return S_OK;
    }
    void CloseFolder(HFOLDER *phFolder) override { *phFolder = nullptr; }
    HRESULT OpenItem(const char *pszEntry, HITEM *phItem, BOOL) override
    {
        return OpenFolderItem(nullptr, pszEntry, phItem, 0);
    }
    HRESULT OpenFolderItem(HFOLDER, const char *pszEntry, HITEM *phItem, BOOL) override
    {
        *phItem = reinterpret_cast<HITEM>(std::strtoul(pszEntry, nullptr, 10) + 1);
        return S_OK;
    }
    void CloseItem(HITEM *phItem) override { *phItem = nullptr; }
    HRESULT GetIDFromName(HITEM, ULONG *, const char *, LONG, const char16_t *, BOOL) override { return -1; }
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                         BOOL) override
    {
        size_t nItem = reinterpret_cast<uintptr_t>(hItem) - 1;
        auto *pProps = new SPropValue[lpTags->cValues]{};
        HRESULT hr = S_OK;
        for (ULONG i = 0; i < lpTags->cValues; i++) {
            int nProp = static_cast<int>(PROP_ID(lpTags->aulPropTag[i]) - 0x6001);
            const std::string &value = m_Values[nItem * kProps + static_cast<size_t>(nProp)];
            if (value.empty()) {
                pProps[i].ulPropTag = CHANGE_PROP_TYPE(lpTags->aulPropTag[i], PT_ERROR);
                pProps[i].Value.err = MAPI_E_NOT_FOUND;
                hr = MAPI_W_ERRORS_RETURNED;
            } else {
                pProps[i].ulPropTag = lpTags->aulPropTag[i];
                pProps[i].Value.lpszA = const_cast<char *>(value.c_str());
            }
        }
        *pcValues = lpTags->cValues;
        *ppProps = pProps;
        return hr;
    }
    void FreeItemProps(SPropValue *pProps) override { delete[] pProps; }
    HRESULT GetItemSize(HITEM, ULONG *pnSize, BOOL) override
    {
        *pnSize = 0;
        return S_OK;
    }
    HRESULT GetAttachments(HITEM, ULONG **, ULONG *pcIDs) override
    {
        *pcIDs = 0;
        return S_OK;
    }
    HRESULT GetAttachProps(HITEM, ULONG, const SPropTagArray *, ULONG *, SPropValue **, ULONG) override
    {
        return -1;
    }
    ULONG GetAttachDisplayNameTag(ULONG) override { return static_cast<ULONG>(-1); }
    BOOL ValidAttachCmpProps(const SPropValue *, ULONG) override { return 0; }
    HRESULT CmpAttachProps(const SPropValue *, ULONG, const SPropValue *, ULONG, LONG *) override { return -1; }
    void FreeAttachProps(SPropValue *) override {}
    HRESULT CmpAttachData(HITEM, ULONG, HITEM, ULONG, LONG *) override { return -1; }
    HRESULT OpenStreamProp(HITEM, ULONG, IStream **ppStream, ULONG) override
    {
        *ppStream = nullptr;
        return MAPI_E_NOT_FOUND;
    }
    HRESULT AllocateBuffer(ULONG cb, void **ppBuffer) override
    {
        *ppBuffer = std::malloc(cb);
        return *ppBuffer ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT FreeBuffer(void *pBuffer) override
    {
        std::free(pBuffer);
        return S_OK;
    }
};

enum class Workload { Spread, MostlyEmpty, Gaps };
constexpr const char *kWorkloadNames[] = {"spread", "mostly-empty", "gaps"};

void FillStore(CBenchStore &store, size_t n, Workload workload)
{
    std::mt19937_64 random(n * 3 + static_cast<size_t>(workload));
    store.m_Values.assign(n * kProps, std::string());
    for (size_t i = 0; i < n; i++) {
        for (int p = 0; p < kProps; p++) {
            std::string &value = store.m_Values[i * kProps + static_cast<size_t>(p)];
            if (i % 10 == 9)
                value = store.m_Values[(i - 1) * kProps + static_cast<size_t>(p)];
            else if (workload == Workload::MostlyEmpty && p == 0 && random() % 10 != 0)
                value.clear();
            else if (workload == Workload::Gaps && random() % 100 < 3)
                value.clear();
            else
                value = "value " + std::to_string(p) + " " + std::to_string(random());
        }
    }
}

void Run(size_t n, Workload workload)
{
    CBenchStore store;
    FillStore(store, n, workload);

    PropDesc descs[kProps] = {};
    for (int p = 0; p < kProps; p++) {
        descs[p].Tag = kTags[p];
        descs[p].bCompare = 1;
    }
    PropList props{kProps, descs};
    OriginalDefinition od{};
    od.nDefinition = OD_MOST_FILLED;

    size_t nHeapBefore = HeapInUse();
    auto *pSearch = new CDuplicateSearch;
    pSearch->Create(&store, &props, &od);

    double dStart = CpuSeconds();
    size_t nWithDuplicates = 0;
    for (size_t i = 0; i < n; i++) {
        int32_t bHasDuplicates = 0;
        pSearch->Add(std::to_string(i).c_str(), "folder", &bHasDuplicates, 0);
        nWithDuplicates += bHasDuplicates ? 1 : 0;
    }
    double dAddSeconds = CpuSeconds() - dStart;
    size_t nHeapAfterAdd = HeapInUse();

    dStart = CpuSeconds();
    int32_t nChanges = pSearch->Build();
    double dBuildSeconds = CpuSeconds() - dStart;
    size_t nHeapPeak = std::max(nHeapAfterAdd, HeapInUse());

    long long nComparisons = 0;
    int nRebuilds = 0;
    for (SearchProp *pProp : pSearch->SearchProps()) {
        nComparisons += pProp->Tree.Comparisons();
        nRebuilds += pProp->Tree.Rebuilds();
    }
    double dPerAdd = static_cast<double>(nComparisons) / static_cast<double>(n);
    double dPerProp = dPerAdd / kProps;
    std::printf("%-13s %7zu  %9.2f  %8.2f  %6.2f  %5.2f  %8d  %9.3f  %8.2f  %6d  %6d  %6zu  %8.0f\n",
                kWorkloadNames[static_cast<int>(workload)], n, dPerAdd, dPerProp, std::log2(static_cast<double>(n)),
                dPerProp / std::log2(static_cast<double>(n)), nRebuilds, dAddSeconds * 1e6 / static_cast<double>(n),
                dBuildSeconds * 1e3, pSearch->GetOriginalCount(), nChanges, nWithDuplicates,
                static_cast<double>(nHeapPeak - nHeapBefore) / static_cast<double>(n));
    std::fflush(stdout);
    delete pSearch;
}

} // namespace

int main(int argc, char **argv)
{
    size_t nMax = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 100000;
    std::string szWorkloads = argc > 2 ? argv[2] : "all";
    std::printf("%-13s %7s  %9s  %8s  %6s  %5s  %8s  %9s  %8s  %6s  %6s  %6s  %8s\n", "workload", "n", "cmp/Add",
                "cmp/prop", "log2n", "ratio", "rebuilds", "us/Add", "Build ms", "groups", "chg", "w/dup", "B/item");
    for (Workload workload : {Workload::Spread, Workload::MostlyEmpty, Workload::Gaps}) {
        if (szWorkloads != "all" && szWorkloads != kWorkloadNames[static_cast<int>(workload)])
            continue;
        for (size_t n = 1000; n <= nMax; n *= 10)
            Run(n, workload);
    }
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak resident set of the whole run: %ld KiB\n", usage.ru_maxrss);
    return 0;
}
