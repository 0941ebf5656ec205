#include "maildir/maildir_fixture.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "log/log.h"
#include "platform/cocreate.h"
#include "platform/mimeole.h"

namespace maildirtest {

std::string Message(const std::string &strSubject, const std::string &strBody, const std::string &strExtraHeaders) {
    return "From: Alice Example <alice@example.org>\n"
           "To: Bob <bob@example.org>, carol@example.org\n"
           "Subject: " + strSubject + "\n"
           "Date: Tue, 03 Mar 2020 10:20:30 +0000\n" + strExtraHeaders +
           "Message-ID: <" + strSubject + "@example.org>\n"
           "\n" + strBody;
}

HRESULT GetSubject(IMimeMessage *pMessage, std::string &strOut) {
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    HRESULT hr = pMessage->GetProp("Subject", 0, &value);
    if (hr != S_OK) return hr;
    strOut = value.pszVal ? value.pszVal : "";
    IMimeAllocator *pAllocator = nullptr;
    if (CoCreateInstance(CLSID_IMimeAllocator, nullptr, 1, IID_IMimeAllocator,
                         reinterpret_cast<void **>(&pAllocator)) == S_OK) {
        pAllocator->PropVariantClear(&value);
        pAllocator->Release();
    }
    return S_OK;
}

std::string Subject(IMimeMessage *pMessage) {
    std::string str;
    return GetSubject(pMessage, str) == S_OK ? str : "<none>";
}

void MaildirTest::SetUp() {
    setenv("TESSEL_MAILDIR", Root().c_str(), 1);
    g_Log.InitLog(nullptr, (m_logDir.path() / "full.log").c_str(), false, 3);
}

void MaildirTest::TearDown() {
    g_Log.InitLog(nullptr, nullptr, false, 1);
    unsetenv("TESSEL_MAILDIR");
}

IStoreNamespace *MaildirTest::Open(DWORD dwReserved) {
    IStoreNamespace *pNs = nullptr;
    HRESULT hr = CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreNamespace, reinterpret_cast<void **>(&pNs));
    EXPECT_EQ(hr, S_OK);
    if (!pNs) return nullptr;
    hr = pNs->Initialize(nullptr, dwReserved);
    EXPECT_EQ(hr, S_OK);
    return pNs;
}

IStoreFolder *MaildirTest::OpenFolder(IStoreNamespace *pNs, STOREFOLDERID id) {
    IStoreFolder *pFolder = nullptr;
    EXPECT_EQ(pNs->OpenFolder(id, 0, &pFolder), S_OK);
    return pFolder;
}

IStoreFolder *MaildirTest::OpenSpecial(IStoreNamespace *pNs, SPECIALFOLDER sf) {
    IStoreFolder *pFolder = nullptr;
    EXPECT_EQ(pNs->OpenSpecialFolder(sf, 0, &pFolder), S_OK);
    return pFolder;
}

std::vector<FOLDERPROPS> MaildirTest::Folders(IStoreNamespace *pNs, STOREFOLDERID idParent) {
    std::vector<FOLDERPROPS> folders;
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    for (HRESULT hr = pNs->GetFirstSubFolder(idParent, &props, &hEnum); hr == S_OK;
         hr = pNs->GetNextSubFolder(hEnum, &props))
        folders.push_back(props);
    if (hEnum) pNs->GetSubFolderClose(hEnum);
    return folders;
}

STOREFOLDERID MaildirTest::FolderId(IStoreNamespace *pNs, const std::string &strName) {
    std::vector<STOREFOLDERID> pending{FOLDERID_ROOT};
    while (!pending.empty()) {
        STOREFOLDERID idParent = pending.back();
        pending.pop_back();
        for (const FOLDERPROPS &props : Folders(pNs, idParent)) {
            if (strName == props.szName) return props.dwFolderId;
            pending.push_back(props.dwFolderId);
        }
    }
    ADD_FAILURE() << "no folder " << strName;
    return FOLDERID_INVALID;
}

std::vector<Listed> MaildirTest::List(IStoreFolder *pFolder, DWORD dwFlags) {
    std::vector<Listed> listed;
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    HRESULT hr = pFolder->GetFirstMessage(dwFlags, 0, MESSAGEID_FIRST, &props, &hEnum);
    while (hr == S_OK) {
        listed.push_back({props.dwMessageId, props.dwState, props.pszSubject ? props.pszSubject : ""});
        pFolder->FreeMessageProps(&props);
        hr = pFolder->GetNextMessage(hEnum, dwFlags, &props);
    }
    EXPECT_EQ(hr, S_FALSE);
    if (hEnum) pFolder->GetMessageClose(hEnum);
    return listed;
}

std::string MaildirTest::Bytes(IStoreFolder *pFolder, MESSAGEID id) {
    IStream *pStream = nullptr;
    if (pFolder->OpenMessage(id, IID_IStream, reinterpret_cast<void **>(&pStream)) != S_OK) return "<cannot open>";
    std::string str;
    char buf[4096];
    ULONG cb = 0;
    while (pStream->Read(buf, sizeof(buf), &cb) == S_OK && cb > 0) str.append(buf, cb);
    pStream->Release();
    return str;
}

MESSAGEID MaildirTest::Save(IStoreFolder *pFolder, const std::string &strText, DWORD dwFlags) {
    IStream *pStream = nullptr;
    EXPECT_EQ(CreateStreamOnBytes(strText.data(), strText.size(), &pStream), S_OK);
    MESSAGEID id = MESSAGEID_INVALID;
    EXPECT_EQ(pFolder->SaveMessage(IID_IStream, pStream, dwFlags, &id), S_OK);
    pStream->Release();
    return id;
}

std::string MaildirTest::LogText() const { return ReadFileText(m_logDir.path() / "full.log"); }

} // namespace maildirtest
