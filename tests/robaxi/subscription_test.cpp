#include "latch.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace robaxi_test;

namespace {

KVKeyInfo key(const std::string& name, const std::string& unit = "") {
    KVKeyInfo info;
    info.fName = name;
    info.fUnit = unit;
    return info;
}

constexpr auto a_all = KVSubscription::Selection::AllKeys;
constexpr auto a_chosen = KVSubscription::Selection::ChosenKeys;

/** Changes a value continuously. */
class Changer {
  public:
    Changer(KVValueTable& table, std::uint32_t id)
        : fThread([this, &table, id] {
              for (int n = 1; !fStop; ++n) {
                  table.setValue(id, n);
                  std::this_thread::sleep_for(std::chrono::microseconds(200));
              }
          }) {}

    ~Changer() {
        fStop = true;
        fThread.join();
    }

    Changer(const Changer&) = delete;
    Changer& operator=(const Changer&) = delete;

  private:
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

/** A server with a module "Memory" that offers a table, and a connection to it. */
class Subscription : public testing::Test {
  protected:
    Subscription() {
        fMemory->setValues(fTable);
        fServer->addModule(fMemory);
        fConnection = KVConnection::open(makeClient(), a_loopback, fServer->getPort(), a_timeOut);
    }

    std::shared_ptr<KVSubscription> subscribe(
        double rate, KVSubscription::Selection selection = KVSubscription::Selection::AllKeys) {
        return KVSubscription::start(fConnection, "Memory", selection, rate, fListener.callbacks());
    }

    /** Changes six keys, of which three make an update full, as fast as possible. */
    void expectTheKeysInTurn(KVSubscription::Selection selection) {
        constexpr std::size_t size = 400'000;
        constexpr int keys = 6;
        std::vector<std::uint32_t> ids;
        for (int i = 0; i < keys; ++i) {
            ids.push_back(fTable->addKey(key("text" + std::to_string(i)), std::string(size, 'a')));
        }
        std::map<std::uint32_t, int> received;
        std::atomic<bool> isEnough{false};
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [&](const std::vector<KVChange>& changes) {
            for (const KVChange& change : changes) {
                if (++received[change.fId] == 30) {
                    isEnough = true;
                }
            }
        };
        const auto subscription =
            KVSubscription::start(fConnection, "Memory", selection, 1000, callbacks);
        subscription->setKeys(ids);
        const auto deadline = std::chrono::steady_clock::now() + a_patience;
        for (int round = 1; !isEnough && std::chrono::steady_clock::now() < deadline; ++round) {
            std::vector<std::pair<std::uint32_t, KVValue>> values;
            for (const std::uint32_t id : ids) {
                values.emplace_back(id, std::string(size, static_cast<char>('a' + round % 26)));
            }
            fTable->setValues(values);
        }
        subscription->stop();
        ASSERT_TRUE(isEnough);
        for (const std::uint32_t id : ids) {
            EXPECT_GE(received[id], 15) << "key " << id;
        }
    }

