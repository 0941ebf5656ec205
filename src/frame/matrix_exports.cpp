// The CmpMatrix_* exports: a thin layer over CCmpMatrix that picks the store and its attachment tags at creation
// and turns a null object into a harmless result.
#include <new>

#include "compare/taglist.h"
#include "frame/exports_internal.h"
#include "matrix/cmpmatrix.h"

namespace {

// The message store's attachment tags: display name, name and size. The table is sorted by the first.
constexpr ULONG kOEAttachTags[] = {0x8100001E, 0x8101001E, 0x8102001E};

// The number names the export: 6xx for this family, in the order of tessel.h.
void AssertMatrix(const CCmpMatrix *pMatrix, int32_t nPlace) { TS_AssertHandle(pMatrix, "pMatrix != NULL", nPlace); }

} // namespace

extern "C" {

TESSEL_API CCmpMatrix *CmpMatrix_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps) {
    static const char *const kLabel = "CmpMatrix_Create";
    g_Log.Info(2, kLabel, "->");
    TS_AssertLib(pLib, 601);
    if (!pLib) return nullptr;

    // Only assertions: a matrix over a store that is not initialized is still made, and its reads fail there.
    ICompare *pCompare = nullptr;
    TagListPtr lpAttachTags;
    switch (nAPI) {
    case API_OE: {
        g_Log.Assert(pLib->oe.m_Lib.Initialized(), kLabel, 1);
        pCompare = &pLib->oe;
        lpAttachTags = CopyTagList(kOEAttachTags, sizeof(kOEAttachTags) / sizeof(kOEAttachTags[0]));
        break;
    }
    case API_WAB:
        g_Log.Assert(pLib->wab.m_Lib.Initialized(), kLabel, 2);
        pCompare = &pLib->wab;
        break;
    default:
        g_Log.Assert(false, kLabel, 3);
        return nullptr;
    }

    CCmpMatrix *pMatrix = new (std::nothrow) CCmpMatrix();
    if (pMatrix && !pMatrix->Create(pCompare, pProps, lpAttachTags.get())) {
        delete pMatrix;
        pMatrix = nullptr;
    }
    return pMatrix;
}

TESSEL_API int32_t CmpMatrix_Add(CCmpMatrix *pMatrix, const char *pszItemID, const char *pszFolderID) {
    AssertMatrix(pMatrix, 602);
    if (!pMatrix) return 0;
    return pMatrix->Add(pszItemID, pszFolderID) ? 1 : 0;
}

TESSEL_API void CmpMatrix_Size(CCmpMatrix *pMatrix, int32_t *pnRows, int32_t *pnCols) {
    AssertMatrix(pMatrix, 603);
    if (!pMatrix) return;
    pMatrix->Size(pnRows, pnCols);
}

TESSEL_API int32_t CmpMatrix_Value(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol) {
    AssertMatrix(pMatrix, 604);
    if (!pMatrix) return 0;
    return pMatrix->GetMatrixValue(nRow, nCol);
}

TESSEL_API uint32_t CmpMatrix_ValueSize(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol) {
    AssertMatrix(pMatrix, 605);
    if (!pMatrix) return 0;
    return pMatrix->GetMatrixValueLen(nRow, nCol);
}

TESSEL_API void CmpMatrix_BuildAttachMatrix(CCmpMatrix *pMatrix) {
    AssertMatrix(pMatrix, 606);
    if (!pMatrix) return;
    pMatrix->BuildAttachMatrix();
}

TESSEL_API int32_t CmpMatrix_AttachCount(CCmpMatrix *pMatrix) {
    AssertMatrix(pMatrix, 607);
    if (!pMatrix) return 0;
    return pMatrix->AttachCount();
}

TESSEL_API int32_t CmpMatrix_AttachInfo(CCmpMatrix *pMatrix, uint32_t nAttach, AttachInfo *pInfo) {
    AssertMatrix(pMatrix, 608);
    if (!pMatrix) return 0;
    return pMatrix->GetAttachInfo(nAttach, pInfo) ? 1 : 0;
}

TESSEL_API uint32_t CmpMatrix_AttachValue(CCmpMatrix *pMatrix, int32_t nRow, uint32_t nAttach) {
    AssertMatrix(pMatrix, 609);
    if (!pMatrix) return 0;
    return pMatrix->GetAttachMatrixValue(nRow, nAttach);
}

TESSEL_API void CmpMatrix_Delete(CCmpMatrix *pMatrix) {
    g_Log.Info(2, "CmpMatrix_Delete", "->");
    AssertMatrix(pMatrix, 610);
    delete pMatrix;
}

} // extern "C"
