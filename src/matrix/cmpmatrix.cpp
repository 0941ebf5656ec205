// The matrix object: creation, teardown and size.
#include "matrix/cmpmatrix.h"

#include "compare/propdesccopy.h"
#include "log/log.h"

CCmpMatrix::CCmpMatrix()
    : m_pCompare(nullptr), m_nProps(0), m_pProps(nullptr), m_nRows(0), m_pAttachTree(std::make_unique<AttachTree>()),
      m_nAttachStride(0) {}

CCmpMatrix::~CCmpMatrix() { Clear(); }

bool CCmpMatrix::Create(ICompare *pCompare, const PropList *lpProps, const SPropTagArray *lpAttachTags) {
    static const char *const kLabel = "CCmpMatrix::Create";
    if (pCompare == nullptr || lpProps == nullptr || lpProps->nProps == 0 || lpProps->pProps == nullptr) {
        g_Log.Error(kLabel, 0, "Invalid Param(s)");
        return false;
    }
    if (lpAttachTags != nullptr && lpAttachTags->cValues == 0) lpAttachTags = nullptr;
    if (lpAttachTags != nullptr) {
        // Attachments are sorted and reported by their display name, so the list must carry it.
        ULONG nDisplayNameTag = pCompare->GetAttachDisplayNameTag(0);
        bool bFound = false;
        for (ULONG i = 0; i < lpAttachTags->cValues && !bFound; ++i)
            bFound = lpAttachTags->aulPropTag[i] == nDisplayNameTag;
        if (!bFound) {
            g_Log.Error(kLabel, 0, "DisplayName must be in lpAttachTags");
            return false;
        }
    }

    Clear();
    m_pCompare = pCompare;

    m_pProps = new PropDesc[lpProps->nProps + 1]();
    LONG nKept = 0;
    for (ULONG i = 0; i < lpProps->nProps; ++i) {
        const PropDesc &desc = lpProps->pProps[i];
        if (desc.nInterface != TS_INTERFACE_VALUE && desc.nInterface != TS_INTERFACE_STREAM) {
            g_Log.Error(kLabel, 0, "Ignoring prop with not supported interface(%d)\n", desc.nInterface);
            continue;
        }
        CopyPropDesc(&m_pProps[nKept++], desc);
    }
    m_nProps = nKept;
    m_nRows = 0;

    m_lpPropTags = NewTagList(static_cast<ULONG>(m_nProps));
    m_lpStreamTags = NewTagList(static_cast<ULONG>(m_nProps));
    if (lpAttachTags != nullptr) m_lpAttachTags = CopyTagList(lpAttachTags->aulPropTag, lpAttachTags->cValues);
    return true;
}

void CCmpMatrix::Clear() {
    if (m_pProps != nullptr) {
        for (LONG i = 0; i < m_nProps; ++i) FreePropDescStrings(&m_pProps[i]);
        delete[] m_pProps;
        m_pProps = nullptr;
    }
    m_nProps = 0;

    m_lpPropTags.reset();
    m_lpStreamTags.reset();
    m_lpAttachTags.reset();

    for (SearchItem *pItem : m_Items) FreeSearchItem(m_pCompare, pItem);
    m_Items.clear();
    m_ItemTexts.Clear();
    m_Cells.clear();

    std::vector<AttachEntry *> entries;
    m_pAttachTree->GetItems(entries);
    for (AttachEntry *pEntry : entries) {
        m_pCompare->FreeAttachProps(pEntry->lpValues);
        delete pEntry;
    }
    m_pAttachTree = std::make_unique<AttachTree>();

    m_pAttachMatrix.reset();
    m_AttachRows.clear();
    m_nAttachStride = 0;

    m_nRows = 0;
    m_pCompare = nullptr;
}

void CCmpMatrix::Size(LONG *pRows, LONG *pCols) const {
    if (pRows != nullptr) *pRows = m_nRows;
    if (pCols != nullptr) *pCols = m_nProps;
}
