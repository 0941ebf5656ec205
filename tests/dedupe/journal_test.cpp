// The journal: lines written one by one and read back, torn lines after a crash, the undo bookkeeping, the
// directory by XDG rules, bytes that are not UTF-8.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "journal.h"
#include "support/paths.h"

using nlohmann::json;
using tessel::CJournalWriter;
using tessel::Journal;

namespace {

std::string ReadAll(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class ScopedEnv {
public:
    ScopedEnv(const char *pszName, const char *pszValue) : m_name(pszName) {
        const char *p = std::getenv(pszName);
        if (p) m_old = p;
        m_bHad = p != nullptr;
        if (pszValue) setenv(pszName, pszValue, 1);
        else unsetenv(pszName);
    }
    ~ScopedEnv() {
        if (m_bHad) setenv(m_name.c_str(), m_old.c_str(), 1);
        else unsetenv(m_name.c_str());
    }

private:
    std::string m_name, m_old;
    bool m_bHad = false;
};

std::unique_ptr<CJournalWriter> NewJournal(const std::filesystem::path &dir) {
    std::string sError;
    auto pWriter = CJournalWriter::Create(dir, "mail", json{{"store", "/m"}, {"action", "trash"}}, &sError);
    EXPECT_TRUE(pWriter) << sError;
    return pWriter;
}

} // namespace

TEST(JournalDirectory, FollowsXdgStateHomeElseHome) {
    {
        ScopedEnv state("XDG_STATE_HOME", "/srv/state");
        EXPECT_EQ(tessel::JournalDirectory(), std::filesystem::path("/srv/state/tessel"));
    }
    {
        ScopedEnv state("XDG_STATE_HOME", nullptr);
        ScopedEnv home("HOME", "/home/robin");
        EXPECT_EQ(tessel::JournalDirectory(), std::filesystem::path("/home/robin/.local/state/tessel"));
    }
    {
        // A relative XDG path is invalid by the XDG rules and is ignored.
        ScopedEnv state("XDG_STATE_HOME", "relative");
        ScopedEnv home("HOME", "/home/robin");
        EXPECT_EQ(tessel::JournalDirectory(), std::filesystem::path("/home/robin/.local/state/tessel"));
    }
}

TEST(JournalWriter, CreatesAPrivateTimeNamedFileWithTheRunLineFirst) {
    testsupport::TempDir tmp;
    const auto dir = tmp.path() / "a" / "b";
    auto pWriter = NewJournal(dir);
    ASSERT_TRUE(pWriter);
    const auto name = pWriter->Path().filename().string();
    EXPECT_TRUE(name.ends_with("-mail.jsonl")) << name;
    EXPECT_EQ(name.size(), std::string("20261123-113005.123-mail.jsonl").size()) << name;
    EXPECT_EQ(std::filesystem::status(dir).permissions() & std::filesystem::perms::all, std::filesystem::perms::owner_all);
    const json first = json::parse(ReadAll(pWriter->Path()));
    EXPECT_EQ(first["type"], "run");
    EXPECT_EQ(first["store"], "/m");
}

TEST(JournalWriter, TwoRunsInTheSameMillisecondGetTwoFiles) {
    testsupport::TempDir tmp;
    std::set<std::filesystem::path> paths;
    for (int i = 0; i < 5; ++i) {
        auto pWriter = NewJournal(tmp.path());
        ASSERT_TRUE(pWriter);
        paths.insert(pWriter->Path());
    }
    EXPECT_EQ(paths.size(), 5u);
    EXPECT_EQ(tessel::ListJournals(tmp.path()).size(), 5u);
}

TEST(JournalWriter, FailsWithAReasonWhereTheDirectoryCannotBeMade) {
    testsupport::TempDir tmp;
    std::ofstream(tmp.path() / "file") << "x";
    std::string sError;
    EXPECT_FALSE(CJournalWriter::Create(tmp.path() / "file" / "sub", "mail", json::object(), &sError));
    EXPECT_NE(sError.find("journal directory"), std::string::npos) << sError;
}

TEST(JournalWriter, ReportsAFullDisk) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    std::string sError;
    auto pWriter = CJournalWriter::OpenForAppend("/dev/full", &sError);
    ASSERT_TRUE(pWriter) << sError;
    EXPECT_FALSE(pWriter->Append(json{{"type", "before"}, {"seq", 1}}, &sError));
    EXPECT_NE(sError.find("No space left"), std::string::npos) << sError;
}

TEST(JournalReader, PairsBeforeAndAfterLinesBySequence) {
    testsupport::TempDir tmp;
    auto pWriter = NewJournal(tmp.path());
    std::string sError;
    ASSERT_TRUE(pWriter->Append({{"type", "before"}, {"seq", 1}, {"entry", "A"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "after"}, {"seq", 1}, {"result", "done"}, {"new_entry", "B"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "skip"}, {"seq", 2}, {"reason", "gone"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "before"}, {"seq", 3}, {"entry", "C"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "after"}, {"seq", 3}, {"result", "failed"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "before"}, {"seq", 4}, {"entry", "D"}}, &sError));

    auto journal = tessel::ReadJournal(pWriter->Path(), &sError);
    ASSERT_TRUE(journal) << sError;
    EXPECT_EQ(journal->header["action"], "trash");
    ASSERT_EQ(journal->actions.size(), 3u);
    EXPECT_TRUE(journal->actions[0].Done());
    EXPECT_EQ((*journal->actions[0].after)["new_entry"], "B");
    EXPECT_TRUE(journal->actions[0].NeedsUndo());
    EXPECT_FALSE(journal->actions[1].Done());
    EXPECT_TRUE(journal->actions[1].NeedsUndo()); // a failed action may have got halfway
    EXPECT_TRUE(journal->actions[2].Interrupted());
    EXPECT_TRUE(journal->actions[2].NeedsUndo());
    EXPECT_EQ(journal->nSkipped, 1);
    EXPECT_FALSE(journal->end);
    EXPECT_TRUE(journal->HasWorkForUndo());
}

