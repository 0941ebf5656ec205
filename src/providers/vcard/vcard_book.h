// An address book on disk: one .vcf file (one container) or a directory tree in the vdir layout of vdirsyncer and
// khard (every directory that holds .vcf files is a container, one card per file). The first container (the file,
// or the top directory) is the personal address book.
//
// Entry ids are binary and stable while the book is unchanged: 4 zero flag bytes, a kind byte, then the
// container's path relative to the book and, for a card, its UID (a card without one: a hash of its text), with a
// count appended when a UID repeats in a container.
//
// Every change rewrites one file through a temporary file, flushed and renamed into place. A file that another
// program changed since it was read (size or modification time differ) is read again first; if the card being
// saved or deleted changed there, the change fails with MAPI_E_OBJECT_CHANGED and nothing is written.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_names.h"
#include "platform/wab.h"

namespace vcard {

struct CardFile {
    std::filesystem::path path;
    VFile file;
    bool bExists = false;
    int64_t nSize = -1;
    int64_t nMtime = 0; // nanoseconds
};

struct Container {
    std::string sKey;           // path relative to the book; "" for the first container
    std::filesystem::path path; // the .vcf file, or the directory
    std::string sName;
    std::vector<CardFile> files; // sorted by name; a file book has exactly one
};

struct CardPos {
    size_t nContainer;
    size_t nFile;
    size_t nChunk;
};

class CBook {
public:
    // Opens (and if missing, creates empty) the book at sPath: a path ending in ".vcf" is a file book, anything
    // else a directory. An empty sPath means $TESSEL_CONTACTS, else ~/.local/share/contacts.
    static HRESULT Open(const std::string &sPath, std::shared_ptr<CBook> *ppBook);

    bool IsDirectory() const { return m_bDirectory; }
    size_t ContainerCount() const { return m_containers.size(); }
    const Container &GetContainer(size_t n) const { return m_containers[n]; }

    static std::string RootEntryId();
    std::string ContainerEntryId(size_t n) const;
    std::string TemplateEntryId(size_t n, ULONG ulObjType) const;
    bool IsRootId(std::string_view sId) const;
    bool FindContainer(std::string_view sId, size_t *pn) const;
    bool FindTemplate(std::string_view sId, size_t *pn, ULONG *pulObjType) const;

    // Reads again what changed on disk in a container (files changed, added or removed).
    void Refresh(size_t nContainer);

    // The entry ids of a container's cards, in file order.
    std::vector<std::string> CardIds(size_t nContainer) const;
    bool FindCard(std::string_view sEntryId, CardPos *pPos) const;
    const VCard &CardAt(const CardPos &pos) const;
    const CardFile &FileAt(const CardPos &pos) const;

    // Replaces the card that was `original` when it was read; *psNewId gets its id afterwards (a UID may be new).
    HRESULT SaveCard(std::string_view sEntryId, const VCard &original, const VCard &card, std::string *psNewId);
    HRESULT AddCard(size_t nContainer, VCard card, std::string *psNewId);
    HRESULT DeleteCard(std::string_view sEntryId);

    CNamedProps &Names() { return *m_pNames; }

private:
    CBook() = default;
    HRESULT Load();
    void LoadDirectory();
    bool ReadFile(CardFile *pFile);
    bool ChangedOnDisk(const CardFile &file) const;
    // Writes a file's cards as they now stand; the caller undoes its change if this fails.
    HRESULT Commit(CardFile *pFile);
    void Reindex();
    std::string CardKey(size_t nContainer, const VCard &card, std::map<std::string, int> *pSeen) const;

    std::filesystem::path m_root;
    bool m_bDirectory = false;
    std::vector<Container> m_containers;
    std::map<std::string, CardPos> m_index;
    std::unique_ptr<CNamedProps> m_pNames;
};

} // namespace vcard
