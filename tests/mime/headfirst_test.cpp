// A message read later may read its header block alone first: header reads must give what a whole read gives,
// and every call that needs more must find the whole message, the file's current one if it changed meanwhile.
#include <gtest/gtest.h>

#include <filesystem>

#include "mimetestutil.h"
#include "providers/mime/fileio.h"
#include "support/file_text.h"
#include "support/paths.h"

using namespace mimetest;

namespace {

using testsupport::ReadFileText;
using testsupport::WriteFileText;

struct ReadCounts {
    int cHead = 0;
    int cWhole = 0;
};

// A message over the file, as the store opens one: header block first, whole file when needed.
void OpenHeadFirst(const std::filesystem::path &path, ReadCounts *pCounts, IMimeMessage **ppMessage) {
    std::string strPath = path.string();
    ASSERT_EQ(S_OK, OpenMessageLater(
                        [strPath, pCounts](std::string &strOut) {
                            ++pCounts->cWhole;
                            return MimeReadFile(strPath.c_str(), strOut);
                        },
                        ppMessage,
                        [strPath, pCounts](std::string &strOut, bool *pbWhole) {
                            ++pCounts->cHead;
                            return MimeReadFileHead(strPath.c_str(), strOut, pbWhole);
                        }));
}

// Every top-header read the scan and the listing make, as one text.
std::string HeaderReads(IMimeMessage *pMessage) {
    std::string str;
    for (const char *pszName : {"Message-ID", "Subject", "From", "To", "Date", "Received", "Content-Type", "X-None"})
        for (DWORD dwFlags : {DWORD{0}, PDF_ENCODED})
            str += std::string(pszName) + "=" + TextProp(pMessage, pszName, dwFlags) + "\n";
    PROPVARIANT value{};
    value.vt = VT_FILETIME;
    HRESULT hr = pMessage->GetProp("Date", 0, &value);
    str += HrText(hr) + ":" + std::to_string(hr == S_OK ? value.filetime.dwLowDateTime : 0) + "\n";
    str += Addresses(pMessage, IAT_FROM, AFT_DISPLAY_BOTH) + "\n" + Addresses(pMessage, IAT_TO, AFT_DISPLAY_EMAIL);
    return str;
}

// The header reads, then the body, the source and the size, of a head-first message against a whole one.
void ExpectSameAsWhole(const std::filesystem::path &path, const std::string &strWhat) {
    const std::string strSource = ReadFileText(path);
    Ref<IMimeMessage> pWhole, pHeadFirst;
    LoadMessage(strSource, &pWhole);
    ReadCounts counts;
    OpenHeadFirst(path, &counts, &pHeadFirst);
    EXPECT_EQ(HeaderReads(pWhole.get()), HeaderReads(pHeadFirst.get())) << strWhat;
    EXPECT_EQ(1, counts.cHead) << strWhat;
    EXPECT_EQ(0, counts.cWhole) << strWhat;
    EXPECT_EQ(TextBody(pWhole.get(), TXT_PLAIN), TextBody(pHeadFirst.get(), TXT_PLAIN)) << strWhat;
    EXPECT_EQ(TextBody(pWhole.get(), TXT_HTML), TextBody(pHeadFirst.get(), TXT_HTML)) << strWhat;
    EXPECT_EQ(Attachments(pWhole.get()).size(), Attachments(pHeadFirst.get()).size()) << strWhat;
    EXPECT_EQ(strSource, SaveToString(pHeadFirst.get())) << strWhat;
    ULARGE_INTEGER cb{};
    EXPECT_EQ(S_OK, pHeadFirst->GetSizeMax(&cb));
    EXPECT_EQ(strSource.size(), cb.QuadPart) << strWhat;
    EXPECT_EQ(HeaderReads(pWhole.get()), HeaderReads(pHeadFirst.get())) << strWhat << " (after the whole read)";
    EXPECT_LE(counts.cWhole, 1) << strWhat;
}

std::string LongHeaderBlock(const char *pszEnd) {
    std::string str = "Subject: long\r\nFrom: Ann <ann@example.org>\r\n";
    for (int i = 0; str.size() < 20000; ++i)
        str += "Received: from host" + std::to_string(i) + " by mx; Tue, 3 Mar 2020 10:20:30 +0000\r\n";
    return str + "Message-ID: <last@example.org>\r\n" + pszEnd;
}

TEST(HeadFirstRead, ReadsUpToTheBlankLineAndSaysWhenThatIsTheWholeFile) {
    testsupport::TempDir dir;
    struct Case {
        std::string strText;
        size_t nAtLeast; // the bytes that must have been read: through the block's end
        bool bWhole;
    };
    const std::string strLong = LongHeaderBlock("\r\n") + std::string(50000, 'b');
    const Case rgCases[] = {
        {"Subject: a\n\nbody\n", 12, false},
        {"Subject: a\r\n\r\nbody\r\n", 14, false},
        {"Subject: no blank line\nFrom: a@b.c\n", 35, true},
        {"Subject: no line end at all", 27, true},
        {"\nbody only\n", 1, false},
        {"\r\nbody only\r\n", 2, false},
        {"", 0, true},
        {strLong, strLong.find("\r\n\r\n") + 4, false},
        {LongHeaderBlock(""), LongHeaderBlock("").size(), true},
    };
    for (const Case &c : rgCases) {
        std::filesystem::path path = dir.path() / "m";
        WriteFileText(path, c.strText);
        std::string strHead = "stale";
        bool bWhole = !c.bWhole;
        ASSERT_EQ(S_OK, MimeReadFileHead(path.string().c_str(), strHead, &bWhole)) << c.strText.substr(0, 40);
        EXPECT_EQ(c.bWhole, bWhole) << c.strText.substr(0, 40);
        EXPECT_GE(strHead.size(), c.nAtLeast) << c.strText.substr(0, 40);
        EXPECT_EQ(c.strText.substr(0, strHead.size()), strHead) << c.strText.substr(0, 40);
        if (c.bWhole) {
            EXPECT_EQ(c.strText, strHead);
        } else {
            // A long block is read piece by piece, not whole: the read stops a chunk past the blank line at most.
            EXPECT_LT(strHead.size(), c.nAtLeast + 8192) << c.strText.substr(0, 40);
        }
    }
}

TEST(HeadFirstRead, FailsAsAWholeReadDoes) {
    testsupport::TempDir dir;
    std::string str = "x";
    bool bWhole = true;
    EXPECT_EQ(STG_E_FILENOTFOUND, MimeReadFileHead((dir.path() / "none").string().c_str(), str, &bWhole));
    EXPECT_TRUE(str.empty());
    EXPECT_EQ(STG_E_FILENOTFOUND, MimeReadFile((dir.path() / "none").string().c_str(), str));
    EXPECT_EQ(STG_E_ACCESSDENIED, MimeReadFileHead(dir.path().string().c_str(), str, &bWhole));
    EXPECT_EQ(STG_E_ACCESSDENIED, MimeReadFile(dir.path().string().c_str(), str));
    EXPECT_EQ(E_INVALIDARG, MimeReadFileHead("", str, &bWhole));
}

TEST(HeadFirstRead, AWholeReadTakesFilesOfAnySize) {
    testsupport::TempDir dir;
    for (size_t cb : {size_t{0}, size_t{1}, size_t{65535}, size_t{65536}, size_t{65537}, size_t{300001}}) {
        std::string strText(cb, 'x');
        for (size_t i = 0; i < cb; i += 97) strText[i] = static_cast<char>('a' + i % 26);
        WriteFileText(dir.path() / "m", strText);
        std::string strOut = "stale";
        ASSERT_EQ(S_OK, MimeReadFile((dir.path() / "m").string().c_str(), strOut));
        EXPECT_EQ(strText, strOut) << cb;
    }
}

TEST(HeadFirstMessage, OddMessagesReadAsWholeOnes) {
    testsupport::TempDir dir;
    const std::string rgSources[] = {
        "Subject: plain\nFrom: Ann <ann@example.org>\nDate: Tue, 3 Mar 2020 10:20:30 +0100\n\nbody\n",
        "Subject: crlf\r\nFrom: a@b.c\r\nMessage-ID: <x@y>\r\n\r\nbody\r\nmore\r\n",
        "Subject: no blank line at the end\nFrom: a@b.c\n",
        "Subject: ends without body\n",
        "\nbody without headers\n",
        "no header here\njust text\n\nand more\n",
        "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\nFrom: =?UTF-8?B?w4RsaWNl?= <a@b.c>\n\nbody\n",
        "Subject: 8-bit \xe4\xf6\xfc text\nFrom: a@b.c\n\nbody\n",
        "From someone@example.org Tue Mar  3 10:20:30 2020\nSubject: mbox\n\nbody\n",
        "",
        LongHeaderBlock("\r\n") + "the body\r\n",
        LongHeaderBlock(""),
        "Content-Type: multipart/mixed; boundary=b\nSubject: parts\n\n--b\nContent-Type: text/plain\n\ntext\n"
        "--b\nContent-Type: text/html\n\n<p>html</p>\n--b\nContent-Type: application/octet-stream\n"
        "Content-Disposition: attachment; filename=a.bin\n\nAAAA\n--b--\n",
    };
    int i = 0;
    for (const std::string &strSource : rgSources) {
        std::filesystem::path path = dir.path() / std::to_string(i++);
        WriteFileText(path, strSource);
        ExpectSameAsWhole(path, "source " + strSource.substr(0, 60));
    }
}

TEST(HeadFirstMessage, EveryCorpusMessageReadsAsAWholeOne) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::vector<std::filesystem::path> rgPaths = testsupport::SharedCorpusMessages();
    EXPECT_GT(rgPaths.size(), 100u);
    for (const auto &path : rgPaths) ExpectSameAsWhole(path, path.string());
}

