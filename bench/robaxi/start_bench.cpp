// Measures the cold start: a program that connects and makes one call, from its start to the end of
// the call, and its resident memory then. Compared with a program that does the same over plain TCP
// without any library.
//
//   robaxi_start_bench [ROUNDS]
#include "bench/figures.h"
#include "brokers.h"
#include "far_end.h"
#include "project_files.h"
#include "tcp_peer.h"

#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int a_timeOut = 10;  // seconds
const std::string a_visit = "--visit=";

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto echo = std::make_shared<KVModule>("Echo", "");
    echo->bindMethod({"echo", "", ""}, {KVValue::Type::Int},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    broker->addModule(echo);
    const tcp_peer::Server plain(1);
    bench::serveAt(broker->getPort(), plain.port());
    return EXIT_SUCCESS;
}

int visit(int port) {
    KVProxy proxy("Echo", bench::a_loopback, port, bench::makeClient(), a_timeOut, 0);
    proxy.callVoid("echo", 42);
    bench::serveAt(port, 0);
    return EXIT_SUCCESS;
}

/** Results of several runs of one program. */
struct Visits {
    void run(const std::string& port, const std::string& program) {
        const auto start = std::chrono::steady_clock::now();
        const bench::FarEnd visitor(port, program);
        const auto duration = std::chrono::steady_clock::now() - start;
        fMilliseconds.push_back(std::chrono::duration<double, std::milli>(duration).count());
        fMegabytes.push_back(bench::residentMegabytes(visitor.pid()));
    }

    std::vector<double> fMilliseconds;
    std::vector<double> fMegabytes;
};

int measure(int rounds) {
    Visits ours;
    Visits plain;
    for (int round = 0; round < rounds; ++round) {
        const bench::FarEnd farEnd;
        plain.run(std::to_string(farEnd.plainPort()),
                  obvista_test::builtFile("bench/robaxi_plain_visitor"));
        ours.run(a_visit + std::to_string(farEnd.brokerPort()), "/proc/self/exe");
    }
    bench::printHeading();
    bench::compare("cold start and one call", bench::median(ours.fMilliseconds),
                   bench::median(plain.fMilliseconds), "ms");
    bench::compare("resident memory", bench::median(ours.fMegabytes),
                   bench::median(plain.fMegabytes), "MiB");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 20;
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument.rfind(a_visit, 0) == 0) {
        return visit(std::stoi(argument.substr(a_visit.size())));
    }
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
