#include "commands/commands.h"
#include "process/failure.h"
#include "values/key_pattern.h"
#include "values/key_watch.h"
#include "values/memory_module.h"

#include <robaxi/kv_connection.h>

#include <algorithm>
#include <limits>

namespace robaxi_tool {

namespace {

constexpr double a_defaultRate = 10;
constexpr double a_lowestRate = 0.001;
constexpr double a_highestRate = 1000;
constexpr double a_longestDuration = 1e8;

/** Prints rows up to a maximum number. */
class RowPrinter {
  public:
    /** @param count number of rows; 0 for any number */
    RowPrinter(Console& console, ChangeFormat format, int count)
        : fConsole(console), fFormat(format), fIsCounting(count != 0), fLeft(count) {}

    void print(const std::vector<ChangeRow>& rows) {
        std::string lines;
        for (const ChangeRow& row : rows) {
            if (fIsCounting && fLeft-- <= 0) {
                break;
            }
            lines += lineOf(fFormat, row);
        }
        fConsole.print(lines);
        if (fIsCounting && fLeft <= 0) {
            throw EnoughRows();
        }
    }

    class EnoughRows : public std::exception {};

  private:
    Console& fConsole;
    ChangeFormat fFormat;
    bool fIsCounting;
    int fLeft;
};

/** Runs a watch to its end. */
void follow(KeyWatch& watch, KVSubscription& subscription, Bell& bell, Clock::time_point deadline) {
    const auto selectionOrEnd = [&] {
        if (const auto ids = watch.takeNewSelection()) {
            subscription.setKeys(*ids);
        }
        return watch.isOver();
    };
    bell.waitUntil(deadline, selectionOrEnd);
    watch.rethrow();
}

/** Says on standard error when a robot does not answer, and when it answers again. */
class SilenceNote {
  public:
    SilenceNote(KVConnection& connection, const std::string& host, Console& console)
        : fConnection(connection) {
        fConnection.setStateHandler([&console, host](KVConnection::State state) {
            if (state == KVConnection::State::Silent) {
                console.complain("No answer from " + host + ". Waiting for it.");
            } else if (state == KVConnection::State::Connected) {
                console.complain(host + " answers again.");
            }
        });
    }
    ~SilenceNote() { fConnection.setStateHandler(nullptr); }
    SilenceNote(const SilenceNote&) = delete;
    SilenceNote& operator=(const SilenceNote&) = delete;

  private:
    KVConnection& fConnection;
};

std::string listed(const std::vector<std::string>& patterns) {
    std::string text;
    for (const std::string& pattern : patterns) {
        text += (text.empty() ? "'" : ", '") + pattern + '\'';
    }
    return text;
}

class WatchCommand : public Command {
  public:
    std::string name() const override { return "watch"; }
    std::string summary() const override { return "prints the values of keys as they change"; }
    Words words() const override { return {"HOST KEY...", 2, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) +
               "The current values come first. A line is a time (by the robot's clock, UTC), a\n"
               "key, a value and its unit. The command runs until the connection is lost, Ctrl-C,\n"
               "--count lines, or --duration seconds.\n";
    }

    void addOptions(Options& options) override {
        options.addNumber("--rate", "HZ", &fRate, a_defaultRate, a_lowestRate, a_highestRate,
                          "maximum updates of a key per second; of several new values\n"
                          "only the newest counts");
        options.addNumber("--count", "N", &fCount, 0, 0, std::numeric_limits<int>::max(),
                          "number of lines to print; 0 for no limit");
        options.addNumber("--duration", "S", &fDuration, 0.0, 0.0, a_longestDuration,
                          "seconds after which to end; 0 for no limit");
        options.addSwitch("--json", &fJson, "print one JSON object a line");
        options.addSwitch("--csv", &fCsv, "print comma-separated values below a heading");
        addMemoryModule(options, &fModule);
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const ChangeFormat format = xFormat();
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        const SilenceNote note(*link.connection(), given[0], surroundings.fConsole);
        surroundings.fConsole.print(headerOf(format));
        RowPrinter printer(surroundings.fConsole, format, fCount);
        Bell bell(surroundings.fInterruption);
        KeyWatch watch(
            {given.begin() + 1, given.end()}, [&](const auto& rows) { printer.print(rows); }, bell);
        const auto subscription =
            KVSubscription::start(link.connection(), fModule, KVSubscription::Selection::ChosenKeys,
                                  fRate, watch.callbacks());
        try {
            const Clock::time_point start = Clock::now();
            const Clock::time_point end = xEnd(start);
            follow(watch, *subscription, bell,
                   std::min(end, start + std::chrono::seconds(fTimeout)));
            xCheckMatches(watch, surroundings.fConsole);
            follow(watch, *subscription, bell, end);
        } catch (const RowPrinter::EnoughRows&) {
        }
        return ExitStatus::Success;
    }

  private:
    Clock::time_point xEnd(Clock::time_point start) const {
        return fDuration > 0 ? start + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(fDuration))
                             : Clock::time_point::max();
    }

    ChangeFormat xFormat() const {
        if (fJson && fCsv) {
            throw UsageError("--json and --csv exclude each other");
        }
        if (fJson) {
            return ChangeFormat::Json;
        }
        return fCsv ? ChangeFormat::Csv : ChangeFormat::Text;
    }

    /** A key may appear later; but if there is none at all, the name is probably wrong. */
    static void xCheckMatches(const KeyWatch& watch, Console& console) {
        const std::vector<std::string> unmatched = watch.unmatched();
        if (unmatched.empty()) {
            return;
        }
        const std::string sentence = "No key matches " + listed(unmatched) + '.';
        if (!watch.hasKeys()) {
            throw Failure(ExitStatus::NotOffered, sentence);
        }
        console.complain(sentence + " Waiting for one to appear.");
    }

    double fRate = 0;
    int fCount = 0;
    double fDuration = 0;
    bool fJson = false;
    bool fCsv = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeWatchCommand() {
    return std::make_unique<WatchCommand>();
}

}  // namespace robaxi_tool
