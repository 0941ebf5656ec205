#include "itemstate.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include <glib.h>

#include "listing.h"

namespace fs = std::filesystem;

namespace {

PropDesc Desc(uint32_t nTag) {
    PropDesc desc{};
    desc.Tag = nTag;
    desc.nInterface = TS_INTERFACE_VALUE;
    return desc;
}

std::string ReadFile(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool StartsWithNoCase(const std::string &s, size_t nPos, const char *pszWhat) {
    const size_t n = std::strlen(pszWhat);
    return s.size() >= nPos + n && strncasecmp(s.c_str() + nPos, pszWhat, n) == 0;
}

// The UID value of one card's text (unfolded as far as a UID line ever needs).
std::string UidOf(const std::string &strCard) {
    size_t nPos = 0;
    while (nPos < strCard.size()) {
        size_t nEnd = strCard.find('\n', nPos);
        if (nEnd == std::string::npos) nEnd = strCard.size();
        std::string line = strCard.substr(nPos, nEnd - nPos);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (StartsWithNoCase(line, 0, "UID:") || StartsWithNoCase(line, 0, "UID;")) {
            const size_t nColon = line.find(':');
            return nColon == std::string::npos ? std::string() : line.substr(nColon + 1);
        }
        nPos = nEnd + 1;
    }
    return std::string();
}

// The BEGIN:VCARD ... END:VCARD blocks of a file, with their line ends.
std::vector<std::string> CardBlocks(const std::string &strFile) {
    std::vector<std::string> blocks;
    size_t nStart = std::string::npos, nPos = 0;
    while (nPos < strFile.size()) {
        size_t nEnd = strFile.find('\n', nPos);
        nEnd = nEnd == std::string::npos ? strFile.size() : nEnd + 1;
        if (StartsWithNoCase(strFile, nPos, "BEGIN:VCARD")) nStart = nPos;
        else if (StartsWithNoCase(strFile, nPos, "END:VCARD") && nStart != std::string::npos) {
            blocks.push_back(strFile.substr(nStart, nEnd - nStart));
            nStart = std::string::npos;
        }
        nPos = nEnd;
    }
    return blocks;
}

// A card's text without the lines that start with one of the names (property groups and parameters aside).
std::string WithoutLines(const std::string &strCard, std::initializer_list<const char *> names) {
    std::string out;
    size_t nPos = 0;
    while (nPos < strCard.size()) {
        size_t nEnd = strCard.find('\n', nPos);
        nEnd = nEnd == std::string::npos ? strCard.size() : nEnd + 1;
        bool bDrop = false;
        for (const char *pszName : names) {
            const size_t n = std::strlen(pszName);
            bDrop = bDrop || (StartsWithNoCase(strCard, nPos, pszName) && nPos + n < strCard.size() &&
                              (strCard[nPos + n] == ':' || strCard[nPos + n] == ';'));
        }
        // Folded continuation lines belong to the line before.
        while (nEnd < strCard.size() && (strCard[nEnd] == ' ' || strCard[nEnd] == '\t')) {
            const size_t nNext = strCard.find('\n', nEnd);
            nEnd = nNext == std::string::npos ? strCard.size() : nNext + 1;
        }
        if (!bDrop) out.append(strCard, nPos, nEnd - nPos);
        nPos = nEnd;
    }
    return out;
}

bool WriteAtomically(const fs::path &path, const std::string &strText, bool bNoReplace, std::string &strError) {
    const fs::path tmp = path.parent_path() / ("." + path.filename().string() + ".tessel-undo.tmp");
    const int fd = open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool bOk = fd >= 0;
    for (size_t nDone = 0; bOk && nDone < strText.size();) {
        const ssize_t n = write(fd, strText.data() + nDone, strText.size() - nDone);
        if (n < 0 && errno != EINTR) bOk = false;
        if (n > 0) nDone += static_cast<size_t>(n);
    }
    bOk = bOk && fsync(fd) == 0;
    if (fd >= 0) close(fd);
    if (bOk) {
        // A file that appeared meanwhile under the same name is kept: link fails where rename would replace.
        bOk = bNoReplace ? link(tmp.c_str(), path.c_str()) == 0 : rename(tmp.c_str(), path.c_str()) == 0;
    }
    const int nErr = errno;
    unlink(tmp.c_str());
    if (!bOk) strError = "cannot write " + path.string() + ": " + std::strerror(nErr);
    return bOk;
}

} // namespace

std::optional<ItemInfo> CurrentItem(CSession &session, const std::vector<FolderInfo> &folders,
                                    const std::string &strEntry) {
    ItemInfo item;
    std::string strError;
    if (!ReadItem(session, folders, strEntry, item, strError)) return std::nullopt;
    return item;
}

std::string ReadTextProp(CSession &session, const std::string &strEntry, uint32_t nTag) {
    TS_HITEM hItem = nullptr;
    if (TS_OpenItem(session.Lib(), session.Api(), strEntry.c_str(), &hItem, 0) != 0 || !hItem) return std::string();
    PropDesc desc = Desc(nTag);
    char *psz = nullptr;
    std::string strValue;
    if (TS_GetItemTextProp(session.Lib(), session.Api(), hItem, &desc, &psz) == 0 && psz) strValue = psz;
    if (psz) TS_FreeBuffer(session.Lib(), session.Api(), psz);
    TS_CloseItem(session.Lib(), session.Api(), hItem);
    return strValue;
}

bool ReadMailPrint(CSession &session, const std::string &strEntry, MailPrint &print) {
    TS_HITEM hItem = nullptr;
    if (TS_OpenItem(session.Lib(), API_OE, strEntry.c_str(), &hItem, 0) != 0 || !hItem) return false;
    std::string strHeaders;
    for (uint32_t nTag : {TS_PR_OE_MESSAGE_ID, TS_PR_OE_HEADERS}) {
        PropDesc desc = Desc(nTag);
        char *psz = nullptr;
        if (TS_GetItemTextProp(session.Lib(), API_OE, hItem, &desc, &psz) == 0 && psz)
            (nTag == TS_PR_OE_MESSAGE_ID ? print.strMessageId : strHeaders) = psz;
        if (psz) TS_FreeBuffer(session.Lib(), API_OE, psz);
    }
    uint32_t nSize = 0;
    const bool bSize = TS_GetItemSize(session.Lib(), API_OE, hItem, &nSize) == 0;
    TS_CloseItem(session.Lib(), API_OE, hItem);
    if (strHeaders.empty() && !bSize) return false;
    strHeaders += "\nsize " + std::to_string(nSize);
    gchar *pszSha = g_compute_checksum_for_data(G_CHECKSUM_SHA1, reinterpret_cast<const guchar *>(strHeaders.data()),
                                                strHeaders.size());
    print.strSha1 = pszSha ? pszSha : "";
    g_free(pszSha);
    return true;
}

std::string FindMessage(CSession &session, const std::string &strFolderEntry, const MailPrint &print,
                        const std::set<std::string> &claimed) {
    FolderInfo folder;
    folder.strEntry = strFolderEntry;
    std::vector<ItemInfo> items;
    std::string strError;
    if (!ListItems(session, folder, ListFilter{}, items, strError)) return std::string();
    // Newest first: a message just moved there has the highest id.
    for (auto it = items.rbegin(); it != items.rend(); ++it) {
        if (claimed.count(it->strEntry)) continue;
        if (!print.strMessageId.empty() && ReadTextProp(session, it->strEntry, TS_PR_OE_MESSAGE_ID) != print.strMessageId)
            continue;
        MailPrint candidate;
        if (ReadMailPrint(session, it->strEntry, candidate) && candidate.strSha1 == print.strSha1) return it->strEntry;
    }
    return std::string();
}

bool DecodeCardEntry(const std::string &strEntry, std::string &strContainer, std::string &strUid) {
    if (strEntry.size() % 2) return false;
    std::string bytes;
    for (size_t i = 0; i < strEntry.size(); i += 2) {
        const int n = std::stoi(strEntry.substr(i, 2), nullptr, 16);
        bytes += static_cast<char>(n);
    }
    if (bytes.size() < 6 || bytes.compare(0, 4, std::string(4, '\0')) != 0 || bytes[4] != 'E') return false;
    const size_t nZero = bytes.find('\0', 5);
    if (nZero == std::string::npos || nZero + 1 >= bytes.size() || bytes[nZero + 1] != 'U') return false;
    strContainer = bytes.substr(5, nZero - 5);
    strUid = bytes.substr(nZero + 2);
    strUid = strUid.substr(0, strUid.find('\x01'));
    return !strUid.empty();
}

namespace {

// The card files of a directory by UID, read once per run and again only when a file no longer fits: a dedupe
// journals one card per action and must not read the whole book each time.
std::map<fs::path, std::map<std::string, fs::path>> g_CardFiles;

const std::map<std::string, fs::path> &CardFiles(const fs::path &dir, bool bRefresh) {
    const auto found = g_CardFiles.find(dir);
    if (found != g_CardFiles.end() && !bRefresh) return found->second;
    std::map<std::string, fs::path> &files = g_CardFiles[dir];
    files.clear();
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().extension() != ".vcf") continue;
        const auto blocks = CardBlocks(ReadFile(it->path()));
        if (blocks.size() == 1) files.emplace(UidOf(blocks[0]), it->path());
    }
    return files;
}

