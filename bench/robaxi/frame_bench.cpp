// Measures a camera's frames that reach a client, in bytes a second, and the processor time a
// gigabyte, compared with the same bytes over plain TCP (and with roscpp, if installed).
//
//   robaxi_frame_bench [ROUNDS]
#include "bench/figures.h"
#include "brokers.h"
#include "camera.h"
#include "far_end.h"
#include "plain_stream.h"
#include "ros_peer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int a_timeOut = 10;  // seconds
constexpr std::uint32_t a_width = 1280;
constexpr std::uint32_t a_height = 720;
constexpr std::size_t a_bytesOfFrame = std::size_t{a_width} * a_height * bench::a_bytesOfPixel;
/** Shorter than the transfer of a frame of this size. */
constexpr std::chrono::microseconds a_period{500};
constexpr std::chrono::milliseconds a_lengthOfRound{1000};
constexpr std::chrono::milliseconds a_warmUp{300};

int serve() {
    const auto broker = bench::listenOnLoopback();
    const bench::Camera camera(*broker, a_width, a_height, a_period);
    const plain_stream::Server plain([](std::string& bytes) { bytes.resize(a_bytesOfFrame, 'x'); });
    bench::serveAt(broker->getPort(), plain.port());
    return EXIT_SUCCESS;
}

bench::Flow measureOurs(const bench::FarEnd& farEnd) {
    const bench::Watcher watcher(
        KVConnection::open(bench::makeClient(), bench::a_loopback, farEnd.brokerPort(), a_timeOut));
    std::this_thread::sleep_for(a_warmUp);
    return bench::measureFlow(farEnd.pid(), watcher.bytes(), a_lengthOfRound);
}

bench::Flow measurePlain(const bench::FarEnd& farEnd) {
    const plain_stream::Client client(farEnd.plainPort());
    std::atomic<std::uint64_t> bytes{0};
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        for (std::string frame(a_bytesOfFrame, 0);
             !stop && client.readAll(frame.data(), frame.size());) {
            bytes += frame.size();
        }
    });
    std::this_thread::sleep_for(a_warmUp);
    const bench::Flow flow = bench::measureFlow(farEnd.pid(), bytes, a_lengthOfRound);
    stop = true;
    reader.join();
    return flow;
}

int measure(int rounds) {
    constexpr double megabyte = 1e6;
    constexpr double gigabyte = 1e9;
    constexpr double millisecond = 1e-3;
    const bench::FarEnd farEnd;
    const auto ros = bench::RosPeer::start();
    std::vector<double> rosRates;
    std::vector<double> rosCosts;
    std::vector<double> ourRates;
    std::vector<double> plainRates;
    std::vector<double> ourCosts;
    std::vector<double> plainCosts;
    for (int round = 0; round < rounds; ++round) {
        const bench::Flow plain = measurePlain(farEnd);
        const bench::Flow ours = measureOurs(farEnd);
        plainRates.push_back(plain.rate());
        ourRates.push_back(ours.rate());
        plainCosts.push_back(plain.cost());
        ourCosts.push_back(ours.cost());
        if (ros) {
            const bench::Flow flow =
                ros->follow(bench::RosPeer::Topic::Images, a_warmUp, a_lengthOfRound);
            rosRates.push_back(flow.rate());
            rosCosts.push_back(flow.cost());
        }
    }
    const auto compare = [&](std::vector<double>& rates, std::vector<double>& costs) {
        bench::compare("image bytes a second", bench::median(rates) / megabyte,
                       bench::median(plainRates) / megabyte, "MB");
        bench::compare("processor time a gigabyte", bench::median(costs) * gigabyte / millisecond,
                       bench::median(plainCosts) * gigabyte / millisecond, "ms");
    };
    bench::printHeading();
    compare(ourRates, ourCosts);
    if (ros) {
        std::puts("");
        bench::printHeading("plain TCP", "roscpp");
        compare(rosRates, rosCosts);
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 10;
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
