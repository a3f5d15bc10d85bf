#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_MANUAL_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_MANUAL_H

#include <string>

namespace robaxi_tool {

/** The manual page robaxi(1), in the language of man: what --help says, of all commands. */
std::string manualPage();

}  // namespace robaxi_tool

#endif
