// CDuplicateSearch: the original definition. CalcODProps reads from the store what the caller's rule needs to
// know about an item; fnCompareOriginal ranks two items by the rule; fnCompareBuildIndex by that ranking.
#include <cstring>
#include <string_view>

#include "log/log.h"
#include "platform/text.h"
#include "platform/time.h"
#include "search/duplicatesearch.h"

namespace {

constexpr const char *kCalcLabel = "CDuplicateSearch::CalcODProps";
constexpr const char *kFieldLabel = "CDuplicateSearch::CalcODProps(FieldValue)";
constexpr const char *kOriginalLabel = "CDuplicateSearch::fnCompareOriginal";

constexpr int32_t kMostFilled = 0;
constexpr int32_t kFirstAdded = 1;
constexpr int32_t kLargestValues = 2;
constexpr int32_t kLargestMessage = 4;
constexpr int32_t kFieldValue = 5;

// Counts into *pnTotal the non-empty properties of a list; a list without tags is skipped.
void AddCount(ICompare *pCompare, HITEM hItem, const SPropTagArray *pTags, bool bStream, ULONG *pSizes,
              int32_t *pnTotal)
{
    if (!pTags || pTags->cValues == 0)
        return;
    ULONG nFilled = 0;
    if (bStream)
        pCompare->CountStreamProps(hItem, pTags, &nFilled, pSizes);
    else
        pCompare->CountProps(hItem, pTags, &nFilled, pSizes);
    *pnTotal += static_cast<int32_t>(nFilled);
}

bool SameSecond(const SYSTEMTIME &a, const SYSTEMTIME &b)
{
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDay == b.wDay && a.wHour == b.wHour &&
           a.wMinute == b.wMinute && a.wSecond == b.wSecond;
}

int32_t Sign(bool bFirstBetter) { return bFirstBetter ? 1 : -1; }

} // namespace

bool CDuplicateSearch::CalcODProps(SearchItem *pItem, HITEM hItem)
{
    bool bOpened = false;
    if (!hItem) {
        OpenItem(pItem, &hItem);
        if (!hItem) {
            g_Log.Error(kCalcLabel, 0, "cant open message, see prev errors in log");
            return false;
        }
        bOpened = true;
    }

    ItemRank &rank = MakeRank(pItem);
    rank.nFilledProps = 0;
    ULONG nPropTags = m_lpCmpPropTags->cValues;
    ULONG *pSizes = nullptr;
    if (m_OD.nDefinition == kLargestValues) {
        rank.pValuesSizes.reset(new ULONG[CmpTagCount()]{});
        pSizes = rank.pValuesSizes.get();
    }
    AddCount(m_pCompare, hItem, m_lpCmpPropTags.get(), false, pSizes, &rank.nFilledProps);
    AddCount(m_pCompare, hItem, m_lpCmpStreamTags.get(), true, pSizes ? pSizes + nPropTags : nullptr,
             &rank.nFilledProps);
    AddCount(m_pCompare, hItem, m_lpInfoPropTags.get(), false, nullptr, &rank.nFilledProps);
    AddCount(m_pCompare, hItem, m_lpInfoStreamTags.get(), true, nullptr, &rank.nFilledProps);

    if (m_OD.nDefinition == kLargestMessage && rank.nMessageSize == -1) {
        ULONG nSize = 0;
        if (m_pCompare->GetItemSize(hItem, &nSize, 0) == S_OK)
            rank.nMessageSize = static_cast<int32_t>(nSize);
    }
    if (m_OD.nDefinition == kFieldValue && rank.nHasFieldValue == -1)
        TestFieldValue(rank, hItem);

    if (bOpened)
        CloseItem(&hItem);
    return true;
}

