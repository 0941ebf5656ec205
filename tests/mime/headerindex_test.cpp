// Header reads of an unedited message come from the source's own fields; once the message is edited they come
// from GMime's parse. Both must give the same values, codes and types, on every message of the corpus.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "mimetestutil.h"
#include "providers/mime/headerindex.h"
#include "support/file_text.h"
#include "support/paths.h"

using namespace mimetest;

namespace {

using testsupport::ReadFileText;

// Every read of one header as text: the HRESULT and what came back, for each form a caller can ask for.
std::string Reads(IMimeMessage *pMessage, const char *pszName) {
    std::string str;
    for (DWORD dwFlags : {DWORD{0}, PDF_ENCODED, PDF_NAMEINDATA, PDF_ENCODED | PDF_NAMEINDATA})
        str += TextProp(pMessage, pszName, dwFlags) + "|";
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    HRESULT hr = pMessage->GetProp(pszName, 0, &value);
    str += HrText(hr) + ":" + std::to_string(hr == S_OK ? value.filetime.dwHighDateTime : 0) + "." +
           std::to_string(hr == S_OK ? value.filetime.dwLowDateTime : 0) + "|";
    value = PROPVARIANT{};
    value.vt = VT_I4;
    hr = pMessage->GetProp(pszName, 0, &value);
    str += HrText(hr) + ":" + std::to_string(hr == S_OK ? value.lVal : 0);
    return str;
}

// The names of the header rows of the top body, as GMime's table gives them, plus some that no message has.
std::set<std::string> HeaderNames(IMimeMessage *pMessage) {
    std::set<std::string> names = {"X-Not-There", "Message-ID", "Subject", "From", "Date", "Received", "Content-Type"};
    Ref<IMimeHeaderTable> pTable;
    if (pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)) != S_OK)
        return names;
    FINDHEADER find{};
    HHEADERROW hRow = 0;
    for (HRESULT hr = pTable->FindFirst(&find, &hRow); hr == S_OK; hr = pTable->FindNext(&find, &hRow)) {
        LPSTR pszRow = nullptr;
        if (pTable->GetRowData(hRow, HTF_NAMEINDATA, &pszRow, nullptr) != S_OK) continue;
        std::string strRow = pszRow;
        std::free(pszRow);
        names.insert(strRow.substr(0, strRow.find(':')));
    }
    return names;
}

// The same message with an edit elsewhere: its header reads go through GMime's parse.
void LoadEdited(const std::string &strSource, IMimeMessage **ppMessage) {
    LoadMessage(strSource, ppMessage);
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("probe");
    ASSERT_EQ(S_OK, (*ppMessage)->SetProp("X-Tessel-Probe", 0, &value));
}

void ExpectSameReads(const std::string &strSource, const std::string &strWhat) {
    Ref<IMimeMessage> pLight, pParsed;
    LoadMessage(strSource, &pLight);
    LoadEdited(strSource, &pParsed);
    for (const std::string &strName : HeaderNames(pParsed.get())) {
        if (strName != "X-Tessel-Probe") {
            EXPECT_EQ(Reads(pParsed.get(), strName.c_str()), Reads(pLight.get(), strName.c_str()))
                << strWhat << ", header " << strName;
        }
    }
}

TEST(HeaderIndexTest, EveryCorpusMessageReadsAsGMimeParsesIt) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::vector<std::filesystem::path> rgPaths = testsupport::SharedCorpusMessages();
    EXPECT_GT(rgPaths.size(), 100u);
    for (const auto &path : rgPaths) ExpectSameReads(ReadFileText(path), path.string());
}

TEST(HeaderIndexTest, OddBlocksReadAsGMimeParsesThem) {
    const char *rgSources[] = {
        "Subject: plain\n\nbody\n",
        "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?= aus\n =?ISO-8859-1?Q?M=FCnchen?=\nFrom: =?UTF-8?B?w4RsaWNl?= <a@b.c>\n\n",
        "Subject:   lots of blanks   \r\n\tand a fold  \r\nDate: Tue, 3 Mar 2020 10:20:30 +0100\r\n\r\nbody\r\n",
        "Subject: first\nSubject: second\nsubject: third\n\n",
        "X-Priority: 2 (High)\nX-Count: -17\nX-Big: 99999999999\n\n",
        "Date: not a date at all\nReceived: from a by b; Tue, 03 Mar 2020 10:20:30 +0000\n\n",
        "Subject: no blank line at the end",
        "Subject: ends without body\n",
        "\nbody without headers\n",
        "",
        "From someone@example.org Tue Mar  3 10:20:30 2020\nSubject: mbox\n\n",
        "Subject : blank before the colon\nFrom: a@b.c\n\n",
        " continuation first\nSubject: x\n\n",
        "no header here\njust text\n",
        "Subject: 8-bit \xe4\xf6\xfc text\n\n",
        "Subject: \xc3\xa4 UTF-8 text\n\n",
        "Subject: bare\rCR\n\n",
        "Empty:\nSubject:\n\n",
        "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\nSubject: x\n\nbody\n",
    };
    for (const char *psz : rgSources) ExpectSameReads(psz, std::string("source ") + psz);
}

TEST(HeaderIndexTest, TakesPlainBlocksAndDeclinesWhatGMimeReadsOtherwise) {
    CMimeHeaderIndex index;
    std::string str = "Subject: a\n b\nfrom: c\nSubject: d\n\nbody";
    ASSERT_TRUE(index.Build(str, str.find("\n\n") + 2));
    ASSERT_EQ(3u, index.Fields().size());
    ASSERT_NE(nullptr, index.Find("SUBJECT"));
    EXPECT_EQ(" a\n b\n", index.Find("SUBJECT")->svValue);
    EXPECT_EQ("from", index.Find("From")->svName);
    EXPECT_EQ(nullptr, index.Find("To"));
    for (std::string strOdd : std::vector<std::string>{"Subject: \xe4\n\n", "Sub ject: a\n\n", " a\n\n", "a\n\n",
                                                       "S: a\rb\n\n", std::string("S: a\0b\n\n", 8)}) {
        EXPECT_FALSE(index.Build(strOdd, strOdd.size())) << strOdd;
        EXPECT_FALSE(index.Valid());
        EXPECT_EQ(nullptr, index.Find("S"));
    }
}

TEST(HeaderIndexTest, AnEditAndASaveLeaveReadsCurrent) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("Subject: old\nFrom: a@b.c\n\nbody\n", &pMessage);
    EXPECT_EQ("old", TextProp(pMessage.get(), "Subject"));
    PROPVARIANT value{};
    value.vt = VT_LPSTR;
    value.pszVal = const_cast<char *>("new");
    ASSERT_EQ(S_OK, pMessage->SetProp("Subject", 0, &value));
    EXPECT_EQ("new", TextProp(pMessage.get(), "Subject"));
    Ref<IStream> pStream;
    MakeStream("", &pStream);
    ASSERT_EQ(S_OK, pMessage->Save(pStream.get(), 1));
    EXPECT_EQ("new", TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ("a@b.c", TextProp(pMessage.get(), "From"));
    ASSERT_EQ(S_OK, pMessage->DeleteProp("Subject"));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), TextProp(pMessage.get(), "Subject"));
}

} // namespace