    BrokerPtr fServer = makeServer();
    ModulePtr fMemory = std::make_shared<KVModule>("Memory", "Keeps values");
    std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    std::shared_ptr<KVConnection> fConnection;
    RecordingListener fListener;
};

}  // namespace

TEST_F(Subscription, BringsTheTableThenTheValues) {
    KVKeyInfo described = key("Joint/HeadYaw/Position", "rad");
    described.fDescription = "Angle of the head";
    described.fWritable = true;
    fTable->addKey(described, 0.25);
    fTable->addKey(key("System/Name"), "robot");

    const auto subscription = subscribe(50);

    ASSERT_TRUE(fListener.waitForValue("Joint/HeadYaw/Position", 0.25));
    ASSERT_TRUE(fListener.waitForValue("System/Name", "robot"));
    const KVKeyInfo received = fListener.fKeys[fListener.idOf("Joint/HeadYaw/Position")];
    EXPECT_EQ(received.fUnit, "rad");
    EXPECT_EQ(received.fDescription, "Angle of the head");
    EXPECT_EQ(received.fType, KVValue::Type::Float);
    EXPECT_TRUE(received.fWritable);
}

TEST_F(Subscription, SelectsKeysByTheirNames) {
    const std::uint32_t other = fTable->addKey(key("other"), 1);
    const std::uint32_t named = fTable->addKey(key("named"), 2);
    const auto subscription = KVSubscription::start(fConnection, "Memory", {"named", "later"}, 1000,
                                                    fListener.callbacks());
    ASSERT_TRUE(fListener.waitForValue("named", 2));
    fTable->setValue(other, 3);
    fTable->addKey(key("another"), 4);
    fTable->removeKey(other);
    fTable->removeKey(named);
    fTable->addKey(key("later"), 5);
    ASSERT_TRUE(fListener.waitForValue("later", 5));
    subscription->stop();
    EXPECT_EQ(fListener.fRemoved, std::vector<std::uint32_t>{named});
    for (const auto& [id, info] : fListener.fKeys) {
        EXPECT_TRUE(info.fName == "named" || info.fName == "later") << info.fName;
    }
    for (const auto& [name, change] : fListener.fValues) {
        EXPECT_TRUE(name == "named" || name == "later") << name;
    }
}

TEST_F(Subscription, CountsTheChangesThatNewerOnesReplace) {
    const std::uint32_t changing = fTable->addKey(key("changing"), 0);
    const std::uint32_t other = fTable->addKey(key("other"), 0);
    fTable->setValue(changing, -2);
    fTable->setValue(changing, -1);  // before the subscriptions
    const auto all = subscribe(5);
    RecordingListener choosing;
    const auto chosen =
        KVSubscription::start(fConnection, "Memory", {"changing"}, 20, choosing.callbacks());
    ASSERT_TRUE(fListener.waitForValue("changing", -1));
    ASSERT_TRUE(choosing.waitForValue("changing", -1));
    constexpr int changes = 2000;
    for (int n = 1; n <= changes; ++n) {
        fTable->setValue(changing, n);
        fTable->setValue(other, n);
        fTable->setValue(changing, n);  // not a change
    }
    ASSERT_TRUE(fListener.waitForValue("changing", changes));
    ASSERT_TRUE(choosing.waitForValue("changing", changes));
    all->stop();
    chosen->stop();
    const auto received = [](RecordingListener& listener) {
        std::uint64_t count = 0;
        for (const RecordingListener::Update& update : listener.updates()) {
            count += update.fChanges.size();
        }
        return count;
    };
    const std::uint64_t atFirst = 2;
    EXPECT_EQ(received(fListener) + fListener.fPassedOver, atFirst + 2 * changes);
    EXPECT_EQ(received(choosing) + choosing.fPassedOver, 1 + changes);
    EXPECT_GT(choosing.fPassedOver, 0U);
}

TEST_F(Subscription, CountsNothingThatAPartOfALargeTableBrings) {
    // The first values do not fit into one update.
    constexpr int keys = 40;
    const std::string text(100'000, 'x');
    for (int n = 0; n < keys; ++n) {
        fTable->addKey(key("key" + std::to_string(n)), text);
    }
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(fListener.waitForValue("key" + std::to_string(keys - 1), text));
    EXPECT_GT(fListener.countUpdates(), 1U);
    subscription->stop();
    EXPECT_EQ(fListener.fPassedOver, 0U);
}

TEST_F(Subscription, SelectsNamesHoweverQuicklyTheRobotAnswers) {
    fTable->addKey(key("a"), 7);
    // A busy robot learns late that they end, and has a limit of 64.
    constexpr int subscriptions = 60;
    for (int i = 0; i < subscriptions; ++i) {
        std::promise<KVValue> value;
        KVSubscription::Callbacks callbacks;  // the others are missing
        callbacks.fValuesChanged = [&value](const std::vector<KVChange>& changes) {
            value.set_value(changes.at(0).fValue);
        };
        const auto subscription =
            KVSubscription::start(fConnection, "Memory", {"a"}, 1000, std::move(callbacks));
        auto received = value.get_future();
        ASSERT_EQ(received.wait_for(a_patience), std::future_status::ready) << i;
        EXPECT_EQ(received.get(), KVValue(7));
    }
}

TEST_F(Subscription, CallsFunctions) {
    fTable->addKey(key("a"), 7);
    const auto subscription =
        KVSubscription::start(fConnection, "Memory", a_all, 50, fListener.callbacks());
    ASSERT_TRUE(fListener.waitForValue("a", 7));
    fServer->removeModule("Memory");
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, NoSuchModule);
    EXPECT_CAUSE(errorOf([&] {
                     KVSubscription::start(fConnection, "Memory", std::vector<std::string>(), 50,
                                           fListener.callbacks());
                 }),
                 InvalidArgument);
}

TEST_F(Subscription, SendsOnlyWhatChanged) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    fTable->addKey(key("b"), 2);
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(fListener.waitForValue("b", 2));

