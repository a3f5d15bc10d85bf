#ifndef OBVISTA_TOOLS_ROBAXI_COMMANDS_COMMANDS_H
#define OBVISTA_TOOLS_ROBAXI_COMMANDS_COMMANDS_H

#include "commands/command.h"

#include <memory>
#include <string>
#include <vector>

namespace robaxi_tool {

std::unique_ptr<Command> makeAliasCommand();
std::unique_ptr<Command> makeCallCommand();
std::unique_ptr<Command> makeConformCommand();
std::unique_ptr<Command> makeDoctorCommand();
std::unique_ptr<Command> makeGetCommand();
std::unique_ptr<Command> makeHelpCommand();
std::unique_ptr<Command> makeKeysCommand();
std::unique_ptr<Command> makeListCommand();
std::unique_ptr<Command> makeModulesCommand();
std::unique_ptr<Command> makePingCommand();
std::unique_ptr<Command> makeRecordCommand();
std::unique_ptr<Command> makeRecordingCommand();
std::unique_ptr<Command> makeSetCommand();
std::unique_ptr<Command> makeSnapshotCommand();
std::unique_ptr<Command> makeWatchCommand();

/** Returns all commands in the order of the help. */
std::vector<std::unique_ptr<Command>> makeCommands();

/** Returns the command of that name. @throws UsageError */
std::unique_ptr<Command> makeCommand(const std::string& name);

}  // namespace robaxi_tool

#endif
