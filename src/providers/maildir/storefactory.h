// The one entry into the Maildir provider: CoCreateInstance calls it for CLSID_StoreNamespace.
#pragma once

#include "platform/com.h"

// A new, not yet initialised store namespace; riid is IID_IStoreNamespace or IID_IUnknown.
HRESULT MaildirCreateStoreNamespace(REFIID riid, void **ppv);
