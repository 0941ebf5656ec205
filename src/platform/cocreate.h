// Object creation by class id, as the store classes ask for their platform objects. The classes we provide stand
// in one table in cocreate.cpp (the message store namespace, the MIME allocator); an unknown class gives
// REGDB_E_CLASSNOTREG.
#pragma once

#include "platform/com.h"

inline constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 0x4;
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);

// Creates an object of class rclsid and hands out its interface riid in *ppv (null on failure). Aggregation
// (a non-null pUnkOuter) is not supported; dwClsContext is accepted as given.
HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown *pUnkOuter, DWORD dwClsContext, REFIID riid, void **ppv);

// The factory of one class, as CoCreateInstance calls it.
using PFNCREATEINSTANCE = HRESULT (*)(REFIID riid, void **ppv);

// Puts pfnCreate in front of the built-in factory of rclsid (null takes it away again), as registering a class
// object does on other platforms; gives the override it replaced (null if there was none). Tests put their fakes behind CoCreateInstance so.
PFNCREATEINSTANCE CoRegisterClassOverride(REFCLSID rclsid, PFNCREATEINSTANCE pfnCreate);
