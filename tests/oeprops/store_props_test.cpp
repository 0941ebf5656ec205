// The message properties on a real Maildir: every tag of the table over the shared corpus of real mail, the state
// flags from the files' info flags, and the sending time that falls back to the store's own.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>

#include "frame/tessel_record.h"
#include "oestore/hex.h"
#include "oestore/oetags.h"
#include "platform/msgstore.h"
#include "store_fixture.h"
#include "support/file_text.h"
#include "support/log_capture.h"

using namespace oetest;

namespace {

using testsupport::ReadFileText;

const ULONG kAllTags[] = {
    PR_ENTRYID,         PR_OE_HASATTACH,   PR_OE_DISPLAY_BCC, PR_OE_DISPLAY_CC,   PR_OE_DISPLAY_TO,
    PR_OE_BODY,         PR_OE_FLAGGED,     PR_OE_SENDER_EMAIL, PR_OE_HEADERS,     PR_OE_PRIORITY,
    PR_OE_UNREAD,       PR_OE_RECEIVED,    PR_OE_DISPLAY_FROM, PR_OE_SENT,        PR_OE_SIZE,
    PR_OE_SUBJECT,      PR_OE_REFERENCES,  PR_OE_MESSAGE_ID,  PR_OE_STATE,        PR_OE_DELETED,
    PR_OE_SUBMITTED,    PR_OE_UNSENT,      PR_OE_RECEIVED_FLAG, PR_OE_NEWSMSG,    PR_OE_NOSECUI,
    PR_OE_VOICEMAIL,    PR_OE_REPLIED,     PR_OE_FORWARDED,   PR_OE_RCPTSENT,     PR_OE_FROM,
    PR_OE_BCC,          PR_OE_CC,          PR_OE_TO,          PR_OE_SENDER,       PR_OE_HTML_BODY,
    PR_OE_TEXT_BODY,
};
constexpr ULONG kcAllTags = sizeof(kAllTags) / sizeof(kAllTags[0]);

std::string ReadStream(IStream *pStream) {
    std::string str;
    char ab[4096];
    ULONG cb = 0;
    while (pStream->Read(ab, sizeof ab, &cb) == S_OK && cb > 0) str.append(ab, cb);
    return str;
}

class StorePropsTest : public StoreTest {
protected:
    COECompare &OE() { return m_pLib->oe; }

    // All values of one item; the test fails if the read fails as a whole.
    SPropValue *ReadAll(HITEM hItem) {
        std::vector<ULONG> block(kcAllTags + 1);
        block[0] = kcAllTags;
        std::copy(std::begin(kAllTags), std::end(kAllTags), block.begin() + 1);
        ULONG cValues = 0;
        SPropValue *pProps = nullptr;
        HRESULT hr = OE().GetItemProps(hItem, reinterpret_cast<SPropTagArray *>(block.data()), &cValues, &pProps, 0);
        EXPECT_TRUE(hr == S_OK || hr == MAPI_W_ERRORS_RETURNED) << std::hex << hr;
        EXPECT_EQ(cValues, kcAllTags);
        return pProps;
    }

