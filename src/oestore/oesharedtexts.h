// Texts that many value blocks hold alike (a subject of a thread, a frequent sender), kept once for the whole
// process with a count of their holders. Shared texts are read-only, and lie in no chunk of a connection's
// COEValueChunks.
#pragma once

#include <string_view>

// The shared copy of svText, one more holder counted; null if memory runs out. Safe from any thread.
const char *OEAcquireSharedText(std::string_view svText);

// One holder less of a text of OEAcquireSharedText; the last one frees it. Safe from any thread.
void OEReleaseSharedText(const char *psz);
