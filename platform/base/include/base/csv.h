#ifndef BASE_CSV_H
#define BASE_CSV_H

#include <string>

/** Fields of CSV files, with commas between them and quotation as in RFC 4180. */
namespace base {

/** Returns a field, in quotes where it has to be. @param line a text without line breaks */
std::string csvField(const std::string& line);

/** The same for a text that somebody else wrote, which a spreadsheet must not run: one that begins
 *  with = + - or @, as a formula does, gets an apostrophe in front. */
std::string csvText(const std::string& line);

}  // namespace base

#endif
