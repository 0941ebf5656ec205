// Helpers of the MIME tests: messages from literal text, and the reads the tests repeat.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/mimeole.h"

namespace mimetest {

// A reference that is released at the end of the scope.
template <class T>
class Ref {
public:
    Ref() = default;
    ~Ref() { SafeRelease(m_p); }
    Ref(const Ref &) = delete;
    Ref &operator=(const Ref &) = delete;
    T **operator&() { return &m_p; }
    T *operator->() const { return m_p; }
    T *get() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    T *m_p = nullptr;
};

// A message parsed from the text through IPersistStreamInit::Load.
void LoadMessage(const std::string &strSource, IMimeMessage **ppMessage);

// Every byte of a stream from its current position.
std::string ReadAll(IStream *pStream);

// What Save writes.
std::string SaveToString(IMimeMessage *pMessage);

// A header as text (flags 0), or the HRESULT as "hr=0x..." when it fails.
std::string TextProp(IMimeMessage *pMessage, const char *pszName, DWORD dwFlags = 0);

// The text body of that kind, or "hr=0x..." when there is none.
std::string TextBody(IMimeMessage *pMessage, DWORD dwTxtType);

// GetAddressFormat as text, or "hr=0x...".
std::string Addresses(IMimeMessage *pMessage, DWORD dwType, ADDRESSFORMAT format);

// The attachments' handles.
std::vector<HBODY> Attachments(IMimeMessage *pMessage);

// A body's display name and decoded content.
std::string DisplayName(IMimeMessage *pMessage, HBODY hBody);
std::string BodyData(IMimeMessage *pMessage, HBODY hBody);

// A stream over the bytes.
void MakeStream(const std::string &strData, IStream **ppStream);

std::string HrText(HRESULT hr);

// A message read later through these functions; without fnReadHead, every read reads all of it.
HRESULT OpenMessageLater(std::function<HRESULT(std::string &)> fnRead, IMimeMessage **ppMessage,
                         std::function<HRESULT(std::string &, bool *pbWhole)> fnReadHead = nullptr);

} // namespace mimetest
