// The provider modules linked into the library, as the loader offers them.
#pragma once

#include <cstddef>

#include "platform/loader.h"

struct BuiltinModule {
    const char *pszName;
    const BuiltinExport *pExports;
    size_t cExports;
    // For a module whose entry points come and go (one that exists only while configured): asked after the
    // table, null when it has no entry point of that name.
    void *(*pfnLookup)(const char *pszName) = nullptr;
};

// The built-in modules; *pc gets their number.
const BuiltinModule *BuiltinModules(size_t *pc);