// Finds the text of the card with card's container and UID; fills strFile and strText.
bool LocateCard(const std::string &strBook, CardText &card, std::string &strError) {
    const fs::path book(strBook);
    std::error_code ec;
    if (fs::is_directory(book, ec)) {
        const fs::path dir = card.strContainer.empty() ? book : book / card.strContainer;
        for (bool bRefresh : {false, true}) {
            const auto &files = CardFiles(dir, bRefresh);
            const auto found = files.find(card.strUid);
            if (found == files.end()) continue;
            const std::string strText = ReadFile(found->second);
            const auto blocks = CardBlocks(strText);
            if (blocks.size() == 1 && UidOf(blocks[0]) == card.strUid) {
                card.strFile = found->second.filename().string();
                card.strText = strText;
                return true;
            }
        }
    } else {
        for (const std::string &block : CardBlocks(ReadFile(book))) {
            if (UidOf(block) == card.strUid) {
                card.strFile.clear();
                card.strText = block;
                return true;
            }
        }
    }
    strError = "the card with UID " + card.strUid + " was not found in " + strBook;
    return false;
}

} // namespace

bool ReadCardText(const std::string &strBook, const std::string &strEntry, CardText &card, std::string &strError) {
    try {
        if (!DecodeCardEntry(strEntry, card.strContainer, card.strUid)) {
            strError = "the contact has no UID, so it could not be restored after a delete";
            return false;
        }
    } catch (const std::exception &) {
        strError = "not a contact entry: " + strEntry;
        return false;
    }
    return LocateCard(strBook, card, strError);
}

