// Round trip and rate of small calls, beside plain TCP with the same hand-over between threads. The
// robot's end runs in a process of its own. Rounds of both alternate, so that what else the machine
// does falls on both alike.
//
//   call_bench [ROUNDS]
#include "brokers.h"
#include "far_end.h"
#include "figures.h"
#include "tcp_peer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Call = std::function<void()>;

constexpr int a_callers = 8;
constexpr std::size_t a_callsOfRound = 2000;
constexpr std::chrono::milliseconds a_lengthOfRound{500};

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto echo = boost::make_shared<KVModule>("Echo", "");
    echo->bindMethod({"echo", "", ""}, {KVValue::Type::Int},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    broker->addModule(echo);
    const tcp_peer::Server plain(a_callers);
    bench::serveAt(broker->getPort(), plain.port());
    return EXIT_SUCCESS;
}

double microseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::micro>(duration).count();
}

void measureRoundTrips(const Call& call, std::vector<double>& times) {
    for (std::size_t i = 0; i < a_callsOfRound; ++i) {
        const auto start = Clock::now();
        call();
        times.push_back(microseconds(Clock::now() - start));
    }
}

/** Calls a second with several callers at once. */
double measureRate(const Call& call) {
    std::atomic<bool> stop{false};
    std::atomic<std::size_t> calls{0};
    std::vector<std::thread> callers;
    callers.reserve(a_callers);
    const auto start = Clock::now();
    for (int i = 0; i < a_callers; ++i) {
        callers.emplace_back([&] {
            while (!stop) {
                call();
                ++calls;
            }
        });
    }
    std::this_thread::sleep_for(a_lengthOfRound);
    stop = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    return static_cast<double>(calls) / std::chrono::duration<double>(Clock::now() - start).count();
}

int measure(int rounds) {
    const bench::FarEnd farEnd;
    KVProxy proxy("Echo", bench::a_loopback, farEnd.brokerPort(), bench::makeClient(), 10, 0);
    tcp_peer::Client client(farEnd.plainPort());
    const Call ours = [&proxy] { proxy.callVoid("echo", 42); };
    const Call plain = [&client] { client.call(); };

    std::vector<double> ourTimes;
    std::vector<double> plainTimes;
    std::vector<double> ourRates;
    std::vector<double> plainRates;
    std::vector<double> warmUp;
    measureRoundTrips(ours, warmUp);
    measureRoundTrips(plain, warmUp);
    for (int round = 0; round < rounds; ++round) {
        measureRoundTrips(plain, plainTimes);
        measureRoundTrips(ours, ourTimes);
        plainRates.push_back(measureRate(plain));
        ourRates.push_back(measureRate(ours));
    }
    constexpr double half = 0.5;
    constexpr double almostAll = 0.99;
    bench::printHeading();
    bench::compare("round trip, median", bench::quantile(ourTimes, half),
                   bench::quantile(plainTimes, half), "us");
    bench::compare("round trip, 99th percentile", bench::quantile(ourTimes, almostAll),
                   bench::quantile(plainTimes, almostAll), "us");
    bench::compare("calls a second, 8 outstanding", bench::quantile(ourRates, half),
                   bench::quantile(plainRates, half), "/s");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 10;
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
