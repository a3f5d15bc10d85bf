#include "commands/commands.h"
#include "process/failure.h"
#include "recording/contents.h"
#include "recording/file_action.h"

#include <filesystem>
#include <recording/check.h>
#include <recording/reader.h>
#include <recording/repair.h>

namespace robaxi_tool {

namespace {

class RecordingCommand : public Command {
  public:
    std::string name() const override { return "recording"; }
    std::string summary() const override { return "examines and repairs recordings (MCAP files)"; }
    Words words() const override { return {"info|check|repair FILE", 2, 2}; }
    std::string explanation() const override {
        return "info    prints what the recording contains, from its statistics\n"
               "check   reads all of it and verifies every checksum and every index\n"
               "repair  writes a whole recording from one that is damaged or was not finished,\n"
               "        and prints the new file's name\n";
    }

    void addOptions(Options& options) override {
        options.addText("-o,--output", "FILE", &fOutput,
                        "the file that 'repair' writes, which must not exist;\n"
                        "NAME-repaired.mcap for NAME.mcap unless given");
        options.addSwitch("--json", &fJson, "print one JSON object");
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const std::string& action = given[0];
        if (!fOutput.empty() && action != "repair") {
            throw UsageError("--output is for 'repair'");
        }
        ExitStatus status = ExitStatus::Success;
        onRecordings([&] {
            if (action == "info") {
                xInfo(given[1], surroundings);
            } else if (action == "check") {
                status = xCheck(given[1], surroundings);
            } else if (action == "repair") {
                xRepair(given[1], surroundings);
            } else {
                throw UsageError("there is no action '" + action + '\'' +
                                 suggestion(action, {"info", "check", "repair"}));
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
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeRecordingCommand() {
    return std::make_unique<RecordingCommand>();
}

}  // namespace robaxi_tool
