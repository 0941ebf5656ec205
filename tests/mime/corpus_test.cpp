// Every message of the shared corpus: every read works, an unedited save is the file, and an edited one keeps
// everything that was not edited.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "mimetestutil.h"
#include "support/file_text.h"
#include "support/paths.h"

using namespace mimetest;

namespace {

using testsupport::ReadFileText;

// What a reader sees of a message: header rows, text bodies, attachments with names and content.
struct Snapshot {
    std::vector<std::string> rgRows;
    std::string strPlain, strHtml;
    std::vector<std::string> rgAttachments;
    std::string strFrom, strTo;
};

Snapshot Take(IMimeMessage *pMessage, const char *pszSkipHeader) {
    Snapshot s;
    Ref<IMimeHeaderTable> pTable;
    EXPECT_EQ(S_OK, pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)));
    FINDHEADER find{};
    HHEADERROW hRow = 0;
    for (HRESULT hr = pTable->FindFirst(&find, &hRow); hr == S_OK; hr = pTable->FindNext(&find, &hRow)) {
        LPSTR pszRow = nullptr, pszValue = nullptr;
        EXPECT_EQ(S_OK, pTable->GetRowData(hRow, HTF_NAMEINDATA, &pszRow, nullptr));
        EXPECT_EQ(S_OK, pTable->GetRowData(hRow, 0, &pszValue, nullptr));
        std::string strRow = pszRow;
        if (strRow.compare(0, std::strlen(pszSkipHeader), pszSkipHeader) != 0) s.rgRows.push_back(pszValue);
        std::free(pszRow);
        std::free(pszValue);
    }
    s.strPlain = TextBody(pMessage, TXT_PLAIN);
    s.strHtml = TextBody(pMessage, TXT_HTML);
    for (HBODY h : Attachments(pMessage)) {
        std::string strData = BodyData(pMessage, h);
        // GMime writes an attached message with an empty body followed by an empty line: compare without it.
        PROPVARIANT value{};
        value.vt = VT_LPSTR;
        if (pMessage->GetBodyProp(h, "Content-Type", 0, &value) == S_OK) {
            if (std::string(value.pszVal).compare(0, 8, "message/") == 0)
                while (!strData.empty() && strData.back() == '\n') strData.pop_back();
            std::free(value.pszVal);
        }
        s.rgAttachments.push_back(DisplayName(pMessage, h) + ":" + strData);
    }
    s.strFrom = Addresses(pMessage, IAT_FROM, AFT_DISPLAY_FRIENDLY);
    s.strTo = Addresses(pMessage, IAT_TO | IAT_CC, AFT_DISPLAY_EMAIL);
    return s;
}

TEST(CorpusTest, EveryMessageReadsAndSavesUnchanged) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::vector<std::filesystem::path> rgPaths = testsupport::SharedCorpusMessages();
    ASSERT_FALSE(rgPaths.empty());
    for (const auto &path : rgPaths) {
        SCOPED_TRACE(path.string());
        Ref<IMimeMessage> pMessage;
        ASSERT_EQ(S_OK, MimeOleOpenMessageFile(path.c_str(), &pMessage));
        for (const char *pszName : {"Subject", "Date", "Received", "Message-ID", "X-Priority"}) {
            for (VARTYPE vt : {VT_LPSTR, VT_I4, VT_FILETIME}) {
                PROPVARIANT value{};
                value.vt = vt;
                HRESULT hr = pMessage->GetProp(pszName, 0, &value);
                EXPECT_TRUE(hr == S_OK || hr == MIME_E_NOT_FOUND || hr == MIME_E_INVALID_INET_DATE ||
                            hr == MIME_E_VARTYPE_NO_CONVERT)
                    << pszName << " " << HrText(hr);
                if (hr == S_OK && vt == VT_LPSTR) std::free(value.pszVal);
            }
        }
        Take(pMessage.get(), "");
        DWORD dwFlags = 0;
        EXPECT_EQ(S_OK, pMessage->GetFlags(&dwFlags));
        EXPECT_EQ(ReadFileText(path), SaveToString(pMessage.get()));
    }
}

