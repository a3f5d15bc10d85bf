#include "commands/commands.h"

#include "process/failure.h"

namespace robaxi_tool {

std::vector<std::unique_ptr<Command>> makeCommands() {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(makeListCommand());
    commands.push_back(makeModulesCommand());
    commands.push_back(makeCallCommand());
    commands.push_back(makeKeysCommand());
    commands.push_back(makeGetCommand());
    commands.push_back(makeSetCommand());
    commands.push_back(makeWatchCommand());
    commands.push_back(makeSnapshotCommand());
    commands.push_back(makeRecordCommand());
    commands.push_back(makeRecordingCommand());
    commands.push_back(makePingCommand());
    commands.push_back(makeDoctorCommand());
    commands.push_back(makeConformCommand());
    commands.push_back(makeAliasCommand());
    commands.push_back(makeHelpCommand());
    return commands;
}

std::unique_ptr<Command> makeCommand(const std::string& name) {
    std::vector<std::string> names;
    for (auto& command : makeCommands()) {
        if (command->name() == name) {
            return std::move(command);
        }
        names.push_back(command->name());
    }
    throw UsageError("there is no command '" + name + '\'' + suggestion(name, names));
}

}  // namespace robaxi_tool
