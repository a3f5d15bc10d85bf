#include "commands/commands.h"
#include "export/exporter.h"
#include "process/failure.h"
#include "process/tool_library.h"
#include "recording/channel_choice.h"
#include "recording/contents.h"
#include "recording/file_action.h"
#include "recording/recorded_time.h"

#include <boost/algorithm/string/predicate.hpp>

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
        return "examines, exports, cuts, joins and repairs recordings (MCAP files)";
    }
    Words words() const override {
        return {"info|check|export|cut|merge|repair FILE...", 2, Words::a_anyNumber};
    }
    std::string explanation() const override {
        return "info    prints what the recording contains, from its statistics\n"
               "check   reads all of it and verifies every checksum and every index\n"
               "export  writes the values of a robot to a CSV file (-o NAME.csv; with --wide it\n"
               "        has a column for each key), or the frames\n"
               "        of a camera to a Matroska file (NAME.mkv) or to PNG files (NAME.png:\n"
               "        NAME-000001.png, ...), and prints their names\n"
               "cut     writes a recording of a span of time (--from, --to), of some keys, "
               "cameras\n"
               "        or topics, or both\n"
               "merge   writes one recording of several; the options of 'cut' may be given, too\n"
               "repair  writes a whole recording from one that is damaged or was not finished,\n"
               "        and prints the new file's name\n"
               "\n"
               "A TIME is seconds from the start (12.5), a clock time (14:32:05; 14:32:05Z in\n"
               "UTC), or a date and time as 'info' prints it. A KEY or TOPIC may hold '*' (any\n"
               "text, '/' included), '?' and '[...]'; put it in quotes then.\n";
    }

    void addOptions(Options& options) override {
        options.addText("-o,--output", "FILE", &fOutput,
                        "the file that is written, which must not exist; 'repair' writes\n"
                        "NAME-repaired.mcap for NAME.mcap unless given");
        options.addText("--from", "TIME", &fFrom, "leave out what was recorded before");
        options.addText("--to", "TIME", &fTo, "leave out what was recorded after");
        options.addText("--robot", "ROBOT", &fRobot,
                        "the robot to export, of a recording of several");
        options.addTexts("-k,--key", "KEY", &fChoice.fPatterns,
                         "a key to export or to copy; may be given several times");
        options.addTexts("--camera", "CAMERA", &fChoice.fCameras,
                         "the camera to export, of several, or a camera to copy, which may be\n"
                         "given several times");
        options.addTexts("--topic", "TOPIC", &fChoice.fTopics,
                         "a topic to copy; may be given several times");
        options.addSwitch("--wide", &fWide, "export a CSV file with a column for each key");
        options.addSwitch("--json", &fJson, "print one JSON object");
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const std::string& action = given[0];
        const bool isCopy = action == "cut" || action == "merge";
        const bool isExport = action == "export";
        if (!fOutput.empty() && !isCopy && !isExport && action != "repair") {
            throw UsageError("--output is for 'export', 'cut', 'merge' and 'repair'");
        }
        if (!isCopy && !fChoice.fTopics.empty()) {
            throw UsageError("--topic is for 'cut' and 'merge'");
        }
        if (!isExport && (!fRobot.empty() || fWide)) {
            throw UsageError(std::string(fWide ? "--wide" : "--robot") + " is for 'export'");
        }
        if (!isCopy && !isExport && !(fFrom.empty() && fTo.empty() && fChoice.isEmpty())) {
            throw UsageError(
                "--from, --to, --key and --camera are for 'export', 'cut' and 'merge'");
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
            } else if (isExport) {
                xExport(given[1], surroundings);
            } else if (isCopy) {
                xCopy({given.begin() + 1, given.end()}, surroundings);
            } else if (action == "repair") {
                xRepair(given[1], surroundings);
            } else {
                throw UsageError(
                    "there is no action '" + action + '\'' +
                    suggestion(action, {"info", "check", "export", "cut", "merge", "repair"}));
            }
        });
        return status;
    }

  private:
    void xInfo(const std::string& file, Surroundings& surroundings) const {
        const EndOnSignal ending(surroundings.fInterruption, {});
        recording::Reader reader(file);
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
        xRequireNewOutput();
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
        recording::CopySelection selection;
        xSetSpan(selection.fFrom, selection.fTo, start);
        if (!fChoice.isEmpty()) {
            selection.fWants = [chosen = chosenChannels(sources, fChoice)](
                                   const recording::Reader& reader,
                                   const recording::Channel& channel) {
                return chosen.at(&reader).count(channel.fId) != 0;
            };
        }
        const recording::CopyReport report = recording::copy(sources, fOutput, selection);
        surroundings.fConsole.print(fJson ? jsonOfCopy(fOutput, report) : fOutput + '\n');
    }

    /** Exports one file. Nothing remains of an export that fails. */
    void xExport(const std::string& file, Surroundings& surroundings) const {
        const ExportFormat format = xExportFormat();
        xRequireNewOutput();
        const bool areValues = format == ExportFormat::Csv || format == ExportFormat::WideCsv;
        if (areValues ? !fChoice.fCameras.empty() : !fChoice.fPatterns.empty() || fWide) {
            throw UsageError(fWide ? "--wide is for CSV files"
                                   : "--key is for CSV files, and --camera for Matroska and PNG "
                                     "files");
        }
        if (fChoice.fCameras.size() > 1) {
            throw UsageError("'export' takes one --camera");
        }
        EndOnSignal ending(surroundings.fInterruption, {});
        recording::Reader reader(file);
        ExportRequest request{reader, file, format, fOutput, fRobot, fChoice.fPatterns};
        if (!fChoice.fCameras.empty()) {
            request.fCamera = fChoice.fCameras.front();
        }
        xSetSpan(request.fFrom, request.fTo, reader.statistics().fStart);
        request.fTakeFile = [&ending](const std::string& created) { ending.add(created); };
        ExportReport report;
        try {
            report = (*functionOfToolLibrary<decltype(robaxiExporter)>(
                "robaxi_export", "robaxiExporter")())(request);
        } catch (...) {
            ending.removeFiles();
            throw;
        }
        if (!reader.isWhole()) {
            surroundings.fConsole.complain(file +
                                           " is not complete; what it contains is exported.");
        }
        if (report.fDamagedFrames > 0) {
            surroundings.fConsole.complain(
                "Left out, since they are damaged or of an unknown format: " +
                std::to_string(report.fDamagedFrames) + " frames.");
        }
        if (report.fLongValues > 0) {
            surroundings.fConsole.complain("Left out, since they are too long for a cell: " +
                                           std::to_string(report.fLongValues) + " values.");
        }
        if (fJson) {
            surroundings.fConsole.print(jsonOfExport(report));
            return;
        }
        for (const std::string& created : report.fFiles) {
            surroundings.fConsole.print(created + '\n');
        }
    }

    ExportFormat xExportFormat() const {
        const std::string ending = std::filesystem::path(fOutput).extension().string();
        if (boost::iequals(ending, ".csv")) {
            return fWide ? ExportFormat::WideCsv : ExportFormat::Csv;
        }
        if (boost::iequals(ending, ".mkv")) {
            return ExportFormat::Matroska;
        }
        if (boost::iequals(ending, ".png")) {
            return ExportFormat::Png;
        }
        throw UsageError("'export' needs -o NAME.csv, NAME.mkv or NAME.png");
    }

    void xRequireNewOutput() const {
        if (fOutput.empty()) {
            throw UsageError("-o FILE is missing: the file to write");
        }
        if (std::filesystem::exists(fOutput)) {
            throw Failure(ExitStatus::CannotWrite,
                          fOutput + " exists; --output names another one.");
        }
    }

    /** @param start of the first recording */
    void xSetSpan(std::uint64_t& from, std::uint64_t& to, std::uint64_t start) const {
        if (!fFrom.empty()) {
            from = parseRecordedTime(fFrom, start);
        }
        if (!fTo.empty()) {
            to = parseRecordedTime(fTo, start);
        }
        if (from > to) {
            throw UsageError("--from is after --to");
        }
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
    std::string fRobot;
    ChannelChoice fChoice;
    bool fWide = false;
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeRecordingCommand() {
    return std::make_unique<RecordingCommand>();
}

}  // namespace robaxi_tool
