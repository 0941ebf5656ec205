// What the benchmarks measure of their own process: heap in use and processor time. The machine is shared, and
// wall time would count the others' work.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <ctime>

inline size_t HeapInUse()
{
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

inline double CpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}
