// CMemoryStore: an ICompare over items held in memory, for the tests of everything that works through ICompare
// (search, matrix, exports). Items live in folders and carry plain values of any type, stream values, a size and
// attachments; every operation can be made to fail on demand; counters show whether handles, arrays, buffers and
// streams were all given back.
//
//   CMemoryStore store;
//   store.AddItem("F1", "I1").Text(PR_SUBJECT, "Hello").Stream(PR_BODY, "Hi there").Size(2048, 100);
//   store.AddItem("F1", "I2").Attach(7, "a.txt (1 KB)", 1024).PropError(PR_SUBJECT, MAPI_E_CALL_FAILED);
//
// Entry texts of items are unique in the store. GetItemProps answers a tag with the stored value of the same
// property identifier, in the type it was stored with (as a store decides the type of its reply); bUnicode is
// not looked at. Attachments behave as the message store's: their values are a display name, a name and a size
// (a number, under a tag whose type half says text), and two of them order by name without regard to case, then
// by size.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "compare/icompare.h"

namespace testsupport {

// The attachment tags, numbered as the message store numbers them.
inline constexpr ULONG kTagAttachDisplayName = 0x8100001E;
inline constexpr ULONG kTagAttachName = 0x8101001E;
inline constexpr ULONG kTagAttachSize = 0x8102001E; // the value is a number in Value.ul

// Owns deep copies of property values: everything a copied value points to lives here. A value under
// kTagAttachSize is a number whatever its tag's type says, and is copied as one.
class CValueArena {
public:
    SPropValue Copy(const SPropValue &value);

private:
    void *Keep(const void *p, size_t cb);
    std::vector<std::unique_ptr<unsigned char[]>> m_blocks;
};

// A list of values under their tags, one per property identifier, with the memory they point to.
class CValueList {
public:
    void Set(const SPropValue &value); // replaces a value of the same property identifier
    const SPropValue *Find(ULONG nTag) const;

private:
    CValueArena m_arena;
    std::vector<SPropValue> m_values;
};

class CMemoryStore : public ICompare {
public:
    // Failures of one stream, on demand: opening it, its Stat, or its Read after nGoodReads reads that worked.
    struct StreamFaults {
        HRESULT hrOpen = S_OK;
        HRESULT hrStat = S_OK;
        HRESULT hrRead = S_OK;
        ULONG nGoodReads = 0;
    };

    struct Attachment {
        ULONG id = 0;
        CValueList values;
        std::map<ULONG, SCODE> errors; // property identifier -> code handed out as a PT_ERROR value
        HRESULT hrGetProps = S_OK;
    };

    struct Item {
        std::string szEntry;
        std::string szFolder;
        CValueList values;
        std::map<ULONG, SCODE> errors; // by property identifier
        std::map<ULONG, std::string> streams; // by property identifier
        std::map<ULONG, StreamFaults> streamFaults; // by property identifier
        ULONG nWholeSize = 0;
        ULONG nMainSize = 0;
        std::vector<std::unique_ptr<Attachment>> attachments;
        HRESULT hrOpen = S_OK;
        HRESULT hrGetProps = S_OK;
        HRESULT hrGetSize = S_OK;
        HRESULT hrGetAttachments = S_OK;
    };

    // Fills one item; every call returns the builder, so calls chain.
    class ItemBuilder {
    public:
        explicit ItemBuilder(Item &item) : m_item(item) {}
        ItemBuilder &Value(const SPropValue &value); // any type, copied deeply
        ItemBuilder &Text(ULONG nTag, std::string_view sz); // PT_STRING8 under the tag's identifier
        ItemBuilder &Wide(ULONG nTag, std::u16string_view sz); // PT_UNICODE
        ItemBuilder &Long(ULONG nTag, LONG n); // PT_LONG
        ItemBuilder &Binary(ULONG nTag, std::string_view bytes); // PT_BINARY
        ItemBuilder &Time(ULONG nTag, FILETIME ft); // PT_SYSTIME
        ItemBuilder &Stream(ULONG nTag, std::string_view bytes); // opened through OpenStreamProp
        ItemBuilder &Size(ULONG nWhole, ULONG nMain);
        // An attachment with display name and size; its name is the display name without a trailing "(...)".
        ItemBuilder &Attach(ULONG id, std::string_view szDisplayName, ULONG nSize);
        // A further value of an attachment, or the replacement of one.
        ItemBuilder &AttachValue(ULONG id, const SPropValue &value);
        ItemBuilder &AttachPropError(ULONG id, ULONG nTag, SCODE err);

        // Failures on demand.
        ItemBuilder &FailOpen(HRESULT hr);
        ItemBuilder &FailGetProps(HRESULT hr);
        ItemBuilder &PropError(ULONG nTag, SCODE err); // this property reads as PT_ERROR with err
        ItemBuilder &FailGetSize(HRESULT hr);
        ItemBuilder &FailOpenStream(ULONG nTag, HRESULT hr);
        ItemBuilder &FailStreamStat(ULONG nTag, HRESULT hr);
        ItemBuilder &FailStreamRead(ULONG nTag, HRESULT hr, ULONG nGoodReads = 0);
        ItemBuilder &FailGetAttachments(HRESULT hr);
        ItemBuilder &FailGetAttachProps(ULONG id, HRESULT hr);

