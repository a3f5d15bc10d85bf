// Measures changes of 10,000 values that reach a client, and the processor time of each, compared
// with plain TCP with each value sent with the name of its key: first at full speed, then 50 times
// a second. If roscpp is installed, it does the same at full speed.
//
//   robaxi_update_bench [ROUNDS]
#include "bench/figures.h"
#include "brokers.h"
#include "far_end.h"
#include "key_names.h"
#include "plain_stream.h"
#include "ros_peer.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int a_timeOut = 10;           // seconds
constexpr double a_highestRate = 1000;  // the maximum rate of a subscription
constexpr double a_usualRate = 50;
constexpr std::chrono::milliseconds a_lengthOfRound{1000};
constexpr std::chrono::milliseconds a_warmUp{300};

/** Waits between the steps of a flow at a given rate. */
class Pace {
  public:
    void setRate(double rate) { fPeriod = 1 / rate; }

    void await() {
        std::this_thread::sleep_until(fNext);
        const auto period = std::chrono::duration<double>(fPeriod.load());
        fNext = Clock::now() + std::chrono::duration_cast<Clock::duration>(period);
    }

  private:
    std::atomic<double> fPeriod{1};
    Clock::time_point fNext;
};

/** Changes all values of a table at a given rate. */
class Changes {
  public:
    explicit Changes(std::shared_ptr<KVValueTable> table) : fTable(std::move(table)) {
        for (const std::string& name : bench::keyNames()) {
            KVKeyInfo key;
            key.fName = name;
            fValues.emplace_back(fTable->addKey(key, 0.0), 0.0);
        }
        fThread = std::thread([this] { xRun(); });
    }
    ~Changes() {
        fStop = true;
        fThread.join();
    }
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;

    /** Sets the rate; 0 stops the changes. */
    void setRate(double rate) {
        fPace.setRate(rate > 0 ? rate : 10);
        fIsResting = rate <= 0;
    }

  private:
    void xRun() {
        for (double step = 1; !fStop; ++step) {
            fPace.await();
            if (fIsResting) {
                continue;
            }
            for (auto& [id, value] : fValues) {
                value = step;
            }
            fTable->setValues(fValues);
        }
    }

    const std::shared_ptr<KVValueTable> fTable;
    std::vector<std::pair<std::uint32_t, KVValue>> fValues;
    Pace fPace;
    std::atomic<bool> fIsResting{true};
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

/** Plain messages: for each key the length of its name, the name, and the value. */
class PlainMessages {
  public:
    /** @param keysTogether number of keys in one message */
    void setFlow(double rate, std::size_t keysTogether) {
        fPace.setRate(rate);
        fKeysTogether = keysTogether;
    }

    void fill(std::string& bytes) {
        bytes.clear();
        if (fNext == fNames.size()) {
            fNext = 0;
            ++fValue;
            fPace.await();
        }
        const std::size_t end = std::min(fNames.size(), fNext + fKeysTogether);
        for (; fNext < end; ++fNext) {
            bytes += static_cast<char>(fNames[fNext].size());
            bytes += fNames[fNext];
            bytes.append(reinterpret_cast<const char*>(&fValue), sizeof fValue);
        }
    }

  private:
    const std::vector<std::string> fNames = bench::keyNames();
    Pace fPace;
    std::atomic<std::size_t> fKeysTogether{1};
    std::size_t fNext = fNames.size();
    double fValue = 0;
};

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto table = std::make_shared<KVValueTable>();
    Changes changes(table);
    PlainMessages messages;
    const auto memory = std::make_shared<KVModule>("Memory", "");
    memory->setValues(table);
    memory->bindMethod({"setRate", "", ""}, {KVValue::Type::Float},
                       [&changes](const KVValue::List& arguments) {
                           changes.setRate(arguments[0].toFloat());
                           return KVValue();
                       });
    memory->bindMethod({"setPlainFlow", "", ""}, {KVValue::Type::Float, KVValue::Type::Int},
                       [&messages](const KVValue::List& arguments) {
                           messages.setFlow(arguments[0].toFloat(),
                                            static_cast<std::size_t>(arguments[1].toInt()));
                           return KVValue();
                       });
    broker->addModule(memory);
    const plain_stream::Server plain([&messages](std::string& bytes) { messages.fill(bytes); });
    bench::serveAt(broker->getPort(), plain.port());
    return EXIT_SUCCESS;
}

/** Stores the newest value of each key. */
class Values {
  public:
    KVSubscription::Callbacks callbacks() {
        KVSubscription::Callbacks callbacks;
        callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) {
            fValues.resize(fValues.size() + keys.size() + 1);
        };
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
            for (const KVChange& change : changes) {
                fValues.at(change.fId) = change.fValue.toFloat();
            }
            fCount += changes.size();
        };
        return callbacks;
    }

    std::atomic<std::uint64_t> fCount{0};

  private:
    std::vector<double> fValues;
};