    fTable->setValue(a, 5, 1234567);
    ASSERT_TRUE(fListener.waitForValue("a", 5));

    const auto updates = fListener.updates();
    ASSERT_EQ(updates.size(), 2U);
    ASSERT_EQ(updates[1].fChanges.size(), 1U);
    EXPECT_EQ(updates[1].fChanges[0].fId, a);
    EXPECT_EQ(updates[1].fChanges[0].fTime, 1234567);
}

TEST_F(Subscription, SendsAnEmptyTableToo) {
    std::promise<std::size_t> told;
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [&told](const std::vector<KVKeyInfo>& keys) {
        told.set_value(keys.size());
    };
    const auto subscription = KVSubscription::start(fConnection, "Memory", a_all, 50, callbacks);
    auto count = told.get_future();
    ASSERT_EQ(count.wait_for(a_patience), std::future_status::ready);
    EXPECT_EQ(count.get(), 0U);
}

TEST_F(Subscription, CarriesValuesOfEveryType) {
    KVValue bytes;
    bytes.SetBinary("\0\xFF", 2);
    const std::map<std::string, KVValue> values{{"nothing", {}},
                                                {"bool", true},
                                                {"int", std::numeric_limits<std::int64_t>::min()},
                                                {"float", std::nan("")},
                                                {"string", "caf\xE9"},
                                                {"binary", bytes},
                                                {"list", KVValue::List{1, "two"}},
                                                {"map", KVValue::Map{{"a", 1}}}};
    for (const auto& [name, value] : values) {
        fTable->addKey(key(name), value);
    }
    const auto subscription = subscribe(50);
    for (const auto& [name, value] : values) {
        EXPECT_TRUE(fListener.waitForValue(name, value)) << name;
    }
}

TEST_F(Subscription, KeepsTheInstantOfEachValue) {
    const std::uint32_t a = fTable->addKey(key("a"), 1.0);
    const std::uint32_t b = fTable->addKey(key("b"), 1);
    const std::uint32_t c = fTable->addKey(key("c"), "1");
    fTable->setValue(a, 2.0, 3000000);
    fTable->setValue(b, 2, 1000000);
    fTable->setValue(c, "2", 1);
    const auto subscription = subscribe(50);
    ASSERT_TRUE(fListener.waitForValue("c", "2"));
    EXPECT_EQ(fListener.fValues["a"].fTime, 3000000);
    EXPECT_EQ(fListener.fValues["b"].fTime, 1000000);
    EXPECT_EQ(fListener.fValues["c"].fTime, 1);
}

TEST_F(Subscription, SendsNothingWhenAValueStaysTheSame) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    const std::uint32_t b = fTable->addKey(key("b"), 1);
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(fListener.waitForValue("b", 1));
    fTable->setValue(a, 1);
    fTable->setValue(b, 2);
    ASSERT_TRUE(fListener.waitForValue("b", 2));
    const auto updates = fListener.updates();
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[1].fChanges.size(), 1U);
}

