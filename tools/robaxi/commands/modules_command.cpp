#include "commands/commands.h"
#include "network/robot_link.h"
#include "values/value_text.h"

#include <base/safe_text.h>

namespace robaxi_tool {

namespace {

std::string moduleText(const KVModuleInfo& module) {
    std::string text = base::oneLine(module.fName) + ": " + base::oneLine(module.fDescription) +
                       (module.fHasValues ? " Its values can be watched." : "") +
                       (module.fHasFrames ? " Its cameras can be watched." : "") + '\n';
    for (const KVMethodInfo& method : module.fMethods) {
        const std::string& shown = method.fSignature.empty() ? method.fName : method.fSignature;
        text += "  " + base::oneLine(shown) + '\n';
        if (!method.fDescription.empty()) {
            text += "      " + base::oneLine(method.fDescription) + '\n';
        }
    }
    return text;
}

Json moduleJson(const KVModuleInfo& module) {
    Json methods = Json::array();
    for (const KVMethodInfo& method : module.fMethods) {
        methods.push_back({{"name", method.fName},
                           {"signature", method.fSignature},
                           {"description", method.fDescription}});
    }
    return {{"name", module.fName},
            {"description", module.fDescription},
            {"values", module.fHasValues},
            {"cameras", module.fHasFrames},
            {"methods", methods}};
}

class ModulesCommand : public Command {
  public:
    std::string name() const override { return "modules"; }
    std::string summary() const override { return "shows a robot's modules and their methods"; }
    Words words() const override { return {"HOST", 1, 1}; }
    std::string explanation() const override {
        return "Each module is a line with its name and description. Its methods follow, in the\n"
               "form that 'robaxi call' accepts. 'robaxi watch' shows values, 'robaxi snapshot'\n"
               "saves a picture of a camera.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print one JSON object a line, one for each module");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        for (const KVModuleInfo& module : link.connection()->getModules(fTimeout)) {
            surroundings.fConsole.print(fJson ? jsonLine(moduleJson(module)) : moduleText(module));
        }
        return ExitStatus::Success;
    }

  private:
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeModulesCommand() {
    return std::make_unique<ModulesCommand>();
}

}  // namespace robaxi_tool
