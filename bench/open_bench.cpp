// The providers' share of a duplicate scan: every message of every folder listed (fast), then opened as a MIME
// message to read Message-ID, Subject, From and Date, the way the store class reads compared values; with
// --body also the first block of the plain body, the way a stream comparison reads it. Prints one line of
// figures per mode.
//
// Usage: open_bench [--body] [--rounds N] STORE
//   STORE: a Maildir (TESSEL_MAILDIR is set to it).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/cocreate.h"
#include "platform/mimeole.h"
#include "platform/msgstore.h"

namespace {

size_t g_nSink = 0; // keeps the reads from being optimised away

void ReadText(IMimePropertySet *pProps, const char *pszName) {
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    if (pProps->GetProp(pszName, 0, &value) == S_OK) {
        g_nSink += strlen(value.pszVal);
        free(value.pszVal);
    }
}

void ReadMessage(IMimeMessage *pMessage, bool bBody) {
    IMimePropertySet *pProps = nullptr;
    if (pMessage->BindToObject(HBODY_ROOT, IID_IMimePropertySet, reinterpret_cast<void **>(&pProps)) != S_OK) return;
    ReadText(pProps, "Message-ID");
    ReadText(pProps, "Subject");
    ReadText(pProps, "From");
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    if (pProps->GetProp("Date", 0, &value) == S_OK) g_nSink += value.filetime.dwLowDateTime & 1;
    pProps->Release();
    if (!bBody) return;
    IStream *pStream = nullptr;
    if (pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, nullptr) == S_OK) {
        char rgBlock[256];
        ULONG cbRead = 0;
        pStream->Read(rgBlock, sizeof(rgBlock), &cbRead);
        g_nSink += cbRead;
        pStream->Release();
    }
}

// Lists every folder, then opens each message of it; the number of messages read.
size_t Scan(IStoreNamespace *pNs, const std::vector<STOREFOLDERID> &folders, bool bBody) {
    size_t c = 0;
    for (STOREFOLDERID id : folders) {
        IStoreFolder *pFolder = nullptr;
        if (pNs->OpenFolder(id, 0, &pFolder) != S_OK) continue;
        std::vector<MESSAGEID> ids;
        MESSAGEPROPS props{};
        props.cbSize = sizeof(props);
        HENUMSTORE hEnum = nullptr;
        for (HRESULT hr = pFolder->GetFirstMessage(MSGPROPS_FAST, 0, MESSAGEID_FIRST, &props, &hEnum); hr == S_OK;
             hr = pFolder->GetNextMessage(hEnum, MSGPROPS_FAST, &props)) {
            ids.push_back(props.dwMessageId);
            pFolder->FreeMessageProps(&props);
        }
        if (hEnum) pFolder->GetMessageClose(hEnum);
        for (MESSAGEID idMessage : ids) {
            MESSAGEPROPS state{};
            state.cbSize = sizeof(state);
            if (pFolder->GetMessageProps(idMessage, MSGPROPS_FAST, &state) == S_OK) pFolder->FreeMessageProps(&state);
            IMimeMessage *pMessage = nullptr;
            if (pFolder->OpenMessage(idMessage, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage)) != S_OK)
                continue;
            ReadMessage(pMessage, bBody);
            pMessage->Release();
            ++c;
        }
        pFolder->Release();
    }
    return c;
}

void CollectFolders(IStoreNamespace *pNs, STOREFOLDERID idParent, std::vector<STOREFOLDERID> &folders) {
    FOLDERPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    for (HRESULT hr = pNs->GetFirstSubFolder(idParent, &props, &hEnum); hr == S_OK;
         hr = pNs->GetNextSubFolder(hEnum, &props)) {
        folders.push_back(props.dwFolderId);
        CollectFolders(pNs, props.dwFolderId, folders);
    }
    if (hEnum) pNs->GetSubFolderClose(hEnum);
}

} // namespace

int main(int argc, char **argv) {
    bool bBody = false;
    int nRounds = 3;
    const char *pszStore = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--body")) bBody = true;
        else if (!strcmp(argv[i], "--rounds") && i + 1 < argc) nRounds = std::max(1, atoi(argv[++i]));
        else pszStore = argv[i];
    }
    if (!pszStore) {
        fprintf(stderr, "usage: open_bench [--body] [--rounds N] STORE\n");
        return 2;
    }
    setenv("TESSEL_MAILDIR", pszStore, 1);
    IStoreNamespace *pNs = nullptr;
    if (CoCreateInstance(CLSID_StoreNamespace, nullptr, 5, IID_IStoreNamespace, reinterpret_cast<void **>(&pNs)) != S_OK ||
        pNs->Initialize(nullptr, 1) != S_OK) {
        fprintf(stderr, "open_bench: cannot open the store %s\n", pszStore);
        return 1;
    }
    std::vector<STOREFOLDERID> folders;
    CollectFolders(pNs, 0, folders);
    size_t c = Scan(pNs, folders, bBody); // ids given, page cache warm
    std::vector<double> times;
    for (int i = 0; i < nRounds; ++i) {
        auto t0 = std::chrono::steady_clock::now();
        c = Scan(pNs, folders, bBody);
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    std::sort(times.begin(), times.end());
    double t = times[times.size() / 2];
    printf("open_bench%s: %zu messages, %.3f s, %.1f us/msg (checksum %zu)\n", bBody ? " --body" : "", c, t,
           c ? t / static_cast<double>(c) * 1e6 : 0.0, g_nSink);
    pNs->Release();
    return 0;
}
