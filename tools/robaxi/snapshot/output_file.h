#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_OUTPUT_FILE_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_OUTPUT_FILE_H

#include <string>

namespace robaxi_tool {

/**
 * Writes a whole file. One that was there before is replaced, but only by a whole one; what is not
 * a file (a pipe, a device) is written to.
 *
 * @throws Failure CannotWrite
 */
void writeFile(const std::string& name, const std::string& content);

/** A word for a file's name: letters, digits, '.', '-' and '_', and not hidden by a point. */
std::string fileNameWord(const std::string& text);

}  // namespace robaxi_tool

#endif
