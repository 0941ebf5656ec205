// Property tags of the message store: a private numbering between the library and its host (no name mapping
// behind the ids from 0x8001 up). The type half of PR_OE_ATTACH_SIZE says text, but its value is a number in the
// 32-bit field: the host knows the tag by this number.
#pragma once

#include "platform/mapi.h"

// Messages. PR_ENTRYID (the eight bytes of the item entry) is the common one of platform/mapi.h.
inline constexpr ULONG PR_OE_HASATTACH = 0x8001000B;
inline constexpr ULONG PR_OE_DISPLAY_BCC = 0x8002001E;
inline constexpr ULONG PR_OE_DISPLAY_CC = 0x8003001E;
inline constexpr ULONG PR_OE_DISPLAY_TO = 0x8004001E;
inline constexpr ULONG PR_OE_BODY = 0x8005001E;
inline constexpr ULONG PR_OE_FLAGGED = 0x8006000B;
inline constexpr ULONG PR_OE_SENDER_EMAIL = 0x8007001E;
inline constexpr ULONG PR_OE_HEADERS = 0x8008001E;
inline constexpr ULONG PR_OE_PRIORITY = 0x800A0003;
inline constexpr ULONG PR_OE_UNREAD = 0x800B000B;
inline constexpr ULONG PR_OE_RECEIVED = 0x800C0040;
inline constexpr ULONG PR_OE_DISPLAY_FROM = 0x800D001E;
inline constexpr ULONG PR_OE_SENT = 0x800E0040;
inline constexpr ULONG PR_OE_SIZE = 0x800F0003;
inline constexpr ULONG PR_OE_SUBJECT = 0x8010001E;
inline constexpr ULONG PR_OE_REFERENCES = 0x8011001E;
inline constexpr ULONG PR_OE_MESSAGE_ID = 0x8012001E;
inline constexpr ULONG PR_OE_STATE = 0x80130003;
inline constexpr ULONG PR_OE_DELETED = 0x8014000B;
inline constexpr ULONG PR_OE_SUBMITTED = 0x8015000B;
inline constexpr ULONG PR_OE_UNSENT = 0x8016000B;
inline constexpr ULONG PR_OE_RECEIVED_FLAG = 0x8017000B;
inline constexpr ULONG PR_OE_NEWSMSG = 0x8018000B;
inline constexpr ULONG PR_OE_NOSECUI = 0x8019000B;
inline constexpr ULONG PR_OE_VOICEMAIL = 0x801A000B;
inline constexpr ULONG PR_OE_REPLIED = 0x801B000B;
inline constexpr ULONG PR_OE_FORWARDED = 0x801C000B;
inline constexpr ULONG PR_OE_RCPTSENT = 0x801D000B;
inline constexpr ULONG PR_OE_FROM = 0x801E001E;
inline constexpr ULONG PR_OE_BCC = 0x8020001E;
inline constexpr ULONG PR_OE_CC = 0x8022001E;
inline constexpr ULONG PR_OE_TO = 0x8024001E;
inline constexpr ULONG PR_OE_SENDER = 0x8026001E;
inline constexpr ULONG PR_OE_HTML_BODY = 0x8027001E;
inline constexpr ULONG PR_OE_TEXT_BODY = 0x8028001E;

// Attachments.
inline constexpr ULONG PR_OE_ATTACH_DISPLAY_NAME = 0x8100001E;
inline constexpr ULONG PR_OE_ATTACH_NAME = 0x8101001E;
inline constexpr ULONG PR_OE_ATTACH_SIZE = 0x8102001E;
