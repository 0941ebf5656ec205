// Changes to a vCard book through CWABLib and the WAB* exports: copy and move keep every field, mark adds its
// prefix once, delete reaches any container, and the container of an entry is found.
#include <algorithm>

#include "book_fixture.h"
#include "frame/tessel_record.h"

namespace fs = std::filesystem;
using namespace wablist;

namespace {

// A card with fields of every sort: mapped ones, typed telephones and addresses, a photo, a grouped field,
// parameters the tags don't carry and fields nobody knows.
const std::string kRich = "VERSION:4.0\r\nUID:rich\r\nFN:Ada Lovelace\r\nN:Lovelace;Ada;Augusta;Lady;\r\n"
                          "EMAIL;TYPE=work;PREF=1:ada@example.org\r\nEMAIL;TYPE=home:ada@home.example\r\n"
                          "TEL;TYPE=work,voice:+44 1\r\nTEL;TYPE=home:+44 2\r\nTEL;TYPE=cell:+44 3\r\n"
                          "ADR;TYPE=home:;;12 St James's Square;London;;SW1Y 4JH;England\r\n"
                          "ORG:Analytical Engines;Research\r\nTITLE:Countess\r\nNOTE:first programmer\r\n"
                          "BDAY:18151210\r\nURL:https://example.org/ada\r\nCATEGORIES:math,poetry\r\n"
                          "PHOTO:data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR4"
                          "2mNkYPhfDwAChwGA60e6kgAAAABJRU5ErkJggg==\r\n"
                          "item1.X-ABLABEL:assistant\r\nitem1.TEL:+44 9\r\nX-UNKNOWN;X-PARAM=1:kept verbatim\r\n"
                          "REV:20200101T000000Z\r\n";

// Fields the book sets on every card of its own.
const std::vector<std::string> kOwnFields{"UID", "REV", "PRODID", "VERSION"};

class ChangesTest : public BookFixture {
protected:
    void OpenVdir() {
        WriteText(Path("vdir/pab.vcf"), Card("VERSION:4.0\r\nUID:pab\r\nFN:In PAB\r\n"));
        WriteText(Path("vdir/home/rich.vcf"), Card(kRich));
        WriteText(Path("vdir/home/team.vcf"),
                  Card("VERSION:4.0\r\nUID:team\r\nKIND:group\r\nFN:Team\r\nMEMBER:urn:uuid:rich\r\n"));
        fs::create_directories(Path("vdir/work"));
        WriteText(Path("vdir/work/w.vcf"), Card("VERSION:4.0\r\nUID:w\r\nFN:Worker\r\n"));
        Open(Path("vdir"));
        m_folders = Folders();
        ASSERT_EQ(m_folders.size(), 3u);
    }
    CWABLib &Lib() { return m_pLib->wab.m_Lib; }
    // The entry text of the card with this name in a container.
    std::string Entry(size_t nFolder, const std::string &strName) {
        EXPECT_EQ(List(m_folders[nFolder].first.c_str()), 0);
        return EntryOf(strName);
    }
    // The one card file in a directory that is not among the names given.
    fs::path NewFile(const fs::path &dir, const std::vector<std::string> &old) {
        for (const auto &entry : fs::directory_iterator(dir)) {
            std::string strName = entry.path().filename().string();
            if (entry.path().extension() == ".vcf" && std::find(old.begin(), old.end(), strName) == old.end())
                return entry.path();
        }
        return {};
    }

    std::vector<std::pair<std::string, std::string>> m_folders;
};

} // namespace

TEST_F(ChangesTest, CopyKeepsEveryField) {
    OpenVdir();
    std::string strSource = Entry(1, "Ada Lovelace");
    ASSERT_FALSE(strSource.empty());
    char *pszNew = nullptr;
    m_log.Clear();
    ASSERT_EQ(Lib().CopyItem(strSource.c_str(), m_folders[2].first.c_str(), &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_NE(pszNew, strSource);
    Lib().FreeBuffer(pszNew);

    fs::path copy = NewFile(Path("vdir/work"), {"w.vcf"});
    ASSERT_FALSE(copy.empty());
    EXPECT_EQ(FieldLines(ReadText(copy), kOwnFields), FieldLines(Card(kRich), kOwnFields));
    EXPECT_EQ(ReadText(Path("vdir/home/rich.vcf")), Card(kRich)); // the source untouched
    ASSERT_EQ(List(m_folders[2].first.c_str()), 0);
    std::vector<std::string> names = Names();
    std::sort(names.begin(), names.end()); // a vdir lists its cards in the order of their file names
    EXPECT_EQ(names, (std::vector<std::string>{"Ada Lovelace", "Worker"}));
}

TEST_F(ChangesTest, CopyOfAGroupKeepsItsMembers) {
    OpenVdir();
    std::string strTeam = Entry(1, "Team");
    char *pszNew = nullptr;
    ASSERT_EQ(Lib().CopyItem(strTeam.c_str(), m_folders[2].first.c_str(), &pszNew), 0);
    Lib().FreeBuffer(pszNew);
    fs::path copy = NewFile(Path("vdir/work"), {"w.vcf"});
    ASSERT_FALSE(copy.empty());
    EXPECT_EQ(FieldLines(ReadText(copy), kOwnFields),
              FieldLines(ReadText(Path("vdir/home/team.vcf")), kOwnFields));
    ASSERT_EQ(List(m_folders[2].first.c_str(), MAPI_DISTLIST), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"Team"});
}

TEST_F(ChangesTest, MoveKeepsEveryFieldAndRemovesTheSource) {
    OpenVdir();
    std::string strSource = Entry(1, "Ada Lovelace");
    char *pszNew = nullptr;
    m_log.Clear();
    ASSERT_EQ(Lib().MoveItem(strSource.c_str(), m_folders[2].first.c_str(), &pszNew), 0);
    ASSERT_NE(pszNew, nullptr);
    std::string strNew = pszNew;
    Lib().FreeBuffer(pszNew);
    EXPECT_EQ(m_log.Text(), "");

    fs::path moved = NewFile(Path("vdir/work"), {"w.vcf"});
    ASSERT_FALSE(moved.empty());
    EXPECT_EQ(FieldLines(ReadText(moved), kOwnFields), FieldLines(Card(kRich), kOwnFields));
    ASSERT_EQ(List(m_folders[1].first.c_str()), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"Team"});

    char *pszFolder = nullptr;
    EXPECT_EQ(WABFindItemFolder(m_pLib, strNew.c_str(), &pszFolder, 0), 0);
    EXPECT_STREQ(pszFolder, m_folders[2].first.c_str());
    Lib().FreeBuffer(pszFolder);
    EXPECT_EQ(WABFindItemFolder(m_pLib, strSource.c_str(), &pszFolder, 0), 1); // the old text is dead
    EXPECT_EQ(pszFolder, nullptr);
}

