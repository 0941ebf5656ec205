// The small part of COM that the store classes and the providers speak: result codes, GUIDs, reference-counted
// objects and streams. Written for Linux; the names and numbers are the published ones so that the store classes
// read like the interfaces they were designed against.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tessel.h"

using HRESULT = int32_t;
using ULONG = uint32_t;
using LONG = int32_t;
using DWORD = uint32_t;
using WORD = uint16_t;
using BYTE = uint8_t;
using BOOL = int32_t;
using LPSTR = char *;
using LPCSTR = const char *;
using LPWSTR = char16_t *;
using LPCWSTR = const char16_t *;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT STG_E_FILENOTFOUND = static_cast<HRESULT>(0x80030002);
inline constexpr HRESULT STG_E_PATHNOTFOUND = static_cast<HRESULT>(0x80030003);
inline constexpr HRESULT STG_E_ACCESSDENIED = static_cast<HRESULT>(0x80030005);
inline constexpr HRESULT STG_E_WRITEFAULT = static_cast<HRESULT>(0x8003001D);
inline constexpr HRESULT STG_E_READFAULT = static_cast<HRESULT>(0x8003001E);
inline constexpr HRESULT STG_E_MEDIUMFULL = static_cast<HRESULT>(0x80030070);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);

inline constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
inline constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// An errno turned into the HRESULT the platform would give (FACILITY_WIN32 style), so that a log line carries the
// cause. ENOSPC and EACCES map to their storage codes.
HRESULT HResultFromErrno(int nErrno);

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID &;
using REFCLSID = const CLSID &;

inline bool operator==(const GUID &a, const GUID &b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator!=(const GUID &a, const GUID &b) { return !(a == b); }

inline constexpr GUID GUID_NULL{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
// {00000000-0000-0000-C000-000000000046}
inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
// {0000000C-0000-0000-C000-000000000046}
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The root of every platform object: reference counting and interface queries.
struct IUnknown {
    virtual HRESULT QueryInterface(REFIID riid, void **ppv) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

// Reference counting shared by all our platform objects. Derived classes answer QueryInterface for their own
// interfaces and forward the rest here.
template <class Base>
class CRefCounted : public Base {
public:
    ULONG AddRef() override { return ++m_cRef; }
    ULONG Release() override {
        ULONG c = --m_cRef;
        if (c == 0) delete this;
        return c;
    }

protected:
    virtual ~CRefCounted() = default;

private:
    std::atomic<ULONG> m_cRef{1};
};

// Releases a reference and nulls the pointer.
template <class T>
inline void SafeRelease(T *&p) {
    if (p) {
        p->Release();
        p = nullptr;
    }
}

struct ULARGE_INTEGER {
    uint64_t QuadPart;
};
struct LARGE_INTEGER {
    int64_t QuadPart;
};

inline constexpr DWORD STATFLAG_DEFAULT = 0;
inline constexpr DWORD STATFLAG_NONAME = 1;
inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;
inline constexpr DWORD STGC_DEFAULT = 0;

struct STATSTG {
    char *pwcsName; // always null: we only answer STATFLAG_NONAME
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
};

// A byte stream: the logic reads, sizes and writes through it.
struct IStream : IUnknown {
    virtual HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) = 0;
    virtual HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) = 0;
    virtual HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) = 0;
    virtual HRESULT SetSize(ULARGE_INTEGER libNewSize) = 0;
    virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT Stat(STATSTG *pstatstg, DWORD grfStatFlag) = 0;

protected:
    ~IStream() = default;
};

// The base of every stream class: reference-counted, answering for IUnknown and IStream.
class CStreamBase : public CRefCounted<IStream> {
public:
    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IStream) {
            AddRef();
            *ppv = static_cast<IStream *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
};

// A growable stream in memory, positioned at 0. The caller owns the one reference it gets.
HRESULT CreateStreamOnHGlobal(void *hGlobal, BOOL fDeleteOnRelease, IStream **ppStream);

// A stream over a copy of the given bytes, positioned at 0.
HRESULT CreateStreamOnBytes(const void *pData, size_t cb, IStream **ppStream);
