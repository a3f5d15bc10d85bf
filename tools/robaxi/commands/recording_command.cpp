#include "commands/commands.h"
#include "process/failure.h"
#include "recording/contents.h"
#include "recording/file_action.h"
#include "recording/recorded_time.h"
#include "values/key_pattern.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <recording/check.h>
#include <recording/reader.h>
#include <recording/repair.h>

namespace robaxi_tool {

namespace {

class RecordingCommand : public Command {
  public:
    std::string name() const override { return "recording"; }
    std::string summary() const override {
        return "examines, cuts, joins and repairs recordings (MCAP files)";
    }
    Words words() const override {
        return {"info|check|cut|merge|repair FILE...", 2, Words::a_anyNumber};
    }
    std::string explanation() const override {
        return "info    prints what the recording contains, from its statistics\n"
               "check   reads all of it and verifies every checksum and every index\n"
               "cut     writes a recording of a span of time (--from, --to), of some topics\n"
               "        (--topic), or both\n"
               "merge   writes one recording of several; --from, --to and --topic may be given,\n"
               "        too\n"
               "repair  writes a whole recording from one that is damaged or was not finished,\n"
               "        and prints the new file's name\n"
               "\n"
               "A TIME is seconds from the start (12.5), a clock time (14:32:05; 14:32:05Z in\n"
               "UTC), or a date and time as 'info' prints it. A TOPIC may hold '*' (any text, '/'\n"
               "included), '?' and '[...]'; put it in quotes then.\n";
    }

    void addOptions(Options& options) override {
        options.addText("-o,--output", "FILE", &fOutput,
                        "the file that is written, which must not exist; 'repair' writes\n"
                        "NAME-repaired.mcap for NAME.mcap unless given");
        options.addText("--from", "TIME", &fFrom, "leave out what was recorded before");
        options.addText("--to", "TIME", &fTo, "leave out what was recorded after");
        options.addTexts("--topic", "TOPIC", &fTopics,
                         "copy these topics only; may be given several times");
        options.addSwitch("--json", &fJson, "print one JSON object");
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const std::string& action = given[0];
        const bool isCopy = action == "cut" || action == "merge";
        if (!fOutput.empty() && !isCopy && action != "repair") {
            throw UsageError("--output is for 'cut', 'merge' and 'repair'");
        }
        if (!isCopy && !(fFrom.empty() && fTo.empty() && fTopics.empty())) {
            throw UsageError("--from, --to and --topic are for 'cut' and 'merge'");
        }
        if (action != "merge" && given.size() > 2) {
            throw UsageError("only 'merge' takes several files");
        }
        ExitStatus status = ExitStatus::Success;
        onRecordings([&] {
            if (action == "info") {
                xInfo(given[1], surroundings);
            } else if (action == "check") {
                status = xCheck(given[1], surroundings);
            } else if (isCopy) {
                xCopy({given.begin() + 1, given.end()}, surroundings);
            } else if (action == "repair") {
                xRepair(given[1], surroundings);
            } else {
                throw UsageError("there is no action '" + action + '\'' +
                                 suggestion(action, {"info", "check", "cut", "merge", "repair"}));
            }
        });
        return status;
    }

  private:
    void xInfo(const std::string& file, Surroundings& surroundings) const {
        const EndOnSignal ending(surroundings.fInterruption, {});
        const recording::Reader reader(file);
        surroundings.fConsole.print(fJson ? jsonOfRecording(file, reader)
                                          : textOfRecording(file, reader));
    }

    ExitStatus xCheck(const std::string& file, Surroundings& surroundings) const {
        const EndOnSignal ending(surroundings.fInterruption, {});
        const recording::CheckReport report = recording::check(file);
        surroundings.fConsole.print(fJson ? jsonOfCheck(report) : textOfCheck(report));
        return report.fFaultCount == 0 ? ExitStatus::Success : ExitStatus::Problem;
    }

    /** Cuts one file, or merges several. */
    void xCopy(const std::vector<std::string>& files, Surroundings& surroundings) const {
        if (fOutput.empty()) {
            throw UsageError("-o FILE is missing: the file to write");
        }
        if (std::filesystem::exists(fOutput)) {
            throw Failure(ExitStatus::CannotWrite,
                          fOutput + " exists; --output names another one.");
        }
        const EndOnSignal ending(surroundings.fInterruption, fOutput);
        std::vector<recording::Source> sources;
        std::uint64_t start = std::numeric_limits<std::uint64_t>::max();
        for (const std::string& file : files) {
            sources.push_back({file, std::make_unique<recording::Reader>(file)});
            const recording::Statistics& statistics = sources.back().fReader->statistics();
            if (statistics.fMessageCount > 0) {
                start = std::min(start, statistics.fStart);
            }
            if (!sources.back().fReader->isWhole()) {
                surroundings.fConsole.complain(file +
                                               " is not complete; what it contains is copied.");
            }
        }
        const recording::CopyReport report = recording::copy(sources, fOutput, xSelection(start));
        surroundings.fConsole.print(fJson ? jsonOfCopy(fOutput, report) : fOutput + '\n');
    }

    /** @param start of the first recording */
    recording::CopySelection xSelection(std::uint64_t start) const {
        recording::CopySelection selection;
        if (!fFrom.empty()) {
            selection.fFrom = parseRecordedTime(fFrom, start);
        }
        if (!fTo.empty()) {
            selection.fTo = parseRecordedTime(fTo, start);
        }
        if (selection.fFrom > selection.fTo) {
            throw UsageError("--from is after --to");
        }
        if (!fTopics.empty()) {
            selection.fWants = [this](const recording::Channel& channel) {
                return std::any_of(fTopics.begin(), fTopics.end(), [&](const std::string& pattern) {
                    return matchesKey(pattern, channel.fTopic);
                });
            };
        }
        return selection;
    }

    void xRepair(const std::string& file, Surroundings& surroundings) const {
        const std::filesystem::path path(file);
        const std::string output =
            fOutput.empty()
                ? (path.parent_path() / (path.stem().string() + "-repaired.mcap")).string()
                : fOutput;
        if (std::filesystem::exists(output)) {
            throw Failure(ExitStatus::CannotWrite, output + " exists; --output names another one.");
        }
        const EndOnSignal ending(surroundings.fInterruption, output);
        const recording::RepairReport report = recording::repair(file, output);
        if (fJson) {
            surroundings.fConsole.print(jsonOfRepair(output, report));
            return;
        }
        for (const recording::Damage& damage : report.fDamages) {
            surroundings.fConsole.complain(damage.fText);
        }
        surroundings.fConsole.print(output + '\n');
    }

    std::string fOutput;
    std::string fFrom;
    std::string fTo;
    std::vector<std::string> fTopics;
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeRecordingCommand() {
    return std::make_unique<RecordingCommand>();
}

}  // namespace robaxi_tool
