// The CmpMatrix_* exports: a thin layer over CCmpMatrix that picks the store and its attachment tags at creation
// and turns a null object into a harmless result.
#include "compare/propdesc.h"
#include "frame/tessel_record.h"
#include "log/log.h"
#include "matrix/cmpmatrix.h"
#include "tessel.h"

#include <new>

namespace {

// The message store's attachment tags; the first is the display name that the table is sorted by.
constexpr ULONG kOEAttachTags[] = {0x8100001E, 0x8101001E, 0x8102001E};

bool MatrixValid(const CCmpMatrix *pMatrix, int32_t nPlace) {
    g_Log.Assert(pMatrix != nullptr, "pMatrix != NULL", nPlace);
    return pMatrix != nullptr;
}

} // namespace

extern "C" {

TESSEL_API CCmpMatrix *CmpMatrix_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps) {
    static const char *const kLabel = "CmpMatrix_Create";
    g_Log.Info(2, kLabel, "->");
    if (pLib == nullptr) {
        g_Log.Assert(false, "pLib != NULL", 1);
        return nullptr;
    }

    ICompare *pCompare = nullptr;
    SPropTagArray *lpAttachTags = nullptr;
    if (nAPI == API_OE) {
        g_Log.Assert(pLib->oe.m_Lib.Initialized(), kLabel, 1);
        pCompare = &pLib->oe;
        constexpr ULONG nTags = sizeof(kOEAttachTags) / sizeof(kOEAttachTags[0]);
        lpAttachTags = NewTagArray(nTags);
        lpAttachTags->cValues = nTags;
        for (ULONG i = 0; i < nTags; ++i) lpAttachTags->aulPropTag[i] = kOEAttachTags[i];
    } else if (nAPI == API_WAB) {
        g_Log.Assert(pLib->wab.m_Lib.Initialized(), kLabel, 2);
        pCompare = &pLib->wab;
    } else {
        g_Log.Assert(false, kLabel, 3);
        return nullptr;
    }

    CCmpMatrix *pMatrix = new (std::nothrow) CCmpMatrix();
    if (pMatrix != nullptr && !pMatrix->Create(pCompare, pProps, lpAttachTags)) {
        delete pMatrix;
        pMatrix = nullptr;
    }
    FreeTagArray(lpAttachTags);
    return pMatrix;
}

TESSEL_API int32_t CmpMatrix_Add(CCmpMatrix *pMatrix, const char *pszItemID, const char *pszFolderID) {
    if (!MatrixValid(pMatrix, 10)) return 0;
    return pMatrix->Add(pszItemID, pszFolderID) ? 1 : 0;
}

TESSEL_API void CmpMatrix_Size(CCmpMatrix *pMatrix, int32_t *pnRows, int32_t *pnCols) {
    if (!MatrixValid(pMatrix, 20)) return;
    pMatrix->Size(pnRows, pnCols);
}

TESSEL_API int32_t CmpMatrix_Value(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol) {
    if (!MatrixValid(pMatrix, 30)) return 0;
    return pMatrix->GetMatrixValue(nRow, nCol);
}

TESSEL_API uint32_t CmpMatrix_ValueSize(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol) {
    if (!MatrixValid(pMatrix, 40)) return 0;
    return pMatrix->GetMatrixValueLen(nRow, nCol);
}

TESSEL_API void CmpMatrix_BuildAttachMatrix(CCmpMatrix *pMatrix) {
    if (!MatrixValid(pMatrix, 50)) return;
    pMatrix->BuildAttachMatrix();
}

TESSEL_API int32_t CmpMatrix_AttachCount(CCmpMatrix *pMatrix) {
    if (!MatrixValid(pMatrix, 60)) return 0;
    return pMatrix->AttachCount();
}

TESSEL_API int32_t CmpMatrix_AttachInfo(CCmpMatrix *pMatrix, uint32_t nAttach, AttachInfo *pInfo) {
    if (!MatrixValid(pMatrix, 70)) return 0;
    return pMatrix->GetAttachInfo(nAttach, pInfo) ? 1 : 0;
}

TESSEL_API uint32_t CmpMatrix_AttachValue(CCmpMatrix *pMatrix, int32_t nRow, uint32_t nAttach) {
    if (!MatrixValid(pMatrix, 80)) return 0;
    return pMatrix->GetAttachMatrixValue(nRow, nAttach);
}

TESSEL_API void CmpMatrix_Delete(CCmpMatrix *pMatrix) {
    g_Log.Info(2, "CmpMatrix_Delete", "->");
    if (!MatrixValid(pMatrix, 90)) return;
    delete pMatrix;
}

} // extern "C"
