#include "command_line/command_line.h"
#include "commands/commands.h"
#include "values/value_text.h"

namespace robaxi_tool {

namespace {

std::string helpJson(Command& command) {
    Json options = Json::array();
    for (const Options::Entry& option : optionsOf(command)) {
        options.push_back({{"option", option.fTerm}, {"description", option.fDescription}});
    }
    return jsonLine({{"command", command.name()},
                     {"words", command.words().fSynopsis},
                     {"summary", command.summary()},
                     {"explanation", command.explanation()},
                     {"options", options}});
}

class HelpCommand : public Command {
  public:
    std::string name() const override { return "help"; }
    std::string summary() const override { return "shows the help of a command"; }
    Words words() const override { return {"[COMMAND]", 0, 1}; }
    std::string explanation() const override { return ""; }
    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print one JSON object a line, one for each command");
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        Console& console = surroundings.fConsole;
        if (!fJson) {
            console.print(given.empty() ? generalHelpText() : helpText(*makeCommand(given[0])));
        } else if (given.empty()) {
            for (const auto& command : makeCommands()) {
                console.print(helpJson(*command));
            }
        } else {
            console.print(helpJson(*makeCommand(given[0])));
        }
        return ExitStatus::Success;
    }

  private:
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeHelpCommand() {
    return std::make_unique<HelpCommand>();
}

}  // namespace robaxi_tool
