#include "providers/mime/headertable.h"

#include <new>

namespace {

class CMimeHeaderTable final : public CRefCounted<IMimeHeaderTable> {
public:
    explicit CMimeHeaderTable(std::vector<MimeHeaderRow> rgRows) : m_rgRows(std::move(rgRows)) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IMimeHeaderTable) {
            AddRef();
            *ppv = static_cast<IMimeHeaderTable *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    HRESULT FindFirst(LPFINDHEADER pFindHeader, LPHHEADERROW phRow) override {
        if (!pFindHeader) return E_INVALIDARG;
        pFindHeader->dwReserved = 0;
        return FindNext(pFindHeader, phRow);
    }

    // The cursor in dwReserved is the index of the next row to look at.
    HRESULT FindNext(LPFINDHEADER pFindHeader, LPHHEADERROW phRow) override {
        if (!pFindHeader || !phRow) return E_INVALIDARG;
        *phRow = 0;
        for (size_t i = pFindHeader->dwReserved; i < m_rgRows.size(); i++) {
            if (pFindHeader->pszHeader && !MimeEqualNoCase(m_rgRows[i].strName, pFindHeader->pszHeader)) continue;
            pFindHeader->dwReserved = static_cast<DWORD>(i + 1);
            *phRow = static_cast<HHEADERROW>(i + 1);
            return S_OK;
        }
        pFindHeader->dwReserved = static_cast<DWORD>(m_rgRows.size());
        return MIME_E_NOT_FOUND;
    }

    HRESULT GetRowData(HHEADERROW hRow, DWORD dwFlags, LPSTR *ppszData, ULONG *pcchData) override {
        if (!ppszData) return E_INVALIDARG;
        *ppszData = nullptr;
        if (pcchData) *pcchData = 0;
        if (hRow == 0 || hRow > m_rgRows.size()) return MIME_E_INVALID_HANDLE;
        const MimeHeaderRow &row = m_rgRows[hRow - 1];
        const std::string &str = (dwFlags & HTF_NAMEINDATA) ? row.strRow : row.strValue;
        *ppszData = MimeDupText(str);
        if (!*ppszData) return E_OUTOFMEMORY;
        if (pcchData) *pcchData = static_cast<ULONG>(str.size());
        return S_OK;
    }

private:
    std::vector<MimeHeaderRow> m_rgRows;
};

} // namespace

HRESULT MimeCreateHeaderTable(std::vector<MimeHeaderRow> rgRows, IMimeHeaderTable **ppTable) {
    if (!ppTable) return E_POINTER;
    *ppTable = new (std::nothrow) CMimeHeaderTable(std::move(rgRows));
    return *ppTable ? S_OK : E_OUTOFMEMORY;
}
