// Rows of the value table: adding an item, finding the earlier row that holds an equal value, reading cells.
#include "matrix/cmpmatrix.h"

#include "log/log.h"

namespace {

const char *const kAddLabel = "CCmpMatrix::Add";

const char *OrEmpty(const char *psz) { return psz != nullptr ? psz : ""; }

} // namespace

// Resolves named columns and splits the tags into plain and stream lists. Runs until the first row stands, so a
// refused first item leaves the next one to try again; a tag once resolved is kept.
bool CCmpMatrix::PrepareColumns(HITEM hItem) {
    for (LONG c = 0; c < m_nProps; ++c) {
        PropDesc &desc = m_pProps[c];
        if (desc.Tag != 0) continue;
        HRESULT hr = m_pCompare->GetIDFromName(hItem, &desc.Tag, desc.GUID, desc.nID, desc.sID, false);
        if (hr != S_OK) {
            g_Log.Error(kAddLabel, hr,
                        "GetIDFromName failed for Prop: Key=\"%S\", GUID=\"%s\", nID=%d, sID=\"%S\",nType=0x%x\n",
                        desc.Key, desc.GUID, desc.nID, desc.sID, desc.nType);
            desc.Tag = 0;
        }
    }

    m_lpPropTags->cValues = 0;
    m_lpStreamTags->cValues = 0;
    for (LONG c = 0; c < m_nProps; ++c) {
        const PropDesc &desc = m_pProps[c];
        if (desc.Tag == 0) {
            g_Log.Error(kAddLabel, 0, "remove comparation by prop(key=%S,name=%S) from dublicate search\n", desc.Key,
                        desc.Name);
            continue;
        }
        SPropTagArray *lpTags = desc.nInterface == TS_INTERFACE_STREAM ? m_lpStreamTags.get() : m_lpPropTags.get();
        lpTags->aulPropTag[lpTags->cValues++] = desc.Tag;
    }
    if (m_lpPropTags->cValues == 0 && m_lpStreamTags->cValues == 0) {
        g_Log.Error(kAddLabel, 0, "Number of props = 0");
        return false;
    }
    return true;
}

// Works out the cells of a new row. False if a plain column finds no element among the item's values.
bool CCmpMatrix::FillCells(HITEM hItem, const SearchItem *pItem, std::vector<MatrixCell> &cells) {
    cells.assign(static_cast<size_t>(m_nProps), MatrixCell{0, 0});
    for (LONG c = 0; c < m_nProps; ++c) {
        const PropDesc &desc = m_pProps[c];
        ULONG nSize = 0;
        BOOL bEmpty = 0;
        LONG nEqual = -1;
        if (desc.nInterface == TS_INTERFACE_VALUE) {
            const SPropValue *pValue = FindPropValue(pItem->lpValues, pItem->cValues, desc.Tag, false);
            if (pValue == nullptr) {
                g_Log.Error(kAddLabel, 0, "value for prop(%S) not found\n", desc.Key);
                return false;
            }
            bEmpty = m_pCompare->IsEmptyValue(&pValue->Value, pValue->ulPropTag, &nSize);
            if (!bEmpty) nEqual = FindPropEqual(pValue, c);
        } else {
            m_pCompare->StreamPropEmpty(hItem, desc.Tag, &bEmpty, &nSize);
            if (!bEmpty) nEqual = FindStreamEqual(hItem, desc.Tag, c);
        }
        if (bEmpty) continue;
        if (nEqual == -1) nEqual = m_nRows;
        cells[static_cast<size_t>(c)] = MatrixCell{nEqual + 1, nSize};
    }
    return true;
}

