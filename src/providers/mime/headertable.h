// IMimeHeaderTable over the rows of one body, taken when the table is bound.
#pragma once

#include <vector>

#include "providers/mime/headers.h"

HRESULT MimeCreateHeaderTable(std::vector<MimeHeaderRow> rgRows, IMimeHeaderTable **ppTable);
