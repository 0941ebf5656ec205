// Maildir file names: "<unique>:2,<flags>" in cur/, "<unique>" in new/. The unique part names a message for as long
// as it lives in a folder; the flags after ":2," carry the state bits that Maildir knows.
#pragma once

#include <string>
#include <string_view>

#include "platform/msgstore.h"

// The state bits that live in the file name; every other bit lives in the folder's uid list.
inline constexpr DWORD kNameStateBits = MSG_UNREAD | MSG_FLAGGED | MSG_REPLIED | MSG_FORWARDED | MSG_DELETED | MSG_UNSENT;

struct MaildirName {
    std::string_view svUnique; // the name up to ":2,"
    std::string_view svFlags;  // the letters after ":2,", empty if there are none
};

MaildirName SplitMaildirName(std::string_view svName);

// The state bits of a file name's flags: S read (no S: MSG_UNREAD), F flagged, R replied, P forwarded, T deleted,
// D draft (MSG_UNSENT).
DWORD StateFromFlags(std::string_view svFlags);

// The flag letters for dwState, keeping the letters of svOldFlags that carry no state bit (keywords of other
// programs), in ASCII order as Maildir wants them.
std::string FlagsFromState(std::string_view svOldFlags, DWORD dwState);

// A new unique part: "<seconds>.M<microseconds>P<pid>Q<counter>.<host>", the usual Maildir form.
std::string NewUniqueName();
