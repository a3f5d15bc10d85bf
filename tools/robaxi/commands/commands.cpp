#include "commands/commands.h"

namespace robaxi_tool {

std::vector<std::unique_ptr<Command>> makeCommands() {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(makeListCommand());
    commands.push_back(makeModulesCommand());
    commands.push_back(makeCallCommand());
    commands.push_back(makeGetCommand());
    commands.push_back(makeSetCommand());
    commands.push_back(makeWatchCommand());
    commands.push_back(makeSnapshotCommand());
    commands.push_back(makePingCommand());
    commands.push_back(makeDoctorCommand());
    return commands;
}

}  // namespace robaxi_tool
