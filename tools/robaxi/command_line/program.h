#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_PROGRAM_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_PROGRAM_H

#include "commands/command.h"

#include <string>
#include <vector>

namespace robaxi_tool {

/** Runs the program on the process's streams and signals. @return its exit status */
int runProgram(int argc, char** argv);

/**
 * Finds the sub-command, runs it and reports errors.
 *
 * @param arguments without the program's name
 * @return the exit status
 */
int runArguments(const std::vector<std::string>& arguments, Surroundings surroundings);

}  // namespace robaxi_tool

#endif
