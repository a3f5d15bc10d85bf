// Round trip and rate of small calls, beside plain TCP with the same hand-over between threads. The
// robot's end runs in a process of its own. Rounds of both alternate, so that what else the machine
// does falls on both alike.
//
//   call_bench [ROUNDS]
#include "tcp_peer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Call = std::function<void()>;

constexpr const char* a_loopback = "127.0.0.1";
constexpr int a_callers = 8;
constexpr std::size_t a_callsOfRound = 2000;
constexpr std::chrono::milliseconds a_lengthOfRound{500};

boost::shared_ptr<KVBroker> listen() {
    for (int port = 23000;; ++port) {
        try {
            return KVBroker::createBroker("Bench", a_loopback, port, "", 0, 0, "", false);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
}

/** The far end: prints its two ports and serves until standard input ends. */
int serve() {
    const auto broker = listen();
    const auto echo = boost::make_shared<KVModule>("Echo", "");
    echo->bindMethod({"echo", "", ""}, {KVValue::Type::Int},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    broker->addModule(echo);
    const tcp_peer::Server plain(a_callers);
    std::printf("%d %d\n", broker->getPort(), plain.port());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return EXIT_SUCCESS;
}

/** This program once more, as the far end. */
class FarEnd {
  public:
    FarEnd() {
        int input[2];
        int output[2];
        if (::pipe(input) != 0 || ::pipe(output) != 0) {
            throw std::runtime_error("no pipe");
        }
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        ::posix_spawn_file_actions_addclose(&actions, input[1]);
        std::string program = "/proc/self/exe";
        std::string argument = "--serve";
        char* arguments[] = {program.data(), argument.data(), nullptr};
        const int error =
            ::posix_spawn(&fPid, program.c_str(), &actions, nullptr, arguments, environ);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        fInput = input[1];
        std::FILE* ports = ::fdopen(output[0], "r");
        if (error != 0 || std::fscanf(ports, "%d %d", &fBrokerPort, &fPlainPort) != 2) {
            throw std::runtime_error("the far end did not start");
        }
        std::fclose(ports);
    }

    ~FarEnd() {
        ::close(fInput);
        ::waitpid(fPid, nullptr, 0);
    }

    FarEnd(const FarEnd&) = delete;
    FarEnd& operator=(const FarEnd&) = delete;

    int brokerPort() const { return fBrokerPort; }
    int plainPort() const { return fPlainPort; }

  private:
    pid_t fPid = -1;
    int fInput = -1;
    int fBrokerPort = 0;
    int fPlainPort = 0;
};

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

double quantile(std::vector<double>& values, double part) {
    const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<std::size_t>(index)];
}

void compare(const char* what, double ours, double plain, const char* unit) {
    std::printf("%-34s %10.1f %10.1f %s   ratio %.2f\n", what, ours, plain, unit, ours / plain);
}

int measure(int rounds) {
    const FarEnd farEnd;
    KVProxy proxy("Echo", a_loopback, farEnd.brokerPort(),
                  KVBroker::createBroker("Bench", "", 0, "", 0, 0, "", false), 10, 0);
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
    std::printf("%-34s %10s %10s\n", "", "robaxi", "plain TCP");
    compare("round trip, median", quantile(ourTimes, half), quantile(plainTimes, half), "us");
    compare("round trip, 99th percentile", quantile(ourTimes, almostAll),
            quantile(plainTimes, almostAll), "us");
    compare("calls a second, 8 outstanding", quantile(ourRates, half), quantile(plainRates, half),
            "/s");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 10;
    const std::string argument = argc > 1 ? argv[1] : "";
    try {
        return argument == "--serve"
                   ? serve()
                   : measure(argument.empty() ? usualRounds : std::max(1, std::atoi(argv[1])));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "call_bench: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
