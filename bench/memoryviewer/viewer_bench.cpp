// Measures the cost for the memory viewer of a robot with 10,000 keys of which 1,000 change 50
// times a second, compared with a plain table of 50 keys of that robot. The robot, the viewer and
// this program are separate processes. This program repeatedly sets a value at the robot and reads
// the screen until the value appears, so the time includes the way to the robot, as for a user. It
// reads every millisecond or two.
//
//   memoryviewer_bench [SECONDS [KIND...]]
//
// SECONDS is the duration for each kind (default 30; 600 for the longest event-loop stall, 1800 for
// the growth of memory, which a short run cannot measure). KINDs are viewer, table, sorted (the
// viewer sorted by value, which subscribes to all 10,000 keys) and filter (keys typed into the
// filter for a fixed time, compared with a line edit that filters nothing); the default is all. It
// needs an X server: tests/support/run_isolated --display xvfb -- PROGRAM.
//
// Targets for the viewer: 15 % of a core, stalls of 100 ms (50 ms while opening), 60 ms to the
// screen, 2 MB an hour, 20 ms from a key in the filter to its result (50 ms at worst).
#include "bench/figures.h"
#include "cell_watch.h"
#include "machine_watch.h"
#include "memory_slope.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <QGuiApplication>

#include <child_process.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <project_files.h>
#include <random>
#include <robot_process.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using obvista_test::builtFile;
using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

const RobotProcess::Settings a_robot{{"--keys", "10000", "--changing", "1000", "--rate", "50"}};
constexpr const char* a_littleInk = "-";
constexpr const char* a_muchInk = "WWWWWWWW";
constexpr std::chrono::milliseconds a_look{1};
constexpr std::chrono::seconds a_longestWait{5};
constexpr std::chrono::seconds a_settling{2};

/** Returns the program's newest output after one of these words. */
std::string told(const ChildProcess& program, const std::string& word) {
    const std::string output = program.output();
    const std::size_t at = output.rfind(word + ' ');
    return at == std::string::npos ? std::string() : output.substr(at + word.size() + 1);
}

/** Returns the printed rectangle of a program's cell. */
QRect cellOf(ChildProcess& program) {
    const bool isTold = program.waitForOutput("cell ") && program.waitForOutput("hold ");
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    if (!isTold || std::sscanf(told(program, "cell").c_str(), "%d %d %d %d", &left, &top, &width,
                               &height) != 4) {
        throw std::runtime_error("no cell is shown: " + program.output() + program.errors());
    }
    return {left, top, width, height};
}

struct Hold {
    double fHeld = 0;
    double fRan = 0;
};

/** Returns the newest figures of that name that a program's LoopWatch has printed. */
Hold toldHold(const ChildProcess& program, const std::string& name) {
    Hold hold;
    if (std::sscanf(told(program, name).c_str(), "%lf %lf", &hold.fHeld, &hold.fRan) != 2) {
        throw std::runtime_error("no hold was told: " + program.output() + program.errors());
    }
    return hold;
}

/** Sets the value of the cell and waits until it appears. */
class Probe {
  public:
    Probe(int port, const QRect& cell)
        : fBroker(KVBroker::createBroker({"Bench"})),
          fBallamor("KVBallamor", RobotProcess::address(), port, fBroker, 5, 0),
          fCell(cell) {
        const int little = xInkOf(a_littleInk);
        const int much = xInkOf(a_muchInk);
        if (much < 2 * little + 10) {
            throw std::runtime_error(
                "the value that is set does not appear in the cell: " + std::to_string(little) +
                " and " + std::to_string(much) + " pixels");
        }
        fThreshold = (little + much) / 2;
    }

