#include "commands/commands.h"
#include "network/aliases.h"
#include "process/failure.h"
#include "values/value_text.h"

namespace robaxi_tool {

namespace {

class AliasCommand : public Command {
  public:
    std::string name() const override { return "alias"; }
    std::string summary() const override { return "lists, sets and removes names for hosts"; }
    Words words() const override { return {"[NAME [HOST]]", 0, 2}; }
    std::string explanation() const override {
        return "Without words it lists the aliases; with a NAME it prints the alias of that name;\n"
               "with a HOST, too, it sets the alias. An alias is used wherever a HOST is\n"
               "expected, before any other host of that name. Aliases are kept in the file\n"
               "robaxi.aliases beside robaxi.conf.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--remove", &fRemove, "remove the alias NAME");
        options.addSwitch("--json", &fJson, "print one JSON object a line, one for each alias");
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        if (fRemove && given.size() != 1) {
            throw UsageError("--remove takes one NAME");
        }
        const std::string file = aliasFile();
        if (given.empty()) {
            for (const auto& [name, host] : readAliases(file)) {
                xPrint(name, host, surroundings.fConsole);
            }
            return ExitStatus::Success;
        }
        const std::string& name = given[0];
        if (given.size() == 2) {
            checkAliasName(name);
            parseTarget(given[1]);
            writeAlias(file, name, given[1]);
            if (fJson) {
                xPrint(name, given[1], surroundings.fConsole);
            }
            return ExitStatus::Success;
        }
        const Aliases aliases = readAliases(file);
        const auto found = aliases.find(name);
        if (found == aliases.end()) {
            throw Failure(ExitStatus::NotFound, "There is no alias '" + name + "'.");
        }
        if (fRemove) {
            writeAlias(file, name, {});
        }
        if (!fRemove || fJson) {
            xPrint(name, found->second, surroundings.fConsole);
        }
        return ExitStatus::Success;
    }

  private:
    void xPrint(const std::string& name, const std::string& host, Console& console) const {
        console.print(fJson ? jsonLine({{"name", name}, {"host", host}})
                            : name + ' ' + host + '\n');
    }

    bool fRemove = false;
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeAliasCommand() {
    return std::make_unique<AliasCommand>();
}

}  // namespace robaxi_tool