TEST(JournalReader, AnUndoLineSettlesAnActionUnlessItWasMissing) {
    testsupport::TempDir tmp;
    auto pWriter = NewJournal(tmp.path());
    std::string sError;
    for (int n = 1; n <= 4; ++n) {
        ASSERT_TRUE(pWriter->Append({{"type", "before"}, {"seq", n}}, &sError));
        ASSERT_TRUE(pWriter->Append({{"type", "after"}, {"seq", n}, {"result", "done"}}, &sError));
    }
    ASSERT_TRUE(pWriter->Append({{"type", "end"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "undo"}, {"seq", 1}, {"result", "restored"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "undo"}, {"seq", 2}, {"result", "missing"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "undo"}, {"seq", 3}, {"result", "not-done"}}, &sError));
    ASSERT_TRUE(pWriter->Append({{"type", "undo"}, {"seq", 4}, {"result", "permanent"}}, &sError));
    auto journal = tessel::ReadJournal(pWriter->Path(), &sError);
    ASSERT_TRUE(journal);
    EXPECT_TRUE(journal->end);
    EXPECT_FALSE(journal->actions[0].NeedsUndo());
    EXPECT_TRUE(journal->actions[1].NeedsUndo()); // a later undo may still find it
    EXPECT_FALSE(journal->actions[2].NeedsUndo());
    EXPECT_FALSE(journal->actions[3].NeedsUndo()); // deleted for good: nothing a later undo could do
    ASSERT_TRUE(pWriter->Append({{"type", "undo"}, {"seq", 2}, {"result", "restored"}}, &sError));
    journal = tessel::ReadJournal(pWriter->Path(), &sError);
    EXPECT_FALSE(journal->HasWorkForUndo());
}

TEST(JournalReader, ATornLastLineIsCountedAndTheNextWriterStartsAFreshLine) {
    testsupport::TempDir tmp;
    std::filesystem::path path;
    {
        auto pWriter = NewJournal(tmp.path());
        path = pWriter->Path();
        std::string sError;
        ASSERT_TRUE(pWriter->Append({{"type", "before"}, {"seq", 1}}, &sError));
    }
    std::ofstream(path, std::ios::app) << "{\"type\":\"after\",\"se"; // killed in the middle of a write
    std::string sError;
    auto journal = tessel::ReadJournal(path, &sError);
    ASSERT_TRUE(journal);
    EXPECT_EQ(journal->nBadLines, 1);
    EXPECT_TRUE(journal->actions[0].Interrupted());

    auto pAppend = CJournalWriter::OpenForAppend(path, &sError);
    ASSERT_TRUE(pAppend) << sError;
    ASSERT_TRUE(pAppend->Append({{"type", "undo"}, {"seq", 1}, {"result", "not-done"}}, &sError));
    journal = tessel::ReadJournal(path, &sError);
    EXPECT_EQ(journal->nBadLines, 1);
    ASSERT_TRUE(journal->actions[0].undo);
    EXPECT_EQ((*journal->actions[0].undo)["result"], "not-done");
}

TEST(JournalReader, AMissingFileIsAnError) {
    std::string sError;
    EXPECT_FALSE(tessel::ReadJournal("/nonexistent/j.jsonl", &sError));
    EXPECT_NE(sError.find("/nonexistent/j.jsonl"), std::string::npos);
}

TEST(JournalBytes, KeepsTextAsTextAndOtherBytesExactly) {
    EXPECT_EQ(tessel::BytesToJson("Zoë"), json("Zoë"));
    for (const std::string &bytes : {std::string("a\xff\xfe" "b", 4), std::string("\xc3", 1), std::string("x\0y", 3),
                                    std::string("\xed\xa0\x80", 3), std::string("ab"), std::string()}) {
        const json value = tessel::BytesToJson(bytes);
        const auto back = tessel::BytesFromJson(json::parse(value.dump()));
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, bytes);
    }
    EXPECT_TRUE(tessel::BytesToJson(std::string("\xff", 1)).is_object());
    EXPECT_FALSE(tessel::BytesFromJson(json{{"base64", "!!"}}));
    EXPECT_FALSE(tessel::BytesFromJson(json(3)));
}

TEST(JournalWriter, ALineWithBrokenTextStillWrites) {
    testsupport::TempDir tmp;
    auto pWriter = NewJournal(tmp.path());
    std::string sError;
    EXPECT_TRUE(pWriter->Append({{"type", "before"}, {"seq", 1}, {"subject", std::string("\xff", 1)}}, &sError));
    auto journal = tessel::ReadJournal(pWriter->Path(), &sError);
    ASSERT_EQ(journal->actions.size(), 1u);
}

TEST(JournalTimestamp, IsIsoUtcWithMilliseconds) {
    const std::string s = tessel::UtcTimestamp();
    ASSERT_EQ(s.size(), 24u) << s;
    EXPECT_EQ(s[4], '-');
    EXPECT_EQ(s[10], 'T');
    EXPECT_EQ(s[19], '.');
    EXPECT_EQ(s.back(), 'Z');
}
