#include "commands.h"
#include "failure.h"
#include "key_pattern.h"
#include "memory_module.h"
#include "safe_text.h"
#include "value_text.h"

#include <algorithm>
#include <iterator>

namespace robaxi_tool {

namespace {

void addMatching(const std::string& pattern, const std::vector<std::string>& keys,
                 std::vector<std::string>& expanded) {
    const std::size_t before = expanded.size();
    std::copy_if(keys.begin(), keys.end(), std::back_inserter(expanded),
                 [&](const std::string& key) { return matchesKey(pattern, key); });
    if (expanded.size() == before) {
        throw Failure(ExitStatus::NotOffered, "No key matches '" + pattern + "'.");
    }
}

/** Replaces patterns by the keys that they match. */
std::vector<std::string> expandedKeys(MemoryModule& memory, const std::vector<std::string>& given) {
    if (std::none_of(given.begin(), given.end(), isPattern)) {
        return given;
    }
    const std::vector<std::string> keys = memory.keys();
    std::vector<std::string> expanded;
    for (const std::string& word : given) {
        if (isPattern(word)) {
            addMatching(word, keys, expanded);
        } else {
            expanded.push_back(word);
        }
    }
    return expanded;
}

class GetCommand : public Command {
  public:
    std::string name() const override { return "get"; }
    std::string summary() const override { return "prints the present values of keys"; }
    Words words() const override { return {"HOST KEY...", 2, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) +
               "The value of a single key is printed alone; otherwise each line is a key and\n"
               "its value.\n";
    }

    void addOptions(po::options_description& options) override {
        addSwitch(options, "json", &fJson, "print one JSON object with all keys and values");
        addMemoryModule(options, &fModule);
        addTimeout(options, &fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        MemoryModule memory(link, fModule);
        const bool isSingle = given.size() == 2 && !isPattern(given[1]);
        Json all = Json::object();
        for (const std::string& key : expandedKeys(memory, {given.begin() + 1, given.end()})) {
            surroundings.fInterruption.check();
            const KVValue value = memory.value(key);
            if (fJson) {
                all[key] = valueJson(value);
            } else {
                surroundings.fConsole.print((isSingle ? "" : oneLine(key) + ' ') +
                                            valueText(value) + '\n');
            }
        }
        if (fJson) {
            surroundings.fConsole.print(jsonLine(all));
        }
        return ExitStatus::Success;
    }

  private:
    bool fJson = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeGetCommand() {
    return std::make_unique<GetCommand>();
}

}  // namespace robaxi_tool
