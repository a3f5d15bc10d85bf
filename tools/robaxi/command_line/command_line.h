#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_COMMAND_LINE_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_COMMAND_LINE_H

#include "commands/command.h"

#include <string>
#include <vector>

namespace robaxi_tool {

/** Parsed arguments of a sub-command that are not stored in the command's members. */
struct ParsedCommandLine {
    bool fHelp = false;
    Console::Color fColor = Console::Color::Auto;
    std::vector<std::string> fWords;
};

/** Parses the arguments that follow a command's name. @throws UsageError */
ParsedCommandLine parseCommandLine(Command& command, const std::vector<std::string>& arguments);

/** The help's description of HOST, in whole lines. */
constexpr const char* a_hostHelp =
    "HOST is a name under which a robot announces itself ('robaxi list' shows them), a host\n"
    "name or an address; HOST:PORT and [IPv6]:PORT choose a port. The default is the announced\n"
    "port, or 9559. 'robaxi alias' gives hosts other names.\n";

/** Returns the options of a command, including those of all commands. */
std::vector<Options::Entry> optionsOf(Command& command);

/** Returns the sentence with a capital letter at the beginning. */
std::string capitalised(std::string sentence);

/** Returns the output of "robaxi COMMAND --help". */
std::string helpText(Command& command);

/** Returns the output of "robaxi --help". */
std::string generalHelpText();

}  // namespace robaxi_tool

#endif
