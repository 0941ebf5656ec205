#include "platform/module.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tessel_version.h"

namespace {

// The package note as binutils writes it: owner "FDO", type 0xcafe1a7e, a zero-terminated JSON text.
constexpr char kPackageNoteOwner[] = "FDO";
constexpr uint32_t kPackageNoteType = 0xcafe1a7eu;

bool CopyOut(const char *psz, size_t n, char *pszBuffer, size_t nSize) {
    if (!pszBuffer || n + 1 > nSize) return false;
    std::memcpy(pszBuffer, psz, n);
    pszBuffer[n] = '\0';
    return true;
}

constexpr size_t AlignNote(size_t n) { return (n + 3) & ~size_t{3}; }

// Looks through the PT_NOTE segments of the first object dl_iterate_phdr reports, which is the program itself.
int FindProgramPackageNote(dl_phdr_info *pInfo, size_t, void *pData) {
    auto *pJson = static_cast<std::string *>(pData);
    for (ElfW(Half) i = 0; i < pInfo->dlpi_phnum; ++i) {
        const ElfW(Phdr) &phdr = pInfo->dlpi_phdr[i];
        if (phdr.p_type != PT_NOTE) continue;
        const char *p = reinterpret_cast<const char *>(pInfo->dlpi_addr + phdr.p_vaddr);
        const char *pEnd = p + phdr.p_memsz;
        while (static_cast<size_t>(pEnd - p) >= sizeof(ElfW(Nhdr))) {
            ElfW(Nhdr) nhdr;
            std::memcpy(&nhdr, p, sizeof nhdr);
            const char *pName = p + sizeof nhdr;
            const size_t nNameSpace = AlignNote(nhdr.n_namesz), nDescSpace = AlignNote(nhdr.n_descsz);
            if (nNameSpace > static_cast<size_t>(pEnd - pName) ||
                nDescSpace > static_cast<size_t>(pEnd - pName) - nNameSpace)
                break;
            const char *pDesc = pName + nNameSpace;
            if (nhdr.n_type == kPackageNoteType && nhdr.n_namesz == sizeof kPackageNoteOwner &&
                std::memcmp(pName, kPackageNoteOwner, sizeof kPackageNoteOwner) == 0) {
                pJson->assign(pDesc, strnlen(pDesc, nhdr.n_descsz));
                return 1;
            }
            p = pDesc + nDescSpace;
        }
    }
    return 1; // only the program itself is of interest
}

} // namespace

bool GetOwnModuleFileName(char *pszBuffer, size_t nSize) {
    Dl_info info{};
    link_map *pMap = nullptr;
    if (!dladdr1(reinterpret_cast<void *>(&GetOwnModuleFileName), &info, reinterpret_cast<void **>(&pMap),
                 RTLD_DL_LINKMAP))
        return false;
    // Linked into the program itself: the loader knows it only by argv[0], which may be relative.
    if (!pMap || !pMap->l_name || !*pMap->l_name) return GetProgramFileName(pszBuffer, nSize);
    return CopyOut(pMap->l_name, std::strlen(pMap->l_name), pszBuffer, nSize);
}

ModuleVersion GetOwnModuleVersion() {
    return ModuleVersion{TESSEL_VERSION_MAJOR, TESSEL_VERSION_MINOR, TESSEL_VERSION_PATCH, TESSEL_VERSION_BUILD};
}

bool GetProgramFileName(char *pszBuffer, size_t nSize) {
    char szPath[4096];
    const ssize_t n = readlink("/proc/self/exe", szPath, sizeof szPath);
    if (n <= 0 || static_cast<size_t>(n) >= sizeof szPath) return false;
    return CopyOut(szPath, static_cast<size_t>(n), pszBuffer, nSize);
}

bool GetProgramVersion(ModuleVersion *pVersion) {
    std::string json;
    dl_iterate_phdr(&FindProgramPackageNote, &json);
    return !json.empty() && ParsePackageVersion(json, pVersion);
}

bool ParsePackageVersion(std::string_view json, ModuleVersion *pVersion) {
    size_t nPos = json.find("\"version\"");
    if (nPos == std::string_view::npos) return false;
    nPos = json.find_first_not_of(" \t\r\n", nPos + 9);
    if (nPos == std::string_view::npos || json[nPos] != ':') return false;
    nPos = json.find_first_not_of(" \t\r\n", nPos + 1);
    if (nPos == std::string_view::npos || json[nPos] != '"') return false;
    const size_t nEnd = json.find('"', nPos + 1);
    if (nEnd == std::string_view::npos) return false;
    std::string_view text = json.substr(nPos + 1, nEnd - nPos - 1);
    if (const size_t nColon = text.find(':'); nColon != std::string_view::npos) text.remove_prefix(nColon + 1);

    ModuleVersion version;
    uint32_t *const out[] = {&version.nMajor, &version.nMinor, &version.nPatch, &version.nBuild};
    size_t i = 0, nField = 0;
    while (nField < 4 && i < text.size() && text[i] >= '0' && text[i] <= '9') {
        uint64_t nValue = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            nValue = nValue * 10 + static_cast<uint64_t>(text[i++] - '0');
            if (nValue > 0xFFFF) return false; // a version field is 16 bits wide
        }
        *out[nField++] = static_cast<uint32_t>(nValue);
        if (i < text.size() && text[i] == '.') ++i; else break;
    }
    if (nField == 0) return false;
    *pVersion = version;
    return true;
}
