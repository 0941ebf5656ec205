// Dates as people type and read them: "2024-03-01" or "2024-03-01 14:30[:05]" in, local time out for tables and
// UTC (ISO 8601) out for JSON.
#pragma once

#include <string>

#include "tessel.h"

// Reads a local calendar time; false if the text is no such date.
bool ParseDate(const std::string &strText, SYSTEMTIME &st);
// The same instant in UTC, by the local time zone; false if it does not exist.
bool LocalToUtc(const SYSTEMTIME &stLocal, SYSTEMTIME &stUtc);
// "2024-03-01 14:30" in local time; "" for a zero or unconvertible time.
std::string FormatLocal(const FILETIME &ft);
// "2024-03-01T13:30:00Z"; "" for a zero or unconvertible time.
std::string FormatUtc(const FILETIME &ft);
