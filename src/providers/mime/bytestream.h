// The stream the MIME objects hand out: bytes in memory, readable, writable and seekable.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/com.h"

// Bytes that a message holds and the streams it hands out read in place. They never change once made: new bytes
// are a new buffer, so a stream over the old ones keeps them alive and keeps reading them.
class CMimeSharedBytes {
public:
    CMimeSharedBytes() = default;
    explicit CMimeSharedBytes(std::string str) : m_pBytes(std::make_shared<const std::string>(std::move(str))) {}

    const std::string &Str() const;

private:
    friend HRESULT MimeCreateByteStream(const CMimeSharedBytes &bytes, std::string_view svPart, IStream **ppStream);
    std::shared_ptr<const std::string> m_pBytes; // null for no bytes
};

// A new stream over the bytes, positioned at 0; the caller owns the one reference.
HRESULT MimeCreateByteStream(std::string strData, IStream **ppStream);
// A new stream over svPart, a part of bytes.Str(), read in place; a write or a resize gives the stream its own
// copy first.
HRESULT MimeCreateByteStream(const CMimeSharedBytes &bytes, std::string_view svPart, IStream **ppStream);
