// Heap copies of the texts that the address book store hands out in its plain records (folders and items).
#pragma once

// A std::malloc copy of psz, to go back through std::free; null for null or when memory runs out.
char *WABCopyText(const char *psz);
