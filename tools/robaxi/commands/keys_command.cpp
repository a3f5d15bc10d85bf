#include "commands/commands.h"
#include "process/failure.h"
#include "values/key_pattern.h"
#include "values/memory_module.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

/** Prints names, types and units in columns. */
void printTable(const std::vector<const KVKeyInfo*>& keys, Console& console) {
    constexpr std::size_t typeWidth = 7;
    constexpr std::size_t longestAligned = 60;
    std::size_t nameWidth = 0;
    for (const KVKeyInfo* key : keys) {
        nameWidth = std::max(nameWidth, base::oneLine(key->fName).size());
    }
    nameWidth = std::min(nameWidth, longestAligned);
    const auto column = [](std::string text, std::size_t width) {
        text.resize(std::max(text.size(), width), ' ');
        return text + ' ';
    };
    for (const KVKeyInfo* key : keys) {
        std::string line = column(base::oneLine(key->fName), nameWidth) +
                           column(KVValue::typeName(key->fType), typeWidth) +
                           base::oneLine(key->fUnit);
        line.erase(line.find_last_not_of(' ') + 1);
        console.print(line + '\n');
    }
}

Json jsonOf(const KVKeyInfo& key) {
    Json json{{"key", key.fName},
              {"type", KVValue::typeName(key.fType)},
              {"unit", key.fUnit},
              {"description", key.fDescription},
              {"writable", key.fWritable}};
    if (key.fRange) {
        json["lowest"] = key.fRange->fLowest;
        json["highest"] = key.fRange->fHighest;
    }
    return json;
}

class KeysCommand : public Command {
  public:
    std::string name() const override { return "keys"; }
    std::string summary() const override { return "lists a robot's keys with types and units"; }
    Words words() const override { return {"HOST [KEY]...", 1, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) + "Without a KEY all keys are listed.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson,
                          "print one JSON object a line, with description and range");
        addMemoryModule(options, &fModule);
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        MemoryModule memory(link, fModule, surroundings.fInterruption);
        const std::vector<std::string> patterns(given.begin() + 1, given.end());
        const auto isAsked = [&](const std::string& name) {
            return patterns.empty() ||
                   std::any_of(patterns.begin(), patterns.end(),
                               [&](const auto& pattern) { return matchesKey(pattern, name); });
        };
        std::vector<const KVKeyInfo*> keys;
        for (const auto& [name, held] : memory.heldValues()) {
            if (isAsked(name)) {
                keys.push_back(&held.fKey);
            }
        }
        if (keys.empty() && !patterns.empty()) {
            throw Failure(ExitStatus::NotOffered, noKeyMatches(patterns));
        }
        if (!fJson) {
            printTable(keys, surroundings.fConsole);
            return ExitStatus::Success;
        }
        for (const KVKeyInfo* key : keys) {
            surroundings.fConsole.print(jsonLine(jsonOf(*key)));
        }
        return ExitStatus::Success;
    }

  private:
    bool fJson = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeKeysCommand() {
    return std::make_unique<KeysCommand>();
}

}  // namespace robaxi_tool
