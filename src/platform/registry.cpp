// The in-process registry. One tree for the whole process, filled on first use with the entries that point the
// library at its built-in providers.
#include "platform/registry.h"

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "platform/loader.h"

struct HKEY__ {
    std::string strPath; // normalised full path of an opened key
};

namespace {

struct RegValue {
    DWORD dwType;
    std::vector<BYTE> data;
};

using ValueMap = std::map<std::string, RegValue>;
using KeyMap = std::map<std::string, ValueMap>;

std::string Lower(const char *psz) {
    std::string str(psz ? psz : "");
    for (char &c : str)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return str;
}

bool IsRoot(HKEY hKey) {
    uintptr_t n = reinterpret_cast<uintptr_t>(hKey);
    return n == 0x80000001u || n == 0x80000002u;
}

// The full, lower-cased path of a sub key, without leading, trailing or doubled separators. Empty if hKey is no
// valid handle.
std::string KeyPath(HKEY hKey, const char *pszSubKey) {
    std::string strPath;
    if (IsRoot(hKey))
        strPath = std::to_string(reinterpret_cast<uintptr_t>(hKey));
    else if (hKey)
        strPath = hKey->strPath;
    else
        return std::string();
    std::string strSub = Lower(pszSubKey);
    size_t i = 0;
    while (i < strSub.size()) {
        size_t j = strSub.find('\\', i);
        if (j == std::string::npos) j = strSub.size();
        if (j > i) strPath += '\\' + strSub.substr(i, j - i);
        i = j + 1;
    }
    return strPath;
}

RegValue StringValue(const char *psz) {
    RegValue value{REG_SZ, {}};
    value.data.assign(psz, psz + std::strlen(psz) + 1);
    return value;
}

KeyMap &Registry() {
    static KeyMap s_keys = [] {
        KeyMap keys;
        keys[KeyPath(HKEY_LOCAL_MACHINE, kszWabDllPathKey)][""] = StringValue(kszVCardModuleName);
        return keys;
    }();
    return s_keys;
}

} // namespace

LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR pszSubKey, DWORD ulOptions, REGSAM samDesired, HKEY *phkResult) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    std::string strPath = KeyPath(hKey, pszSubKey);
    if (strPath.empty()) return ERROR_INVALID_HANDLE;
    if (Registry().find(strPath) == Registry().end()) return ERROR_FILE_NOT_FOUND;
    *phkResult = new HKEY__{strPath};
    return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR pszValueName, DWORD *pReserved, DWORD *pType, BYTE *pData, DWORD *pcbData) {
    if (pData && !pcbData) return ERROR_INVALID_PARAMETER;
    std::string strPath = KeyPath(hKey, nullptr);
    if (strPath.empty()) return ERROR_INVALID_HANDLE;
    auto itKey = Registry().find(strPath);
    if (itKey == Registry().end()) return ERROR_FILE_NOT_FOUND; // the key went away while open
    auto itValue = itKey->second.find(Lower(pszValueName));
    if (itValue == itKey->second.end()) return ERROR_FILE_NOT_FOUND;
    const RegValue &value = itValue->second;
    if (pType) *pType = value.dwType;
    if (!pcbData) return ERROR_SUCCESS;
    DWORD cbValue = static_cast<DWORD>(value.data.size());
    DWORD cbBuffer = *pcbData;
    *pcbData = cbValue;
    if (!pData) return ERROR_SUCCESS;
    if (cbBuffer < cbValue) return ERROR_MORE_DATA;
    if (cbValue) std::memcpy(pData, value.data.data(), cbValue);
    return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY hKey) {
    if (!hKey) return ERROR_INVALID_HANDLE;
    if (!IsRoot(hKey)) delete hKey;
    return ERROR_SUCCESS;
}

LSTATUS RegSetKeyValueA(HKEY hKey, LPCSTR pszSubKey, LPCSTR pszValueName, DWORD dwType, const void *pData,
                        DWORD cbData) {
    if (cbData && !pData) return ERROR_INVALID_PARAMETER;
    std::string strPath = KeyPath(hKey, pszSubKey);
    if (strPath.empty()) return ERROR_INVALID_HANDLE;
    RegValue value{dwType, {}};
    const BYTE *pb = static_cast<const BYTE *>(pData);
    value.data.assign(pb, pb + cbData);
    Registry()[strPath][Lower(pszValueName)] = std::move(value);
    return ERROR_SUCCESS;
}

LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR pszSubKey) {
    std::string strPath = KeyPath(hKey, pszSubKey);
    if (strPath.empty()) return ERROR_INVALID_HANDLE;
    return Registry().erase(strPath) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}