TEST(HeadFirstMessage, AFileChangedBetweenTheReadsIsTakenWholeAsItIsNow) {
    testsupport::TempDir dir;
    std::filesystem::path path = dir.path() / "m";
    WriteFileText(path, "Subject: old\nFrom: a@b.c\n\n" + std::string(10000, 'o') + "\n");
    ReadCounts counts;
    Ref<IMimeMessage> pMessage;
    OpenHeadFirst(path, &counts, &pMessage);
    EXPECT_EQ("old", TextProp(pMessage.get(), "Subject"));
    const std::string strNew = "Subject: a new and longer subject\nFrom: b@c.d\n\nnew body\n";
    WriteFileText(path, strNew);
    EXPECT_EQ("new body\n", TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ("a new and longer subject", TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ("b@c.d", Addresses(pMessage.get(), IAT_FROM, AFT_DISPLAY_EMAIL));
    EXPECT_EQ(strNew, SaveToString(pMessage.get()));
    EXPECT_EQ(1, counts.cHead);
    EXPECT_EQ(1, counts.cWhole);
}

TEST(HeadFirstMessage, AFailedWholeReadKeepsTheHeadersAndIsTriedAgain) {
    testsupport::TempDir dir;
    std::filesystem::path path = dir.path() / "m";
    const std::string strSource = "Subject: kept\nFrom: a@b.c\n\n" + std::string(10000, 'k') + "\n";
    WriteFileText(path, strSource);
    ReadCounts counts;
    Ref<IMimeMessage> pMessage;
    OpenHeadFirst(path, &counts, &pMessage);
    EXPECT_EQ("kept", TextProp(pMessage.get(), "Subject"));
    std::filesystem::remove(path);
    EXPECT_EQ(HrText(STG_E_FILENOTFOUND), TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ("kept", TextProp(pMessage.get(), "Subject"));
    WriteFileText(path, strSource);
    EXPECT_EQ(std::string(10000, 'k') + "\n", TextBody(pMessage.get(), TXT_PLAIN));
    EXPECT_EQ(1, counts.cHead);
    EXPECT_EQ(2, counts.cWhole);
}

TEST(HeadFirstMessage, AFailedHeadReadFailsTheCallAndIsTriedAgain) {
    testsupport::TempDir dir;
    std::filesystem::path path = dir.path() / "m";
    ReadCounts counts;
    Ref<IMimeMessage> pMessage;
    OpenHeadFirst(path, &counts, &pMessage);
    EXPECT_EQ(HrText(STG_E_FILENOTFOUND), TextProp(pMessage.get(), "Subject"));
    WriteFileText(path, "Subject: there now\n\nbody\n");
    EXPECT_EQ("there now", TextProp(pMessage.get(), "Subject"));
    EXPECT_EQ(2, counts.cHead);
    EXPECT_EQ(0, counts.cWhole);
}

} // namespace
