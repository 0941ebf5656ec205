// The stream the MIME objects hand out: bytes in memory, readable, writable and seekable.
#pragma once

#include <string>

#include "platform/com.h"

// A new stream over the bytes, positioned at 0; the caller owns the one reference.
HRESULT MimeCreateByteStream(std::string strData, IStream **ppStream);
