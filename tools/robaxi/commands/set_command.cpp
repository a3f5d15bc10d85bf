#include "commands/commands.h"
#include "values/memory_module.h"
#include "values/value_literal.h"
#include "values/value_text.h"

namespace robaxi_tool {

namespace {

class SetCommand : public Command {
  public:
    std::string name() const override { return "set"; }
    std::string summary() const override { return "writes the value of a key"; }
    Words words() const override { return {"HOST KEY VALUE", 3, 3}; }
    std::string explanation() const override {
        return "VALUE is written as an argument of 'robaxi call'; for a key that contains a text,\n"
               "12 is the text 12. Nothing is printed if the robot accepts the value.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print key and value as a JSON object");
        addMemoryModule(options, &fModule);
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        KVValue value = parseLiteral(given[2]);
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        MemoryModule memory(link, fModule, surroundings.fInterruption);
        try {
            memory.setValue(given[1], value);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::WrongType || !xHoldsText(memory, given[1])) {
                throw;
            }
            value = KVValue(given[2]);
            memory.setValue(given[1], value);
        }
        if (fJson) {
            surroundings.fConsole.print(jsonLine({{"key", given[1]}, {"value", valueJson(value)}}));
        }
        return ExitStatus::Success;
    }

  private:
    static bool xHoldsText(MemoryModule& memory, const std::string& key) {
        return memory.value(key).type() == KVValue::Type::String;
    }

    bool fJson = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeSetCommand() {
    return std::make_unique<SetCommand>();
}

}  // namespace robaxi_tool
