// Showing a message's source in the platform's viewer: the one place where the library shows anything.
#include "log/log.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "platform/loader.h"

HRESULT COELib::DisplayItemSource(const char *szItemEntry, HWND hwndParent) {
    HITEM hItem = nullptr;
    HRESULT hr = OpenItem(szItemEntry, &hItem);
    if (FAILED(hr)) return hr;
    // The viewer is looked up for each call: it exists only while one is configured.
    HMODULE hModule = LoadLibraryA(kszInetCommModuleName);
    if (!hModule) {
        g_Log.Error("COELib::DisplayItemSource", 0, "LoadLibrary failed");
        hr = -1;
    } else {
        auto pfnViewSource = reinterpret_cast<PFNMIMEEDITVIEWSOURCE>(GetProcAddress(hModule, "MimeEditViewSource"));
        if (!pfnViewSource) {
            g_Log.Error("COELib::DisplayItemSource", 0, "GetProcAddress failed");
            hr = -2;
        } else {
            hr = pfnViewSource(hwndParent, static_cast<OEOpenItem *>(hItem)->pMessage);
        }
        FreeLibrary(hModule);
    }
    CloseItem(&hItem);
    return hr;
}
