// What the matrix tests share: a store in memory, the log read back, and short ways to build columns and rows.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "matrix/cmpmatrix.h"
#include "support/log_capture.h"
#include "support/memory_store.h"

namespace matrixtest {

inline constexpr ULONG kTagSubject = 0x0037001E;
inline constexpr ULONG kTagFrom = 0x0C1A001E;
inline constexpr ULONG kTagSize = 0x0E080003;
inline constexpr ULONG kTagBody = 0x1000001E; // read as a stream
inline constexpr ULONG kTagHtml = 0x10130102; // read as a stream, raw bytes

inline PropDesc Column(ULONG nTag, uint32_t nInterface = TS_INTERFACE_VALUE, const char16_t *pszKey = u"key") {
    PropDesc desc{};
    desc.Key = pszKey;
    desc.Name = u"name";
    desc.Tag = nTag;
    desc.nInterface = nInterface;
    return desc;
}

// A named column that the store has to resolve.
inline PropDesc NamedColumn(const char *pszGUID, LONG nID, const char16_t *pszKey) {
    PropDesc desc = Column(0, TS_INTERFACE_VALUE, pszKey);
    desc.GUID = pszGUID;
    desc.nID = nID;
    desc.nType = PT_STRING8;
    return desc;
}

// A tag list in its own memory, as a caller would hand it over.
class CTagList {
public:
    CTagList(std::initializer_list<ULONG> tags) : m_memory(CbNewSPropTagArray(static_cast<ULONG>(tags.size()))) {
        SPropTagArray *lpTags = Get();
        lpTags->cValues = static_cast<ULONG>(tags.size());
        std::copy(tags.begin(), tags.end(), lpTags->aulPropTag);
    }
    SPropTagArray *Get() { return reinterpret_cast<SPropTagArray *>(m_memory.data()); }

private:
    std::vector<unsigned char> m_memory;
};

inline CTagList AttachTags() {
    return {testsupport::kTagAttachDisplayName, testsupport::kTagAttachName, testsupport::kTagAttachSize};
}

class MatrixTest : public ::testing::Test {
protected:
    // Creates the matrix over m_store; the test fails if Create refuses.
    CCmpMatrix &Make(std::vector<PropDesc> columns, SPropTagArray *lpAttachTags = nullptr) {
        PropList list{static_cast<uint32_t>(columns.size()), columns.data()};
        m_pMatrix = std::make_unique<CCmpMatrix>();
        EXPECT_TRUE(m_pMatrix->Create(&m_store, &list, lpAttachTags));
        return *m_pMatrix;
    }

    // The column of cell numbers, row after row.
    std::vector<LONG> ColumnValues(LONG nCol) const {
        LONG nRows = 0, nCols = 0;
        m_pMatrix->Size(&nRows, &nCols);
        std::vector<LONG> values;
        for (LONG r = 0; r < nRows; ++r) values.push_back(m_pMatrix->GetMatrixValue(r, nCol));
        return values;
    }

    bool Logged(const std::string &line) const {
        std::vector<std::string> lines = m_log.Lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    int CountLogged(const std::string &line) const {
        std::vector<std::string> lines = m_log.Lines();
        return static_cast<int>(std::count(lines.begin(), lines.end(), line));
    }

    // Every open item closed, every array and buffer given back, nothing given back twice.
    void ExpectNothingHeld() const {
        EXPECT_EQ(m_store.ItemsOpen(), 0);
        EXPECT_EQ(m_store.ItemOpens(), m_store.ItemCloses());
        EXPECT_EQ(m_store.BuffersOut(), 0);
        EXPECT_EQ(m_store.StreamsOpen(), 0);
        EXPECT_EQ(m_store.BadHandles(), 0);
    }

    testsupport::CMemoryStore m_store;
    testsupport::CLogCapture m_log;
    // Declared after the store: the matrix gives its values back to the store when it goes.
    std::unique_ptr<CCmpMatrix> m_pMatrix;
};

} // namespace matrixtest