// Whether the item holds the wanted value in the chosen property. A value that can't be read is a fact about
// this item (no hit); a property whose type doesn't suit the definition would fail for every item, so the whole
// search falls back to MostFilled.
void CDuplicateSearch::TestFieldValue(ItemRank &rank, HITEM hItem)
{
    const PropDesc &desc = m_pProps[m_OD.nField];
    const ULONG nType = PROP_TYPE(desc.Tag);
    const ULONG nFieldType = static_cast<ULONG>(m_OD.nFieldType);
    bool bBad = false;
    SPropValue *lpProp = nullptr;
    void *pText = nullptr;
    rank.nHasFieldValue = 0;

    // Each step may end the test; the values read are given back in every case.
    [&] {
        if (desc.nInterface == 0) {
            HRESULT hr = m_pCompare->GetItemProp(hItem, desc.Tag, &lpProp, 0);
            if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
                g_Log.Error(kFieldLabel, 0, "GetPropValue return %d", hr);
                return;
            }
            if (!lpProp || m_pCompare->IsEmptyValue(&lpProp->Value, lpProp->ulPropTag, nullptr))
                return;
        } else {
            ULONG cb = 0;
            HRESULT hr = m_pCompare->GetStreamPropValue(hItem, desc.Tag, &pText, &cb, 1);
            if (hr != S_OK) {
                g_Log.Error(kFieldLabel, 0, "GetStreamPropValue return %d", hr);
                return;
            }
            if (cb == 0 || !pText)
                return;
        }

        if (nType != nFieldType && !(nFieldType == PT_STRING8 && nType == PT_MV_STRING8)) {
            g_Log.Error(kFieldLabel, 0, "TypeOfValue(0x%x) != TypeOfProperty(0x%x)\n", nFieldType, nType);
            bBad = true;
            return;
        }
        if (desc.nInterface == 1 && nType != PT_STRING8) {
            g_Log.Error(kFieldLabel, 0, "IID_IStream used other than PT_TSTRING?");
            bBad = true;
            return;
        }

        // A value that came back with another type than its tag promises can't be read as that type.
        if (desc.nInterface == 0 && PROP_TYPE(lpProp->ulPropTag) != nType)
            return;

        bool bHit = false;
        switch (nFieldType) {
        case PT_I2:
            bHit = static_cast<int32_t>(lpProp->Value.i) == m_OD.nI2Value;
            break;
        case PT_LONG:
            bHit = lpProp->Value.l == m_OD.nLongValue;
            break;
        case PT_DOUBLE:
            bHit = lpProp->Value.dbl == m_OD.dValue;
            break;
        case PT_BOOLEAN:
            bHit = (lpProp->Value.b != 0) == (m_OD.bValue != 0);
            break;
        case PT_STRING8:
            if (nType == PT_MV_STRING8) {
                bHit = ContainsAllTerms(*lpProp);
            } else {
                char *pszText = desc.nInterface == 1 ? static_cast<char *>(pText) : lpProp->Value.lpszA;
                CharLowerA(pszText);
                bHit = std::strstr(pszText, m_OD.szValue) != nullptr;
            }
            break;
        case PT_SYSTIME: {
            SYSTEMTIME st{};
            bHit = FileTimeToSystemTime(&lpProp->Value.ft, &st) && SameSecond(st, m_OD.stValue);
            break;
        }
        default:
            g_Log.Error(kFieldLabel, 0, "Invalid fieldtype=%d\n", m_OD.nFieldType);
            bBad = true;
            break;
        }
        if (bHit)
            rank.nHasFieldValue = 1;
    }();

    if (lpProp)
        m_pCompare->FreeItemProps(lpProp);
    if (pText)
        m_pCompare->FreeBuffer(pText);
    if (bBad) {
        g_Log.Error(kFieldLabel, 0, "Cant use FieldValue original definition for Prop.Key=%S, reset to MostFilled\n",
                    desc.Key);
        m_OD.nDefinition = kMostFilled;
    }
}