bool CCmpMatrix::Add(const char *szItemID, const char *szFolderID) {
    SearchItem *pItem = new SearchItem();
    pItem->ItemID = m_ItemTexts.Keep(OrEmpty(szItemID));
    pItem->FolderID = m_ItemTexts.Keep(OrEmpty(szFolderID));
    pItem->nIndex = m_nRows;

    std::vector<MatrixCell> cells;
    HITEM hItem = nullptr;
    bool bAccepted = false;
    HRESULT hr = m_pCompare->OpenItem(pItem->ItemID, &hItem, false);
    if (hr != S_OK) {
        g_Log.Error(kAddLabel, hr, "cant open item");
    } else if (m_nRows > 0 || PrepareColumns(hItem)) {
        bool bValuesRead = true;
        if (m_lpPropTags->cValues > 0) {
            hr = m_pCompare->GetItemProps(hItem, m_lpPropTags.get(), &pItem->cValues, &pItem->lpValues, false);
            if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
                g_Log.Error(kAddLabel, hr, "Tessel_GetPropValues (ItemID = %s)\n", pItem->ItemID);
                bValuesRead = false;
            }
        }
        bAccepted = bValuesRead && FillCells(hItem, pItem, cells);
    }

    if (!bAccepted) {
        g_Log.Warning(kAddLabel, 0, "bad item - ignoring");
        FreeSearchItem(m_pCompare, pItem);
        if (hItem != nullptr) m_pCompare->CloseItem(&hItem);
        return false;
    }

    m_Cells.insert(m_Cells.end(), cells.begin(), cells.end());
    m_Items.push_back(pItem);
    ++m_nRows;
    if (m_lpAttachTags != nullptr) ReadAttachments(hItem, pItem);
    m_pCompare->CloseItem(&hItem);
    return true;
}

LONG CCmpMatrix::FindPropEqual(const SPropValue *pValue, LONG nCol) {
    for (LONG r = 0; r < m_nRows; ++r) {
        if (m_Cells[static_cast<size_t>(r) * m_nProps + nCol].nValue == 0) continue;
        const SearchItem *pRow = m_Items[static_cast<size_t>(r)];
        const SPropValue *pRowValue = FindPropValue(pRow->lpValues, pRow->cValues, pValue->ulPropTag, false);
        if (pRowValue == nullptr) continue;
        LONG nResult = -1;
        m_pCompare->CompareValues(pValue, pRowValue, &nResult);
        if (nResult == 0) return r;
    }
    return -1;
}

LONG CCmpMatrix::FindStreamEqual(HITEM hItem, ULONG nTag, LONG nCol) {
    static const char *const kLabel = "CCmpMatrix::FindStreamEqual";
    for (LONG r = 0; r < m_nRows; ++r) {
        if (m_Cells[static_cast<size_t>(r) * m_nProps + nCol].nValue == 0) continue;
        HITEM hOther = nullptr;
        HRESULT hr = m_pCompare->OpenItem(m_Items[static_cast<size_t>(r)]->ItemID, &hOther, false);
        if (hr != S_OK) {
            // An earlier row that cannot be reopened must not block the new one: it counts as not equal.
            g_Log.Error(kLabel, hr, "cant open message");
            continue;
        }
        LONG nResult = -1;
        uint8_t bCmpWritten = 0;
        m_pCompare->CompareStreamProp(hItem, hOther, nTag, &nResult, &bCmpWritten);
        m_pCompare->CloseItem(&hOther);
        if (!bCmpWritten) {
            g_Log.Warning(kLabel, 0, "bCmpWritten = false");
            continue;
        }
        if (nResult == 0) return r;
    }
    return -1;
}

const MatrixCell *CCmpMatrix::CellAt(LONG nRow, LONG nCol, const char *pszLabel) const {
    if (nCol < 0 || nCol >= m_nProps || nRow < 0 || nRow >= m_nRows) {
        g_Log.Error(pszLabel, 0, "out of bounds\n");
        return nullptr;
    }
    return &m_Cells[static_cast<size_t>(nRow) * m_nProps + nCol];
}

// Outside the table both read like an empty cell.
LONG CCmpMatrix::GetMatrixValue(LONG nRow, LONG nCol) const {
    const MatrixCell *pCell = CellAt(nRow, nCol, "CCmpMatrix::GetMatrixValue");
    return pCell != nullptr ? pCell->nValue : 0;
}

ULONG CCmpMatrix::GetMatrixValueLen(LONG nRow, LONG nCol) const {
    const MatrixCell *pCell = CellAt(nRow, nCol, "CCmpMatrix::GetMatrixValueLen");
    return pCell != nullptr ? pCell->nSize : 0;
}
