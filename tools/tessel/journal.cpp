#include "journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <algorithm>

namespace tessel {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::string SystemError(const std::string &sWhat, int nErr) { return sWhat + ": " + std::strerror(nErr); }

// Makes a directory and its parents, private to the user (a journal holds mail subjects and whole contacts).
bool MakePrivateDirectory(const fs::path &dir, std::string *psError) {
    std::error_code ec;
    if (fs::is_directory(dir, ec)) return true;
    if (dir.has_parent_path() && dir.parent_path() != dir && !MakePrivateDirectory(dir.parent_path(), psError))
        return false;
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        *psError = SystemError("cannot create the journal directory " + dir.string(), errno);
        return false;
    }
    return true;
}

// A new file's name must reach the disk too, or a crash could lose the whole journal.
void SyncDirectory(const fs::path &dir) {
    int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

std::string TimeForFileName() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t t = system_clock::to_time_t(now);
    const int nMs = static_cast<int>(duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000);
    std::tm tmUtc{};
    gmtime_r(&t, &tmUtc);
    char sz[64];
    std::snprintf(sz, sizeof sz, "%04d%02d%02d-%02d%02d%02d.%03d", tmUtc.tm_year + 1900, tmUtc.tm_mon + 1,
                  tmUtc.tm_mday, tmUtc.tm_hour, tmUtc.tm_min, tmUtc.tm_sec, nMs);
    return sz;
}

