// A library record with the full log captured, and small wrappers over the TS_ exports that turn their out
// arguments into values, for the tests of both stores. Everything goes through tessel.h.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/paths.h"
#include "support/system_time.h"
#include "tessel.h"

class ItemExportsTest : public ::testing::Test {
protected:
    void SetUp() override {
        CreateTessel(&m_pLib);
        ASSERT_NE(m_pLib, nullptr);
    }
    void TearDown() override { DeleteTessel(m_pLib); }

    // The lines logged since the last call (without time stamps), and forget them.
    std::vector<std::string> Take() {
        std::vector<std::string> lines = m_log.Lines();
        m_log.Clear();
        return lines;
    }

    TS_HITEM Open(int32_t nAPI, const std::string &strEntry, bool bModify = false) {
        TS_HITEM hItem = nullptr;
        EXPECT_EQ(TS_OpenItem(m_pLib, nAPI, strEntry.c_str(), &hItem, bModify), 0) << strEntry;
        return hItem;
    }

    // A text property, or "(0x...)" with the result when it can't be read.
    std::string Text(int32_t nAPI, TS_HITEM hItem, PropDesc desc) {
        char *psz = nullptr;
        int32_t nResult = TS_GetItemTextProp(m_pLib, nAPI, hItem, &desc, &psz);
        std::string str = nResult == 0 && psz ? psz : Failure(nResult);
        if (nResult != 0) {
            EXPECT_EQ(psz, nullptr);
        }
        TS_FreeBuffer(m_pLib, nAPI, psz);
        return str;
    }

    std::string ItemID(int32_t nAPI, TS_HITEM hItem) {
        char *psz = nullptr;
        int32_t nResult = TS_GetItemID(m_pLib, nAPI, hItem, &psz);
        std::string str = nResult == 0 && psz ? psz : Failure(nResult);
        TS_FreeBuffer(m_pLib, nAPI, psz);
        return str;
    }

    static std::string Failure(int32_t nResult) {
        char sz[32];
        std::snprintf(sz, sizeof sz, "(0x%x)", static_cast<unsigned>(nResult));
        return sz;
    }

    static PropDesc Tagged(uint32_t nTag) {
        PropDesc desc{};
        desc.Tag = nTag;
        return desc;
    }

    testsupport::TempDir m_dir;
    testsupport::CLogCapture m_log{1};
    CTessel *m_pLib = nullptr;
};


// "2020-02-29 12:34:56" of a SYSTEMTIME, for readable comparisons.
inline std::string Show(const SYSTEMTIME &st) {
    char sz[40];
    std::snprintf(sz, sizeof sz, "%04u-%02u-%02u %02u:%02u:%02u", st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute,
                  st.wSecond);
    return sz;
}
