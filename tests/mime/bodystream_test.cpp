// A plain body handed out straight from the message's bytes keeps reading those bytes whatever happens to the
// message after: a release, a new load, a saved edit; and a write to such a stream changes that stream alone.
#include <gtest/gtest.h>

#include "mimetestutil.h"

using namespace mimetest;

namespace {

const std::string kBody = "Hi Robin,\n\nthe minutes of Tuesday are below.\n\n-- \nYara\n";
const std::string kMessage = "From: a@example.org\nSubject: s\nContent-Type: text/plain; charset=utf-8\n\n" + kBody;

void OpenPlainBody(IMimeMessage *pMessage, IStream **ppStream) {
    ASSERT_EQ(S_OK, pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, ppStream, nullptr));
}

std::string ReadPart(IStream *pStream, ULONG cb) {
    std::string str(cb, '\0');
    ULONG cbRead = 0;
    EXPECT_EQ(S_OK, pStream->Read(str.data(), cb, &cbRead));
    str.resize(cbRead);
    return str;
}

uint64_t SeekTo(IStream *pStream, int64_t nMove, DWORD dwOrigin) {
    LARGE_INTEGER move{};
    move.QuadPart = nMove;
    ULARGE_INTEGER pos{};
    EXPECT_EQ(S_OK, pStream->Seek(move, dwOrigin, &pos));
    return pos.QuadPart;
}

TEST(PlainBodyStream, OutlivesItsMessage) {
    Ref<IStream> pStream;
    {
        Ref<IMimeMessage> pMessage;
        LoadMessage(kMessage, &pMessage);
        OpenPlainBody(pMessage.get(), &pStream);
        EXPECT_EQ("Hi", ReadPart(pStream.get(), 2));
    }
    EXPECT_EQ(kBody.substr(2), ReadAll(pStream.get()));
}

TEST(PlainBodyStream, KeepsItsBytesWhenTheMessageLoadsOthers) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kMessage, &pMessage);
    Ref<IStream> pStream;
    OpenPlainBody(pMessage.get(), &pStream);
    std::string strOther = kMessage;
    strOther.replace(strOther.size() - kBody.size(), kBody.size(), kBody.size(), 'x');
    Ref<IStream> pOther;
    MakeStream(strOther, &pOther);
    ASSERT_EQ(S_OK, pMessage->Load(pOther.get()));
    EXPECT_EQ(std::string(kBody.size(), 'x'), TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ(kBody, ReadAll(pStream.get()));
}

TEST(PlainBodyStream, KeepsItsBytesWhenTheMessageSavesAnEdit) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kMessage, &pMessage);
    Ref<IStream> pStream;
    OpenPlainBody(pMessage.get(), &pStream);
    Ref<IStream> pNewBody;
    MakeStream("Another text.\n", &pNewBody);
    ASSERT_EQ(S_OK, pMessage->SetTextBody(TXT_PLAIN, IET_BINARY, 0, pNewBody.get(), nullptr));
    Ref<IStream> pSaved;
    MakeStream("", &pSaved);
    ASSERT_EQ(S_OK, pMessage->Save(pSaved.get(), 1));
    EXPECT_EQ("Another text.\n", TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ(kBody, ReadAll(pStream.get()));
}

TEST(PlainBodyStream, AWriteChangesThatStreamAlone) {
    Ref<IMimeMessage> pMessage;
    LoadMessage(kMessage, &pMessage);
    Ref<IStream> pWritten, pResized, pRead;
    OpenPlainBody(pMessage.get(), &pWritten);
    OpenPlainBody(pMessage.get(), &pResized);
    OpenPlainBody(pMessage.get(), &pRead);
    EXPECT_EQ(kBody.size(), SeekTo(pWritten.get(), 0, STREAM_SEEK_END)); // the body's end, not the message's
    SeekTo(pWritten.get(), 3, STREAM_SEEK_SET);
    ULONG cbWritten = 0;
    ASSERT_EQ(S_OK, pWritten->Write("Kim", 3, &cbWritten));
    EXPECT_EQ(3u, cbWritten);
    ULARGE_INTEGER size{};
    size.QuadPart = 5;
    ASSERT_EQ(S_OK, pResized->SetSize(size));
    SeekTo(pWritten.get(), 0, STREAM_SEEK_SET);
    EXPECT_EQ("Hi Kimin,\n", ReadPart(pWritten.get(), 10));
    EXPECT_EQ("Hi Ro", ReadAll(pResized.get()));
    EXPECT_EQ(kBody, ReadAll(pRead.get()));
    EXPECT_EQ(kBody, TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ(kMessage, SaveToString(pMessage.get()));
}

} // namespace
