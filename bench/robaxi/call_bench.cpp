// Measures round trip and rate of small calls, compared with plain TCP with the same hand-over
// between threads (and with roscpp, if installed), and the round trip over a connection that also
// carries a camera's frames, compared with one that does not. The robot's end runs in a separate
// process. Rounds of all alternate, so that other load of the machine affects all equally.
//
//   call_bench [ROUNDS]
#include "bench/figures.h"
#include "brokers.h"
#include "camera.h"
#include "far_end.h"
#include "ros_peer.h"
#include "tcp_peer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Call = std::function<void()>;

constexpr int a_callers = 8;
constexpr int a_timeOut = 10;  // seconds
constexpr std::chrono::milliseconds a_lengthOfRound{500};
constexpr std::uint32_t a_width = 640;
constexpr std::uint32_t a_height = 480;
constexpr int a_framesOfSecond = 30;

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto echo = std::make_shared<KVModule>("Echo", "");
    echo->bindMethod({"echo", "", ""}, {KVValue::Type::Int},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    broker->addModule(echo);
    const bench::Camera camera(
        *broker, a_width, a_height,
        std::chrono::microseconds(std::chrono::seconds(1)) / a_framesOfSecond);
    const tcp_peer::Server plain(a_callers);
    bench::serveAt(broker->getPort(), plain.port());
    return EXIT_SUCCESS;
}

/** Measures the microseconds of each of many successive calls. */
void measureRoundTrips(const Call& call, std::vector<double>& times) {
    const auto end = Clock::now() + a_lengthOfRound;
    for (auto start = Clock::now(); start < end;) {
        call();
        const auto now = Clock::now();
        times.push_back(std::chrono::duration<double, std::micro>(now - start).count());
        start = now;
    }
}

/** Returns the calls a second of several concurrent callers. */
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

class Measurement {
  public:
    Measurement() {
        std::vector<double> warmUp;
        measureRoundTrips(fCall, warmUp);
        measureRoundTrips(fCallPlain, warmUp);
    }

    void takeRound() {
        measureRoundTrips(fCallPlain, fPlainTimes);
        measureRoundTrips(fCall, fTimes);
        xMeasureBesideCamera();
        fPlainRates.push_back(measureRate(fCallPlain));
        fRates.push_back(measureRate(fCall));
        if (fRos) {
            measureRoundTrips(fCallRos, fRosTimes);
            fRosRates.push_back(measureRate(fCallRos));
        }
    }

    void print() {
        bench::printHeading();
        xCompareTimes(fTimes, fPlainTimes);
        xCompareRates(fRates, fPlainRates);
        if (fRos) {
            std::puts("");
            bench::printHeading("plain TCP", "roscpp");
            xCompareTimes(fRosTimes, fPlainTimes);
            xCompareRates(fRosRates, fPlainRates);
        }
        std::printf("\n640x480 RGB camera at %d a second over the same connection\n",
                    a_framesOfSecond);
        bench::printHeading("without", "with");
        xCompareTimes(fTimesBesideCamera, fTimes);
        // Of some thousand calls a second, these coincide with a frame.
        constexpr double butOneInThousand = 0.999;
        bench::compare("round trip, 99.9th percentile",
                       bench::quantile(fTimesBesideCamera, butOneInThousand),
                       bench::quantile(fTimes, butOneInThousand), "us");
        std::printf("frames during the calls: %llu, left out: %llu\n", fFrames, fFramesLeftOut);
    }

  private:
    static void xCompareTimes(std::vector<double>& ours, std::vector<double>& peers) {
        constexpr double almostAll = 0.99;
        bench::compare("round trip, median", bench::median(ours), bench::median(peers), "us");
        bench::compare("round trip, 99th percentile", bench::quantile(ours, almostAll),
                       bench::quantile(peers, almostAll), "us");
    }

    static void xCompareRates(std::vector<double>& ours, std::vector<double>& peers) {
        bench::compare("calls a second, 8 outstanding", bench::median(ours), bench::median(peers),
                       "/s");
    }

    void xMeasureBesideCamera() {
        const bench::Watcher watcher(
            KVConnection::open(fBroker, bench::a_loopback, fFarEnd.brokerPort(), a_timeOut));
        measureRoundTrips(fCall, fTimesBesideCamera);
        fFrames += watcher.frames();
        fFramesLeftOut += watcher.framesLeftOut();
    }

    const bench::FarEnd fFarEnd;
    const boost::shared_ptr<KVBroker> fBroker = bench::makeClient();
    KVProxy fProxy{"Echo", bench::a_loopback, fFarEnd.brokerPort(), fBroker, a_timeOut, 0};
    tcp_peer::Client fPlain{fFarEnd.plainPort()};
    const Call fCall = [this] { fProxy.callVoid("echo", 42); };
    const Call fCallPlain = [this] { fPlain.call(); };
    const std::unique_ptr<bench::RosPeer> fRos = bench::RosPeer::start();
    const Call fCallRos = [this] { fRos->call(); };
    std::vector<double> fTimes;
    std::vector<double> fTimesBesideCamera;
    std::vector<double> fPlainTimes;
    std::vector<double> fRates;
    std::vector<double> fPlainRates;
    std::vector<double> fRosTimes;
    std::vector<double> fRosRates;
    unsigned long long fFrames = 0;
    unsigned long long fFramesLeftOut = 0;
};

int measure(int rounds) {
    Measurement measurement;
    for (int round = 0; round < rounds; ++round) {
        measurement.takeRound();
    }
    measurement.print();
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 10;
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
