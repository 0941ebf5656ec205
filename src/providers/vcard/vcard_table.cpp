// The provider's tables.
#include "providers/vcard/vcard_table.h"

#include <algorithm>
#include <cstring>

#include "providers/vcard/mapi_alloc.h"

namespace vcard {

CVCardTable::CVCardTable(size_t nRows, RowReader reader, std::vector<ULONG> defaultColumns)
    : m_nRows(nRows), m_reader(std::move(reader)), m_columns(std::move(defaultColumns)), m_pass(nRows, true) {
    BuildView();
}

HRESULT CVCardTable::QueryInterface(REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IMAPITable) {
        AddRef();
        *ppv = static_cast<IMAPITable *>(this);
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT CVCardTable::SetColumns(SPropTagArray *lpPropTagArray, ULONG) {
    if (!lpPropTagArray) return MAPI_E_INVALID_PARAMETER;
    m_columns.assign(lpPropTagArray->aulPropTag, lpPropTagArray->aulPropTag + lpPropTagArray->cValues);
    return S_OK;
}

HRESULT CVCardTable::QueryColumns(ULONG, SPropTagArray **lppPropTagArray) {
    if (!lppPropTagArray) return MAPI_E_INVALID_PARAMETER;
    void *p = nullptr;
    HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(CbNewSPropTagArray(static_cast<ULONG>(m_columns.size()))), &p);
    if (FAILED(hr)) return hr;
    SPropTagArray *pTags = static_cast<SPropTagArray *>(p);
    pTags->cValues = static_cast<ULONG>(m_columns.size());
    std::copy(m_columns.begin(), m_columns.end(), pTags->aulPropTag);
    *lppPropTagArray = pTags;
    return S_OK;
}

HRESULT CVCardTable::GetRowCount(ULONG, ULONG *lpulCount) {
    if (!lpulCount) return MAPI_E_INVALID_PARAMETER;
    *lpulCount = static_cast<ULONG>(m_view.size());
    return S_OK;
}

HRESULT CVCardTable::SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG *lplRowsSought) {
    int64_t nBase;
    switch (bkOrigin) {
    case BOOKMARK_BEGINNING: nBase = 0; break;
    case BOOKMARK_CURRENT: nBase = static_cast<int64_t>(m_nCursor); break;
    case BOOKMARK_END: nBase = static_cast<int64_t>(m_view.size()); break;
    default: return MAPI_E_INVALID_PARAMETER;
    }
    int64_t nTo = std::clamp<int64_t>(nBase + lRowCount, 0, static_cast<int64_t>(m_view.size()));
    m_nCursor = static_cast<size_t>(nTo);
    if (lplRowsSought) *lplRowsSought = static_cast<LONG>(nTo - nBase);
    return S_OK;
}

void CVCardTable::BuildView() {
    m_view.clear();
    for (size_t i = 0; i < m_nRows; ++i)
        if (m_pass[i]) m_view.push_back(i);
    if (!m_sort.empty()) {
        // Read every key once, then order stably by them; a missing value sorts before any value.
        std::vector<std::vector<std::pair<bool, PropData>>> keys(m_nRows);
        for (size_t nRow : m_view)
            for (const SSortOrder &s : m_sort) {
                PropData d;
                bool bHas = SUCCEEDED(m_reader(nRow, s.ulPropTag, &d));
                keys[nRow].push_back({bHas, std::move(d)});
            }
        std::stable_sort(m_view.begin(), m_view.end(), [&](size_t a, size_t b) {
            for (size_t k = 0; k < m_sort.size(); ++k) {
                const auto &ka = keys[a][k], &kb = keys[b][k];
                int nCmp;
                if (!ka.first || !kb.first) {
                    nCmp = static_cast<int>(ka.first) - static_cast<int>(kb.first);
                } else {
                    bool bComparable;
                    nCmp = ComparePropData(ka.second, kb.second, &bComparable);
                }
                if (m_sort[k].ulOrder == TABLE_SORT_DESCEND) nCmp = -nCmp;
                if (nCmp) return nCmp < 0;
            }
            return false;
        });
    }
    m_nCursor = 0;
}

HRESULT CVCardTable::Restrict(SRestriction *lpRestriction, ULONG) {
    if (lpRestriction) {
        HRESULT hr = CheckRestriction(*lpRestriction);
        if (FAILED(hr)) return hr;
    }
    for (size_t i = 0; i < m_nRows; ++i) m_pass[i] = !lpRestriction || MatchRow(*lpRestriction, m_reader, i);
    BuildView();
    return S_OK;
}

HRESULT CVCardTable::SortTable(SSortOrderSet *lpSortCriteria, ULONG) {
    if (!lpSortCriteria) return MAPI_E_INVALID_PARAMETER;
    for (ULONG i = 0; i < lpSortCriteria->cSorts; ++i)
        if (lpSortCriteria->aSort[i].ulOrder != TABLE_SORT_ASCEND &&
            lpSortCriteria->aSort[i].ulOrder != TABLE_SORT_DESCEND)
            return MAPI_E_INVALID_PARAMETER;
    m_sort.assign(lpSortCriteria->aSort, lpSortCriteria->aSort + lpSortCriteria->cSorts);
    BuildView();
    return S_OK;
}

HRESULT CVCardTable::FillRow(size_t nRow, SRow *pRow) {
    void *p = nullptr;
    ULONG c = static_cast<ULONG>(m_columns.size());
    HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (c ? c : 1)), &p);
    if (FAILED(hr)) return hr;
    SPropValue *pValues = static_cast<SPropValue *>(p);
    for (ULONG i = 0; i < c; ++i) {
        PropData d;
        HRESULT hrRead = m_reader(nRow, m_columns[i], &d);
        if (FAILED(hrRead)) ErrorValue(m_columns[i], hrRead, &pValues[i]);
        else ToPropValue(d, m_columns[i], 0, p, &pValues[i]);
    }
    pRow->ulAdrEntryPad = 0;
    pRow->cValues = c;
    pRow->lpProps = pValues;
    return S_OK;
}

HRESULT CVCardTable::QueryRows(LONG lRowCount, ULONG, SRowSet **lppRows) {
    if (!lppRows) return MAPI_E_INVALID_PARAMETER;
    *lppRows = nullptr;
    size_t nFrom = m_nCursor, nTo;
    if (lRowCount >= 0) {
        nTo = std::min(m_view.size(), m_nCursor + static_cast<size_t>(lRowCount));
    } else {
        nTo = m_nCursor;
        size_t nBack = static_cast<size_t>(-static_cast<int64_t>(lRowCount));
        nFrom = nBack > m_nCursor ? 0 : m_nCursor - nBack;
    }
    ULONG cRows = static_cast<ULONG>(nTo - nFrom);
    void *p = nullptr;
    HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(CbNewSRowSet(cRows)), &p);
    if (FAILED(hr)) return hr;
    SRowSet *pRows = static_cast<SRowSet *>(p);
    std::memset(pRows, 0, CbNewSRowSet(cRows));
    for (ULONG i = 0; i < cRows; ++i) {
        hr = FillRow(m_view[nFrom + i], &pRows->aRow[i]);
        if (FAILED(hr)) {
            for (ULONG k = 0; k < i; ++k) MapiFreeBuffer(pRows->aRow[k].lpProps);
            MapiFreeBuffer(pRows);
            return hr;
        }
        pRows->cRows = i + 1;
    }
    m_nCursor = lRowCount >= 0 ? nTo : nFrom;
    *lppRows = pRows;
    return S_OK;
}

} // namespace vcard
