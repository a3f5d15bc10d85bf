#include "commands/ping_command.h"

#include "commands/commands.h"
#include "network/robot_link.h"
#include "process/failure.h"
#include "values/value_text.h"

#include <base/address.h>
#include <base/safe_text.h>
#include <base/time.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>

namespace robaxi_tool {

namespace {

constexpr int a_defaultCount = 10;
constexpr int a_mostRoundTrips = 1000000;
constexpr double a_defaultInterval = 0.2;
constexpr double a_longestInterval = 3600;
constexpr int a_decimals = 3;

std::string milliseconds(double time) {
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), time,
                                   std::chars_format::fixed, a_decimals);
    return {buffer.data(), end.ptr};
}

/** Rounds to microseconds, the resolution of the clock readings. */
double rounded(double time) {
    return std::round(time * 1000) / 1000;
}

std::string statisticsText(std::size_t count, const RoundTripStatistics& statistics) {
    return std::to_string(count) + (count == 1 ? " round trip" : " round trips") + " in ms: min " +
           milliseconds(statistics.fMinimum) + ", mean " + milliseconds(statistics.fMean) +
           ", median " + milliseconds(statistics.fMedian) + ", p99 " +
           milliseconds(statistics.fPercentile99) + ", max " + milliseconds(statistics.fMaximum) +
           '\n';
}

std::string statisticsJson(std::size_t count, const RoundTripStatistics& statistics) {
    return jsonLine({{"count", count},
                     {"min_ms", rounded(statistics.fMinimum)},
                     {"mean_ms", rounded(statistics.fMean)},
                     {"median_ms", rounded(statistics.fMedian)},
                     {"p99_ms", rounded(statistics.fPercentile99)},
                     {"max_ms", rounded(statistics.fMaximum)}});
}

/** A small request that every robot answers without running a method. */
class SmallQuestion {
  public:
    explicit SmallQuestion(const RobotLink& link) : fLink(link) {
        const std::vector<KVModuleInfo> modules = link.connection()->getModules(link.timeout());
        const auto smallest = std::min_element(
            modules.begin(), modules.end(), [](const KVModuleInfo& one, const KVModuleInfo& other) {
                return one.fMethods.size() < other.fMethods.size();
            });
        if (smallest != modules.end()) {
            fModule = link.module(smallest->fName);
        }
    }

    void ask() {
        if (fModule != nullptr) {
            fModule->getInfo();
        } else {
            fLink.connection()->getModules(fLink.timeout());
        }
    }

  private:
    const RobotLink& fLink;
    std::unique_ptr<KVProxy> fModule;
};

class PingCommand : public Command {
  public:
    std::string name() const override { return "ping"; }
    std::string summary() const override { return "measures round trips to a robot"; }
    Words words() const override { return {"HOST", 1, 1}; }
    std::string explanation() const override {
        return "A round trip is a small request to the robot's middleware and its answer, over\n"
               "one open connection. The statistics are also printed after Ctrl-C, and when the\n"
               "robot is lost.\n";
    }

    void addOptions(Options& options) override {
        options.addNumber("--count", "N", &fCount, a_defaultCount, 1, a_mostRoundTrips,
                          "number of round trips");
        options.addNumber("--interval", "S", &fInterval, a_defaultInterval, 0.0, a_longestInterval,
                          "seconds from the start of one to the start of the next");
        options.addSwitch("--quiet", &fQuiet, "print the statistics only");
        options.addSwitch("--json", &fJson, "print the statistics only, as a JSON object");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        Console& console = surroundings.fConsole;
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        if (!fJson && !fQuiet) {
            const std::string place =
                base::hostAndPort(link.endpoint().fHost, link.endpoint().fPort);
            console.print(base::oneLine(place + " answers as " + link.connection()->getPeerName()) +
                          '\n');
        }
        std::vector<double> times;
        try {
            xMeasure(link, surroundings, times);
        } catch (const ReaderGone&) {
            throw;
        } catch (const std::exception&) {  // interrupted by the user, or ended by the robot
            xPrintStatistics(console, times);
            throw;
        }
        xPrintStatistics(console, times);
        return ExitStatus::Success;
    }

  private:
    void xMeasure(const RobotLink& link, Surroundings& surroundings, std::vector<double>& times) {
        SmallQuestion question(link);
        Bell bell(surroundings.fInterruption);
        for (int number = 1; number <= fCount; ++number) {
            const Clock::time_point start = Clock::now();
            question.ask();
            const std::chrono::duration<double, std::milli> taken = Clock::now() - start;
            times.push_back(taken.count());
            if (!fJson && !fQuiet) {
                surroundings.fConsole.print(std::to_string(number) + ": " +
                                            milliseconds(taken.count()) + " ms\n");
            }
            if (number < fCount) {
                bell.sleepUntil(start + base::steadyDuration(fInterval));
            }
        }
    }

    void xPrintStatistics(Console& console, const std::vector<double>& times) const {
        if (times.empty()) {
            return;
        }
        const RoundTripStatistics statistics = statisticsOf(times);
        console.print(fJson ? statisticsJson(times.size(), statistics)
                            : statisticsText(times.size(), statistics));
    }

    int fCount = 0;
    double fInterval = 0;
    bool fQuiet = false;
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

RoundTripStatistics statisticsOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const std::size_t count = times.size();
    RoundTripStatistics statistics;
    statistics.fMinimum = times.front();
    statistics.fMean =
        std::accumulate(times.begin(), times.end(), 0.0) / static_cast<double>(count);
    statistics.fMedian = (times[(count - 1) / 2] + times[count / 2]) / 2;
    statistics.fPercentile99 = times[(count * 99 + 99) / 100 - 1];
    statistics.fMaximum = times.back();
    return statistics;
}

std::unique_ptr<Command> makePingCommand() {
    return std::make_unique<PingCommand>();
}

}  // namespace robaxi_tool