bench::Flow measureOurs(const bench::FarEnd& farEnd, KVProxy& memory, double rate) {
    memory.callVoid("setRate", rate);
    Values values;
    const auto subscription = KVSubscription::start(
        KVConnection::open(bench::makeClient(), bench::a_loopback, farEnd.brokerPort(), a_timeOut),
        "Memory", KVSubscription::Selection::AllKeys, rate, values.callbacks());
    std::this_thread::sleep_for(a_warmUp);
    const bench::Flow flow = bench::measureFlow(farEnd.pid(), values.fCount, a_lengthOfRound);
    subscription->stop();
    memory.callVoid("setRate", 0.0);
    return flow;
}

/** Looks up each value's key by its name. */
class PlainValues {
  public:
    void read(const plain_stream::Client& client) {
        constexpr std::size_t most = std::size_t{256} * 1024;
        std::string buffer(most, 0);
        std::size_t filled = 0;
        while (const std::size_t count = client.readSome(&buffer[filled], most - filled)) {
            filled += count;
            const std::size_t used = xParse({buffer.data(), filled});
            std::memmove(buffer.data(), buffer.data() + used, filled - used);
            filled -= used;
            if (fStop) {
                return;
            }
        }
    }

    void stop() { fStop = true; }

    std::atomic<std::uint64_t> fCount{0};

  private:
    std::size_t xParse(std::string_view bytes) {
        std::size_t at = 0;
        std::uint64_t count = 0;
        while (at < bytes.size()) {
            const std::size_t length = static_cast<unsigned char>(bytes[at]);
            if (bytes.size() - at < 1 + length + sizeof(double)) {
                break;
            }
            std::memcpy(&fValues.at(bytes.substr(at + 1, length)), bytes.data() + at + 1 + length,
                        sizeof(double));
            at += 1 + length + sizeof(double);
            ++count;
        }
        fCount += count;
        return at;
    }

    bench::NamedValues fValues;
    std::atomic<bool> fStop{false};
};

bench::Flow measurePlain(const bench::FarEnd& farEnd, KVProxy& memory, double rate,
                         int keysTogether) {
    memory.call<KVValue>("setPlainFlow", rate, keysTogether);
    const plain_stream::Client client(farEnd.plainPort());
    PlainValues values;
    std::thread reader([&] { values.read(client); });
    std::this_thread::sleep_for(a_warmUp);
    const bench::Flow flow = bench::measureFlow(farEnd.pid(), values.fCount, a_lengthOfRound);
    values.stop();
    reader.join();
    return flow;
}

/** Results of several rounds of a flow. */
class Flows {
  public:
    void add(const bench::Flow& flow) {
        fRates.push_back(flow.rate());
        fCosts.push_back(flow.cost());
    }

    void compareWith(Flows& peers) {
        constexpr double thousand = 1000;
        constexpr double nanosecond = 1e-9;
        bench::compare("  updates a second", bench::median(fRates) / thousand,
                       bench::median(peers.fRates) / thousand, "thousand");
        bench::compare("  processor time an update", bench::median(fCosts) / nanosecond,
                       bench::median(peers.fCosts) / nanosecond, "ns");
    }

  private:
    std::vector<double> fRates;
    std::vector<double> fCosts;
};

class Measurement {
  public:
    explicit Measurement(int rounds) : fRounds(rounds) {}

    void compareFlows(double rate, int keysTogether) {
        const bool hasRos = fRos && rate == a_highestRate;  // its rate cannot be set
        Flows plain;
        Flows ours;
        Flows ros;
        for (int round = 0; round < fRounds; ++round) {
            plain.add(measurePlain(fFarEnd, fMemory, rate, keysTogether));
            ours.add(measureOurs(fFarEnd, fMemory, rate));
            if (hasRos) {
                using Topic = bench::RosPeer::Topic;
                const Topic topic = keysTogether == 1 ? Topic::OneValue : Topic::AllValues;
                ros.add(fRos->follow(topic, a_warmUp, a_lengthOfRound));
            }
        }
        std::printf("%s, plain TCP with %s\n",
                    rate == a_highestRate ? "flat out" : "50 times a second",
                    keysTogether == 1 ? "a message for each value" : "all values in one message");
        ours.compareWith(plain);
        if (hasRos) {
            std::puts("  roscpp with the same, in place of robaxi");
            ros.compareWith(plain);
        }
    }

  private:
    const int fRounds;
    const bench::FarEnd fFarEnd;
    KVProxy fMemory{
        "Memory", bench::a_loopback, fFarEnd.brokerPort(), bench::makeClient(), a_timeOut, 0};
    const std::unique_ptr<bench::RosPeer> fRos = bench::RosPeer::start();
};

int measure(int rounds) {
    Measurement measurement(rounds);
    bench::printHeading();
    for (const double rate : {a_highestRate, a_usualRate}) {
        for (const int keysTogether : {1, bench::a_keys}) {
            measurement.compareFlows(rate, keysTogether);
        }
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 5;
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
