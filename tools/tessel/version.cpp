// --version: names the tool's version and the version and file of the library that was actually loaded, which is
// what matters when several builds are about.
#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>

#include <CLI/CLI.hpp>

#include "commands.h"

namespace {

// The real file of the loaded library, links resolved; its name ends in the version the build gave it
// ("libtessel.so.0.1.0").
std::string LoadedLibraryPath() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void *>(&CreateTessel), &info) || !info.dli_fname) return std::string();
    char szReal[PATH_MAX];
    return realpath(info.dli_fname, szReal) ? std::string(szReal) : std::string(info.dli_fname);
}

std::string VersionFromLibraryName(const std::string &path) {
    const size_t nPos = path.rfind(".so.");
    return nPos == std::string::npos ? std::string() : path.substr(nPos + 4);
}

std::string VersionText() {
    const std::string path = LoadedLibraryPath();
    const std::string version = VersionFromLibraryName(path);
    return std::string("tessel ") + TESSEL_TOOL_VERSION + "\nlibtessel " +
           (version.empty() ? "(version unknown)" : version) + " (" + (path.empty() ? "location unknown" : path) +
           ")";
}

} // namespace

void RegisterVersionFlag(CLI::App &app) {
    app.set_version_flag("--version", VersionText, "print the versions of the tool and of the library, and exit");
}
