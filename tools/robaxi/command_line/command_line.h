#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_COMMAND_LINE_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_COMMAND_LINE_H

#include "commands/command.h"

#include <string>
#include <vector>

namespace robaxi_tool {

/** What the arguments of a sub-command say, beside what went into the command's own members. */
struct ParsedCommandLine {
    bool fHelp = false;
    Console::Color fColor = Console::Color::Auto;
    std::vector<std::string> fWords;
};

/** Reads the arguments that follow a command's name. @throws UsageError */
ParsedCommandLine parseCommandLine(Command& command, const std::vector<std::string>& arguments);

/** What --help says of HOST, in whole lines. */
constexpr const char* a_hostHelp =
    "HOST is a name under which a robot announces itself ('robaxi list' shows them), a host\n"
    "name or an address; HOST:PORT and [IPv6]:PORT choose a port. Without a port it is the one\n"
    "that is announced, or else 9559.\n";

/** The options of a command, with those that all commands have. */
std::vector<Options::Entry> optionsOf(Command& command);

/** The sentence with a capital letter at its beginning. */
std::string capitalised(std::string sentence);

/** What "robaxi COMMAND --help" shows. */
std::string helpText(Command& command);

/** What "robaxi --help" shows. */
std::string generalHelpText();

}  // namespace robaxi_tool

#endif
