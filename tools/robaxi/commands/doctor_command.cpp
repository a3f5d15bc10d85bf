#include "commands/commands.h"
#include "doctor/checks.h"
#include "network/aliases.h"
#include "process/failure.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <exception>

namespace robaxi_tool {

namespace {

constexpr std::size_t a_verdictWidth = 9;

Console::Paint paintOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Good:
            return Console::Paint::Green;
        case Verdict::Note:
            return Console::Paint::Yellow;
        case Verdict::Problem:
            return Console::Paint::Red;
        case Verdict::Skipped:
            break;
    }
    return Console::Paint::Dim;
}

std::string findingText(const Console& console, const char* check, const Finding& finding) {
    const std::string verdict = nameOf(finding.fVerdict);
    const std::string space(a_verdictWidth - verdict.size(), ' ');
    std::string text = console.painted(paintOf(finding.fVerdict), verdict) + space + check + ": " +
                       base::oneLine(finding.fText) + '\n';
    if (!finding.fAdvice.empty()) {
        text += std::string(a_verdictWidth, ' ') + "What to do: " + base::oneLine(finding.fAdvice) +
                '\n';
    }
    return text;
}

std::string findingJson(const char* check, const Finding& finding) {
    return jsonLine({{"check", check},
                     {"verdict", nameOf(finding.fVerdict)},
                     {"text", finding.fText},
                     {"advice", finding.fAdvice}});
}

/** A check that throws indicates a problem, too. */
Finding examine(const Check& check, Examination& examination) {
    try {
        return check.fRun(examination);
    } catch (const Interrupted&) {
        throw;
    } catch (const std::exception& error) {
        return {Verdict::Problem, std::string("This cannot be checked: ") + error.what() + '.', {}};
    }
}

std::string conclusion(int problems) {
    if (problems == 0) {
        return "No problems found.\n";
    }
    return std::to_string(problems) + (problems == 1 ? " problem.\n" : " problems.\n");
}

class DoctorCommand : public Command {
  public:
    std::string name() const override { return "doctor"; }
    std::string summary() const override {
        return "diagnoses why robots are not found or cannot be reached";
    }
    Words words() const override { return {"[HOST]", 0, 1}; }
    std::string explanation() const override {
        return "It examines this computer and, when HOST is given, the way to that host. Each\n"
               "check is 'ok', a 'note' (worth knowing), a 'problem', or 'skipped'. The exit\n"
               "status is 0 without a problem, else 1.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print one JSON object a line, one for each check");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        Examination examination(surroundings.fInterruption);
        examination.fTimeout = fTimeout;
        if (!given.empty()) {
            examination.fTarget = givenTarget(given[0]);
        }
        int problems = 0;
        for (const Check& check : allChecks()) {
            if (check.fNeedsHost && !examination.fTarget) {
                continue;
            }
            const Finding finding = examine(check, examination);
            problems += finding.fVerdict == Verdict::Problem ? 1 : 0;
            Console& console = surroundings.fConsole;
            console.print(fJson ? findingJson(check.fName, finding)
                                : findingText(console, check.fName, finding));
        }
        if (!fJson) {
            surroundings.fConsole.print(conclusion(problems));
        }
        return problems == 0 ? ExitStatus::Success : ExitStatus::Problem;
    }

  private:
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeDoctorCommand() {
    return std::make_unique<DoctorCommand>();
}

}  // namespace robaxi_tool
