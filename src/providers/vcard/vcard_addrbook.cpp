// The address book and its allocator, and WABOpen, which hands them out.
#include "log/log.h"
#include "providers/vcard/mapi_alloc.h"
#include "providers/vcard/vcard_container.h"
#include "providers/vcard/vcard_details.h"
#include "providers/vcard/vcard_propsapi.h"

namespace vcard {

namespace {

std::string_view IdBytes(ULONG cb, const ENTRYID *lpEntryID) {
    return lpEntryID && cb ? std::string_view(reinterpret_cast<const char *>(lpEntryID), cb) : std::string_view();
}

class CAddrBook : public CRefCounted<IAddrBook> {
public:
    explicit CAddrBook(std::shared_ptr<CBook> book) : m_book(std::move(book)) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IMAPIProp || riid == IID_IAddrBook) {
            AddRef();
            *ppv = static_cast<IAddrBook *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    // The address book object itself carries no properties.
    HRESULT SaveChanges(ULONG) override { return S_OK; }
    HRESULT GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                     SPropValue **lppPropArray) override {
        PropReader none = [](ULONG, PropData *) { return MAPI_E_NOT_FOUND; };
        return GetPropsWith(none, {}, lpPropTagArray, ulFlags, lpcValues, lppPropArray);
    }
    HRESULT GetPropList(ULONG, SPropTagArray **lppPropTagArray) override { return NewTagArray({}, lppPropTagArray); }
    HRESULT SetProps(ULONG, SPropValue *, SPropProblemArray **) override { return MAPI_E_NO_ACCESS; }
    HRESULT DeleteProps(SPropTagArray *, SPropProblemArray **) override { return MAPI_E_NO_ACCESS; }
    HRESULT GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *, ULONG, ULONG *lpcPropNames,
                            MAPINAMEID ***lpppPropNames) override {
        return IdsToNames(m_book->Names(), lppPropTags, lpcPropNames, lpppPropNames);
    }
    HRESULT GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                            SPropTagArray **lppPropTags) override {
        return NamesToIds(m_book->Names(), cPropNames, lppPropNames, ulFlags, lppPropTags);
    }

    HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG, ULONG *lpulObjType,
                      LPUNKNOWN *lppUnk) override {
        return OpenBookEntry(m_book, cbEntryID, lpEntryID, lpInterface, lpulObjType, lppUnk);
    }

    HRESULT CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2, LPENTRYID lpEntryID2, ULONG,
                            ULONG *lpulResult) override {
        if (!lpulResult) return MAPI_E_INVALID_PARAMETER;
        *lpulResult = IdBytes(cbEntryID1, lpEntryID1) == IdBytes(cbEntryID2, lpEntryID2);
        return S_OK;
    }

    HRESULT Details(ULONG *, LPFNDISMISS, LPVOID, ULONG cbEntryID, LPENTRYID lpEntryID, LPFNBUTTON, LPVOID, LPSTR,
                    ULONG) override {
        return ShowDetails(*m_book, IdBytes(cbEntryID, lpEntryID));
    }

    HRESULT GetPAB(ULONG *lpcbEntryID, LPENTRYID *lppEntryID) override {
        if (!lpcbEntryID || !lppEntryID) return MAPI_E_INVALID_PARAMETER;
        std::string sId = m_book->ContainerEntryId(0);
        void *p = nullptr;
        HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(sId.size()), &p);
        if (FAILED(hr)) return hr;
        std::memcpy(p, sId.data(), sId.size());
        *lpcbEntryID = static_cast<ULONG>(sId.size());
        *lppEntryID = static_cast<LPENTRYID>(p);
        return S_OK;
    }

private:
    std::shared_ptr<CBook> m_book;
};

class CWABObject : public CRefCounted<IWABObject> {
public:
    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown) {
            AddRef();
            *ppv = static_cast<IWABObject *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT AllocateBuffer(ULONG cbSize, LPVOID *lppBuffer) override { return MapiAllocateBuffer(cbSize, lppBuffer); }
    HRESULT AllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID *lppBuffer) override {
        return MapiAllocateMore(cbSize, lpObject, lppBuffer);
    }
    HRESULT FreeBuffer(LPVOID lpBuffer) override { return MapiFreeBuffer(lpBuffer); }
};

} // namespace

} // namespace vcard

HRESULT WABOpen(IAddrBook **lppAdrBook, IWABObject **lppWABObject, WAB_PARAM *lpWP, DWORD) {
    if (!lppAdrBook || !lppWABObject) return MAPI_E_INVALID_PARAMETER;
    *lppAdrBook = nullptr;
    *lppWABObject = nullptr;
    std::shared_ptr<vcard::CBook> book;
    HRESULT hr = vcard::CBook::Open(lpWP && lpWP->szFileName ? lpWP->szFileName : "", &book);
    if (FAILED(hr)) return hr;
    *lppAdrBook = new vcard::CAddrBook(book);
    *lppWABObject = new vcard::CWABObject();
    return S_OK;
}