TEST_F(ChangesTest, MoveToAMissingContainerLeavesTheSource) {
    OpenVdir();
    std::string strSource = Entry(1, "Ada Lovelace");
    char *pszNew = nullptr;
    m_log.Clear();
    EXPECT_NE(Lib().MoveItem(strSource.c_str(), "0000000043786E", &pszNew), 0);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_NE(m_log.Text().find("in CWABLib::CopyItem: open container\n"), std::string::npos);
    EXPECT_NE(Lib().MoveItem(strSource.c_str(), strSource.c_str(), &pszNew), 0); // a contact is no container
    EXPECT_NE(m_log.Text().find("Err in CWABLib::CopyItem: opened item is not container\n"), std::string::npos);
    EXPECT_NE(Lib().MoveItem("0000", m_folders[2].first.c_str(), &pszNew), 0);
    EXPECT_NE(m_log.Text().find("in CWABLib::CopyItem: open item\n"), std::string::npos);
    EXPECT_EQ(ReadText(Path("vdir/home/rich.vcf")), Card(kRich));
    EXPECT_EQ(NewFile(Path("vdir/work"), {"w.vcf"}), fs::path());
}

TEST_F(ChangesTest, MarkTwiceAddsThePrefixOnce) {
    OpenVdir();
    std::string strEntry = Entry(2, "Worker");
    m_log.Clear();
    EXPECT_EQ(WABMarkItem(m_pLib, strEntry.c_str(), "[dup] "), 0);
    EXPECT_EQ(WABMarkItem(m_pLib, strEntry.c_str(), "[dup] "), 0);
    ASSERT_EQ(List(m_folders[2].first.c_str()), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"[dup] Worker"});
    EXPECT_NE(ReadText(Path("vdir/work/w.vcf")).find("FN:[dup] Worker\r\n"), std::string::npos);
    EXPECT_EQ(m_log.Text(), "");

    EXPECT_LT(WABMarkItem(m_pLib, "00", "[dup] "), 0); // names no entry
    EXPECT_EQ(WABMarkItem(m_pLib, m_folders[2].first.c_str(), "[dup] "), -1); // a container
    ASSERT_EQ(List(m_folders[2].first.c_str()), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{"[dup] Worker"});
}

TEST_F(ChangesTest, DeleteReachesAnEntryOutsideThePersonalBook) {
    OpenVdir();
    std::string strEntry = Entry(2, "Worker");
    m_log.Clear();
    EXPECT_EQ(Lib().DeleteItem(strEntry.c_str()), 0);
    EXPECT_FALSE(fs::exists(Path("vdir/work/w.vcf")));
    ASSERT_EQ(List(m_folders[2].first.c_str()), 0);
    EXPECT_EQ(m_pItems->cItems, 0u);
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_NE(Lib().DeleteItem(strEntry.c_str()), 0); // gone already
    EXPECT_NE(Lib().DeleteItem("not hexadecimal"), 0);
    ASSERT_EQ(List(m_folders[1].first.c_str()), 0);
    EXPECT_EQ(m_pItems->cItems, 2u);
}

TEST_F(ChangesTest, FindItemFolderNamesTheContainerOfEachEntry) {
    OpenVdir();
    const char *apszNames[] = {"In PAB", "Ada Lovelace", "Worker"};
    for (size_t i = 0; i < 3; ++i) {
        std::string strEntry = Entry(i, apszNames[i]);
        char *pszFolder = nullptr;
        EXPECT_EQ(WABFindItemFolder(m_pLib, strEntry.c_str(), &pszFolder, 0), 0) << apszNames[i];
        EXPECT_STREQ(pszFolder, m_folders[i].first.c_str());
        Lib().FreeBuffer(pszFolder);
    }
    char *pszFolder = nullptr;
    m_log.Clear();
    EXPECT_EQ(WABFindItemFolder(m_pLib, "00000000450000", &pszFolder, 0), 1);
    EXPECT_EQ(pszFolder, nullptr);
    EXPECT_EQ(m_log.Text(), "");

    char *pszPAB = nullptr;
    ASSERT_EQ(Lib().GetPAB(&pszPAB), 0);
    EXPECT_STREQ(pszPAB, m_folders[0].first.c_str());
    Lib().FreeBuffer(pszPAB);
}
