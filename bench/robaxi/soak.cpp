// Checks that no connection is falsely reported as lost while every processor is busy: runs calls
// and a subscription to changing values beside four compute-bound programs for each processor.
// Prints a line a minute; the exit status is 0 if nothing was lost.
//
//   robaxi_soak [MINUTES]
#include "bench/figures.h"
#include "brokers.h"
#include "far_end.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int a_keys = 1000;
constexpr double a_rate = 50;
constexpr std::chrono::milliseconds a_stepOfRobot{20};
constexpr std::chrono::milliseconds a_betweenCalls{100};
constexpr int a_timeOut = 10;  // seconds

using Keys = std::vector<std::pair<std::uint32_t, KVValue>>;

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto table = std::make_shared<KVValueTable>();
    Keys values;
    for (int i = 0; i < a_keys; ++i) {
        KVKeyInfo key;
        key.fName = "Joint/" + std::to_string(i) + "/Position";
        values.emplace_back(table->addKey(key, 0.0), 0.0);
    }
    const auto memory = std::make_shared<KVModule>("Memory", "");
    memory->setValues(table);
    memory->bindMethod({"echo", "", ""}, {KVValue::Type::Int},
                       [](const KVValue::List& arguments) { return arguments.front(); });
    broker->addModule(memory);
    std::atomic<bool> stop{false};
    std::thread changing([&] {
        for (int step = 1; !stop; ++step) {
            for (auto& [id, value] : values) {
                value = static_cast<double>(step);
            }
            table->setValues(values);
            std::this_thread::sleep_for(a_stepOfRobot);
        }
    });
    bench::serveAt(broker->getPort(), 0);
    stop = true;
    changing.join();
    return EXIT_SUCCESS;
}

int compute() {
    std::atomic<bool> stop{false};
    std::thread burner([&stop] {
        while (!stop) {
        }
    });
    bench::serveAt(0, 0);
    stop = true;
    burner.join();
    return EXIT_SUCCESS;
}

/** The maximum of some durations, in milliseconds. */
class Longest {
  public:
    void take(Clock::duration duration) {
        const std::lock_guard lock(fMutex);
        fLongest = std::max(fLongest, duration);
    }
    double milliseconds() const {
        const std::lock_guard lock(fMutex);
        return std::chrono::duration<double, std::milli>(fLongest).count();
    }

  private:
    mutable std::mutex fMutex;
    Clock::duration fLongest{};
};

/** Counts updates and records the time between them. */
class Updates {
  public:
    KVSubscription::Callbacks callbacks() {
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [this](const auto& /*changes*/) {
            const auto now = Clock::now();
            if (fCount++ != 0) {
                fLongestGap.take(now - fLast);
            }
            fLast = now;
        };
        callbacks.fEnded = [this](const KVError& error) {
            std::printf("LOST: %s\n", error.toString().c_str());
            fHasEnded = true;
        };
        return callbacks;
    }

    std::atomic<std::uint64_t> fCount{0};
    std::atomic<bool> fHasEnded{false};
    Longest fLongestGap;

  private:
    Clock::time_point fLast;
};

/** Share of the processors' idle time. */
class Idleness {
  public:
    Idleness() : fAtStart(xRead()) {}

    double share() const {
        const auto [idle, all] = xRead();
        return (idle - fAtStart.first) / (all - fAtStart.second);
    }

  private:
    static std::pair<double, double> xRead() {
        std::ifstream file("/proc/stat");
        std::string word;
        file >> word;
        double idle = 0;
        double all = 0;
        double ticks = 0;
        constexpr int idleField = 3;
        constexpr int fields = 8;  // up to "steal"; the rest is included in these
        for (int field = 0; field < fields && file >> ticks; ++field) {
            all += ticks;
            idle += field == idleField ? ticks : 0;
        }
        return {idle, all};
    }

    const std::pair<double, double> fAtStart;
};

int soak(int minutes) {
    std::vector<std::unique_ptr<bench::FarEnd>> burners;
    for (unsigned i = 0; i < 4 * std::thread::hardware_concurrency(); ++i) {
        burners.push_back(std::make_unique<bench::FarEnd>("--compute"));
    }
    const bench::FarEnd robot;
    const auto broker = bench::makeClient();
    const auto connection =
        KVConnection::open(broker, bench::a_loopback, robot.brokerPort(), a_timeOut);
    std::atomic<bool> lost{false};
    connection->setLostHandler([&lost](const KVError& error) {
        std::printf("LOST: %s\n", error.toString().c_str());
        lost = true;
    });
    Updates updates;
    const auto subscription = KVSubscription::start(
        connection, "Memory", KVSubscription::Selection::AllKeys, a_rate, updates.callbacks());
    KVProxy proxy("Memory", bench::a_loopback, robot.brokerPort(), broker, a_timeOut, 0);
    const Idleness idleness;
    Longest longestCall;
    std::uint64_t calls = 0;
    std::printf("minute  updates  longest gap     calls  longest call  processors idle\n");
    for (int minute = 1; minute <= minutes && !lost && !updates.fHasEnded; ++minute) {
        const auto end = Clock::now() + std::chrono::minutes(1);
        while (Clock::now() < end && !lost) {
            const auto start = Clock::now();
            proxy.callVoid("echo", 1);
            longestCall.take(Clock::now() - start);
            ++calls;
            std::this_thread::sleep_for(a_betweenCalls);
        }
        std::printf("%6d %8llu %9.0f ms %9llu %10.0f ms %15.1f%%\n", minute,
                    static_cast<unsigned long long>(updates.fCount),
                    updates.fLongestGap.milliseconds(), static_cast<unsigned long long>(calls),
                    longestCall.milliseconds(), 100 * idleness.share());
        std::fflush(stdout);
    }
    connection->setLostHandler(nullptr);
    return lost || updates.fHasEnded ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualMinutes = 30;
    if (argc > 1 && std::string(argv[1]) == "--compute") {
        return compute();
    }
    return bench::runMain(argc, argv, usualMinutes, serve, soak);
}
