#include "commands/commands.h"
#include "process/failure.h"
#include "values/change_format.h"
#include "values/key_pattern.h"
#include "values/memory_module.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <algorithm>
#include <optional>

namespace robaxi_tool {

namespace {

struct AskedKey {
    std::string fName;
    bool fIsOfPattern;
};

/** @return true if a key matches */
bool addMatching(const std::string& pattern, const std::vector<std::string>& keys,
                 std::vector<AskedKey>& expanded) {
    const std::size_t before = expanded.size();
    for (const std::string& key : keys) {
        if (matchesKey(pattern, key)) {
            expanded.push_back({key, true});
        }
    }
    return expanded.size() > before;
}

/**
 * Replaces patterns by the keys that they match; those that match none are added to `unmatched`.
 */
std::vector<AskedKey> expandedKeys(MemoryModule& memory, const std::vector<std::string>& given,
                                   std::vector<std::string>& unmatched) {
    const std::vector<std::string> keys = std::any_of(given.begin(), given.end(), isPattern)
                                              ? memory.keys()
                                              : std::vector<std::string>();
    std::vector<AskedKey> expanded;
    for (const std::string& word : given) {
        if (!isPattern(word)) {
            expanded.push_back({word, false});
        } else if (!addMatching(word, keys, expanded)) {
            unmatched.push_back(word);
        }
    }
    return expanded;
}

/** Returns nothing for a missing key, which it reports unless a pattern has matched it before. */
std::optional<KVValue> valueOf(MemoryModule& memory, const AskedKey& key, Console& console,
                               ExitStatus& status) {
    try {
        return memory.value(key.fName);
    } catch (const KVError& error) {
        if (error.cause() != KVError::Cause::InvalidArgument) {
            throw;
        }
        if (!key.fIsOfPattern) {
            console.complain(error.toString());
            status = exitStatusOf(error.cause());
        }
        return std::nullopt;
    }
}

/** @return the status so far, unless a pattern has matched no key */
ExitStatus reportUnmatched(const std::vector<std::string>& unmatched, Console& console,
                           ExitStatus status) {
    if (unmatched.empty()) {
        return status;
    }
    console.complain(noKeyMatches(unmatched));
    return ExitStatus::NotOffered;
}

class GetCommand : public Command {
  public:
    std::string name() const override { return "get"; }
    std::string summary() const override { return "prints the current values of keys"; }
    Words words() const override { return {"HOST KEY...", 2, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) +
               "The value of a single key is printed alone; otherwise each line is a key and\n"
               "its value. A missing key is an error, and the others are still printed. With\n"
               "--long a line is a time (by the robot's clock, UTC), a key, a value and its\n"
               "unit.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print one JSON object with all keys and values");
        options.addSwitch("--long", &fLong, "print times and units, too");
        addMemoryModule(options, &fModule);
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        MemoryModule memory(link, fModule, surroundings.fInterruption);
        if (fLong) {
            return xPrintLong(memory, {given.begin() + 1, given.end()}, surroundings.fConsole);
        }
        const bool isSingle = given.size() == 2 && !isPattern(given[1]);
        Console& console = surroundings.fConsole;
        ExitStatus status = ExitStatus::Success;
        std::vector<std::string> unmatched;
        Json all = Json::object();
        for (const AskedKey& key :
             expandedKeys(memory, {given.begin() + 1, given.end()}, unmatched)) {
            surroundings.fInterruption.check();
            const std::optional<KVValue> value = valueOf(memory, key, console, status);
            if (!value) {
                continue;
            }
            if (fJson) {
                all[key.fName] = valueJson(*value);
            } else {
                console.print((isSingle ? "" : base::oneLine(key.fName) + ' ') + valueText(*value) +
                              '\n');
            }
        }
        status = reportUnmatched(unmatched, console, status);
        if (fJson && (status == ExitStatus::Success || !all.empty())) {
            console.print(jsonLine(all));
        }
        return status;
    }

  private:
    ExitStatus xPrintLong(MemoryModule& memory, const std::vector<std::string>& patterns,
                          Console& console) const {
        std::vector<std::string> unmatched;
        const ChangeFormat format = fJson ? ChangeFormat::Json : ChangeFormat::Text;
        for (const std::string& pattern : patterns) {
            bool isMatched = false;
            for (const auto& [name, held] : memory.heldValues()) {
                if (matchesKey(pattern, name)) {
                    isMatched = true;
                    console.print(lineOf(format, {held.fTime, name, held.fKey.fUnit, held.fValue}));
                }
            }
            if (!isMatched) {
                unmatched.push_back(pattern);
            }
        }
        return reportUnmatched(unmatched, console, ExitStatus::Success);
    }

    bool fJson = false;
    bool fLong = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeGetCommand() {
    return std::make_unique<GetCommand>();
}

}  // namespace robaxi_tool
