#include "mimetestutil.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "providers/mime/bytestream.h"
#include "providers/mime/messagelater.h"

namespace mimetest {

std::string HrText(HRESULT hr) {
    char sz[32];
    std::snprintf(sz, sizeof(sz), "hr=0x%08X", static_cast<unsigned>(hr));
    return sz;
}

void MakeStream(const std::string &strData, IStream **ppStream) {
    ASSERT_EQ(S_OK, MimeCreateByteStream(strData, ppStream));
}

void LoadMessage(const std::string &strSource, IMimeMessage **ppMessage) {
    ASSERT_EQ(S_OK, MimeOleCreateMessage(nullptr, ppMessage));
    Ref<IStream> pStream;
    MakeStream(strSource, &pStream);
    ASSERT_EQ(S_OK, (*ppMessage)->Load(pStream.get()));
}

std::string ReadAll(IStream *pStream) {
    std::string str;
    char buffer[4096];
    for (;;) {
        ULONG cb = 0;
        if (FAILED(pStream->Read(buffer, sizeof(buffer), &cb)) || cb == 0) break;
        str.append(buffer, cb);
    }
    return str;
}

std::string SaveToString(IMimeMessage *pMessage) {
    Ref<IStream> pStream;
    MakeStream("", &pStream);
    EXPECT_EQ(S_OK, pMessage->Save(pStream.get(), 1));
    pStream->Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr);
    return ReadAll(pStream.get());
}

std::string TextProp(IMimeMessage *pMessage, const char *pszName, DWORD dwFlags) {
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    HRESULT hr = pMessage->GetProp(pszName, dwFlags, &value);
    if (hr != S_OK) return HrText(hr);
    std::string str = value.pszVal;
    std::free(value.pszVal);
    return str;
}

std::string TextBody(IMimeMessage *pMessage, DWORD dwTxtType) {
    Ref<IStream> pStream;
    HBODY hBody = 0;
    HRESULT hr = pMessage->GetTextBody(dwTxtType, IET_BINARY, &pStream, &hBody);
    if (hr != S_OK) return HrText(hr);
    EXPECT_NE(0u, hBody);
    return ReadAll(pStream.get());
}

std::string Addresses(IMimeMessage *pMessage, DWORD dwType, ADDRESSFORMAT format) {
    LPSTR psz = nullptr;
    HRESULT hr = pMessage->GetAddressFormat(dwType, format, &psz);
    if (hr != S_OK) return HrText(hr);
    std::string str = psz;
    std::free(psz);
    return str;
}

std::vector<HBODY> Attachments(IMimeMessage *pMessage) {
    ULONG c = 0;
    HBODY *rgh = nullptr;
    EXPECT_EQ(S_OK, pMessage->GetAttachments(&c, &rgh));
    std::vector<HBODY> rg(rgh, rgh + c);
    std::free(rgh);
    return rg;
}

std::string DisplayName(IMimeMessage *pMessage, HBODY hBody) {
    Ref<IMimeBody> pBody;
    HRESULT hr = pMessage->BindToObject(hBody, IID_IMimeBody, reinterpret_cast<void **>(&pBody));
    if (hr != S_OK) return HrText(hr);
    LPSTR psz = nullptr;
    hr = pBody->GetDisplayName(&psz);
    if (hr != S_OK) return HrText(hr);
    std::string str = psz;
    std::free(psz);
    return str;
}

std::string BodyData(IMimeMessage *pMessage, HBODY hBody) {
    Ref<IStream> pStream;
    HRESULT hr = pMessage->BindToObject(hBody, IID_IStream, reinterpret_cast<void **>(&pStream));
    if (hr != S_OK) return HrText(hr);
    return ReadAll(pStream.get());
}

namespace {

class CFunctionReader final : public IMimeLaterReader {
public:
    CFunctionReader(std::function<HRESULT(std::string &)> fnRead,
                    std::function<HRESULT(std::string &, bool *)> fnReadHead)
        : m_fnRead(std::move(fnRead)), m_fnReadHead(std::move(fnReadHead)) {}
    HRESULT Read(std::string &strOut) override { return m_fnRead(strOut); }
    HRESULT ReadHead(std::string &strOut, bool *pbWhole) override {
        return m_fnReadHead ? m_fnReadHead(strOut, pbWhole) : IMimeLaterReader::ReadHead(strOut, pbWhole);
    }

private:
    std::function<HRESULT(std::string &)> m_fnRead;
    std::function<HRESULT(std::string &, bool *)> m_fnReadHead;
};

} // namespace

HRESULT OpenMessageLater(std::function<HRESULT(std::string &)> fnRead, IMimeMessage **ppMessage,
                         std::function<HRESULT(std::string &, bool *)> fnReadHead) {
    return MimeOpenMessageLater(std::make_unique<CFunctionReader>(std::move(fnRead), std::move(fnReadHead)),
                                ppMessage);
}

} // namespace mimetest
