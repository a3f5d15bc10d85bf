#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_WRITE_ALL_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_WRITE_ALL_H

#include <string>

namespace robaxi_tool {

/**
 * Writes every byte, and waits where a reader is slow, also when whoever started the program made
 * the descriptor one that does not block.
 *
 * @return 0, or the number of the error
 */
int writeAll(int descriptor, const std::string& bytes);

}  // namespace robaxi_tool

#endif
