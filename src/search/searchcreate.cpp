// CDuplicateSearch: construction, creation with its corrections, clearing, and opening items through the folder
// map.
#include <cstring>

#include "compare/propdesccopy.h"
#include "log/log.h"
#include "platform/text.h"
#include "search/duplicatesearch.h"

namespace {

constexpr const char *kCreateLabel = "CDuplicateSearch::Create";

constexpr int32_t kMostFilled = 0;
constexpr int32_t kFieldValue = 5;
constexpr int32_t kLastDefinition = 7;

TagArrayPtr NewTagArray(ULONG nRoom)
{
    auto *p = static_cast<SPropTagArray *>(std::calloc(1, CbNewSPropTagArray(nRoom)));
    return TagArrayPtr(p);
}

} // namespace

CDuplicateSearch::CDuplicateSearch() : m_pCompare(nullptr), m_nAdded(0), m_OD{}, m_nProps(0) {}

CDuplicateSearch::~CDuplicateSearch() { Clear(); }

void CDuplicateSearch::Create(ICompare *pCompare, const PropList *pProps, const OriginalDefinition *pOD)
{
    Clear();
    m_pCompare = pCompare;

    OriginalDefinition od{};
    if (pOD)
        od = *pOD;
    m_OD = od;
    m_OD.szValue = nullptr;
    if (od.nDefinition == kFieldValue && od.nFieldType == static_cast<int32_t>(PT_STRING8)) {
        // The wanted text is matched ignoring case: keep it lower-cased once, here.
        m_strFieldValue = od.szValue ? od.szValue : "";
        CharLowerA(m_strFieldValue.data());
        m_OD.szValue = m_strFieldValue.c_str();
    }
    m_OD.nField = -1;

    uint32_t nInput = (pProps && pProps->pProps) ? pProps->nProps : 0;
    m_pProps.reset(new PropDesc[nInput + 1]{});
    m_lpInfoPropTags = NewTagArray(nInput);
    m_lpInfoStreamTags = NewTagArray(nInput);
    m_lpCmpPropTags = NewTagArray(nInput);
    m_lpCmpStreamTags = NewTagArray(nInput);

    int32_t k = 0;
    for (uint32_t i = 0; i < nInput; i++) {
        const PropDesc &desc = pProps->pProps[i];
        if (desc.nInterface != 0 && desc.nInterface != 1) {
            g_Log.Error(kCreateLabel, 0, "Ignoring prop with not supported interface(%d)\n",
                        static_cast<int>(desc.nInterface));
            continue;
        }
        CopyPropDesc(&m_pProps[k], desc);
        if (od.nDefinition == kFieldValue && od.nField == static_cast<int32_t>(i))
            m_OD.nField = k;
        k++;
    }
    m_nProps = k;

    if (m_OD.nDefinition == kFieldValue && m_OD.nField == -1) {
        m_OD.nDefinition = kMostFilled;
        g_Log.Error(kCreateLabel, 0, "FieldValue original definition:bad field, using MostFilled");
    }
    if (m_OD.nDefinition < 0 || m_OD.nDefinition > kLastDefinition) {
        g_Log.Error(kCreateLabel, 0, "Invalid original definition(%d), using MostFilled\n", m_OD.nDefinition);
        m_OD.nDefinition = kMostFilled;
    }
    m_nAdded = 0;
}

void CDuplicateSearch::Clear()
{
    DestroySearchProps();
    m_EmptySignatures.Reset(0);

    if (m_pProps) {
        for (int32_t i = 0; i < m_nProps; i++)
            FreePropDescStrings(&m_pProps[i]);
        m_pProps.reset();
    }
    m_nProps = 0;

    // Folder handles are opaque here; the adaptor that made them releases them.
    for (auto &[strFolder, hFolder] : m_Folders) {
        if (hFolder && m_pCompare)
            m_pCompare->CloseFolder(&hFolder);
    }
    m_Folders.clear();

    m_lpInfoPropTags.reset();
    m_lpInfoStreamTags.reset();
    m_lpCmpPropTags.reset();
    m_lpCmpStreamTags.reset();

    for (SearchItem *pItem : m_Items)
        ReleaseItemValues(m_pCompare, pItem);
    m_Items.clear();
    m_ItemStore.clear();
    m_Ranks.clear();
    m_ItemIDs.Clear();
    m_FolderIDs.clear();

    m_Groups.clear();
    m_Changes.clear();
    m_WithEquals.clear();

    m_strFieldValue.clear();
    m_OD = OriginalDefinition{};
    m_nAdded = 0;
    m_pCompare = nullptr; // last: the items' values went back through it
}

HRESULT CDuplicateSearch::OpenItem(SearchItem *pItem, HITEM *phItem)
{
    *phItem = nullptr;
    HFOLDER hFolder = nullptr;
    auto it = m_Folders.find(pItem->FolderID);
    if (it != m_Folders.end()) {
        hFolder = it->second;
    } else {
        HRESULT hr = m_pCompare->OpenFolder(pItem->FolderID, &hFolder);
        if (hr != S_OK)
            return hr;
        m_Folders.emplace(pItem->FolderID, hFolder);
    }
    return m_pCompare->OpenFolderItem(hFolder, pItem->ItemID, phItem, 0);
}

void CDuplicateSearch::CloseItem(HITEM *phItem) { m_pCompare->CloseItem(phItem); }

const char *CDuplicateSearch::KeepFolderID(std::string_view folderID)
{
    auto it = m_FolderIDs.find(folderID);
    if (it == m_FolderIDs.end())
        it = m_FolderIDs.emplace(folderID).first;
    return it->c_str();
}

ULONG CDuplicateSearch::CmpTagCount() const
{
    return (m_lpCmpPropTags ? m_lpCmpPropTags->cValues : 0) + (m_lpCmpStreamTags ? m_lpCmpStreamTags->cValues : 0);
}
