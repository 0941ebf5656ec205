// The module loader: a process-wide list of modules, the built-in providers first, each with a reference count.
#include "platform/loader.h"

#include <cstring>
#include <list>
#include <string>

#include "platform/builtin_modules.h"
#include "platform/errors.h"

struct HINSTANCE__ {
    std::string strName;
    const BuiltinExport *pExports;
    size_t cExports;
    ULONG cLoads;
    void *(*pfnLookup)(const char *pszName);
};

namespace {

bool EqualNoCase(const char *psz1, const char *psz2) {
    for (;; ++psz1, ++psz2) {
        char c1 = *psz1, c2 = *psz2;
        if (c1 >= 'A' && c1 <= 'Z') c1 = static_cast<char>(c1 - 'A' + 'a');
        if (c2 >= 'A' && c2 <= 'Z') c2 = static_cast<char>(c2 - 'A' + 'a');
        if (c1 != c2) return false;
        if (!c1) return true;
    }
}

// The last component of a path, with either separator.
const char *BaseName(const char *pszPath) {
    const char *pszBase = pszPath;
    for (const char *p = pszPath; *p; ++p)
        if (*p == '/' || *p == '\\') pszBase = p + 1;
    return pszBase;
}

// A list, so that handles (addresses of its elements) stay valid while modules come and go.
std::list<HINSTANCE__> &Modules() {
    static std::list<HINSTANCE__> s_modules = [] {
        std::list<HINSTANCE__> modules;
        size_t cBuiltin = 0;
        const BuiltinModule *pBuiltin = BuiltinModules(&cBuiltin);
        for (size_t i = 0; i < cBuiltin; ++i)
            modules.push_back(
                {pBuiltin[i].pszName, pBuiltin[i].pExports, pBuiltin[i].cExports, 0, pBuiltin[i].pfnLookup});
        return modules;
    }();
    return s_modules;
}

HINSTANCE__ *FindModule(const char *pszName) {
    if (!pszName) return nullptr;
    const char *pszBase = BaseName(pszName);
    for (HINSTANCE__ &module : Modules())
        if (EqualNoCase(module.strName.c_str(), pszBase)) return &module;
    return nullptr;
}

bool IsModule(HMODULE hModule) {
    for (HINSTANCE__ &module : Modules())
        if (&module == hModule) return true;
    return false;
}

} // namespace

HMODULE LoadLibraryA(LPCSTR pszName) {
    HINSTANCE__ *pModule = FindModule(pszName);
    if (!pModule) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    ++pModule->cLoads;
    return pModule;
}

FARPROC GetProcAddress(HMODULE hModule, LPCSTR pszProcName) {
    if (!IsModule(hModule) || hModule->cLoads == 0 || !pszProcName) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    for (size_t i = 0; i < hModule->cExports; ++i)
        if (std::strcmp(hModule->pExports[i].pszName, pszProcName) == 0) return hModule->pExports[i].pfn;
    if (hModule->pfnLookup)
        if (void *pfn = hModule->pfnLookup(pszProcName)) return reinterpret_cast<FARPROC>(pfn);
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

BOOL FreeLibrary(HMODULE hModule) {
    if (!IsModule(hModule) || hModule->cLoads == 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return false;
    }
    --hModule->cLoads;
    return true;
}

HMODULE GetModuleHandleA(LPCSTR pszName) {
    HINSTANCE__ *pModule = FindModule(pszName);
    if (!pModule || pModule->cLoads == 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return pModule;
}

BOOL AddBuiltinModule(LPCSTR pszName, const BuiltinExport *pExports, size_t cExports) {
    if (!pszName || !*pszName || (cExports && !pExports) || FindModule(pszName)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    Modules().push_back({pszName, pExports, cExports, 0, nullptr});
    return true;
}

BOOL RemoveBuiltinModule(LPCSTR pszName) {
    HINSTANCE__ *pModule = FindModule(pszName);
    if (!pModule || pModule->cLoads != 0) {
        SetLastError(pModule ? ERROR_BUSY : ERROR_MOD_NOT_FOUND);
        return false;
    }
    Modules().remove_if([pModule](const HINSTANCE__ &module) { return &module == pModule; });
    return true;
}
