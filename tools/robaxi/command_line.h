#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_H

#include "command.h"

#include <string>
#include <vector>

namespace robaxi_tool {

/** What the arguments of a sub-command say, beside what went into the command's own members. */
struct ParsedCommandLine {
    bool fHelp = false;
    Console::Color fColor = Console::Color::Auto;
    std::vector<std::string> fWords;
};

/**
 * Reads the arguments that follow a command's name. Options may stand anywhere among the words;
 * what looks like a negative number, and everything after "--", is a word.
 *
 * @throws UsageError
 */
ParsedCommandLine parseCommandLine(Command& command, const std::vector<std::string>& arguments);

/** What "robaxi COMMAND --help" shows. */
std::string helpText(Command& command);

/** What "robaxi --help" shows. */
std::string generalHelpText();

}  // namespace robaxi_tool

#endif