TEST(CorpusTest, EditedMessageKeepsWhatWasNotEdited) {
    SKIP_WITHOUT_SHARED_CORPUS();
    for (const auto &path : testsupport::SharedCorpusMessages()) {
        SCOPED_TRACE(path.string());
        Ref<IMimeMessage> pMessage;
        ASSERT_EQ(S_OK, MimeOleOpenMessageFile(path.c_str(), &pMessage));
        Snapshot before = Take(pMessage.get(), "X-Tessel-Mark:");
        PROPVARIANT value{};
        value.vt = VT_LPSTR;
        value.pszVal = const_cast<char *>("edited");
        ASSERT_EQ(S_OK, pMessage->SetProp("X-Tessel-Mark", 0, &value));
        Ref<IMimeMessage> pCopy;
        LoadMessage(SaveToString(pMessage.get()), &pCopy);
        EXPECT_EQ("edited", TextProp(pCopy.get(), "X-Tessel-Mark"));
        Snapshot after = Take(pCopy.get(), "X-Tessel-Mark:");
        EXPECT_EQ(before.rgRows, after.rgRows);
        EXPECT_EQ(before.strPlain, after.strPlain);
        EXPECT_EQ(before.strHtml, after.strHtml);
        EXPECT_EQ(before.rgAttachments, after.rgAttachments);
        EXPECT_EQ(before.strFrom, after.strFrom);
        EXPECT_EQ(before.strTo, after.strTo);
    }
}

TEST(CorpusTest, MessageWithANewAttachmentKeepsEverythingElse) {
    SKIP_WITHOUT_SHARED_CORPUS();
    for (const auto &path : testsupport::SharedCorpusMessages()) {
        SCOPED_TRACE(path.string());
        Ref<IMimeMessage> pMessage;
        ASSERT_EQ(S_OK, MimeOleOpenMessageFile(path.c_str(), &pMessage));
        Snapshot before = Take(pMessage.get(), "Content-");
        Ref<IStream> pData;
        MakeStream("new attachment", &pData);
        HBODY hBody = 0;
        ASSERT_EQ(S_OK, pMessage->AttachObject(IID_IStream, pData.get(), &hBody));
        Ref<IMimeMessage> pCopy;
        LoadMessage(SaveToString(pMessage.get()), &pCopy);
        Snapshot after = Take(pCopy.get(), "Content-");
        ASSERT_FALSE(after.rgAttachments.empty());
        EXPECT_EQ("attachment.bin:new attachment", after.rgAttachments.back());
        after.rgAttachments.pop_back();
        // The top body moves into a multipart/mixed: its Content-* rows go with it, MIME-Version may be added.
        std::erase(after.rgRows, "1.0");
        std::erase(before.rgRows, "1.0");
        EXPECT_EQ(before.rgRows, after.rgRows);
        EXPECT_EQ(before.strPlain, after.strPlain);
        EXPECT_EQ(before.strHtml, after.strHtml);
        EXPECT_EQ(before.rgAttachments, after.rgAttachments);
        EXPECT_EQ(before.strFrom, after.strFrom);
        EXPECT_EQ(before.strTo, after.strTo);
    }
}

TEST(CorpusTest, KnownMessageReadsAsAMailClientShowsIt) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::filesystem::path path = testsupport::SharedDir() / "corpus" / "mail" / "mail-mime-parser" / "0222.eml";
    Ref<IMimeMessage> pMessage;
    ASSERT_EQ(S_OK, MimeOleOpenMessageFile(path.c_str(), &pMessage));
    EXPECT_EQ("The Hare and the Tortoise", TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ("Jürgen Schmürgen", Addresses(pMessage.get(), IAT_TO, AFT_DISPLAY_FRIENDLY)); // raw UTF-8 header
    EXPECT_EQ("dwsauder@example.com", Addresses(pMessage.get(), IAT_FROM, AFT_DISPLAY_EMAIL));
    EXPECT_EQ(0u, TextBody(pMessage.get(), TXT_PLAIN).find("\nThe Hare and the Tortoise"));
    std::vector<HBODY> rgh = Attachments(pMessage.get());
    ASSERT_EQ(1u, rgh.size());
    EXPECT_EQ("abc.txt", DisplayName(pMessage.get(), rgh[0]));
    EXPECT_EQ(0u, BodyData(pMessage.get(), rgh[0]).find("abcdefghijklmnopqrstuvwxyzabcdef"));
}

} // namespace
