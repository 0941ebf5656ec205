// The attachment table: attachments are read while a row is added and grouped by the store's own order among
// attachments (their descriptive properties, never their content); the table is laid out on demand.
#include "matrix/cmpmatrix.h"

#include "log/log.h"
#include "platform/text.h"

void CCmpMatrix::ReadAttachments(HITEM hItem, SearchItem *pItem) {
    ULONG *pIDs = nullptr;
    ULONG cIDs = 0;
    HRESULT hr = m_pCompare->GetAttachments(hItem, &pIDs, &cIDs);
    // A row whose attachments cannot be listed simply has none; the row itself stands.
    if (hr == S_OK) {
        for (ULONG i = 0; i < cIDs; ++i) {
            SPropValue *lpValues = nullptr;
            ULONG cValues = 0;
            hr = m_pCompare->GetAttachProps(hItem, pIDs[i], m_lpAttachTags.get(), &cValues, &lpValues, 0);
            if ((hr == S_OK || hr == MAPI_W_ERRORS_RETURNED) && m_pCompare->ValidAttachCmpProps(lpValues, cValues)) {
                AttachEntry *pEntry = new AttachEntry{pItem, pIDs[i], i, lpValues, cValues};
                bool bEqual = false;
                m_pAttachTree->Insert(fnCmpAttach, pEntry, &bEqual, this);
            } else if (lpValues != nullptr) {
                m_pCompare->FreeAttachProps(lpValues);
            }
        }
    }
    if (pIDs != nullptr) m_pCompare->FreeBuffer(pIDs);
}

int32_t CCmpMatrix::fnCmpAttach(AttachEntry *pNew, AttachEntry *pOld, bool *pbAbort, void *pContext) {
    const CCmpMatrix *pThis = static_cast<const CCmpMatrix *>(pContext);
    LONG nResult = -1;
    HRESULT hr = pThis->m_pCompare->CmpAttachProps(pNew->lpValues, pNew->cValues, pOld->lpValues, pOld->cValues,
                                                   &nResult);
    // When the comparison fails the preset -1 stands: the pair counts as unequal, the new entry on the lower side.
    if (hr != S_OK) g_Log.Warning("CCmpMatrix::fnCmpAttach", hr, "Cant compare attachment props");
    return nResult;
}

const char *CCmpMatrix::DisplayName(const AttachEntry *pEntry) const {
    ULONG nTag = m_pCompare->GetAttachDisplayNameTag(0);
    const SPropValue *pValue = FindPropValue(pEntry->lpValues, pEntry->cValues, nTag, true);
    if (pValue == nullptr || PROP_TYPE(nTag) != PT_STRING8) return nullptr;
    return pValue->Value.lpszA;
}

// Orders groups by the display name of their first entries; nameless groups come first.
int32_t CCmpMatrix::fnCmpDisplayName(AttachTree::Node *pNew, AttachTree::Node *pOld, bool *pbAbort,
                                     void *pContext) {
    const CCmpMatrix *pThis = static_cast<const CCmpMatrix *>(pContext);
    const char *pszNew = pThis->DisplayName(pNew->m_Items[0]);
    const char *pszOld = pThis->DisplayName(pOld->m_Items[0]);
    if (pszNew != nullptr && pszOld != nullptr) return lstrcmpiA(pszNew, pszOld);
    if (pszNew == nullptr && pszOld == nullptr) return 0;
    return pszNew != nullptr ? 1 : -1;
}

void CCmpMatrix::BuildAttachMatrix() {
    m_AttachRows.clear();
    m_pAttachMatrix.reset();
    m_nAttachStride = 0;
    if (m_lpAttachTags == nullptr || m_pAttachTree->Distinct() < 1) return;

    std::vector<AttachTree::Node *> groups;
    m_pAttachTree->SortNodes(groups, fnCmpDisplayName, this);

    size_t nRows = static_cast<size_t>(m_nRows);
    m_pAttachMatrix = std::make_unique<ULONG[]>(groups.size() * nRows);
    m_nAttachStride = m_nRows;
    for (size_t g = 0; g < groups.size(); ++g) {
        ULONG nFirstRow = 0;
        for (AttachEntry *pEntry : groups[g]->m_Items) {
            if (m_AttachRows.size() == g) {
                m_AttachRows.push_back(pEntry);
                nFirstRow = static_cast<ULONG>(pEntry->pItem->nIndex);
            }
            m_pAttachMatrix[g * nRows + static_cast<size_t>(pEntry->pItem->nIndex)] = nFirstRow + 1;
        }
    }
}

LONG CCmpMatrix::AttachCount() const { return static_cast<LONG>(m_AttachRows.size()); }

bool CCmpMatrix::GetAttachInfo(ULONG nAttach, AttachInfo *pInfo) const {
    static const char *const kLabel = "CCmpMatrix::GetAttachInfo";
    if (nAttach >= m_AttachRows.size()) {
        g_Log.Error(kLabel, 0, "out of bounds\n");
        return false;
    }
    if (pInfo == nullptr) {
        g_Log.Assert(false, kLabel, 1);
        return false;
    }
    const AttachEntry *pEntry = m_AttachRows[nAttach];
    pInfo->szItemID = pEntry->pItem->ItemID;
    pInfo->szFolderID = pEntry->pItem->FolderID;
    pInfo->nAttachID = pEntry->nAttachID;
    pInfo->nIndex = pEntry->nIndex;
    pInfo->szDisplayName = DisplayName(pEntry);
    return true;
}

ULONG CCmpMatrix::GetAttachMatrixValue(LONG nRow, ULONG nAttach) const {
    static const char *const kLabel = "CCmpMatrix::GetAttachMatrixValue";
    if (!m_pAttachMatrix) {
        g_Log.Error(kLabel, 0, "ASSERT(m_pAttachMatrix != NULL)\n");
        return 0;
    }
    // Rows added after the build lie outside the table until the next build.
    if (nAttach >= m_AttachRows.size() || nRow < 0 || nRow >= m_nAttachStride) {
        g_Log.Error(kLabel, 0, "out of bounds\n");
        return 0;
    }
    return m_pAttachMatrix[static_cast<size_t>(nAttach) * static_cast<size_t>(m_nAttachStride) +
                           static_cast<size_t>(nRow)];
}