    private:
        Attachment &AttachmentById(ULONG id);
        Item &m_item;
    };

    CMemoryStore() = default;
    virtual ~CMemoryStore();
    CMemoryStore(const CMemoryStore &) = delete;
    CMemoryStore &operator=(const CMemoryStore &) = delete;

    // Adds a folder (AddItem adds its folder as well).
    void AddFolder(std::string_view szFolder);
    void FailOpenFolder(std::string_view szFolder, HRESULT hr);
    // The address book's way: OpenFolder gives success and a null handle for any entry text.
    void UseNullFolders() { m_bNullFolders = true; }
    // Adds an item, or returns the builder of the item with this entry text.
    ItemBuilder AddItem(std::string_view szFolder, std::string_view szEntry);
    ItemBuilder ItemFor(std::string_view szEntry); // the item must exist
    // A named property that GetIDFromName resolves: the GUID text (any case), nID if non-zero, else sID.
    void AddNamedProp(std::string_view szGUID, LONG nID, std::u16string_view sID, ULONG nTag);

    // Counters.
    int ItemsOpen() const { return static_cast<int>(m_openItems.size()); }
    int ItemOpens() const { return m_nItemOpens; }
    int ItemCloses() const { return m_nItemCloses; }
    int FoldersOpen() const { return static_cast<int>(m_openFolders.size()); }
    int FolderOpens() const { return m_nFolderOpens; }
    int FolderCloses() const { return m_nFolderCloses; }
    int PropArraysOut() const { return static_cast<int>(m_propArrays.size()); }
    int BuffersOut() const { return static_cast<int>(m_buffers.size()); }
    int StreamsOpen() const { return *m_pnStreamsOpen; }
    // Handles or arrays given back that this store never handed out, or that were given back twice.
    int BadHandles() const { return m_nBadHandles; }

    // ICompare.
    HRESULT OpenFolder(const char *pszEntry, HFOLDER *phFolder) override;
    void CloseFolder(HFOLDER *phFolder) override;
    HRESULT OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    HRESULT OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    void CloseItem(HITEM *phItem) override;
    HRESULT GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                          BOOL bCreate) override;
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                         BOOL bUnicode) override;
    void FreeItemProps(SPropValue *pProps) override;
    HRESULT GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) override;
    HRESULT GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) override;
    HRESULT GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                           SPropValue **ppProps, ULONG nReserved) override;
    ULONG GetAttachDisplayNameTag(ULONG nReserved) override { return kTagAttachDisplayName; }
    BOOL ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) override;
    HRESULT CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2, ULONG cValues2,
                           LONG *pnResult) override;
    void FreeAttachProps(SPropValue *pProps) override { FreeItemProps(pProps); }
    // Attachments here have no content to compare: MAPI_E_NO_SUPPORT.
    HRESULT CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) override;
    HRESULT OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) override;
    HRESULT AllocateBuffer(ULONG cb, void **ppBuffer) override;
    HRESULT FreeBuffer(void *pBuffer) override;

private:
    struct OpenItemRecord {
        Item *pItem;
        BOOL bModify;
    };
    struct OpenFolderRecord {
        std::string szFolder;
    };
    struct NamedProp {
        std::string szGUID;
        LONG nID;
        std::u16string sID;
        ULONG nTag;
    };

    Item *ItemFromHandle(HITEM hItem);
    // A value array for lpTags from values and errors, handed out and counted until FreeItemProps.
    HRESULT HandOutValues(const CValueList &values, const std::map<ULONG, SCODE> &errors,
                          const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps);

    std::map<std::string, HRESULT, std::less<>> m_folders; // folder -> result of opening it
    std::map<std::string, std::unique_ptr<Item>, std::less<>> m_items;
    std::vector<NamedProp> m_namedProps;
    bool m_bNullFolders = false;

    std::map<const void *, std::unique_ptr<OpenItemRecord>> m_openItems;
    std::map<const void *, std::unique_ptr<OpenFolderRecord>> m_openFolders;
    struct HandedOutArray {
        CValueArena arena;
        std::unique_ptr<SPropValue[]> pValues;
    };
    std::map<const SPropValue *, std::unique_ptr<HandedOutArray>> m_propArrays;
    std::set<void *> m_buffers;
    std::shared_ptr<int> m_pnStreamsOpen = std::make_shared<int>(0);
    int m_nItemOpens = 0;
    int m_nItemCloses = 0;
    int m_nFolderOpens = 0;
    int m_nFolderCloses = 0;
    int m_nBadHandles = 0;
};

} // namespace testsupport