TEST_F(Subscription, HonoursTheRate) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Changer changer(*fTable, a);
    constexpr double rate = 20;
    constexpr std::size_t count = 21;
    // Not from the first update, which may arrive late on a busy machine.
    const auto start = std::chrono::steady_clock::now();
    const auto subscription = subscribe(rate);
    ASSERT_TRUE(fListener.waitUntil([&] { return fListener.fUpdates.size() >= count; }));
    const auto updates = fListener.updates();
    const double seconds = std::chrono::duration<double>(updates[count - 1].fWhen - start).count();
    // The first may have been sent late and the last in time, so one period is tolerated.
    EXPECT_GE(seconds, (count - 2) / rate);
}

TEST_F(Subscription, ChangesItsRateWithoutAGap) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    const auto subscription = subscribe(0.01);
    ASSERT_TRUE(fListener.waitForValue("a", 0));
    fTable->setValue(a, 1);
    subscription->setRate(100);
    EXPECT_TRUE(fListener.waitForValue("a", 1)) << "the old rate would bring it in 100 s";
    Changer changer(*fTable, a);
    EXPECT_TRUE(fListener.waitUntil([&] { return fListener.fUpdates.size() > 20; }));
}

TEST_F(Subscription, OfChosenKeysBringsOnlyThose) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    const std::uint32_t b = fTable->addKey(key("b"), 2);
    const auto subscription = subscribe(1000, a_chosen);
    ASSERT_TRUE(fListener.waitForKeys(2));
    subscription->setKeys({a, 4711});
    ASSERT_TRUE(fListener.waitForValue("a", 1));
    fTable->setValues({{a, 10}, {b, 20}});
    ASSERT_TRUE(fListener.waitForValue("a", 10));
    for (const auto& update : fListener.updates()) {
        for (const KVChange& change : update.fChanges) {
            EXPECT_EQ(change.fId, a);
        }
    }
}

TEST_F(Subscription, BringsANewlyChosenKeyAtOnce) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    const std::uint32_t b = fTable->addKey(key("b"), 2);
    const auto subscription = subscribe(0.01, a_chosen);
    ASSERT_TRUE(fListener.waitForKeys(2));
    subscription->setKeys({a});
    ASSERT_TRUE(fListener.waitForValue("a", 1));
    fTable->setValue(a, 10);
    subscription->setKeys({a, b});
    ASSERT_TRUE(fListener.waitForValue("b", 2)) << "the rate would bring it in 100 s";
    EXPECT_EQ(fListener.fValues["a"].fValue, KVValue(1)) << "the rate holds for the other key";
}

TEST_F(Subscription, TellsOfKeysThatAreAddedAndRemoved) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    const auto subscription = subscribe(100);
    ASSERT_TRUE(fListener.waitForValue("a", 1));
    const std::uint32_t b = fTable->addKey(key("b"), 2);
    ASSERT_TRUE(fListener.waitForValue("b", 2));
    fTable->removeKey(a);
    ASSERT_TRUE(fListener.waitUntil([&] { return !fListener.fRemoved.empty(); }));
    EXPECT_EQ(fListener.fRemoved, std::vector<std::uint32_t>{a});
    fTable->setValues({{a, 5}, {b, 3}});
    EXPECT_TRUE(fListener.waitForValue("b", 3));
    EXPECT_EQ(fListener.fValues["a"].fValue, KVValue(1));
}

TEST_F(Subscription, OfASlowListenerBringsTheNewestValues) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Latch latch;
    fListener.fOnValues = [&] { latch.enter(); };
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(latch.waitForEntries(1));
    constexpr int last = 20000;
    for (int n = 1; n <= last; ++n) {
        fTable->setValue(a, n);
    }
    latch.open();
    ASSERT_TRUE(fListener.waitForValue("a", last));
    // The table, the first value and one in flight, then the newest.
    EXPECT_LE(fListener.countUpdates(), 3U);
}

TEST_F(Subscription, DoesNotMakeOthersWaitForItsSlowListener) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Latch latch;
    RecordingListener slow;
    slow.fOnValues = [&] { latch.enter(); };
    const auto stuck = KVSubscription::start(fConnection, "Memory", a_all, 100, slow.callbacks());
    ASSERT_TRUE(latch.waitForEntries(1));
    const auto subscription = subscribe(100);
    fTable->setValue(a, 1);
    EXPECT_TRUE(fListener.waitForValue("a", 1));
    EXPECT_TRUE(fConnection->isConnected());
    latch.open();
}

