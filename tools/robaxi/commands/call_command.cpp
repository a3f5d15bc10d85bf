#include "commands/commands.h"
#include "network/robot_link.h"
#include "process/failure.h"
#include "values/value_literal.h"
#include "values/value_text.h"

namespace robaxi_tool {

namespace {

class CallCommand : public Command {
  public:
    std::string name() const override { return "call"; }
    std::string summary() const override { return "calls a method and prints its result"; }
    Words words() const override {
        return {"HOST MODULE METHOD [ARGUMENT...]", 3, Words::a_anyNumber};
    }
    std::string explanation() const override {
        return "An ARGUMENT is written as in JSON: true, false, null, 12, -0.5, \"text\", [1, 2],\n"
               "{\"key\": 1}. Any other word is a text. A number becomes a text in\n"
               "quotes: '\"12\"'.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print the result as JSON, even if it is nothing");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        KVValue::List arguments;
        for (auto argument = given.begin() + 3; argument != given.end(); ++argument) {
            arguments.push_back(parseLiteral(*argument));
        }
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        const auto module = link.module(given[1]);
        const InterruptionHandler cancel(surroundings.fInterruption, [&] { module->cancel(); });
        const KVValue result = xCall(*module, given[2], arguments);
        if (fJson) {
            surroundings.fConsole.print(jsonLine(valueJson(result)));
        } else if (!result.isNothing()) {
            surroundings.fConsole.print(valueText(result) + '\n');
        }
        return ExitStatus::Success;
    }

  private:
    KVValue xCall(KVProxy& module, const std::string& method,
                  const KVValue::List& arguments) const {
        const Clock::time_point end = Clock::now() + std::chrono::seconds(fTimeout);
        try {
            return module.callValue(method, arguments);
        } catch (const KVError& error) {
            // A module may report a time-out, too.
            if (error.cause() != KVError::Cause::TimedOut || Clock::now() < end) {
                throw;
            }
            throw Failure(ExitStatus::TimedOut, error.toString() + " '--timeout S' waits longer.");
        }
    }

    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeCallCommand() {
    return std::make_unique<CallCommand>();
}

}  // namespace robaxi_tool
