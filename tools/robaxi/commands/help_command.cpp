#include "command_line/command_line.h"
#include "commands/commands.h"

namespace robaxi_tool {

namespace {

class HelpCommand : public Command {
  public:
    std::string name() const override { return "help"; }
    std::string summary() const override { return "shows the help of a command"; }
    Words words() const override { return {"[COMMAND]", 0, 1}; }
    std::string explanation() const override { return ""; }
    void addOptions(Options& /*options*/) override {}

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        surroundings.fConsole.print(given.empty() ? generalHelpText()
                                                  : helpText(*makeCommand(given[0])));
        return ExitStatus::Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeHelpCommand() {
    return std::make_unique<HelpCommand>();
}

}  // namespace robaxi_tool
