// A COELib connected to a FakeStoreNamespace (and the real MIME allocator), with the log read back, for the tests
// of the store class against fakes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "oestore/oelib.h"
#include "support/fake_oestore.h"
#include "support/fake_wab.h"
#include "support/log_capture.h"

namespace oelibtest {

// A FILETIME from a 64-bit tick count.
inline FILETIME Ft(uint64_t n) {
    return FILETIME{static_cast<DWORD>(n & 0xFFFFFFFFu), static_cast<DWORD>(n >> 32)};
}

inline std::string Text(const char *psz) { return psz ? psz : "(null)"; }

// A heap text from the store class, read and freed.
inline std::string Take(char *psz) {
    std::string text = Text(psz);
    std::free(psz);
    return text;
}

// True if one of the lines holds the whole of the expected one.
inline bool HasLine(const std::vector<std::string> &lines, const std::string &expected) {
    for (const std::string &line : lines)
        if (line == expected) return true;
    return false;
}

class FakeStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_pNs = new testsupport::FakeStoreNamespace;
        m_pNs->AddRef(); // one for the test, one for the library
        m_lib.m_pNamespace = m_pNs;
        ASSERT_EQ(MimeOleCreateAllocator(&m_lib.m_pAllocator), S_OK);
    }
    void TearDown() override {
        m_lib.Done();
        m_pNs->Release();
    }
    std::vector<std::string> Lines() const { return m_log.Lines(); }

    testsupport::CLogCapture m_log;
    testsupport::FakeStoreNamespace *m_pNs = nullptr;
    COELib m_lib;
};

} // namespace oelibtest