CardState CompareCardText(const std::string &strBook, const CardText &card) {
    CardText now{card.strContainer, card.strUid, "", ""};
    std::string strIgnored;
    if (!LocateCard(strBook, now, strIgnored) || now.strFile != card.strFile) return CardState::Missing;
    if (now.strText == card.strText) return CardState::Equal;
    return WithoutLines(now.strText, {"FN", "REV"}) == WithoutLines(card.strText, {"FN", "REV"}) ? CardState::Marked
                                                                                             : CardState::Changed;
}

bool ReplaceCardText(const std::string &strBook, const CardText &card, std::string &strError) {
    CardText now{card.strContainer, card.strUid, "", ""};
    if (!LocateCard(strBook, now, strError)) return false;
    if (!now.strFile.empty()) {
        const fs::path book(strBook);
        const fs::path dir = card.strContainer.empty() ? book : book / card.strContainer;
        return WriteAtomically(dir / now.strFile, card.strText, false, strError);
    }
    std::string strFile = ReadFile(strBook);
    const size_t nAt = strFile.find(now.strText);
    if (nAt == std::string::npos) {
        strError = "the card with UID " + card.strUid + " changed while it was being put back";
        return false;
    }
    strFile.replace(nAt, now.strText.size(), card.strText);
    return WriteAtomically(strBook, strFile, false, strError);
}

bool WriteCardBack(const std::string &strBook, const CardText &card, std::string &strError) {
    const fs::path book(strBook);
    std::error_code ec;
    if (!card.strFile.empty()) {
        const fs::path dir = card.strContainer.empty() ? book : book / card.strContainer;
        fs::create_directories(dir, ec);
        fs::path path = dir / card.strFile;
        for (int n = 2; fs::exists(path, ec); ++n)
            path = dir / (fs::path(card.strFile).stem().string() + "-restored-" + std::to_string(n) + ".vcf");
        return WriteAtomically(path, card.strText, true, strError);
    }
    std::string strFile = ReadFile(book);
    if (!strFile.empty() && strFile.back() != '\n') strFile += "\r\n";
    return WriteAtomically(book, strFile + card.strText, false, strError);
}