    /** @return milliseconds until it was on the screen */
    double run() {
        fIsMuch = !fIsMuch;
        const auto begin = Clock::now();
        xSend(fIsMuch ? a_muchInk : a_littleInk);
        while ((fCell.ink() > fThreshold) != fIsMuch) {
            if (Clock::now() - begin > a_longestWait) {
                throw std::runtime_error("a value that was set did not appear");
            }
            std::this_thread::sleep_for(a_look);
        }
        return Milliseconds(Clock::now() - begin).count();
    }

  private:
    void xSend(const char* text) { fBallamor.callVoid("sendClipboard", std::string(text)); }

    int xInkOf(const char* text) {
        xSend(text);
        std::this_thread::sleep_for(a_settling);
        return fCell.ink();
    }

    boost::shared_ptr<KVBroker> fBroker;
    KVProxy fBallamor;
    bench::CellWatch fCell;
    int fThreshold = 0;
    bool fIsMuch = true;
};

/** Waits for a random time that is not a multiple of any period. */
void rest(std::mt19937& random) {
    constexpr int least = 80;
    constexpr int spread = 80;
    std::this_thread::sleep_for(
        std::chrono::milliseconds(least + static_cast<int>(random() % spread)));
}

std::vector<std::string> command(const std::string& kind, int port) {
    if (kind == "table") {
        return {builtFile("bench/memoryviewer_bench_table"), std::to_string(port)};
    }
    std::vector<std::string> words{builtFile("bench/memoryviewer_bench_viewer"),
                                   builtFile("lib/obvista/libmemoryviewer.so"),
                                   std::to_string(port)};
    if (kind == "sorted" || kind == "filter") {
        words.push_back(kind);
    }
    return words;
}

void measure(const std::string& kind, double time) {
    const RobotProcess robot(a_robot);
    ChildProcess program(command(kind, robot.port()));
    Probe probe(robot.port(), cellOf(program));
    bench::MemorySlope memory(program.pid());
    const bench::MachineWatch machine;
    std::vector<double> delays;
    std::mt19937 random(1);
    const double processor = bench::processorSeconds(program.pid());
    const auto begin = Clock::now();
    while (Clock::now() - begin < std::chrono::duration<double>(time) || delays.empty()) {
        delays.push_back(probe.run());
        memory.look();
        rest(random);
    }
    const double length = std::chrono::duration<double>(Clock::now() - begin).count();
    const double share = 100 * (bench::processorSeconds(program.pid()) - processor) / length;
    const Hold hold = toldHold(program, "hold");
    std::printf(
        "%-7s %5.1f %% of a core   longest hold %6.1f ms, run at a stretch %5.1f ms"
        " (machine %5.1f ms; %5.1f ms while opening)"
        "   to the screen %6.1f ms median %6.1f ms 95th percentile   %+7.2f MB an hour\n",
        kind.c_str(), share, hold.fHeld, hold.fRan, machine.longestDelay(),
        toldHold(program, "opening").fHeld, bench::median(delays), bench::quantile(delays, 0.95),
        memory.megabytesAnHour());
    std::fflush(stdout);
}

void measureFilter() {
    const RobotProcess robot(a_robot);
    ChildProcess program(command("filter", robot.port()));
    double median = 0;
    double longest = 0;
    double floor = 0;
    const bool isTold = program.waitForOutput("typed ");
    if (!isTold || std::sscanf(told(program, "typed").c_str(), "%lf %lf %lf", &median, &longest,
                               &floor) != 3) {
        throw std::runtime_error("no filter was typed: " + program.output() + program.errors());
    }
    std::printf(
        "filter  from a key to its result %6.1f ms median %6.1f ms longest"
        "   (%.2f ms median in a line edit that filters nothing)\n",
        median, longest, floor);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const double time = argc > 1 ? std::atof(argv[1]) : 30;
    std::vector<std::string> kinds{"viewer", "table", "sorted", "filter"};
    if (argc > 2) {
        kinds.assign(argv + 2, argv + argc);
    }
    try {
        for (const std::string& kind : kinds) {
            if (kind == "filter") {
                measureFilter();
            } else {
                measure(kind, time);
            }
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
