// The provider modules linked into this build: the address book over vCard files, and the MIME provider's
// entry points under the name the message store classes load them by.
#include "platform/builtin_modules.h"

#include "platform/mimeole.h"
#include "platform/wab.h"

namespace {

const BuiltinExport kVCardExports[] = {{"WABOpen", reinterpret_cast<FARPROC>(&WABOpen)}};

const BuiltinModule kBuiltinModules[] = {
    {kszVCardModuleName, kVCardExports, 1},
    {kszMimeModuleName, nullptr, 0, &MimeOleGetProcAddress},
};

} // namespace

const BuiltinModule *BuiltinModules(size_t *pc) {
    *pc = sizeof(kBuiltinModules) / sizeof(kBuiltinModules[0]);
    return kBuiltinModules;
}