TEST_F(Subscription, CarriesALargeTable) {
    constexpr int keys = 10000;
    for (int n = 0; n < keys; ++n) {
        fTable->addKey(key("Group" + std::to_string(n / 100) + "/Key" + std::to_string(n)), n);
    }
    const auto subscription = subscribe(50);
    ASSERT_TRUE(fListener.waitUntil([&] { return fListener.fValues.size() == keys; }));
    std::vector<std::pair<std::uint32_t, KVValue>> values;
    for (const KVKeyInfo& info : fTable->getKeys()) {
        values.emplace_back(info.fId, static_cast<int>(info.fId) * 3);
    }
    fTable->setValues(values, 1000);
    ASSERT_TRUE(fListener.waitUntil([&] {
        return std::all_of(
            fListener.fValues.begin(), fListener.fValues.end(), [](const auto& each) {
                return each.second.fValue == KVValue(static_cast<int>(each.second.fId) * 3);
            });
    }));
}

TEST_F(Subscription, SplitsABatchThatIsTooLargeForOneMessage) {
    constexpr int keys = 24;
    const std::size_t size = std::size_t{1} << 20U;
    for (int n = 0; n < keys; ++n) {
        fTable->addKey(key("big" + std::to_string(n)),
                       std::string(size, static_cast<char>('a' + n)));
    }
    const auto subscription = subscribe(0.1);
    ASSERT_TRUE(fListener.waitUntil([&] { return fListener.fValues.size() == keys; }));
    EXPECT_EQ(fListener.fValues["big23"].fValue, KVValue(std::string(size, 'x')));
}

TEST_F(Subscription, BringsTheKeysInTurnIfTheyDoNotFitInOneUpdate) {
    expectTheKeysInTurn(a_all);
}

TEST_F(Subscription, OfChosenKeysBringsThemInTurnIfTheyDoNotFitInOneUpdate) {
    expectTheKeysInTurn(a_chosen);
}

TEST_F(Subscription, CountsEachChangeOnceIfUpdatesNeedSeveralParts) {
    constexpr std::size_t size = 400'000;  // three of them make an update full
    constexpr std::size_t keys = 6;
    constexpr int changes = 40;
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < keys; ++i) {
        ids.push_back(fTable->addKey(key("text" + std::to_string(i)), std::string(size, 'a')));
    }
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(fListener.waitUntil([&] { return fListener.fValues.size() == keys; }));
    for (int n = 1; n <= changes; ++n) {
        for (const std::uint32_t id : ids) {
            fTable->setValue(id, std::string(size, static_cast<char>('a' + n % 26)), n);
        }
    }
    ASSERT_TRUE(fListener.waitUntil([&] {
        return std::all_of(fListener.fValues.begin(), fListener.fValues.end(),
                           [](const auto& each) { return each.second.fTime == changes; });
    }));
    subscription->stop();
    std::set<std::pair<std::uint32_t, std::int64_t>> received;
    std::size_t count = 0;
    for (const RecordingListener::Update& update : fListener.updates()) {
        for (const KVChange& change : update.fChanges) {
            received.emplace(change.fId, change.fTime);
            ++count;
        }
    }
    EXPECT_EQ(received.size(), count) << "a change was sent twice";
    EXPECT_EQ(count + fListener.fPassedOver, keys + keys * changes);
}

TEST_F(Subscription, OfChosenKeysBringsTheLastChangesOfThoseThatWereSentFirst) {
    constexpr std::size_t size = 600'000;
    const std::uint32_t first = fTable->addKey(key("first"), std::string(size, 'a'));
    const std::uint32_t second = fTable->addKey(key("second"), std::string(size, 'a'));
    const std::uint32_t last = fTable->addKey(key("last"), 0);
    const auto subscription = subscribe(1000, a_chosen);
    subscription->setKeys({first, second, last});
    for (int round = 1; round <= 50; ++round) {
        for (const std::uint32_t id : {first, second}) {
            fTable->setValue(id, std::string(size, static_cast<char>('a' + round % 26)));
        }
        fTable->setValue(first, round);  // perhaps between the parts of an update
        ASSERT_TRUE(fListener.waitForValue("first", round));
    }
}

