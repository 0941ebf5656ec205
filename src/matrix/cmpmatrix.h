// CCmpMatrix: a side-by-side view of a few items of one store (as a rule one duplicate group). The caller names the
// columns once and adds the items as rows; each cell then says which earlier row holds an equal value and how large
// the value is. A second table says which item holds which attachment. The store is reached only through ICompare.
#pragma once

#include <memory>
#include <vector>

#include "compare/icompare.h"
#include "compare/taglist.h"
#include "search/equalitytree.h"
#include "search/searchitem.h"
#include "search/textarena.h"

// One cell of the value table. nValue 0: no value. nValue k > 0: k - 1 is the lowest row holding an equal value,
// so the first row of its kind r has r + 1.
struct MatrixCell {
    LONG nValue;
    ULONG nSize;
};

// One attachment of one row, as read while the row was added. Equal attachments of all rows share a node of the
// matrix's attachment tree.
struct AttachEntry {
    SearchItem *pItem;    // the row that holds it; not owned
    ULONG nAttachID;      // its handle within the item
    ULONG nIndex;         // its place in the item's attachment list
    SPropValue *lpValues; // owned by the store adaptor: FreeAttachProps
    ULONG cValues;
};

class CCmpMatrix {
public:
    CCmpMatrix();
    virtual ~CCmpMatrix();
    CCmpMatrix(const CCmpMatrix &) = delete;
    CCmpMatrix &operator=(const CCmpMatrix &) = delete;

    // Takes deep copies of the descriptors and of lpAttachTags (null or empty: no attachment table). False, with
    // nothing changed, for a null adaptor, an empty list, or attachment tags without the display-name tag.
    bool Create(ICompare *pCompare, const PropList *lpProps, const SPropTagArray *lpAttachTags);
    // Gives everything back, the rows' values through the adaptor, which must still be connected.
    void Clear();
    void Size(LONG *pRows, LONG *pCols) const;

    // Opens, reads and compares one item and appends it as a row. False if the item was refused; the row numbers
    // of later items are not affected.
    bool Add(const char *szItemID, const char *szFolderID);
    LONG GetMatrixValue(LONG nRow, LONG nCol) const;
    ULONG GetMatrixValueLen(LONG nRow, LONG nCol) const;
    // The lowest row whose value in column nCol compares equal, or -1.
    LONG FindPropEqual(const SPropValue *pValue, LONG nCol);
    LONG FindStreamEqual(HITEM hItem, ULONG nTag, LONG nCol);

    // Lays out the attachment table: one table row per group of equal attachments, sorted by display name, one
    // column per item row. Call it after the last Add; calling it again starts afresh.
    void BuildAttachMatrix();
    LONG AttachCount() const;
    bool GetAttachInfo(ULONG nAttach, AttachInfo *pInfo) const;
    ULONG GetAttachMatrixValue(LONG nRow, ULONG nAttach) const;

private:
    bool PrepareColumns(HITEM hItem);
    bool FillCells(HITEM hItem, const SearchItem *pItem, std::vector<MatrixCell> &cells);
    const MatrixCell *CellAt(LONG nRow, LONG nCol, const char *pszLabel) const;
    void ReadAttachments(HITEM hItem, SearchItem *pItem);
    const char *DisplayName(const AttachEntry *pEntry) const;
    using AttachTree = CEqualityTree<AttachEntry *>;
    static int32_t fnCmpAttach(AttachEntry *pNew, AttachEntry *pExisting, bool *pbAbort, void *pContext);
    static int32_t fnCmpDisplayName(AttachTree::Node *pNew, AttachTree::Node *pExisting, bool *pbAbort,
                                    void *pContext);

    ICompare *m_pCompare;
    LONG m_nProps;
    PropDesc *m_pProps;
    TagListPtr m_lpPropTags;   // the columns read as plain values, settled by the first row
    TagListPtr m_lpStreamTags; // the columns read as streams, likewise
    TagListPtr m_lpAttachTags; // null: this matrix ignores attachments
    LONG m_nRows;
    std::vector<SearchItem *> m_Items;
    CTextArena m_ItemTexts; // the rows' entries and folder entries
    std::vector<MatrixCell> m_Cells;
    // Held through a pointer so that Clear can start an empty tree: a tree has no way to be emptied.
    std::unique_ptr<AttachTree> m_pAttachTree;
    std::vector<AttachEntry *> m_AttachRows;
    std::unique_ptr<ULONG[]> m_pAttachMatrix;
    // Item rows at the time of the last build: the table's row stride. Rows added later are outside the table.
    LONG m_nAttachStride;
};
