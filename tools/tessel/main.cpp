// tessel: the command-line host of libtessel. For now it only proves that the library loads and names the
// library's version.
#include <dlfcn.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tessel.h"

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

int PrintVersion() {
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    if (!pLib) {
        std::fprintf(stderr, "tessel: the library could not create a handle\n");
        return 1;
    }
    DeleteTessel(pLib);

    const std::string path = LoadedLibraryPath();
    const std::string version = VersionFromLibraryName(path);
    std::printf("tessel %s\n", TESSEL_TOOL_VERSION);
    std::printf("libtessel %s (%s)\n", version.empty() ? "(version unknown)" : version.c_str(),
                path.empty() ? "location unknown" : path.c_str());
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--version") == 0 || std::strcmp(argv[1], "version") == 0))
        return PrintVersion();
    std::fprintf(stderr, "usage: tessel --version\n");
    return 2;
}
