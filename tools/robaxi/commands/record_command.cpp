#include "commands/commands.h"
#include "process/failure.h"
#include "recording/file_action.h"
#include "recording/recording_progress.h"
#include "recording/robot_recorder.h"
#include "recording/split.h"
#include "values/key_pattern.h"
#include "values/memory_module.h"

#include <base/time.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace robaxi_tool {

namespace {

constexpr double a_defaultRate = 50;
constexpr double a_lowestRate = 0.001;
constexpr double a_highestRate = 1000;
constexpr double a_longestDuration = 1e7;  ///< seconds
constexpr std::chrono::milliseconds a_step(200);
constexpr double a_shortestInterval = 0.1;  ///< seconds
constexpr double a_longestInterval = 3600;  ///< seconds

/** A recording from its beginning to its end. */
class Recording {
  public:
    Recording(const std::vector<std::string>& hosts, const RobotSelection& selection,
              Surroundings& surroundings)
        : fConsole(surroundings.fConsole), fBell(surroundings.fInterruption) {
        for (const std::string& host : hosts) {
            fRobots.push_back(std::make_unique<RobotRecorder>(host, selection, fBell,
                                                              surroundings.fInterruption));
        }
        fPatience = Clock::now() + std::chrono::seconds(selection.fTimeout);
    }

    /** Sets the time from one report of the progress to the next. */
    void setInterval(Clock::duration interval) { fInterval = interval; }

    /** Creates the file and begins. */
    void start(const std::string& path, const Split& split) {
        fPath = path;
        fSplit = split;
        fSink = std::make_unique<robot_recording::RecordingSink>(path, split.isWanted(),
                                                                 [this] { fBell.ring(); });
        fStart = fFileStart = Clock::now();
        fNextReport = fStart + fInterval;
        std::set<std::string> names;
        for (const auto& robot : fRobots) {
            std::string name = robot->name();
            for (int number = 2; !names.insert(name).second; ++number) {
                name = robot->name() + '-' + std::to_string(number);
            }
            robot->start(*fSink, name);
        }
    }

    enum class Report { None, Line, Json };

    /** Runs until the deadline or the first write error. @throws Interrupted, KVError */
    void run(Clock::time_point deadline, Report report) {
        const auto hasWork = [this] {
            return fSink->error().has_value() ||
                   std::any_of(fRobots.begin(), fRobots.end(),
                               [](const auto& robot) { return robot->needsAttention(); });
        };
        while (Clock::now() < deadline && !fSink->error()) {
            fBell.waitUntil(std::min({deadline, fNextReport, Clock::now() + a_step}), hasWork);
            for (const auto& robot : fRobots) {
                robot->attend();
            }
            xSplitIfDue();
            xReportUnmatched();
            if (Clock::now() >= fNextReport) {
                fNextReport = Clock::now() + fInterval;
                xReport(report);
            }
        }
    }

    /** Completes the file. @throws Failure CannotWrite after a write error */
    void finish(Report report) {
        for (const auto& robot : fRobots) {
            robot->stop();
        }
        fSink->flush();
        for (const auto& robot : fRobots) {
            robot->writeEnd();
        }
        fSink->finish();
        if (report == Report::Line) {
            fConsole.print("\n");
        }
        if (report == Report::Json) {
            xReport(report);
        } else {
            for (const std::string& file : fSink->files()) {
                fConsole.print(file + '\n');
            }
            fConsole.print(summaryOf(xProgress()) + '\n');
        }
        if (const std::optional<std::string> error = fSink->error()) {
            throw Failure(ExitStatus::CannotWrite, "The recording ends here: " + *error + '.');
        }
    }

  private:
    void xSplitIfDue() {
        const bool isLarge = fSplit.fBytes != 0 && fSink->progress().fFileBytes >= fSplit.fBytes;
        const bool isLong = fSplit.fTime.count() != 0 && Clock::now() >= fFileStart + fSplit.fTime;
        if (isLarge || isLong) {
            fSink->split();
            for (const auto& robot : fRobots) {
                robot->requestKeyFrames();
            }
            fFileStart = Clock::now();
        }
    }

    /** A key may appear later, but the pattern is probably wrong. */
    void xReportUnmatched() {
        if (fHasReportedUnmatched || Clock::now() < fPatience) {
            return;
        }
        fHasReportedUnmatched = true;
        for (const auto& robot : fRobots) {
            for (const std::string& pattern : robot->unmatchedPatterns()) {
                fConsole.complain("No key of " + robot->name() + " matches '" + pattern +
                                  "'. Waiting for one to appear.");
            }
        }
    }

    void xReport(Report report) {
        if (report == Report::None) {
            return;
        }
        const RecordingProgress progress = xProgress();
        if (report == Report::Json) {
            fConsole.print(jsonOfProgress(progress));
        } else {
            fConsole.print('\r' + textOfProgress(progress, fReported) + "\x1b[K");
        }
        fReported = progress;
    }

