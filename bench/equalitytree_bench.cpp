// Measures the equality tree alone under a cheap comparator: time per insert, rebuilds, comparisons per insert
// against log2 n, and heap per element, for up to 1,000,000 inserts.
//
// Workload "sorted-ish": ascending with a little jitter, as the dates of a mail store arrive, which makes the tree
// rebuild every few inserts. "runs": ten ascending runs that start at different places, as folder after folder.
// "random": for comparison, rebuilds are rare.
//
// Run it from the build tree: bench/equalitytree_bench [max-n [workload]]. Times are processor time of the
// process.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "processmeasure.h"
#include "search/equalitytree.h"

namespace {

using Tree = CEqualityTree<intptr_t>;

int32_t CompareNumbers(intptr_t nNew, intptr_t nNode, bool *, void *)
{
    return nNew < nNode ? -1 : (nNew > nNode ? 1 : 0);
}

std::vector<intptr_t> MakeInput(const std::string &strWorkload, size_t n)
{
    std::mt19937_64 random(n);
    std::vector<intptr_t> elements(n);
    for (size_t i = 0; i < n; i++) {
        auto nJitter = static_cast<intptr_t>(random() % 64);
        if (strWorkload == "sorted-ish")
            elements[i] = static_cast<intptr_t>(i) * 16 + nJitter;
        else if (strWorkload == "runs")
            elements[i] = static_cast<intptr_t>((i % 10) * n * 16 + (i / 10) * 160) + nJitter;
        else
            elements[i] = static_cast<intptr_t>(random() >> 4);
    }
    if (strWorkload == "runs") { // one folder after the other, not interleaved
        std::vector<intptr_t> byRun;
        byRun.reserve(n);
        for (size_t r = 0; r < 10; r++)
            for (size_t i = r; i < n; i += 10)
                byRun.push_back(elements[i]);
        elements.swap(byRun);
    }
    return elements;
}

void Run(const std::string &strWorkload, size_t n)
{
    std::vector<intptr_t> elements = MakeInput(strWorkload, n);
    size_t nHeapBefore = HeapInUse();
    auto *pTree = new Tree;
    double dStart = CpuSeconds();
    for (intptr_t element : elements) {
        bool bEqual = false;
        pTree->Insert(CompareNumbers, element, &bEqual, nullptr);
    }
    double dSeconds = CpuSeconds() - dStart;
    size_t nHeap = HeapInUse() - nHeapBefore;
    double dLog = std::log2(static_cast<double>(n));
    double dPerInsert = static_cast<double>(pTree->Comparisons()) / static_cast<double>(n);
    std::printf("%-11s %8zu  %8.3f  %8d  %8.2f  %6.2f  %5.2f  %7.1f\n", strWorkload.c_str(), n,
                dSeconds * 1e6 / static_cast<double>(n), pTree->Rebuilds(), dPerInsert, dLog, dPerInsert / dLog,
                static_cast<double>(nHeap) / static_cast<double>(n));
    std::fflush(stdout);
    delete pTree;
}

} // namespace

int main(int argc, char **argv)
{
    size_t nMax = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    std::string strOnly = argc > 2 ? argv[2] : "";
    std::printf("%-11s %8s  %8s  %8s  %8s  %6s  %5s  %7s\n", "workload", "n", "us/ins", "rebuilds", "cmp/ins",
                "log2n", "ratio", "B/elem");
    for (const char *pszWorkload : {"sorted-ish", "runs", "random"})
        for (size_t n = 10000; n <= nMax && (strOnly.empty() || strOnly == pszWorkload); n *= 10)
            Run(pszWorkload, n);
    return 0;
}
