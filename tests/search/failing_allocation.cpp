// Replaces the global allocation functions of the test program. Every form is replaced, so that allocation and
// release always pair up, also under the address sanitizer.
#include "failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {
bool g_bFailAllocation = false;
}

namespace searchtest {
void FailAllocations(bool bFail) { g_bFailAllocation = bFail; }
} // namespace searchtest

void *operator new(std::size_t n)
{
    if (g_bFailAllocation)
        throw std::bad_alloc();
    if (void *p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}
void *operator new[](std::size_t n) { return operator new(n); }
void *operator new(std::size_t n, const std::nothrow_t &) noexcept
{
    return g_bFailAllocation ? nullptr : std::malloc(n ? n : 1);
}
void *operator new[](std::size_t n, const std::nothrow_t &tag) noexcept { return operator new(n, tag); }
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }
void operator delete(void *p, const std::nothrow_t &) noexcept { std::free(p); }
void operator delete[](void *p, const std::nothrow_t &) noexcept { std::free(p); }
