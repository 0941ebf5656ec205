// What the dedupe and undo commands need to know about one item beyond the scan: whether it is still there and
// unchanged, a fingerprint that finds a message again after the store gave it a new entry, and the whole text of
// a contact card (an address book has no Deleted Items, so the journal keeps the card and undo writes it back).
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "records.h"
#include "session.h"

struct MailPrint {
    std::string strMessageId; // may be empty
    std::string strSha1;      // of the header block and the size; empty if unreadable
};

// The listing record of an item, or nullopt if the store does not know the entry any more.
std::optional<ItemInfo> CurrentItem(CSession &session, const std::vector<FolderInfo> &folders,
                                    const std::string &strEntry);
bool ReadMailPrint(CSession &session, const std::string &strEntry, MailPrint &print);
// A text property of an item; empty when absent.
std::string ReadTextProp(CSession &session, const std::string &strEntry, uint32_t nTag);
// A message in folder strFolderEntry with this fingerprint whose entry is not in claimed; "" if none.
std::string FindMessage(CSession &session, const std::string &strFolderEntry, const MailPrint &print,
                        const std::set<std::string> &claimed);

// A contact card as it stands in the book's files.
struct CardText {
    std::string strContainer; // the container's path relative to the book ("" for the top)
    std::string strUid;
    std::string strFile;      // the card's file name in a directory book; "" for a single-file book
    std::string strText;      // BEGIN:VCARD ... END:VCARD, byte for byte
};

// The container and UID an entry names; false for an entry that names no card with a UID.
bool DecodeCardEntry(const std::string &strEntry, std::string &strContainer, std::string &strUid);
// Reads the card's text from the book; false with a message if it can't be found.
bool ReadCardText(const std::string &strBook, const std::string &strEntry, CardText &card, std::string &strError);
// Whether the card a journal holds is still in the book as the mark left it: the same text but for its FN and REV
// lines, which the mark rewrites. Equal when the text is unchanged (the mark never happened).
enum class CardState { Equal, Marked, Changed, Missing };
CardState CompareCardText(const std::string &strBook, const CardText &card);
// Puts the journaled text of a card in place of the card with its UID in its container, atomically; false with a
// message.
bool ReplaceCardText(const std::string &strBook, const CardText &card, std::string &strError);
// Writes a card back into its container (a file of its own, never overwriting one, or appended to the single
// file), atomically; false with a message.
bool WriteCardBack(const std::string &strBook, const CardText &card, std::string &strError);
