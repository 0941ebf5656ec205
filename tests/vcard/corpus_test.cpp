// Every card of the shared corpus: read, changed in a mapped field, saved, and read back with every other field
// as it was; the display name reads as the card's FN; bad cards are skipped with a warning and kept.
#include <gtest/gtest.h>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_propmap.h"
#include "providers/vcard/vcard_value.h"
#include "support/paths.h"
#include "vcard_test_util.h"

using vcardtest::Book;
using vcardtest::ReadText;
using vcardtest::WriteText;

namespace {

std::vector<std::filesystem::path> CorpusFiles() {
    std::vector<std::filesystem::path> files;
    std::filesystem::path root = testsupport::SharedDir() / "corpus" / "contacts";
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(root, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); ++it)
        if (it->path().extension() == ".vcf") files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<vcard::VCard> CardsOf(const std::string &sText) {
    std::vector<vcard::VCard> cards;
    for (const vcard::VChunk &c : vcard::ParseFile(sText, nullptr).chunks)
        if (c.bCard) cards.push_back(c.card);
    return cards;
}

std::vector<std::string> Verbatim(const std::string &sText) {
    std::vector<std::string> parts;
    for (const vcard::VChunk &c : vcard::ParseFile(sText, nullptr).chunks)
        if (!c.bCard) parts.push_back(c.sText);
    return parts;
}

// The fields a display-name change must leave alone: all but FN, REV and the UID a save may add.
std::vector<std::string> OtherFields(const vcard::VCard &card) {
    std::vector<std::string> fields;
    for (const vcard::VProperty &p : card.props)
        if (p.sName != "FN" && p.sName != "REV" && p.sName != "UID") fields.push_back(vcard::LogicalLine(p));
    return fields;
}

bool Changes(size_t nCard, size_t cCards) { return cCards <= 50 || nCard % 25 == 0 || nCard + 1 == cCards; }

} // namespace

TEST(VCardCorpus, EveryFileWritesBackByteForByte) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::vector<std::filesystem::path> files = CorpusFiles();
    ASSERT_FALSE(files.empty());
    for (const auto &path : files) {
        std::string sText = ReadText(path);
        EXPECT_EQ(sText, vcard::WriteFile(vcard::ParseFile(sText, nullptr))) << path;
    }
}

TEST(VCardCorpus, ChangingTheDisplayNameKeepsEveryOtherField) {
    SKIP_WITHOUT_SHARED_CORPUS();
    size_t cCards = 0;
    for (const auto &path : CorpusFiles()) {
        testsupport::TempDir dir;
        std::filesystem::path book = dir.path() / "book.vcf";
        std::string sBefore = ReadText(path);
        WriteText(book, sBefore);
        std::vector<vcard::VCard> before = CardsOf(sBefore);
        {
            Book wab(book);
            ASSERT_EQ(S_OK, wab.hr) << path;
            std::vector<std::string> ids = wab.CardIds(wab.ContainerIds()[0]);
            ASSERT_EQ(before.size(), ids.size()) << path;
            for (size_t i = 0; i < ids.size(); ++i) {
                // Each save rewrites and flushes the whole file: in the one big file, change a sample of cards.
                if (!Changes(i, ids.size())) continue;
                IMAPIProp *p = wab.Open(ids[i]);
                std::string sName;
                bool bHas = wab.GetString(p, PR_DISPLAY_NAME, &sName);
                const vcard::VProperty *fn = before[i].Find("FN");
                EXPECT_EQ(fn != nullptr && !fn->sValue.empty(), bHas) << path << " card " << i;
                if (bHas) {
                    EXPECT_EQ(vcard::UnescapeText(vcard::DecodedValue(*fn)), sName) << path;
                }
                ASSERT_EQ(S_OK, wab.SetString(p, PR_DISPLAY_NAME, "Changed " + std::to_string(i)));
                EXPECT_EQ(S_OK, p->SaveChanges(0)) << path << " card " << i;
                p->Release();
                ++cCards;
            }
        }
        std::string sAfter = ReadText(book);
        std::vector<vcard::VCard> after = CardsOf(sAfter);
        ASSERT_EQ(before.size(), after.size()) << path;
        for (size_t i = 0; i < before.size(); ++i) {
            EXPECT_EQ(OtherFields(before[i]), OtherFields(after[i])) << path << " card " << i;
            EXPECT_EQ(before[i].sVersion, after[i].sVersion) << path;
            if (!Changes(i, before.size())) {
                EXPECT_EQ(vcard::WriteCard(before[i]), vcard::WriteCard(after[i])) << path << " card " << i;
                continue;
            }
            vcard::PropData d;
            ASSERT_TRUE(vcard::ReadField(after[i], *vcard::FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), &d));
            EXPECT_EQ("Changed " + std::to_string(i), d.sBytes);
            EXPECT_FALSE(after[i].Uid().empty());
        }
        // What could not be parsed is still there, byte for byte.
        EXPECT_EQ(Verbatim(sBefore), Verbatim(sAfter)) << path;
    }
    EXPECT_GT(cCards, 50u);
}

TEST(VCardCorpus, ABadCardIsSkippedWithAWarningNamingFileAndLine) {
    SKIP_WITHOUT_SHARED_CORPUS();
    std::filesystem::path bad = testsupport::SharedDir() / "corpus/contacts/malformed/0090.vcf";
    testsupport::TempDir dir;
    std::filesystem::path book = dir.path() / "book.vcf";
    std::string sGood = "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:good\r\nFN:Good\r\nEND:VCARD\r\n";
    std::string sBad = ReadText(bad);
    WriteText(book, sGood + sBad);
    vcardtest::LogFile log(dir.path() / "log.txt");
    Book wab(book);
    ASSERT_EQ(S_OK, wab.hr);
    std::vector<std::string> ids = wab.CardIds(wab.ContainerIds()[0]);
    ASSERT_EQ(1u, ids.size());
    EXPECT_NE(std::string::npos, log.Text().find("War in CBook::ReadFile: Skipping what cant be parsed in " +
                                                 book.string() + " line 6: card without END:VCARD"));
    IMAPIProp *p = wab.Open(ids[0]);
    ASSERT_EQ(S_OK, wab.SetString(p, PR_TITLE, "Boss"));
    ASSERT_EQ(S_OK, p->SaveChanges(0));
    p->Release();
    std::string sAfter = ReadText(book);
    EXPECT_NE(std::string::npos, sAfter.find(sBad));
    EXPECT_NE(std::string::npos, sAfter.find("TITLE:Boss\r\n"));
}
