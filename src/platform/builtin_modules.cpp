// The provider modules linked into this build.
#include "platform/builtin_modules.h"

const BuiltinModule *BuiltinModules(size_t *pc) {
    *pc = 0;
    return nullptr;
}
