// CWABLib: connecting to the address book and its allocator.
#include <cstring>

#include "log/log.h"
#include "platform/environment.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "wabstore/wablib.h"

namespace {

const char *const kszInitLabel = "CWAB::Init";
constexpr DWORD kcchPath = 260;

// The provider module's path from the registry; empty if the key or its value is missing.
void ReadDllPath(char (&szPath)[kcchPath]) {
    szPath[0] = '\0';
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kszWabDllPathKey, 0, KEY_READ, &hKey) != 0) return;
    DWORD cb = kcchPath;
    if (RegQueryValueExA(hKey, "", nullptr, nullptr, reinterpret_cast<BYTE *>(szPath), &cb) != 0) szPath[0] = '\0';
    szPath[kcchPath - 1] = '\0'; // a value stored without its terminator
    RegCloseKey(hKey);
}

// Expands environment variables in place; on failure the path stays as it was read.
void ExpandDllPath(char (&szPath)[kcchPath]) {
    char szExpanded[kcchPath];
    DWORD cch = ExpandEnvironmentStringsA(szPath, szExpanded, kcchPath);
    if (cch == 0)
        g_Log.Error(kszInitLabel, static_cast<int32_t>(GetLastError()), "ExpandEnvironmentStrings");
    else if (cch > kcchPath)
        g_Log.Error(kszInitLabel, 0, "ExpandEnvironmentStrings - need %d bytes", static_cast<int>(cch));
    else
        std::memcpy(szPath, szExpanded, cch);
}

} // namespace

CWABLib::CWABLib() : m_hWabDll(nullptr), m_pfnWABOpen(nullptr), m_lpAddrBook(nullptr), m_lpWABObject(nullptr) {}

CWABLib::~CWABLib() { Done(); }

bool CWABLib::Init(const char *pszFileName, bool bEnableProfiles, bool bUseOeSendMail) {
    Done();

    char szPath[kcchPath];
    ReadDllPath(szPath);
    if (std::strchr(szPath, '%')) ExpandDllPath(szPath);

    m_hWabDll = LoadLibraryA(szPath[0] ? szPath : "WAB32.DLL");
    if (!m_hWabDll) {
        g_Log.Error(kszInitLabel, static_cast<int32_t>(GetLastError()), "Cant load wab32.dll");
        Done();
        return false;
    }
    m_pfnWABOpen = reinterpret_cast<LPWABOPEN>(GetProcAddress(m_hWabDll, "WABOpen"));
    if (!m_pfnWABOpen) {
        g_Log.Error(kszInitLabel, static_cast<int32_t>(GetLastError()), "Cant find WABOpen function in wab32.dll");
        Done();
        return false;
    }

    WAB_PARAM wp{};
    wp.cbSize = sizeof(WAB_PARAM);
    wp.hwnd = nullptr;
    wp.szFileName = const_cast<LPSTR>(pszFileName);
    wp.ulFlags = (bEnableProfiles ? WAB_ENABLE_PROFILES : 0) | (bUseOeSendMail ? WAB_USE_OE_SENDMAIL : 0);
    HRESULT hr = m_pfnWABOpen(&m_lpAddrBook, &m_lpWABObject, &wp, 0);
    if (hr == S_OK) return true;
    g_Log.Error(kszInitLabel, hr, "Cant init wab");
    Done();
    return false;
}

bool CWABLib::Initialized() const { return m_hWabDll && m_pfnWABOpen && m_lpAddrBook && m_lpWABObject; }

void CWABLib::Done() {
    SafeRelease(m_lpAddrBook);
    SafeRelease(m_lpWABObject);
    if (m_hWabDll) FreeLibrary(m_hWabDll);
    m_hWabDll = nullptr;
    m_pfnWABOpen = nullptr;
}

bool CWABLib::_CheckConnected(const char *pszLabel) const {
    if (m_lpAddrBook && m_lpWABObject) return true;
    g_Log.Error(pszLabel, 0, "WAB is not initialized");
    return false;
}

HRESULT CWABLib::FreeBuffer(void *p) {
    const char *const kszLabel = "CWABLib::FreeBuffer";
    g_Log.Assert(m_lpWABObject != nullptr, kszLabel, 0);
    g_Log.Assert(p != nullptr, kszLabel, 1);
    if (!p) return -1;
    if (!m_lpWABObject) return -2;
    return m_lpWABObject->FreeBuffer(p);
}

HRESULT CWABLib::AllocateBuffer(ULONG cb, void **pp) {
    const char *const kszLabel = "CWABLib::AllocateBuffer";
    g_Log.Assert(m_lpWABObject != nullptr, kszLabel, 0);
    g_Log.Assert(pp != nullptr && cb != 0, kszLabel, 1);
    if (!pp) return -1;
    if (!m_lpWABObject) return -2;
    return m_lpWABObject->AllocateBuffer(cb, pp);
}
