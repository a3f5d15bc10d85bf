#ifndef OBVISTA_MEMORYVIEWER_CSV_TEXT_H
#define OBVISTA_MEMORYVIEWER_CSV_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace memoryviewer {

/**
 * The pieces of our CSV files: UTF-8, comma between fields, CR LF after each row, and quotation as
 * in RFC 4180. Nothing in them follows the locale.
 */

/** Ends a row. */
constexpr std::string_view a_csvRowEnd = "\r\n";

/**
 * Appends a text as one field, which stays on one line and is not run by a spreadsheet.
 *
 * Control characters, others that are invisible, and the backslash are escaped ("\n", "\x1b",
 * "\\"), so that a row is a line. A text that a spreadsheet would take for a formula, since it
 * begins with = + - or @, gets an apostrophe in front.
 */
void appendCsvText(std::string& row, std::string_view utf8);

/** Appends a number with all the digits that tell it from its neighbours, "nan", "inf" or "-inf".
 */
void appendCsvNumber(std::string& row, double value);
void appendCsvNumber(std::string& row, std::int64_t value);

/**
 * Appends a time as two fields: the microseconds as they came, and the same as
 * "2026-11-21T05:40:41.123456Z". The second is empty for times outside the years 0 to 9999.
 */
void appendCsvTime(std::string& row, std::int64_t microseconds);

}  // namespace memoryviewer

#endif
