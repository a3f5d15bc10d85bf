#ifndef BASE_CSV_H
#define BASE_CSV_H

#include <string>

/** Fields of CSV files, separated by commas and quoted as in RFC 4180. */
namespace base {

/** Returns a field, quoted if necessary. @param line a text without line breaks */
std::string csvField(const std::string& line);

/**
 * Returns a field for untrusted text, which a spreadsheet must not run: one that begins like a
 * formula, with = + - or @, gets a leading apostrophe.
 */
std::string csvText(const std::string& line);

}  // namespace base

#endif