    const SPropValue *Value(const SPropValue *pProps, ULONG ulTag) {
        return FindPropValue(pProps, kcAllTags, ulTag, true);
    }
};

TEST_F(StorePropsTest, EveryTagOnRealMail) {
    SKIP_WITHOUT_SHARED_CORPUS();
    fs::path corpus = testsupport::SharedDir() / "corpus" / "mail";
    std::map<std::string, fs::path> files; // by the file name the store gives it, in delivery order
    std::vector<fs::path> sources;
    for (const auto &entry : fs::recursive_directory_iterator(corpus))
        if (entry.is_regular_file() && entry.path().extension() == ".eml") sources.push_back(entry.path());
    std::sort(sources.begin(), sources.end());
    ASSERT_FALSE(sources.empty());
    std::vector<uintmax_t> sizes;
    for (const fs::path &source : sources) {
        Deliver(ReadFileText(source), m_nDelivered % 3 == 0 ? "FS" : "");
        sizes.push_back(fs::file_size(source));
    }
    Connect();
    std::vector<ListedItem> items = ListAll();
    ASSERT_EQ(items.size(), sources.size());

    int cWithText = 0, cWithAttachments = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(sources[i].string());
        const ListedItem &listed = items[i];
        HITEM hItem = nullptr;
        ASSERT_EQ(OE().OpenItem(listed.strEntry.c_str(), &hItem, 0), S_OK);
        SPropValue *pProps = ReadAll(hItem);
        ASSERT_NE(pProps, nullptr);
        for (ULONG t = 0; t < kcAllTags; ++t) {
            ULONG ulTag = pProps[t].ulPropTag;
            EXPECT_EQ(PROP_ID(ulTag), PROP_ID(kAllTags[t]));
            if (ulTag != kAllTags[t]) {
                EXPECT_EQ(PROP_TYPE(ulTag), PT_ERROR);
                EXPECT_EQ(pProps[t].Value.err, MAPI_E_NOT_FOUND) << std::hex << kAllTags[t];
            }
        }
        // The entry, the size, the state and its flags agree with the store.
        const SPropValue *pEntry = Value(pProps, PR_ENTRYID);
        ASSERT_NE(pEntry, nullptr);
        ULONG cb = 0;
        BYTE *pb = Hex2Bin(listed.strEntry.c_str(), &cb);
        EXPECT_EQ(pEntry->Value.bin.cb, 8u);
        EXPECT_EQ(std::memcmp(pEntry->Value.bin.lpb, pb, 8), 0);
        std::free(pb);
        ASSERT_NE(Value(pProps, PR_OE_SIZE), nullptr);
        EXPECT_EQ(Value(pProps, PR_OE_SIZE)->Value.ul, sizes[i]);
        ASSERT_NE(Value(pProps, PR_OE_STATE), nullptr);
        DWORD dwState = Value(pProps, PR_OE_STATE)->Value.ul;
        EXPECT_EQ(dwState, listed.item.dwState);
        EXPECT_EQ(Value(pProps, PR_OE_FLAGGED)->Value.b, (dwState & MSG_FLAGGED) ? 1 : 0);
        EXPECT_EQ(Value(pProps, PR_OE_UNREAD)->Value.b, (dwState & MSG_UNREAD) ? 1 : 0);
        EXPECT_EQ((dwState & MSG_FLAGGED) != 0, i % 3 == 0);
        ASSERT_NE(Value(pProps, PR_OE_PRIORITY), nullptr) << "a priority is always there";

        // The body values agree with the streams.
        for (ULONG ulTag : {PR_OE_TEXT_BODY, PR_OE_HTML_BODY, PR_OE_BODY}) {
            IStream *pStream = nullptr;
            HRESULT hr = OE().OpenStreamProp(hItem, ulTag, &pStream, 0);
            const SPropValue *pText = Value(pProps, ulTag);
            if (hr == S_OK) {
                ASSERT_NE(pStream, nullptr);
                std::string strStream = ReadStream(pStream);
                pStream->Release();
                std::string strValue = pText && pText->Value.lpszA ? pText->Value.lpszA : "";
                EXPECT_EQ(strValue, strStream.substr(0, strStream.find('\0'))) << std::hex << ulTag;
                if (ulTag == PR_OE_TEXT_BODY && !strValue.empty()) ++cWithText;
            } else {
                EXPECT_EQ(pStream, nullptr);
                EXPECT_TRUE(hr == MAPI_E_NOT_FOUND || (ulTag == PR_OE_BODY && hr == -2)) << std::hex << hr;
                EXPECT_EQ(pText, nullptr) << "no stream, no value";
            }
        }

        // Each attachment's size is its content's, and it is found again by its name and size.
        ULONG *pIDs = nullptr;
        ULONG cIDs = 0;
        ASSERT_EQ(OE().GetAttachments(hItem, &pIDs, &cIDs), S_OK);
        if (cIDs > 0) ++cWithAttachments;
        for (ULONG a = 0; a < cIDs; ++a) {
            ULONG aTags[] = {3, PR_OE_ATTACH_DISPLAY_NAME, PR_OE_ATTACH_NAME, PR_OE_ATTACH_SIZE};
            ULONG cValues = 0;
            SPropValue *pAttach = nullptr;
            ASSERT_EQ(OE().GetAttachProps(hItem, pIDs[a], reinterpret_cast<SPropTagArray *>(aTags), &cValues,
                                          &pAttach, 0),
                      S_OK);
            EXPECT_TRUE(OE().ValidAttachCmpProps(pAttach, cValues));
            // Another attachment of the same name and size may stand before it.
            HBODY hFound = 0;
            EXPECT_EQ(OE().m_Lib.FindAttachment(hItem, &hFound, pAttach[0].Value.lpszA, pAttach[2].Value.ul, 0), S_OK);
            EXPECT_NE(std::find(pIDs, pIDs + a + 1, hFound), pIDs + a + 1);
            LONG nResult = 9;
            EXPECT_EQ(OE().CmpAttachData(hItem, pIDs[a], hItem, pIDs[a], &nResult), S_OK);
            EXPECT_EQ(nResult, 0);
            OE().FreeAttachProps(pAttach);
        }
        OE().FreeBuffer(pIDs);
        OE().FreeItemProps(pProps);
        OE().CloseItem(&hItem);
    }
    EXPECT_GT(cWithText, 0);
    EXPECT_GT(cWithAttachments, 0);
}

TEST_F(StorePropsTest, SentFallsBackToTheStoresTimeOnABrokenDate) {
    Deliver("From: a@example.org\nSubject: broken\nDate: someday soon\n\nx\n");
    Connect();
    std::vector<ListedItem> items = ListAll();
    ASSERT_EQ(items.size(), 1u);
    HITEM hItem = nullptr;
    ASSERT_EQ(OE().OpenItem(items[0].strEntry.c_str(), &hItem, 0), S_OK);
    SPropValue *pProp = nullptr;
    EXPECT_EQ(OE().GetItemProp(hItem, PR_OE_SENT, &pProp, 0), S_OK);
    ASSERT_NE(pProp, nullptr);
    EXPECT_EQ(pProp->Value.ft.dwLowDateTime, items[0].item.ftSent.dwLowDateTime);
    EXPECT_EQ(pProp->Value.ft.dwHighDateTime, items[0].item.ftSent.dwHighDateTime);
    OE().FreeItemProps(pProp);
    OE().CloseItem(&hItem);
}

TEST_F(StorePropsTest, PendingStateChangesShowBeforeASave) {
    Deliver("From: a@example.org\nSubject: s\n\nx\n", "S");
    Connect();
    std::vector<ListedItem> items = ListAll();
    ASSERT_EQ(items.size(), 1u);
    HITEM hItem = nullptr;
    ASSERT_EQ(OE().OpenItem(items[0].strEntry.c_str(), &hItem, 0), S_OK);
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    pItem->dwSetMask = MSG_FLAGGED;
    SPropValue *pProp = nullptr;
    EXPECT_EQ(OE().GetItemProp(hItem, PR_OE_STATE, &pProp, 0), S_OK);
    EXPECT_EQ(pProp->Value.ul, MSG_FLAGGED);
    OE().FreeItemProps(pProp);
    EXPECT_EQ(pItem->dwState, 0u) << "a read leaves the handle as it was";
    OE().CloseItem(&hItem);
}

} // namespace
