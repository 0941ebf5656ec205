// What differs between the two stores as far as the tool is concerned: the API number, the nouns in messages, and
// the words that name properties. Everything else (listing, scanning, comparing) is written once for both.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tessel.h"

// One property the library can read, named for people.
struct PropertyTag {
    const char *pszName; // the column name, also the word when the property has a word of its own
    uint32_t nTag;
    uint32_t nInterface; // TS_INTERFACE_VALUE or TS_INTERFACE_STREAM
};

// A word of --by: one or more properties ("phone" stands for every telephone number).
struct PropertyWord {
    const char *pszWord;
    const char *pszHelp;
    std::vector<PropertyTag> tags;
};

struct StoreKind {
    int32_t nAPI;
    const char *pszName;       // "mail", "contacts"
    const char *pszItems;      // "messages", "contacts"
    const char *pszFolder;     // "folder", "container"
    const char *pszDefaultWords;
    std::vector<PropertyWord> words;
};

const StoreKind &MailStore();
const StoreKind &ContactStore();

// The word, or null when the store has no such word.
const PropertyWord *FindPropertyWord(const StoreKind &kind, const std::string &strWord);

// "subject, from, to, ..." for help texts and error messages.
std::string PropertyWordList(const StoreKind &kind);
