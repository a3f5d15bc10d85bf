#ifndef OBVISTA_MEMORYVIEWER_CSV_TEXT_H
#define OBVISTA_MEMORYVIEWER_CSV_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace memoryviewer {

/**
 * The elements of our CSV files: UTF-8, commas between fields, CR LF after each row, and quoting as
 * in RFC 4180. They do not depend on the locale.
 */

/** Ends a row. */
constexpr std::string_view a_csvRowEnd = "\r\n";

/**
 * Appends a text as one field, which is a single line and is not run by a spreadsheet.
 *
 * Control characters, other invisible ones, and the backslash are escaped ("\n", "\x1b", "\\"), so
 * that a row is a line. A text that begins like a formula, with = + - or @, gets a leading
 * apostrophe.
 */
void appendCsvText(std::string& row, std::string_view utf8);

/** Appends a number with all its significant digits, "nan", "inf" or "-inf". */
void appendCsvNumber(std::string& row, double value);
void appendCsvNumber(std::string& row, std::int64_t value);

/**
 * Appends a time as two fields: the unchanged microseconds, and the same time as
 * "2026-11-21T05:40:41.123456Z". The second is empty for times outside the years 0 to 9999.
 */
void appendCsvTime(std::string& row, std::int64_t microseconds);

}  // namespace memoryviewer

#endif
