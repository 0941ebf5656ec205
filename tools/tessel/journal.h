// The journal of a run that changes a store: one JSON object a line, each line flushed to the disk before the
// next step, so that a run killed at any instant leaves a record from which `tessel undo` can put the store back.
//
// A run writes, in this order:
//   {"type":"run", ...}                  what was run, on which store, when
//   {"type":"before","seq":N, ...}       an action about to be done, with all that is needed to reverse it
//   {"type":"after","seq":N, ...}        the same action done ("result":"done") or failed ("result":"failed")
//   {"type":"skip","seq":N, ...}         an action not attempted (the item changed since the scan)
//   {"type":"end", ...}                  the run's counts
// and an undo appends to the same file:
//   {"type":"undo","seq":N,"result":...} one action reversed (or found reversed, or missing)
//   {"type":"undo-end", ...}
// A "before" without an "after" is an action that was interrupted: it may or may not have happened.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tessel {

// $XDG_STATE_HOME/tessel, else ~/.local/state/tessel.
std::filesystem::path JournalDirectory();

// Appends lines to a new journal file; every line reaches the disk before Append returns.
class CJournalWriter {
public:
    // Creates "<UTC time>-<kind>.jsonl" in dir (made if missing), never overwriting a file; writes the header
    // object with "type":"run" added. Null and *psError on failure.
    static std::unique_ptr<CJournalWriter> Create(const std::filesystem::path &dir, const std::string &sKind,
                                                  nlohmann::json header, std::string *psError);
    // Opens an existing journal to append to it (an undo records what it reversed).
    static std::unique_ptr<CJournalWriter> OpenForAppend(const std::filesystem::path &path, std::string *psError);
    ~CJournalWriter();
    CJournalWriter(const CJournalWriter &) = delete;
    CJournalWriter &operator=(const CJournalWriter &) = delete;

    // Writes one line and syncs it. False and *psError (with the system's reason, e.g. no space left) on failure;
    // a line is then either wholly in the file or treated as absent by the reader.
    bool Append(const nlohmann::json &line, std::string *psError);
    const std::filesystem::path &Path() const { return m_path; }

private:
    CJournalWriter(int fd, std::filesystem::path path) : m_fd(fd), m_path(std::move(path)) {}
    int m_fd;
    std::filesystem::path m_path;
};

// One action of a journal, as read back.
struct JournalAction {
    int nSeq = 0;
    nlohmann::json before;                // the "before" line
    std::optional<nlohmann::json> after;  // the "after" line, if the run got that far
    std::optional<nlohmann::json> undo;   // the last "undo" line for it, if any

    bool Interrupted() const { return !after.has_value(); }
    bool Done() const { return after && after->value("result", "") == "done"; }
    // True while an undo still has something to do (or to find out) for this action.
    bool NeedsUndo() const;
};

struct Journal {
    std::filesystem::path path;
    nlohmann::json header;                 // the "run" line; null if the file lacks it
    std::vector<JournalAction> actions;    // by sequence number
    std::optional<nlohmann::json> end;     // the "end" line, absent for an interrupted run
    int nSkipped = 0;                      // "skip" lines
    int nBadLines = 0;                     // lines that are not JSON objects (a torn last line after a crash)

    bool HasWorkForUndo() const;
};

// Reads a journal. A torn or foreign line is counted in nBadLines and otherwise ignored. Nullopt and *psError if
// the file can't be read.
std::optional<Journal> ReadJournal(const std::filesystem::path &path, std::string *psError);

// The journals in dir, oldest first (their names sort by time).
std::vector<std::filesystem::path> ListJournals(const std::filesystem::path &dir);

// A JSON value for arbitrary bytes: the text itself when it is valid UTF-8, else {"base64": "..."}; and back.
nlohmann::json BytesToJson(const std::string &bytes);
std::optional<std::string> BytesFromJson(const nlohmann::json &value);

// The current time as "2026-11-23T11:30:05.123Z".
std::string UtcTimestamp();

} // namespace tessel
