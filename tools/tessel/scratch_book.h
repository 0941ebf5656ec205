// A private, temporary address book for comparing cards that are no longer in the user's book: a contacts dedupe
// removes its duplicates and keeps their text only in the journal, yet the report of that run should still show
// why they matched. Each group's cards go into a container of their own under UIDs of their own, and the library
// compares them there. The directory goes when the object does.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "propset.h"
#include "records.h"
#include "session.h"

struct MatrixView;

class CScratchBook {
public:
    CScratchBook() = default;
    ~CScratchBook();
    CScratchBook(const CScratchBook &) = delete;
    CScratchBook &operator=(const CScratchBook &) = delete;

    // Adds one group's cards (vCard texts, the original first) before Open; false with a message.
    bool AddGroup(size_t nGroup, const std::vector<std::string> &cards, std::string &strError);
    // Opens the book with everything added.
    bool Open(const GlobalOptions &options, std::string &strError);
    // The comparison of group nGroup's cards, the same as BuildMatrixView would give for them in the user's book.
    bool Compare(size_t nGroup, CPropertySet &props, MatrixView &view, std::string &strError);

private:
    std::filesystem::path m_dir;
    GlobalOptions m_options;
    std::unique_ptr<CSession> m_pSession;
    std::vector<FolderInfo> m_folders;
};
