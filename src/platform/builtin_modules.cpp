// The provider modules linked into this build: the address book over vCard files.
#include "platform/builtin_modules.h"

#include "platform/wab.h"

namespace {

const BuiltinExport kVCardExports[] = {{"WABOpen", reinterpret_cast<FARPROC>(&WABOpen)}};

const BuiltinModule kBuiltinModules[] = {{kszVCardModuleName, kVCardExports, 1}};

} // namespace

const BuiltinModule *BuiltinModules(size_t *pc) {
    *pc = sizeof(kBuiltinModules) / sizeof(kBuiltinModules[0]);
    return kBuiltinModules;
}
