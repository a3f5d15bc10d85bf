#include "commands.h"
#include "failure.h"
#include "key_pattern.h"
#include "memory_module.h"
#include "safe_text.h"
#include "value_text.h"

#include <algorithm>
#include <optional>

namespace robaxi_tool {

namespace {

struct AskedKey {
    std::string fName;
    bool fIsOfPattern;
};

void addMatching(const std::string& pattern, const std::vector<std::string>& keys,
                 std::vector<AskedKey>& expanded) {
    const std::size_t before = expanded.size();
    for (const std::string& key : keys) {
        if (matchesKey(pattern, key)) {
            expanded.push_back({key, true});
        }
    }
    if (expanded.size() == before) {
        throw Failure(ExitStatus::NotOffered, "No key matches '" + pattern + "'.");
    }
}

/** Replaces patterns by the keys that they match. */
std::vector<AskedKey> expandedKeys(MemoryModule& memory, const std::vector<std::string>& given) {
    const std::vector<std::string> keys = std::any_of(given.begin(), given.end(), isPattern)
                                              ? memory.keys()
                                              : std::vector<std::string>();
    std::vector<AskedKey> expanded;
    for (const std::string& word : given) {
        if (isPattern(word)) {
            addMatching(word, keys, expanded);
        } else {
            expanded.push_back({word, false});
        }
    }
    return expanded;
}

/** @return nothing when a key that a pattern has matched is gone again */
std::optional<KVValue> valueOf(MemoryModule& memory, const AskedKey& key) {
    try {
        return memory.value(key.fName);
    } catch (const KVError& error) {
        if (key.fIsOfPattern && error.cause() == KVError::Cause::InvalidArgument) {
            return std::nullopt;
        }
        throw;
    }
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
        for (const AskedKey& key : expandedKeys(memory, {given.begin() + 1, given.end()})) {
            surroundings.fInterruption.check();
            const std::optional<KVValue> value = valueOf(memory, key);
            if (!value) {
                continue;
            }
            if (fJson) {
                all[key.fName] = valueJson(*value);
            } else {
                surroundings.fConsole.print((isSingle ? "" : oneLine(key.fName) + ' ') +
                                            valueText(*value) + '\n');
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
