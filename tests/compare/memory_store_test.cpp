// The in-memory store double must behave like a store, or every test built on it proves nothing.
#include <gtest/gtest.h>

#include <cstring>

#include "support/memory_store.h"

using testsupport::CMemoryStore;
using testsupport::kTagAttachDisplayName;
using testsupport::kTagAttachName;
using testsupport::kTagAttachSize;

namespace {

constexpr ULONG kSubject = 0x0037001E;
constexpr ULONG kBody = 0x1000001E;
constexpr ULONG kCount = 0x0E080003;
constexpr ULONG kNamed = 0x8005001E;

TEST(MemoryStoreHandles, FoldersAndItemsAreCountedAndBalanced) {
    CMemoryStore store;
    store.AddItem("F1", "I1").Text(kSubject, "Hello");
    store.AddItem("F2", "I2");
    HFOLDER hFolder = nullptr, hOther = nullptr;
    ASSERT_EQ(store.OpenFolder("F1", &hFolder), S_OK);
    ASSERT_EQ(store.OpenFolder("F1", &hOther), S_OK);
    EXPECT_NE(hFolder, nullptr);
    EXPECT_NE(hFolder, hOther);
    EXPECT_EQ(store.FoldersOpen(), 2);

    HITEM h1 = nullptr, h2 = nullptr;
    ASSERT_EQ(store.OpenFolderItem(hFolder, "I1", &h1, false), S_OK);
    ASSERT_EQ(store.OpenItem("I1", &h2, true), S_OK);
    EXPECT_NE(h1, h2); // a fresh handle per call
    EXPECT_EQ(store.ItemsOpen(), 2);
    HITEM hWrong = nullptr;
    EXPECT_EQ(store.OpenFolderItem(hFolder, "I2", &hWrong, false), MAPI_E_NOT_FOUND); // I2 lives in F2
    EXPECT_EQ(hWrong, nullptr);

    store.CloseItem(&h1);
    store.CloseItem(&h2);
    EXPECT_EQ(h1, nullptr);
    store.CloseItem(&h1); // a null handle is allowed
    store.CloseFolder(&hFolder);
    store.CloseFolder(&hOther);
    EXPECT_EQ(hFolder, nullptr);
    EXPECT_EQ(store.ItemsOpen(), 0);
    EXPECT_EQ(store.ItemOpens(), 2);
    EXPECT_EQ(store.ItemCloses(), 2);
    EXPECT_EQ(store.FoldersOpen(), 0);
    EXPECT_EQ(store.FolderOpens(), 2);
    EXPECT_EQ(store.FolderCloses(), 2);
    EXPECT_EQ(store.BadHandles(), 0);
}

TEST(MemoryStoreHandles, StaleHandlesAreCountedAsBad) {
    CMemoryStore store;
    store.AddItem("F", "I");
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    HITEM hStale = h;
    store.CloseItem(&h);
    ULONG nSize = 0;
    EXPECT_EQ(store.GetItemSize(hStale, &nSize, true), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(store.BadHandles(), 1);
    store.CloseItem(&hStale); // closed twice
    EXPECT_EQ(hStale, nullptr);
    EXPECT_EQ(store.BadHandles(), 2);
    int nDummy = 0;
    HITEM hForeign = &nDummy;
    EXPECT_EQ(store.GetItemSize(hForeign, &nSize, true), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(store.BadHandles(), 3);
    EXPECT_EQ(store.ItemCloses(), 1);
}

TEST(MemoryStoreHandles, FailuresOnDemand) {
    CMemoryStore store;
    store.AddItem("F", "I").FailOpen(MAPI_E_NO_ACCESS);
    store.FailOpenFolder("G", E_FAIL);
    HFOLDER hFolder = reinterpret_cast<HFOLDER>(1);
    EXPECT_EQ(store.OpenFolder("G", &hFolder), E_FAIL);
    EXPECT_EQ(hFolder, nullptr);
    EXPECT_EQ(store.OpenFolder("missing", &hFolder), MAPI_E_NOT_FOUND);
    HITEM h = reinterpret_cast<HITEM>(1);
    EXPECT_EQ(store.OpenItem("I", &h, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(store.OpenItem("missing", &h, false), MAPI_E_NOT_FOUND);
    EXPECT_EQ(store.ItemOpens(), 0);
    EXPECT_EQ(store.FolderOpens(), 0);
}

TEST(MemoryStoreHandles, NullFoldersLikeTheAddressBook) {
    CMemoryStore store;
    store.UseNullFolders();
    store.AddItem("F", "I");
    HFOLDER hFolder = reinterpret_cast<HFOLDER>(1);
    EXPECT_EQ(store.OpenFolder("anything", &hFolder), S_OK);
    EXPECT_EQ(hFolder, nullptr);
    HITEM h = nullptr;
    EXPECT_EQ(store.OpenFolderItem(hFolder, "I", &h, false), S_OK);
    store.CloseItem(&h);
    EXPECT_EQ(store.FoldersOpen(), 0);
}

TEST(MemoryStoreValues, ValuesComeBackAsDeepCopiesWithErrorsForTheRest) {
    CMemoryStore store;
    std::string subject = "Hello";
    store.AddItem("F", "I").Text(kSubject, subject).Long(kCount, 3).PropError(kBody, MAPI_E_CALL_FAILED);
    subject[0] = 'J'; // the store keeps its own copy
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    ULONG tagsBuffer[4] = {3, kSubject, kBody, 0x0E070003};
    auto *pTags = reinterpret_cast<SPropTagArray *>(tagsBuffer);
    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    EXPECT_EQ(store.GetItemProps(h, pTags, &cValues, &pProps, false), MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(cValues, 3u);
    EXPECT_EQ(pProps[0].ulPropTag, kSubject);
    EXPECT_STREQ(pProps[0].Value.lpszA, "Hello");
    EXPECT_EQ(pProps[1].ulPropTag, CHANGE_PROP_TYPE(kBody, PT_ERROR));
    EXPECT_EQ(pProps[1].Value.err, MAPI_E_CALL_FAILED);
    EXPECT_EQ(pProps[2].ulPropTag, PROP_TAG(PT_ERROR, 0x0E07));
    EXPECT_EQ(pProps[2].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(store.PropArraysOut(), 1);
    store.FreeItemProps(pProps);
    EXPECT_EQ(store.PropArraysOut(), 0);

    ULONG oneTag[2] = {1, kCount};
    EXPECT_EQ(store.GetItemProps(h, reinterpret_cast<SPropTagArray *>(oneTag), &cValues, &pProps, false), S_OK);
    EXPECT_EQ(pProps[0].Value.l, 3);
    store.FreeItemProps(pProps);
    store.CloseItem(&h);
    EXPECT_EQ(store.BadHandles(), 0);
}

TEST(MemoryStoreValues, AnyTypeIsCopiedDeeply) {
    CMemoryStore store;
    char a[] = "x", b[] = "yz";
    char *list[] = {a, b};
    SPropValue v{};
    v.ulPropTag = PROP_TAG(PT_MV_STRING8, 0x8001);
    v.Value.MVszA = {2, list};
    BYTE bytes[] = {1, 2, 3};
    SBinary bins[] = {{3, bytes}};
    SPropValue w{};
    w.ulPropTag = PROP_TAG(PT_MV_BINARY, 0x8002);
    w.Value.MVbin = {1, bins};
    store.AddItem("F", "I").Value(v).Value(w).Wide(0x3001001F, u"Zo\u00EB");
    a[0] = 'q';
    bytes[0] = 9;
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    SPropValue *pProp = nullptr;
    ASSERT_EQ(store.GetItemProp(h, v.ulPropTag, &pProp, false), S_OK);
    EXPECT_STREQ(pProp->Value.MVszA.lppszA[0], "x");
    EXPECT_STREQ(pProp->Value.MVszA.lppszA[1], "yz");
    store.FreeItemProps(pProp);
    ASSERT_EQ(store.GetItemProp(h, w.ulPropTag, &pProp, false), S_OK);
    EXPECT_EQ(pProp->Value.MVbin.lpbin[0].lpb[0], 1);
    store.FreeItemProps(pProp);
    ASSERT_EQ(store.GetItemProp(h, 0x3001001E, &pProp, false), S_OK); // the stored type answers
    EXPECT_EQ(pProp->ulPropTag, 0x3001001Fu);
    EXPECT_EQ(std::u16string(pProp->Value.lpszW), u"Zo\u00EB");
    store.FreeItemProps(pProp);
    store.CloseItem(&h);
}

TEST(MemoryStoreValues, GetPropsFailureHandsOutNothing) {
    CMemoryStore store;
    store.AddItem("F", "I").Text(kSubject, "x").FailGetProps(MAPI_E_NO_ACCESS).FailGetSize(E_FAIL);
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    SPropValue *pProp = reinterpret_cast<SPropValue *>(1);
    EXPECT_EQ(store.GetItemProp(h, kSubject, &pProp, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(pProp, nullptr);
    ULONG nSize = 77;
    EXPECT_EQ(store.GetItemSize(h, &nSize, true), E_FAIL);
    EXPECT_EQ(nSize, 77u);
    store.CloseItem(&h);
}

TEST(MemoryStoreValues, SizesWholeAndMain) {
    CMemoryStore store;
    store.AddItem("F", "I").Size(2048, 100);
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    ULONG nSize = 0;
    EXPECT_EQ(store.GetItemSize(h, &nSize, true), S_OK);
    EXPECT_EQ(nSize, 2048u);
    EXPECT_EQ(store.GetItemSize(h, &nSize, false), S_OK);
    EXPECT_EQ(nSize, 100u);
    store.CloseItem(&h);
}

TEST(MemoryStoreNames, NamedPropertiesResolveByGuidAndIdOrName) {
    CMemoryStore store;
    store.AddItem("F", "I");
    store.AddNamedProp("{00020329-0000-0000-C000-000000000046}", 0, u"Keywords", kNamed);
    store.AddNamedProp("{00062004-0000-0000-C000-000000000046}", 0x8083, u"", 0x80060003);
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    ULONG nTag = 0;
    EXPECT_EQ(store.GetIDFromName(h, &nTag, "{00020329-0000-0000-c000-000000000046}", 0, u"Keywords", false), S_OK);
    EXPECT_EQ(nTag, kNamed);
    EXPECT_EQ(store.GetIDFromName(h, &nTag, "{00062004-0000-0000-C000-000000000046}", 0x8083, nullptr, false), S_OK);
    EXPECT_EQ(nTag, 0x80060003u);
    nTag = 0;
    EXPECT_EQ(store.GetIDFromName(h, &nTag, "{00062004-0000-0000-C000-000000000046}", 0x8084, nullptr, false),
              MAPI_E_NOT_FOUND);
    EXPECT_EQ(nTag, 0u);
    EXPECT_EQ(store.GetIDFromName(h, &nTag, "{00062004-0000-0000-C000-000000000046}", 0x8084, nullptr, true), S_OK);
    EXPECT_EQ(PROP_ID(nTag) & 0x8000, 0x8000u);
    store.CloseItem(&h);
}

TEST(MemoryStoreStreams, StreamsAreServedAndCounted) {
    CMemoryStore store;
    store.AddItem("F", "I").Stream(kBody, "Hi there");
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    IStream *pStream = nullptr;
    ASSERT_EQ(store.OpenStreamProp(h, kBody, &pStream, 0), S_OK);
    EXPECT_EQ(store.StreamsOpen(), 1);
    char buf[16] = {};
    ULONG cb = 0;
    EXPECT_EQ(pStream->Read(buf, sizeof buf, &cb), S_OK);
    EXPECT_EQ(std::string(buf, cb), "Hi there");
    pStream->Release();
    EXPECT_EQ(store.StreamsOpen(), 0);
    EXPECT_EQ(store.OpenStreamProp(h, 0x1013001E, &pStream, 0), MAPI_E_NOT_FOUND);
    EXPECT_EQ(pStream, nullptr);
    store.CloseItem(&h);
}

TEST(MemoryStoreStreams, StreamFailuresOnDemand) {
    CMemoryStore store;
    store.AddItem("F", "I")
        .Stream(kBody, std::string(600, 'a'))
        .FailStreamRead(kBody, STG_E_READFAULT, 2)
        .FailStreamStat(kBody, STG_E_ACCESSDENIED)
        .FailOpenStream(0x1013001E, MAPI_E_NO_ACCESS);
    HITEM h = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    IStream *pStream = nullptr;
    EXPECT_EQ(store.OpenStreamProp(h, 0x1013001E, &pStream, 0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(pStream, nullptr);
    ASSERT_EQ(store.OpenStreamProp(h, kBody, &pStream, 0), S_OK);
    STATSTG stat{};
    EXPECT_EQ(pStream->Stat(&stat, STATFLAG_NONAME), STG_E_ACCESSDENIED);
    char buf[256];
    ULONG cb = 0;
    EXPECT_EQ(pStream->Read(buf, 256, &cb), S_OK);
    EXPECT_EQ(pStream->Read(buf, 256, &cb), S_OK);
    EXPECT_EQ(pStream->Read(buf, 256, &cb), STG_E_READFAULT);
    EXPECT_EQ(cb, 0u);
    pStream->Release();
    store.CloseItem(&h);
    EXPECT_EQ(store.StreamsOpen(), 0);
}

TEST(MemoryStoreAttachments, ListedInABufferOfTheStore) {
    CMemoryStore store;
    store.AddItem("F", "I").Attach(7, "A.TXT (1 KB)", 1024).Attach(9, "b.doc", 5);
    store.AddItem("F", "J");
    HITEM h = nullptr, hNone = nullptr;
    ASSERT_EQ(store.OpenItem("I", &h, false), S_OK);
    ASSERT_EQ(store.OpenItem("J", &hNone, false), S_OK);
    ULONG *pIDs = nullptr, cIDs = 0;
    ASSERT_EQ(store.GetAttachments(h, &pIDs, &cIDs), S_OK);
    ASSERT_EQ(cIDs, 2u);
    EXPECT_EQ(pIDs[0], 7u);
    EXPECT_EQ(pIDs[1], 9u);
    EXPECT_EQ(store.BuffersOut(), 1);
    EXPECT_EQ(store.FreeBuffer(pIDs), S_OK);
    EXPECT_EQ(store.BuffersOut(), 0);
    pIDs = nullptr;
    ASSERT_EQ(store.GetAttachments(hNone, &pIDs, &cIDs), S_OK);
    EXPECT_EQ(cIDs, 0u);
    EXPECT_EQ(pIDs, nullptr);

    ULONG tags[4] = {3, kTagAttachDisplayName, kTagAttachName, kTagAttachSize};
    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    ASSERT_EQ(store.GetAttachProps(h, 7, reinterpret_cast<SPropTagArray *>(tags), &cValues, &pProps, 0), S_OK);
    ASSERT_EQ(cValues, 3u);
    EXPECT_STREQ(pProps[0].Value.lpszA, "A.TXT (1 KB)");
    EXPECT_STREQ(pProps[1].Value.lpszA, "A.TXT");
    EXPECT_EQ(pProps[2].Value.ul, 1024u);
    EXPECT_TRUE(store.ValidAttachCmpProps(pProps, cValues));
    store.FreeAttachProps(pProps);
    EXPECT_EQ(store.GetAttachDisplayNameTag(0), kTagAttachDisplayName);
    EXPECT_EQ(store.GetAttachProps(h, 8, reinterpret_cast<SPropTagArray *>(tags), &cValues, &pProps, 0),
              MAPI_E_NOT_FOUND);
    store.CloseItem(&h);
    store.CloseItem(&hNone);
    EXPECT_EQ(store.PropArraysOut(), 0);
    EXPECT_EQ(store.BadHandles(), 0);
}

TEST(MemoryStoreAttachments, FailuresOnDemand) {
    CMemoryStore store;
    store.AddItem("F", "I").Attach(1, "a", 1).FailGetAttachProps(1, E_FAIL).AttachPropError(1, kTagAttachSize, E_FAIL);
    store.AddItem("F", "J").Attach(1, "a", 1).AttachPropError(1, kTagAttachSize, STG_E_READFAULT);
    store.AddItem("F", "K").FailGetAttachments(MAPI_E_NO_ACCESS);
    HITEM hI = nullptr, hJ = nullptr, hK = nullptr;
    store.OpenItem("I", &hI, false);
    store.OpenItem("J", &hJ, false);
    store.OpenItem("K", &hK, false);
    ULONG tags[4] = {3, kTagAttachDisplayName, kTagAttachName, kTagAttachSize};
    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    EXPECT_EQ(store.GetAttachProps(hI, 1, reinterpret_cast<SPropTagArray *>(tags), &cValues, &pProps, 0), E_FAIL);
    EXPECT_EQ(pProps, nullptr);
    ASSERT_EQ(store.GetAttachProps(hJ, 1, reinterpret_cast<SPropTagArray *>(tags), &cValues, &pProps, 0),
              MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(pProps[2].Value.err, STG_E_READFAULT);
    EXPECT_FALSE(store.ValidAttachCmpProps(pProps, cValues)); // the size came back as an error value
    store.FreeAttachProps(pProps);
    ULONG *pIDs = reinterpret_cast<ULONG *>(8);
    ULONG cIDs = 99;
    EXPECT_EQ(store.GetAttachments(hK, &pIDs, &cIDs), MAPI_E_NO_ACCESS);
    EXPECT_EQ(pIDs, reinterpret_cast<ULONG *>(8));
    EXPECT_EQ(cIDs, 99u);
    store.CloseItem(&hI);
    store.CloseItem(&hJ);
    store.CloseItem(&hK);
}

// Values of one attachment as the adaptor reads them.
struct AttachValues {
    std::vector<SPropValue> values;
    AttachValues &Text(ULONG nTag, const char *psz) {
        SPropValue v{};
        v.ulPropTag = nTag;
        v.Value.lpszA = const_cast<char *>(psz);
        values.push_back(v);
        return *this;
    }
    AttachValues &Size(ULONG n) {
        SPropValue v{};
        v.ulPropTag = kTagAttachSize;
        v.Value.ul = n;
        values.push_back(v);
        return *this;
    }
};

HRESULT CmpAttach(CMemoryStore &store, const AttachValues &a, const AttachValues &b, LONG *pnResult) {
    return store.CmpAttachProps(a.values.data(), static_cast<ULONG>(a.values.size()), b.values.data(),
                                static_cast<ULONG>(b.values.size()), pnResult);
}

TEST(MemoryStoreAttachments, OrderByNameWithoutCaseThenBySize) {
    CMemoryStore store;
    AttachValues a, b;
    a.Text(kTagAttachDisplayName, "A.TXT (1 KB)").Text(kTagAttachName, "A.TXT").Size(1024);
    b.Text(kTagAttachDisplayName, "a.txt (2 KB)").Text(kTagAttachName, "a.txt").Size(1024);
    LONG n = -1;
    EXPECT_EQ(CmpAttach(store, a, b, &n), S_OK);
    EXPECT_EQ(n, 0);

    AttachValues c, d; // only display names: they differ
    c.Text(kTagAttachDisplayName, "A.TXT (1 KB)").Size(1024);
    d.Text(kTagAttachDisplayName, "a.txt (2 KB)").Size(1024);
    n = -1;
    EXPECT_EQ(CmpAttach(store, c, d, &n), S_OK);
    EXPECT_LT(n, 0);

    AttachValues e, f; // same name, sizes decide
    e.Text(kTagAttachName, "x").Size(10);
    f.Text(kTagAttachName, "X").Size(7);
    n = -1;
    EXPECT_EQ(CmpAttach(store, e, f, &n), S_OK);
    EXPECT_EQ(n, 3);

    AttachValues g, h; // no common name tag: the caller's preset stands
    g.Text(kTagAttachName, "x").Size(1);
    h.Text(kTagAttachDisplayName, "x").Size(1);
    n = -1;
    EXPECT_EQ(CmpAttach(store, g, h, &n), -1);
    EXPECT_EQ(n, -1);
    n = 0;
    EXPECT_EQ(CmpAttach(store, g, h, &n), S_OK); // a preset of 0 lets the sizes decide
    EXPECT_EQ(n, 0);
}

TEST(MemoryStoreBuffers, AllocateAndFree) {
    CMemoryStore store;
    void *p = nullptr;
    EXPECT_EQ(store.AllocateBuffer(0, &p), -1);
    EXPECT_EQ(store.AllocateBuffer(4, nullptr), -1);
    ASSERT_EQ(store.AllocateBuffer(16, &p), S_OK);
    std::memset(p, 0xAB, 16);
    EXPECT_EQ(store.BuffersOut(), 1);
    EXPECT_EQ(store.FreeBuffer(nullptr), S_OK);
    EXPECT_EQ(store.FreeBuffer(p), S_OK);
    EXPECT_EQ(store.FreeBuffer(p), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(store.BadHandles(), 1);
    void *pLeft = nullptr;
    ASSERT_EQ(store.AllocateBuffer(8, &pLeft), S_OK); // freed with the store
}

} // namespace
