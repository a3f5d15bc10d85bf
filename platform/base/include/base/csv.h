#ifndef BASE_CSV_H
#define BASE_CSV_H

#include <cstdint>
#include <string>
#include <string_view>

/**
 * Fields of CSV files: UTF-8, separated by commas, quoted as in RFC 4180. They do not depend on the
 * locale.
 */
namespace base {

/** Ends a row. */
constexpr std::string_view a_csvRowEnd = "\r\n";

/** Returns a field, quoted if necessary. @param line a text without line breaks */
std::string csvField(const std::string& line);

/**
 * Returns a field for untrusted text, which a spreadsheet must not run: one that begins like a
 * formula, with = + - or @, gets a leading apostrophe.
 */
std::string csvText(const std::string& line);

/**
 * Appends untrusted text as one field, which a spreadsheet does not run. Control characters, other
 * invisible ones, and the backslash are escaped ("\n", "\x1b", "\\"), so that a row is a line.
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

}  // namespace base

#endif