bool IsValidUtf8(const std::string &s) {
    size_t i = 0;
    const size_t n = s.size();
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        size_t nMore;
        uint32_t cp;
        if (c < 0x80) { ++i; continue; }
        if ((c & 0xE0) == 0xC0) { nMore = 1; cp = c & 0x1F; }
        else if ((c & 0xF0) == 0xE0) { nMore = 2; cp = c & 0x0F; }
        else if ((c & 0xF8) == 0xF0) { nMore = 3; cp = c & 0x07; }
        else return false;
        if (i + nMore >= n) return false;
        for (size_t k = 1; k <= nMore; ++k) {
            const unsigned char cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        if ((nMore == 1 && cp < 0x80) || (nMore == 2 && cp < 0x800) || (nMore == 3 && cp < 0x10000) ||
            cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += nMore + 1;
    }
    return true;
}

const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64Encode(const std::string &in) {
    std::string out;
    out.reserve((in.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 2 < in.size(); i += 3) {
        const uint32_t v = (uint8_t(in[i]) << 16) | (uint8_t(in[i + 1]) << 8) | uint8_t(in[i + 2]);
        out += kBase64[v >> 18];
        out += kBase64[(v >> 12) & 63];
        out += kBase64[(v >> 6) & 63];
        out += kBase64[v & 63];
    }
    if (i < in.size()) {
        uint32_t v = uint8_t(in[i]) << 16;
        if (i + 1 < in.size()) v |= uint8_t(in[i + 1]) << 8;
        out += kBase64[v >> 18];
        out += kBase64[(v >> 12) & 63];
        out += i + 1 < in.size() ? kBase64[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

std::optional<std::string> Base64Decode(const std::string &in) {
    std::string out;
    uint32_t v = 0;
    int nBits = 0;
    for (char c : in) {
        if (c == '=') break;
        const char *p = std::strchr(kBase64, c);
        if (!p || c == '\0') return std::nullopt;
        v = (v << 6) | uint32_t(p - kBase64);
        nBits += 6;
        if (nBits >= 8) {
            nBits -= 8;
            out += char((v >> nBits) & 0xFF);
        }
    }
    return out;
}

} // namespace

fs::path JournalDirectory() {
    const char *pszState = std::getenv("XDG_STATE_HOME");
    if (pszState && *pszState == '/') return fs::path(pszState) / "tessel";
    const char *pszHome = std::getenv("HOME");
    return fs::path(pszHome && *pszHome ? pszHome : ".") / ".local" / "state" / "tessel";
}

std::unique_ptr<CJournalWriter> CJournalWriter::Create(const fs::path &dir, const std::string &sKind, json header,
                                                       std::string *psError) {
    if (!MakePrivateDirectory(dir, psError)) return nullptr;
    const std::string sStem = TimeForFileName() + "-" + sKind;
    for (int n = 1; n < 1000; ++n) {
        const fs::path path = dir / (sStem + (n == 1 ? std::string() : "-" + std::to_string(n)) + ".jsonl");
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            *psError = SystemError("cannot create the journal " + path.string(), errno);
            return nullptr;
        }
        SyncDirectory(dir);
        std::unique_ptr<CJournalWriter> pWriter(new CJournalWriter(fd, path));
        header["type"] = "run";
        if (!pWriter->Append(header, psError)) return nullptr;
        return pWriter;
    }
    *psError = "cannot find a free journal name in " + dir.string();
    return nullptr;
}

std::unique_ptr<CJournalWriter> CJournalWriter::OpenForAppend(const fs::path &path, std::string *psError) {
    const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) {
        *psError = SystemError("cannot open the journal " + path.string(), errno);
        return nullptr;
    }
    std::unique_ptr<CJournalWriter> pWriter(new CJournalWriter(fd, path));
    // A run killed in the middle of a write leaves a torn last line; what follows must start on a line of its own.
    std::error_code ec;
    const auto nSize = fs::file_size(path, ec);
    if (!ec && nSize > 0) {
        std::ifstream in(path, std::ios::binary);
        in.seekg(static_cast<std::streamoff>(nSize - 1));
        if (in.get() != '\n' && write(fd, "\n", 1) != 1) {
            *psError = SystemError("cannot write the journal " + path.string(), errno);
            return nullptr;
        }
    }
    return pWriter;
}

CJournalWriter::~CJournalWriter() {
    if (m_fd >= 0) close(m_fd);
}

bool CJournalWriter::Append(const json &line, std::string *psError) {
    const std::string sLine = line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    size_t nDone = 0;
    while (nDone < sLine.size()) {
        const ssize_t n = write(m_fd, sLine.data() + nDone, sLine.size() - nDone);
        if (n < 0) {
            if (errno == EINTR) continue;
            *psError = SystemError("cannot write the journal " + m_path.string(), errno);
            return false;
        }
        nDone += static_cast<size_t>(n);
    }
    if (fdatasync(m_fd) != 0) {
        *psError = SystemError("cannot flush the journal " + m_path.string(), errno);
        return false;
    }
    return true;
}

bool JournalAction::NeedsUndo() const {
    if (undo) {
        const std::string sResult = undo->value("result", "");
        // A delete for good stays undoable by nothing; the next undo goes on to an older run.
        if (sResult == "restored" || sResult == "not-done" || sResult == "permanent") return false;
    }
    // An interrupted action may have happened, and a failed one partly (a message moved, its index not written
    // for want of space); only an undo, which looks at the item, can tell.
    return true;
}

bool Journal::HasWorkForUndo() const {
    return std::any_of(actions.begin(), actions.end(), [](const JournalAction &a) { return a.NeedsUndo(); });
}

std::optional<Journal> ReadJournal(const fs::path &path, std::string *psError) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        *psError = "cannot read the journal " + path.string();
        return std::nullopt;
    }
    Journal journal;
    journal.path = path;
    std::map<int, JournalAction> bySeq;
    std::string sLine;
    while (std::getline(in, sLine)) {
        if (sLine.empty()) continue;
        json line = json::parse(sLine, nullptr, false);
        if (line.is_discarded() || !line.is_object() || !line.contains("type") || !line["type"].is_string()) {
            ++journal.nBadLines;
            continue;
        }
        const std::string sType = line["type"];
        const int nSeq = line.value("seq", 0);
        if (sType == "run") {
            journal.header = std::move(line);
        } else if (sType == "before") {
            JournalAction &a = bySeq[nSeq];
            a.nSeq = nSeq;
            a.before = std::move(line);
        } else if (sType == "after") {
            if (bySeq.count(nSeq)) bySeq[nSeq].after = std::move(line);
            else ++journal.nBadLines;
        } else if (sType == "undo") {
            if (bySeq.count(nSeq)) bySeq[nSeq].undo = std::move(line);
            else ++journal.nBadLines;
        } else if (sType == "skip") {
            ++journal.nSkipped;
        } else if (sType == "end") {
            journal.end = std::move(line);
        } else if (sType != "undo-end") {
            ++journal.nBadLines;
        }
    }
    for (auto &[nSeq, action] : bySeq) journal.actions.push_back(std::move(action));
    return journal;
}

std::vector<fs::path> ListJournals(const fs::path &dir) {
    std::vector<fs::path> paths;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().extension() == ".jsonl" && it->is_regular_file(ec)) paths.push_back(it->path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

json BytesToJson(const std::string &bytes) {
    if (IsValidUtf8(bytes)) return bytes;
    return json{{"base64", Base64Encode(bytes)}};
}

std::optional<std::string> BytesFromJson(const json &value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_object() && value.contains("base64") && value["base64"].is_string())
        return Base64Decode(value["base64"].get<std::string>());
    return std::nullopt;
}

std::string UtcTimestamp() {
    const std::string s = TimeForFileName(); // 20261123-113005.123
    char sz[32];
    std::snprintf(sz, sizeof sz, "%.4s-%.2s-%.2sT%.2s:%.2s:%.2s%.4sZ", s.c_str(), s.c_str() + 4, s.c_str() + 6,
                  s.c_str() + 9, s.c_str() + 11, s.c_str() + 13, s.c_str() + 15);
    return sz;
}

} // namespace tessel
