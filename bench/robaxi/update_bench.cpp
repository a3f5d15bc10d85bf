// Changes of 10,000 values that reach a client, and the processor time that each of them takes,
// beside plain TCP on which each value goes with the name of its key. First as fast as it goes,
// then 50 times a second.
//
//   robaxi_update_bench [ROUNDS]
#include "brokers.h"
#include "far_end.h"
#include "figures.h"
#include "plain_stream.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int a_keys = 10000;
constexpr int a_timeOut = 10;           // seconds
constexpr double a_highestRate = 1000;  // the most that a subscription may ask for
constexpr double a_usualRate = 50;
constexpr std::chrono::milliseconds a_lengthOfRound{1000};
constexpr std::chrono::milliseconds a_warmUp{300};

std::vector<std::string> keyNames() {
    std::vector<std::string> names;
    names.reserve(a_keys);
    for (int i = 0; i < a_keys; ++i) {
        names.push_back("Load/Unit" + std::to_string(1000 + i / 10) + "/Drive" +
                        std::to_string(i % 10) + "/Position");
    }
    return names;
}

/** Waits between the steps of a flow of so many a second. */
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

/** Changes all values of a table at a pace. */
class Changes {
  public:
    explicit Changes(boost::shared_ptr<KVValueTable> table) : fTable(std::move(table)) {
        for (const std::string& name : keyNames()) {
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

    /** 0 lets the values rest. */
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

    const boost::shared_ptr<KVValueTable> fTable;
    std::vector<std::pair<std::uint32_t, KVValue>> fValues;
    Pace fPace;
    std::atomic<bool> fIsResting{true};
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

/** Plain messages: for each key the length of its name, the name, and the value. */
class PlainMessages {
  public:
    /** @param keysTogether how many keys are sent together */
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
    const std::vector<std::string> fNames = keyNames();
    Pace fPace;
    std::atomic<std::size_t> fKeysTogether{1};
    std::size_t fNext = fNames.size();
    double fValue = 0;
};

int serve() {
    const auto broker = bench::listenOnLoopback();
    const auto table = boost::make_shared<KVValueTable>();
    Changes changes(table);
    PlainMessages messages;
    const auto memory = boost::make_shared<KVModule>("Memory", "");
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

/** Keeps the newest value of each key. */
class Values : public KVSubscription::Listener {
  public:
    void keysAdded(const std::vector<KVKeyInfo>& keys) override {
        fValues.resize(fValues.size() + keys.size() + 1);
    }
    void keysRemoved(const std::vector<std::uint32_t>& /*ids*/) override {}
    void valuesChanged(const std::vector<KVChange>& changes) override {
        for (const KVChange& change : changes) {
            fValues.at(change.fId) = change.fValue.toFloat();
        }
        fCount += changes.size();
    }
    void ended(const KVError& /*error*/) override {}

    std::atomic<std::uint64_t> fCount{0};

  private:
    std::vector<double> fValues;
};

bench::Flow measureOurs(const bench::FarEnd& farEnd, KVProxy& memory, double rate) {
    memory.callVoid("setRate", rate);
    Values values;
    const auto subscription = KVSubscription::start(
        KVConnection::open(bench::makeClient(), bench::a_loopback, farEnd.brokerPort(), a_timeOut),
        "Memory", KVSubscription::Selection::AllKeys, rate, &values);
    std::this_thread::sleep_for(a_warmUp);
    const bench::Flow flow = bench::measureFlow(farEnd.pid(), values.fCount, a_lengthOfRound);
    subscription->stop();
    memory.callVoid("setRate", 0.0);
    return flow;
}

/** Finds each value's key by its name. */
class PlainValues {
  public:
    PlainValues() {
        for (const std::string& name : fNames) {
            fValues.emplace(name, 0.0);
        }
    }

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

    const std::vector<std::string> fNames = keyNames();
    std::unordered_map<std::string_view, double> fValues;
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

void compareFlows(const bench::FarEnd& farEnd, KVProxy& memory, double rate, int keysTogether,
                  int rounds) {
    constexpr double thousand = 1000;
    constexpr double nanosecond = 1e-9;
    std::vector<double> ourRates;
    std::vector<double> plainRates;
    std::vector<double> ourCosts;
    std::vector<double> plainCosts;
    for (int round = 0; round < rounds; ++round) {
        const bench::Flow plain = measurePlain(farEnd, memory, rate, keysTogether);
        const bench::Flow ours = measureOurs(farEnd, memory, rate);
        plainRates.push_back(plain.rate());
        ourRates.push_back(ours.rate());
        plainCosts.push_back(plain.cost());
        ourCosts.push_back(ours.cost());
    }
    std::printf("%s, plain TCP with %s\n", rate == a_highestRate ? "flat out" : "50 times a second",
                keysTogether == 1 ? "a message for each value" : "all values in one message");
    bench::compare("  updates a second", bench::median(ourRates) / thousand,
                   bench::median(plainRates) / thousand, "thousand");
    bench::compare("  processor time an update", bench::median(ourCosts) / nanosecond,
                   bench::median(plainCosts) / nanosecond, "ns");
}

int measure(int rounds) {
    const bench::FarEnd farEnd;
    KVProxy memory("Memory", bench::a_loopback, farEnd.brokerPort(), bench::makeClient(), a_timeOut,
                   0);
    bench::printHeading();
    for (const double rate : {a_highestRate, a_usualRate}) {
        for (const int keysTogether : {1, a_keys}) {
            compareFlows(farEnd, memory, rate, keysTogether, rounds);
        }
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usualRounds = 5;
    return bench::runMain(argc, argv, usualRounds, serve, measure);
}
