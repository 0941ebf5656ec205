// The provider modules linked into this build: the address book over vCard files, and the MIME provider's
// entry points that are found by name.
#include "platform/builtin_modules.h"

#include "platform/mimeole.h"
#include "platform/wab.h"

namespace {

const BuiltinExport kVCardExports[] = {{"WABOpen", reinterpret_cast<FARPROC>(&WABOpen)}};

const BuiltinExport kInetCommExports[] = {
    {"MimeOleInetDateToFileTime",
     reinterpret_cast<FARPROC>(static_cast<PFNMIMEOLEINETDATETOFILETIME>(&MimeOleInetDateToFileTime))}};

// The source viewer exists only while TESSEL_VIEWER names one: asked for at each look-up.
const BuiltinModule kBuiltinModules[] = {{kszVCardModuleName, kVCardExports, 1},
                                         {kszInetCommModuleName, kInetCommExports, 1, &MimeOleGetProcAddress}};

} // namespace

const BuiltinModule *BuiltinModules(size_t *pc) {
    *pc = sizeof(kBuiltinModules) / sizeof(kBuiltinModules[0]);
    return kBuiltinModules;
}
