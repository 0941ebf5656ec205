// The test program's allocation can be made to fail on demand (operator new throws std::bad_alloc, its nothrow
// form gives null), to drive the library's handling of exhausted memory.
#pragma once

namespace searchtest {

// While on, every allocation through operator new fails. Turn it off again before anything else allocates.
void FailAllocations(bool bFail);

} // namespace searchtest