TEST_F(Subscription, BringsNothingInPlaceOfAValueThatCannotBeSent) {
    fTable->addKey(key("huge"), std::string(std::size_t{17} << 20U, 'x'));
    KVValue deep;
    for (int n = 0; n < 70; ++n) {
        deep = KVValue::List{deep};
    }
    fTable->addKey(key("deep"), deep);
    fTable->addKey(key("small"), 1);
    const auto subscription = subscribe(10);
    EXPECT_TRUE(fListener.waitForValue("small", 1));
    EXPECT_TRUE(fListener.waitForValue("huge", KVValue()));
    EXPECT_TRUE(fListener.waitForValue("deep", KVValue()));
}

TEST_F(Subscription, ToAModuleWithoutValuesEnds) {
    fServer->addModule(makeEcho());
    const auto subscription =
        KVSubscription::start(fConnection, "Echo", a_all, 10, fListener.callbacks());
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, InvalidArgument);
    EXPECT_EQ(fListener.fEnd->toString(), "Cannot reach the module Echo at 127.0.0.1 port " +
                                              std::to_string(fServer->getPort()) +
                                              ": the module has no values to subscribe to.");
}

TEST_F(Subscription, ToAModuleThatIsNotThereEnds) {
    const auto subscription =
        KVSubscription::start(fConnection, "Absent", a_all, 10, fListener.callbacks());
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, NoSuchModule);
}

TEST_F(Subscription, EndsWhenItsModuleIsRemoved) {
    fTable->addKey(key("a"), 1);
    const auto subscription = subscribe(10);
    ASSERT_TRUE(fListener.waitForValue("a", 1));
    fServer->removeModule("Memory");
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, NoSuchModule);
    EXPECT_EQ(fListener.fCallsAfterEnd, 0);
}

TEST_F(Subscription, EndsWhenTheServerGoes) {
    fTable->addKey(key("a"), 1);
    const auto subscription = subscribe(10);
    ASSERT_TRUE(fListener.waitForValue("a", 1));
    fServer.reset();
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, ConnectionLost);
}

TEST_F(Subscription, OnALostConnectionEnds) {
    fServer.reset();
    std::promise<void> lost;
    fConnection->setLostHandler([&](const KVError&) { lost.set_value(); });
    ASSERT_EQ(lost.get_future().wait_for(a_patience), std::future_status::ready);
    const auto subscription = subscribe(10);
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, ConnectionLost);
}

TEST_F(Subscription, IsRefusedWithARateOutOfRange) {
    for (const double rate : {0.0, -1.0, 1000.5, std::nan(""), HUGE_VAL}) {
        EXPECT_CAUSE(errorOf([&] { subscribe(rate); }), InvalidArgument);
    }
    const auto subscription = subscribe(10);
    EXPECT_CAUSE(errorOf([&] { subscription->setRate(0); }), InvalidArgument);
    EXPECT_CAUSE(
        errorOf([&] { KVSubscription::start(nullptr, "Memory", a_all, 1, fListener.callbacks()); }),
        InvalidArgument);
    EXPECT_CAUSE(
        errorOf([&] { KVSubscription::start(fConnection, "", a_all, 1, fListener.callbacks()); }),
        InvalidArgument);
}

TEST_F(Subscription, MayBeStoppedFromItsListener) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Changer changer(*fTable, a);
    std::shared_ptr<KVSubscription> subscription;
    Latch isSet;
    std::promise<void> stopped;
    fListener.fOnValues = [&] {
        isSet.enter();
        subscription->stop();
        subscription->stop();
        stopped.set_value();
    };
    subscription = subscribe(1000);
    isSet.open();
    ASSERT_EQ(stopped.get_future().wait_for(a_patience), std::future_status::ready);
    subscription->stop();
    EXPECT_EQ(fListener.countUpdates(), 1U);
    EXPECT_FALSE(fListener.fEnd);
}

