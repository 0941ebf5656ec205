// What lies in a Maildir folder's cur/ and new/: the message files, as one listing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/com.h"
#include "providers/maildir/uidlist.h"

// Lists the message files of the folder strDir (cur/ then new/). Hidden names and directories are not messages.
// A folder without cur/ or new/ gives STG_E_PATHNOTFOUND.
HRESULT ListMessageFiles(const std::string &strDir, std::vector<MessageFile> &files);

// The number of messages in the folder and of those without the read flag.
HRESULT CountMessages(const std::string &strDir, DWORD &cMessage, DWORD &cUnread);

// The path of a message file: "<dir>/cur/<name>" or "<dir>/new/<name>" (bNew).
std::string MessagePath(const std::string &strDir, std::string_view svName, bool bNew);

// True if strDir has the cur/ and new/ of a Maildir folder.
bool IsMaildirFolder(const std::string &strDir);
