// A MAPI table over a snapshot of rows: columns, restriction, stable sort on any columns, a cursor.
#pragma once

#include <vector>

#include "providers/vcard/vcard_restrict.h"

namespace vcard {

class CVCardTable : public CRefCounted<IMAPITable> {
public:
    CVCardTable(size_t nRows, RowReader reader, std::vector<ULONG> defaultColumns);

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT SetColumns(SPropTagArray *lpPropTagArray, ULONG ulFlags) override;
    HRESULT QueryColumns(ULONG ulFlags, SPropTagArray **lppPropTagArray) override;
    HRESULT GetRowCount(ULONG ulFlags, ULONG *lpulCount) override;
    HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG *lplRowsSought) override;
    HRESULT Restrict(SRestriction *lpRestriction, ULONG ulFlags) override;
    HRESULT SortTable(SSortOrderSet *lpSortCriteria, ULONG ulFlags) override;
    HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet **lppRows) override;

private:
    void BuildView();
    HRESULT FillRow(size_t nRow, SRow *pRow);

    size_t m_nRows;
    RowReader m_reader;
    std::vector<ULONG> m_columns;
    std::vector<bool> m_pass;       // which rows pass the restriction
    std::vector<size_t> m_view;     // rows that pass the restriction, in sort order
    std::vector<SSortOrder> m_sort; // the current sort keys
    size_t m_nCursor = 0;
};

} // namespace vcard
