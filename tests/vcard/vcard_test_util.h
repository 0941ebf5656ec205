// Helpers of the vCard provider tests: files, an open book, reading properties, the log.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "log/log.h"
#include "platform/wab.h"

namespace vcardtest {

inline void WriteText(const std::filesystem::path &path, const std::string &sText) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << sText;
}

inline std::string ReadText(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline std::string Bytes(const SBinary &bin) { return std::string(reinterpret_cast<const char *>(bin.lpb), bin.cb); }

// The log going to a file for the duration of a test, read back with Text().
class LogFile {
public:
    explicit LogFile(const std::filesystem::path &path) : m_path(path) {
        g_Log.InitLog(nullptr, m_path.c_str(), false, 9);
    }
    ~LogFile() { g_Log.InitLog(nullptr, nullptr, false, 1); }
    std::string Text() const { return ReadText(m_path); }

private:
    std::filesystem::path m_path;
};

// An address book opened through WABOpen, released at the end.
class Book {
public:
    explicit Book(const std::filesystem::path &path) {
        std::string sPath = path.string();
        WAB_PARAM wp{sizeof(WAB_PARAM), nullptr, sPath.data(), 0};
        hr = WABOpen(&pAddrBook, &pWab, &wp, 0);
    }
    ~Book() {
        SafeRelease(pAddrBook);
        SafeRelease(pWab);
    }
    Book(const Book &) = delete;
    Book &operator=(const Book &) = delete;

    // Entry id bytes of the containers, from the root's contents table.
    std::vector<std::string> ContainerIds(std::vector<std::string> *pNames = nullptr) {
        std::vector<std::string> ids;
        ULONG ulType = 0;
        IUnknown *pUnk = nullptr;
        EXPECT_EQ(S_OK, pAddrBook->OpenEntry(0, nullptr, nullptr, MAPI_BEST_ACCESS, &ulType, &pUnk));
        EXPECT_EQ(MAPI_ABCONT, ulType);
        IABContainer *pRoot = static_cast<IABContainer *>(pUnk);
        IMAPITable *pTable = nullptr;
        EXPECT_EQ(S_OK, pRoot->GetContentsTable(0, &pTable));
        SRowSet *pRows = nullptr;
        EXPECT_EQ(S_OK, pTable->QueryRows(1000, 0, &pRows));
        for (ULONG i = 0; i < pRows->cRows; ++i) {
            const SRow &row = pRows->aRow[i];
            for (ULONG k = 0; k < row.cValues; ++k) {
                if (row.lpProps[k].ulPropTag == PR_ENTRYID) ids.push_back(Bytes(row.lpProps[k].Value.bin));
                if (pNames && row.lpProps[k].ulPropTag == PR_DISPLAY_NAME) pNames->push_back(row.lpProps[k].Value.lpszA);
            }
            pWab->FreeBuffer(row.lpProps);
        }
        pWab->FreeBuffer(pRows);
        pTable->Release();
        pRoot->Release();
        return ids;
    }

    IABContainer *OpenContainer(const std::string &sId) {
        ULONG ulType = 0;
        IUnknown *pUnk = nullptr;
        EXPECT_EQ(S_OK, pAddrBook->OpenEntry(static_cast<ULONG>(sId.size()),
                                             reinterpret_cast<LPENTRYID>(const_cast<char *>(sId.data())), nullptr,
                                             MAPI_BEST_ACCESS, &ulType, &pUnk));
        EXPECT_EQ(MAPI_ABCONT, ulType);
        return static_cast<IABContainer *>(pUnk);
    }

    // Rows of a container's contents table with these columns; each row's values as returned, freed later.
    struct Rows {
        IWABObject *pWab = nullptr;
        SRowSet *pRows = nullptr;
        ~Rows() {
            if (!pRows) return;
            for (ULONG i = 0; i < pRows->cRows; ++i) pWab->FreeBuffer(pRows->aRow[i].lpProps);
            pWab->FreeBuffer(pRows);
        }
    };

    // The entry ids of a container's cards, in table order.
    std::vector<std::string> CardIds(const std::string &sContainer) {
        IABContainer *pCont = OpenContainer(sContainer);
        IMAPITable *pTable = nullptr;
        EXPECT_EQ(S_OK, pCont->GetContentsTable(0, &pTable));
        SizedSPropTagArrayOne cols{1, {PR_ENTRYID}};
        EXPECT_EQ(S_OK, pTable->SetColumns(reinterpret_cast<SPropTagArray *>(&cols), 0));
        Rows rows{pWab};
        EXPECT_EQ(S_OK, pTable->QueryRows(100000, 0, &rows.pRows));
        std::vector<std::string> ids;
        for (ULONG i = 0; i < rows.pRows->cRows; ++i) ids.push_back(Bytes(rows.pRows->aRow[i].lpProps[0].Value.bin));
        pTable->Release();
        pCont->Release();
        return ids;
    }

    IMAPIProp *Open(const std::string &sId, ULONG *pulType = nullptr) {
        ULONG ulType = 0;
        IUnknown *pUnk = nullptr;
        HRESULT hrOpen = pAddrBook->OpenEntry(static_cast<ULONG>(sId.size()),
                                              reinterpret_cast<LPENTRYID>(const_cast<char *>(sId.data())), nullptr,
                                              MAPI_MODIFY, &ulType, &pUnk);
        EXPECT_EQ(S_OK, hrOpen);
        if (pulType) *pulType = ulType;
        return static_cast<IMAPIProp *>(pUnk);
    }

    // One 8-bit text property ("" and false if missing).
    bool GetString(IMAPIProp *pProp, ULONG ulTag, std::string *ps, ULONG ulFlags = 0) {
        SizedSPropTagArrayOne tags{1, {ulTag}};
        ULONG c = 0;
        SPropValue *pv = nullptr;
        pProp->GetProps(reinterpret_cast<SPropTagArray *>(&tags), ulFlags, &c, &pv);
        bool bOk = pv && PROP_TYPE(pv[0].ulPropTag) == PT_STRING8;
        *ps = bOk ? pv[0].Value.lpszA : "";
        pWab->FreeBuffer(pv);
        return bOk;
    }

    HRESULT SetString(IMAPIProp *pProp, ULONG ulTag, const std::string &s) {
        SPropValue v{};
        v.ulPropTag = ulTag;
        v.Value.lpszA = const_cast<char *>(s.c_str());
        SPropProblemArray *pProblems = nullptr;
        HRESULT hrSet = pProp->SetProps(1, &v, &pProblems);
        if (pProblems) {
            hrSet = pProblems->aProblem[0].scode;
            pWab->FreeBuffer(pProblems);
        }
        return hrSet;
    }

    struct SizedSPropTagArrayOne {
        ULONG cValues;
        ULONG aulPropTag[1];
    };

    HRESULT hr = E_FAIL;
    IAddrBook *pAddrBook = nullptr;
    IWABObject *pWab = nullptr;
};

} // namespace vcardtest
