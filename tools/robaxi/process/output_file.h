#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_OUTPUT_FILE_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_OUTPUT_FILE_H

#include <string>

namespace robaxi_tool {

/**
 * Writes a whole file. An existing file is replaced, but only by a complete one; if the name is not
 * a regular file (a pipe, a device), it is written to.
 *
 * @throws Failure CannotWrite
 */
void writeFile(const std::string& name, const std::string& content);

/** Returns base::fileNamePart() of a text, with ASCII letters and digits only. */
std::string fileNameWord(const std::string& text);

}  // namespace robaxi_tool

#endif
