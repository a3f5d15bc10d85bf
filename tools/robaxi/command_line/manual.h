#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_MANUAL_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_MANUAL_H

#include <string>

namespace robaxi_tool {

/** Returns the manual page robaxi(1), in man's format: the help of all commands. */
std::string manualPage();

}  // namespace robaxi_tool

#endif