    RecordingProgress xProgress() const {
        RecordingProgress progress;
        progress.fSeconds = std::chrono::duration<double>(Clock::now() - fStart).count();
        const robot_recording::SinkProgress sink = fSink->progress();
        progress.fBytes = sink.fBytes;
        progress.fDropped = sink.fDropped;
        for (const auto& robot : fRobots) {
            const RobotProgress each = robot->progress();
            progress.fValues += each.fValues;
            progress.fFrames += each.fFrames;
            progress.fPassedOver += each.fPassedOver;
            progress.fMissedFrames += each.fMissedFrames;
            if (!each.fIsConnected) {
                progress.fLost.push_back(robot->name());
            }
        }
        std::error_code ignored;
        const auto space = std::filesystem::space(
            std::filesystem::absolute(fPath, ignored).parent_path(), ignored);
        progress.fFreeBytes = ignored ? 0 : space.available;
        return progress;
    }

    Console& fConsole;
    Bell fBell;
    std::string fPath;
    Split fSplit;
    std::unique_ptr<robot_recording::RecordingSink> fSink;
    std::vector<std::unique_ptr<RobotRecorder>> fRobots;  ///< end before the sink
    Clock::time_point fPatience;
    Clock::time_point fStart;
    Clock::time_point fFileStart;
    Clock::duration fInterval = std::chrono::seconds(1);
    Clock::time_point fNextReport;
    RecordingProgress fReported;
    bool fHasReportedUnmatched = false;
};

class RecordCommand : public Command {
  public:
    std::string name() const override { return "record"; }
    std::string summary() const override {
        return "records values and pictures of robots in an MCAP file";
    }
    Words words() const override { return {"HOST...", 1, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) +
               "Records until Ctrl-C, or for --duration seconds: all values unless -k chooses\n"
               "some, and no camera unless --camera or --all-cameras chooses some. On a terminal\n"
               "it shows size, rates, drops and the free space of the disk. The\n"
               "connection to a lost robot is restored. The file can be read at any time, even\n"
               "after the program was killed; 'robaxi recording' examines it.\n";
    }

    void addOptions(Options& options) override {
        options.addText("-o,--output", "FILE", &fOutput, "the file to write, which must not exist");
        options.addTexts("-k,--key", "KEY", &fSelection.fPatterns,
                         "a key to record; may be given several times");
        options.addTexts("--camera", "CAMERA", &fSelection.fCameras,
                         "a camera to record; may be given several times");
        options.addSwitch("--all-cameras", &fSelection.fAllCameras, "all cameras of the robots");
        options.addNumber("--rate", "HZ", &fSelection.fRate, a_defaultRate, a_lowestRate,
                          a_highestRate,
                          "maximum updates of a key per second; of several new values\n"
                          "the newest is recorded, and the others are counted");
        options.addNumber("--duration", "S", &fDuration, 0.0, 0.0, a_longestDuration,
                          "seconds to record; 0 means until Ctrl-C");
        options.addText("--split", "LIMIT", &fSplit,
                        "continue in another file, NAME-002.mcap, at a size (500MB, 2GB) or\n"
                        "after a time (30s, 10min, 1h)");
        options.addNumber("--interval", "S", &fInterval, 1.0, a_shortestInterval, a_longestInterval,
                          "seconds between progress reports");
        options.addSwitch("--json", &fJson, "print the progress as JSON objects, one a line");
        addMemoryModule(options, &fSelection.fModule);
        options.addTimeout(&fSelection.fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        if (fOutput.empty()) {
            throw UsageError("-o FILE is missing: the file to write");
        }
        const Split split = parseSplit(fSplit);
        Recording recording(given, fSelection, surroundings);
        recording.setInterval(base::steadyDuration(fInterval));
        surroundings.fInterruption.setCompleting(true);
        onRecordings([&] { recording.start(fOutput, split); });
        const Recording::Report report = xReport(surroundings.fConsole);
        try {
            recording.run(fDuration > 0 ? Clock::now() + base::steadyDuration(fDuration)
                                        : Clock::time_point::max(),
                          report);
        } catch (...) {
            recording.finish(report);
            throw;
        }
        recording.finish(report);
        return ExitStatus::Success;
    }

  private:
    Recording::Report xReport(const Console& console) const {
        if (fJson) {
            return Recording::Report::Json;
        }
        return console.isTerminal() ? Recording::Report::Line : Recording::Report::None;
    }

    RobotSelection fSelection;
    std::string fOutput;
    std::string fSplit;
    double fDuration = 0;
    double fInterval = 0;
    bool fJson = false;
};

}  // namespace

std::unique_ptr<Command> makeRecordCommand() {
    return std::make_unique<RecordCommand>();
}

}  // namespace robaxi_tool