TEST_F(Subscription, MayBeDestroyedFromItsListener) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Changer changer(*fTable, a);
    std::shared_ptr<KVSubscription> subscription;
    Latch isSet;
    std::promise<void> gone;
    fListener.fOnValues = [&] {
        isSet.enter();
        fConnection.reset();
        subscription.reset();
        gone.set_value();
    };
    subscription = subscribe(1000);
    isSet.open();
    ASSERT_EQ(gone.get_future().wait_for(a_patience), std::future_status::ready);
    // Only the test still waits for the listener's own call.
    EXPECT_TRUE(fListener.waitUntil([&] { return !fListener.fUpdates.empty(); }));
}

TEST_F(Subscription, KeepsARunningCallbackThatDestroysIt) {
    fTable->addKey(key("a"), 7);
    struct {
        std::shared_ptr<KVSubscription> fSubscription;
        Latch fIsSet;
        std::atomic<bool> fIsReleased{false};
        std::promise<bool> fWasReleased;
        std::promise<void> fReleased;
    } test;
    std::shared_ptr<void> captured(nullptr, [&test](void*) {
        test.fIsReleased = true;
        test.fReleased.set_value();
    });
    KVSubscription::Callbacks callbacks;
    callbacks.fValuesChanged = [&test, captured = std::move(captured)](const auto&) {
        auto& outside = test;  // not part of the callback
        outside.fIsSet.enter();
        outside.fSubscription.reset();
        outside.fWasReleased.set_value(outside.fIsReleased);
    };
    test.fSubscription = KVSubscription::start(fConnection, "Memory", a_all, 50, callbacks);
    callbacks = {};
    test.fIsSet.open();
    auto wasReleased = test.fWasReleased.get_future();
    ASSERT_EQ(wasReleased.wait_for(a_patience), std::future_status::ready);
    EXPECT_FALSE(wasReleased.get());
    EXPECT_EQ(test.fReleased.get_future().wait_for(a_patience), std::future_status::ready);
}

TEST_F(Subscription, DoesNotCallItsListenerAnyMoreAfterStop) {
    const std::uint32_t a = fTable->addKey(key("a"), 0);
    Changer changer(*fTable, a);
    for (int round = 0; round < 50; ++round) {
        auto listener = std::make_unique<RecordingListener>();
        const auto subscription =
            KVSubscription::start(fConnection, "Memory", a_all, 1000, listener->callbacks());
        if (round % 2 == 0) {
            EXPECT_TRUE(listener->waitUntil([&] { return !listener->fUpdates.empty(); }));
        }
        subscription->stop();
        listener.reset();
    }
}

TEST_F(Subscription, OfWhichThereAreTooManyEnds) {
    std::vector<std::shared_ptr<KVSubscription>> subscriptions;
    std::vector<std::unique_ptr<RecordingListener>> listeners;
    constexpr std::size_t most = 64;
    fTable->addKey(key("a"), 1);
    for (std::size_t n = 0; n < most; ++n) {
        listeners.push_back(std::make_unique<RecordingListener>());
        subscriptions.push_back(
            KVSubscription::start(fConnection, "Memory", a_all, 1, listeners.back()->callbacks()));
    }
    for (const auto& listener : listeners) {
        EXPECT_TRUE(listener->waitForValue("a", 1));
    }
    const auto subscription = subscribe(1);
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_CAUSE(*fListener.fEnd, TooMany);
    EXPECT_NE(fListener.fEnd->toString().find("too many subscriptions"), std::string::npos)
        << fListener.fEnd->toString();

    subscriptions.pop_back();
    const auto startsAgain = [&] {
        RecordingListener next;
        const auto again = KVSubscription::start(fConnection, "Memory", a_all, 1, next.callbacks());
        EXPECT_TRUE(next.waitUntil([&] { return next.fEnd || !next.fValues.empty(); }));
        return !next.fEnd;
    };
    // The robot may receive the end of the other one a little later.
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    bool started = startsAgain();
    while (!started && std::chrono::steady_clock::now() < deadline) {
        started = startsAgain();
    }
    EXPECT_TRUE(started);
}