// The wanted text is a list of terms separated by CR LF; every non-empty term must occur in one of the strings.
bool CDuplicateSearch::ContainsAllTerms(const SPropValue &value) const
{
    const SLPSTRArray &strings = value.Value.MVszA;
    for (ULONG i = 0; i < strings.cValues; i++) {
        if (strings.lppszA && strings.lppszA[i])
            CharLowerA(strings.lppszA[i]);
    }

    std::string_view terms(m_OD.szValue ? m_OD.szValue : "");
    bool bAnyTerm = false;
    while (!terms.empty()) {
        size_t nEnd = terms.find("\r\n");
        std::string term(terms.substr(0, nEnd));
        terms = nEnd == std::string_view::npos ? std::string_view() : terms.substr(nEnd + 2);
        if (term.empty())
            continue;
        bAnyTerm = true;
        bool bFound = false;
        for (ULONG i = 0; i < strings.cValues && !bFound; i++)
            bFound = strings.lppszA && strings.lppszA[i] && std::strstr(strings.lppszA[i], term.c_str());
        if (!bFound)
            return false;
    }
    return bAnyTerm;
}

ItemRank &CDuplicateSearch::MakeRank(SearchItem *pItem)
{
    if (pItem->nRank == SearchItem::kNoRank) {
        pItem->nRank = static_cast<uint32_t>(m_Ranks.size());
        m_Ranks.emplace_back();
    }
    return m_Ranks[pItem->nRank];
}

int32_t CDuplicateSearch::fnCompareOriginal(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext)
{
    auto *pSearch = static_cast<CDuplicateSearch *>(pContext);
    const ItemRank &a = pSearch->RankOf(pItem1), &b = pSearch->RankOf(pItem2);
    if (a.nPriority != b.nPriority)
        return Sign(a.nPriority < b.nPriority);

    // Each definition either decides or hands over to the next one in its chain; arrival always decides.
    int32_t nDefinition = pSearch->m_OD.nDefinition;
    for (;;) {
        switch (nDefinition) {
        case kMostFilled:
            if (a.nFilledProps < 0 || b.nFilledProps < 0)
                g_Log.Error(kOriginalLabel, 0, "nFilledProps not initialized");
            else if (a.nFilledProps != b.nFilledProps)
                return Sign(a.nFilledProps > b.nFilledProps);
            nDefinition = kFirstAdded;
            break;
        case kFirstAdded:
        case 3:
        case 6:
        case 7:
            return Sign(pItem1->nIndex < pItem2->nIndex);
        case kLargestValues: {
            if (!a.pValuesSizes || !b.pValuesSizes) {
                g_Log.Error(kOriginalLabel, 0, "ValuesSizes not initialized");
                nDefinition = kFirstAdded;
                break;
            }
            int32_t nVote = 0;
            for (ULONG i = 0, n = pSearch->CmpTagCount(); i < n; i++) {
                if (a.pValuesSizes[i] > b.pValuesSizes[i])
                    nVote++;
                else if (a.pValuesSizes[i] < b.pValuesSizes[i])
                    nVote--;
            }
            if (nVote != 0)
                return Sign(nVote > 0);
            nDefinition = kMostFilled;
            break;
        }
        case kLargestMessage:
            if (a.nMessageSize < 0 || b.nMessageSize < 0)
                g_Log.Error(kOriginalLabel, 0, "nMessageSize not initialized");
            else if (a.nMessageSize != b.nMessageSize)
                return Sign(a.nMessageSize > b.nMessageSize);
            nDefinition = kMostFilled;
            break;
        case kFieldValue:
            if (a.nHasFieldValue < 0 || b.nHasFieldValue < 0)
                g_Log.Error(kOriginalLabel, 0, "nHasFieldValue not initialized");
            else if ((a.nHasFieldValue > 0) != (b.nHasFieldValue > 0))
                return Sign(a.nHasFieldValue > 0);
            nDefinition = kMostFilled;
            break;
        default:
            g_Log.Error(kOriginalLabel, 0, "Invalid OriginalDefinition");
            return -1;
        }
    }
}

int32_t CDuplicateSearch::fnCompareBuildIndex(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext)
{
    auto *pSearch = static_cast<CDuplicateSearch *>(pContext);
    int32_t nIndex1 = pSearch->RankOf(pItem1).nBuildIndex, nIndex2 = pSearch->RankOf(pItem2).nBuildIndex;
    if (nIndex1 != nIndex2)
        return Sign(nIndex1 < nIndex2);
    g_Log.Error("CDuplicateSearch::fnCompareBuildIndex", 0, "Assert - equal nBuildIndexes");
    return 0;
}
