#include "commands/commands.h"
#include "conform/conformance.h"
#include "network/aliases.h"
#include "network/robot_link.h"
#include "process/failure.h"
#include "process/tool_library.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cstring>

namespace robaxi_tool {

namespace {

using Verdict = ConformResult::Verdict;

constexpr std::size_t a_verdictWidth = 8;
constexpr std::size_t a_nameWidth = 34;

/** Returns the checks' library, which is loaded at the first call. */
const Conformance& conformance() {
    static const Conformance* const loaded =
        functionOfToolLibrary<decltype(robaxiConformance)>("robaxi_conform", "robaxiConformance")();
    return *loaded;
}

const char* nameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Passed:
            return "passed";
        case Verdict::Failed:
            return "failed";
        case Verdict::Skipped:
            break;
    }
    return "skipped";
}

Console::Paint paintOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Passed:
            return Console::Paint::Green;
        case Verdict::Failed:
            return Console::Paint::Red;
        case Verdict::Skipped:
            break;
    }
    return Console::Paint::Dim;
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 1, ' ');
}

std::string groupOf(const ConformCheck& check) {
    return {check.fName, std::strchr(check.fName, '.')};
}

std::string checkText(const ConformCheck& check) {
    return padded(check.fName, a_nameWidth) + padded(check.fRule, 11) + check.fSentence + '\n';
}

Json checkJson(const ConformCheck& check) {
    return {{"check", check.fName},
            {"group", groupOf(check)},
            {"rule", check.fRule},
            {"sentence", check.fSentence}};
}

std::string resultText(const Console& console, const ConformCheck& check,
                       const ConformResult& result) {
    const std::string verdict = nameOf(result.fVerdict);
    std::string text = console.painted(paintOf(result.fVerdict), verdict) +
                       std::string(a_verdictWidth - verdict.size(), ' ') + checkText(check);
    if (!result.fText.empty()) {
        text += std::string(a_verdictWidth, ' ') + base::oneLine(result.fText) + '\n';
    }
    return text;
}

std::string resultJson(const ConformCheck& check, const ConformResult& result) {
    Json json = checkJson(check);
    json["verdict"] = nameOf(result.fVerdict);
    json["text"] = result.fText;
    return jsonLine(json);
}

/** Returns the checks of the groups and of these names; all if both are empty. */
std::vector<const ConformCheck*> chosenChecks(const std::vector<std::string>& groups,
                                              const std::vector<std::string>& names) {
    const std::vector<ConformCheck>& all = conformance().fChecks();
    std::vector<std::string> knownGroups;
    std::vector<std::string> knownNames;
    for (const ConformCheck& check : all) {
        knownGroups.push_back(groupOf(check));
        knownNames.emplace_back(check.fName);
    }
    const auto has = [](const std::vector<std::string>& texts, const std::string& text) {
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    };
    for (const std::string& group : groups) {
        if (!has(knownGroups, group)) {
            throw UsageError("there is no group '" + group + '\'' + suggestion(group, knownGroups));
        }
    }
    for (const std::string& name : names) {
        if (!has(knownNames, name)) {
            throw UsageError("there is no check '" + name + '\'' + suggestion(name, knownNames));
        }
    }
    std::vector<const ConformCheck*> chosen;
    for (const ConformCheck& check : all) {
        if ((groups.empty() && names.empty()) || has(groups, groupOf(check)) ||
            has(names, check.fName)) {
            chosen.push_back(&check);
        }
    }
    return chosen;
}

class ConformCommand : public Command {
  public:
    std::string name() const override { return "conform"; }
    std::string summary() const override { return "checks a robot's conformance to the protocol"; }
    Words words() const override { return {"[HOST]", 0, 1}; }
    std::string explanation() const override {
        return "A check verifies one sentence of the documents (protocol.md, memory.md,\n"
               "video.md, announcing.md). It is 'passed', 'failed' with what the robot did,\n"
               "or 'skipped' with the reason why it cannot be checked. The checks only\n"
               "read from the robot, unless --write names a key, whose value is restored. The\n"
               "exit status is 0 if no check failed, else 1.\n";
    }

    void addOptions(Options& options) override {
        options.addTexts(
            "--group",
            "session|calls|values|subscriptions|frames|limits|security|resuming|announcing",
            &fGroups, "a group of checks to run; may be given several times");
        options.addTexts("--check", "CHECK", &fNames, "a check to run; may be given several times");
        options.addSwitch("--list", &fList, "list the checks with their rules, and run none");
        options.addText("--write", "KEY", &fWritable,
                        "also check writing, with this key of KVMemory");
        options.addSwitch("--json", &fJson, "print one JSON object a line, one for each check");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const std::vector<const ConformCheck*> checks = chosenChecks(fGroups, fNames);
        if (fList) {
            for (const ConformCheck* const check : checks) {
                surroundings.fConsole.print(fJson ? jsonLine(checkJson(*check))
                                                  : checkText(*check));
            }
            return ExitStatus::Success;
        }
        if (given.empty()) {
            throw UsageError("HOST is missing");
        }
        return xCheck(given[0], checks, surroundings);
    }

  private:
    ExitStatus xCheck(const std::string& host, const std::vector<const ConformCheck*>& checks,
                      Surroundings& surroundings) const {
        KVSettings settings = loadSettings();
        const Target target = givenTarget(host);
        int counts[3] = {};
        const auto report = [&](const ConformCheck& check, const ConformResult& result) {
            ++counts[static_cast<int>(result.fVerdict)];
            Console& console = surroundings.fConsole;
            console.print(fJson ? resultJson(check, result) : resultText(console, check, result));
        };
        conformance().fRun({findHost(target, fTimeout, surroundings.fInterruption),
                            std::move(settings), fTimeout, fWritable, checks,
                            surroundings.fInterruption, report});
        const int failed = counts[static_cast<int>(Verdict::Failed)];
        if (!fJson) {
            surroundings.fConsole.print(std::to_string(counts[static_cast<int>(Verdict::Passed)]) +
                                        " passed, " + std::to_string(failed) + " failed, " +
                                        std::to_string(counts[static_cast<int>(Verdict::Skipped)]) +
                                        " skipped.\n");
        }
        return failed == 0 ? ExitStatus::Success : ExitStatus::Problem;
    }

    std::vector<std::string> fGroups;
    std::vector<std::string> fNames;
    bool fList = false;
    std::string fWritable;
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeConformCommand() {
    return std::make_unique<ConformCommand>();
}

}  // namespace robaxi_tool
