// The provider modules linked into the library, as the loader offers them.
#pragma once

#include <cstddef>

#include "platform/loader.h"

struct BuiltinModule {
    const char *pszName;
    const BuiltinExport *pExports;
    size_t cExports;
};

// The built-in modules; *pc gets their number.
const BuiltinModule *BuiltinModules(size_t *pc);
