#include "commands/commands.h"
#include "process/failure.h"
#include "values/key_pattern.h"
#include "values/key_watch.h"
#include "values/memory_module.h"
#include "values/wide_table.h"

#include <robaxi/kv_connection.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace robaxi_tool {

namespace {

constexpr double a_defaultRate = 10;
constexpr double a_lowestRate = 0.001;
constexpr double a_highestRate = 1000;
constexpr double a_longestDuration = 1e8;

/** Prints lines up to a maximum number. */
class LinePrinter {
  public:
    /** @param count number of lines; 0 for any number */
    LinePrinter(Console& console, int count)
        : fConsole(console), fIsCounting(count != 0), fLeft(count) {}

    void print(const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) {
            if (fIsCounting && fLeft-- <= 0) {
                break;
            }
            text += line;
        }
        fConsole.print(text);
        if (fIsCounting && fLeft <= 0) {
            throw EnoughLines();
        }
    }

    class EnoughLines : public std::exception {};

  private:
    Console& fConsole;
    bool fIsCounting;
    int fLeft;
};

std::vector<std::string> linesOf(ChangeFormat format, const std::vector<ChangeRow>& rows) {
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const ChangeRow& row : rows) {
        lines.push_back(lineOf(format, row));
    }
    return lines;
}

/** Prints the table of --wide as the values of a watch arrive. */
class WidePrinter {
  public:
    WidePrinter(Console& console, LinePrinter& lines) : fConsole(console), fLines(lines) {}

    void print(KeyWatch& watch, const std::vector<ChangeRow>& rows) {
        if (const auto keys = watch.takeNewNames()) {
            xSetKeys(*keys);
        }
        if (const auto line = fTable ? fTable->take(rows) : std::nullopt) {
            fLines.print({*line});
        }
    }

  private:
    void xSetKeys(const std::vector<std::string>& keys) {
        if (!fTable) {
            fTable.emplace(keys);
            fConsole.print(fTable->heading());
            return;
        }
        for (const std::string& key : fTable->setPresent(keys)) {
            fConsole.complain("The key '" + key + "' appeared later and has no column.");
            if (++fOthers == WideTable::a_mostOthers) {
                fConsole.complain("Further keys without a column are not named.");
            }
        }
    }

    Console& fConsole;
    LinePrinter& fLines;
    std::optional<WideTable> fTable;  ///< once the keys are known
    std::size_t fOthers = 0;          ///< keys without a column
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

class WatchCommand : public Command {
  public:
    std::string name() const override { return "watch"; }
    std::string summary() const override { return "prints the values of keys as they change"; }
    Words words() const override { return {"HOST KEY...", 2, Words::a_anyNumber}; }
    std::string explanation() const override {
        return std::string(a_keyHelp) +
               "The current values come first. A line is a time (by the robot's clock, UTC), a\n"
               "key, a value and its unit. The command runs until the connection is lost, Ctrl-C,\n"
               "--count lines, or --duration seconds. With --wide a line is a time and the newest\n"
               "values of all keys; the first line has a value of each.\n";
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
        options.addSwitch("--wide", &fWide, "like --csv, with a column for each key");
        addMemoryModule(options, &fModule);
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const ChangeFormat format = xFormat();
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        const SilenceNote note(*link.connection(), given[0], surroundings.fConsole);
        LinePrinter lines(surroundings.fConsole, fCount);
        WidePrinter wide(surroundings.fConsole, lines);
        Bell bell(surroundings.fInterruption);
        KeyWatch watch(
            {given.begin() + 1, given.end()},
            [&](const std::vector<ChangeRow>& rows) {
                if (fWide) {
                    wide.print(watch, rows);
                } else {
                    lines.print(linesOf(format, rows));
                }
            },
            bell);
        if (!fWide) {
            surroundings.fConsole.print(headerOf(format));
        }
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
        } catch (const LinePrinter::EnoughLines&) {
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
        if (fJson && (fCsv || fWide)) {
            throw UsageError(std::string("--json and ") + (fCsv ? "--csv" : "--wide") +
                             " exclude each other");
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
        const std::string sentence = noKeyMatches(unmatched);
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
    bool fWide = false;
    std::string fModule;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeWatchCommand() {
    return std::make_unique<WatchCommand>();
}

}  // namespace robaxi_tool
