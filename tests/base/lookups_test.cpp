#include <base/lookups.h>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>

namespace base {
namespace {

using std::chrono::steady_clock;

/** A gate at which questions wait. */
class Gate {
  public:
    void open() {
        const std::lock_guard lock(fMutex);
        fIsOpen = true;
        fChanged.notify_all();
    }

    void pass() {
        std::unique_lock lock(fMutex);
        ++fArrived;
        fChanged.notify_all();
        fChanged.wait(lock, [this] { return fIsOpen; });
    }

    bool hasArrived(int number) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, std::chrono::minutes(1), [&] { return fArrived >= number; });
    }

    int arrived() {
        const std::lock_guard lock(fMutex);
        return fArrived;
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    int fArrived = 0;
    bool fIsOpen = false;
};

/** Waits until no thread holds the gate. */
bool isOnlyHeldHere(const std::shared_ptr<Gate>& gate) {
    const auto end = steady_clock::now() + std::chrono::minutes(1);
    while (gate.use_count() > 1 && steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return gate.use_count() == 1;
}

TEST(Lookups, PassOnEachAnswer) {
    std::set<int> answers;
    std::promise<void> all;
    Lookups lookups(3, std::chrono::minutes(1));
    for (int number = 0; number < 20; ++number) {
        lookups.start([&, number]() -> Lookups::Answer {
            return [&, number] {
                answers.insert(number);  // one answer at a time
                if (answers.size() == 20) {
                    all.set_value();
                }
            };
        });
    }
    EXPECT_EQ(all.get_future().wait_for(std::chrono::minutes(1)), std::future_status::ready);
}

TEST(Lookups, AskSoManyQuestionsAtATime) {
    const auto gate = std::make_shared<Gate>();
    Lookups lookups(2, std::chrono::minutes(1));
    for (int number = 0; number < 5; ++number) {
        lookups.start([gate]() -> Lookups::Answer {
            gate->pass();
            return [] {};
        });
    }
    EXPECT_TRUE(gate->hasArrived(2));
    EXPECT_EQ(gate->arrived(), 2);
    gate->open();
    EXPECT_TRUE(gate->hasArrived(5));
}

TEST(Lookups, AreLeftBehindWithoutTheirAnswer) {
    const auto gate = std::make_shared<Gate>();
    const auto asked = std::make_shared<std::atomic<int>>(0);
    const auto answered = std::make_shared<std::atomic<int>>(0);
    {
        Lookups lookups(1);
        for (int number = 0; number < 3; ++number) {
            lookups.start([gate, asked, answered]() -> Lookups::Answer {
                ++*asked;
                gate->pass();
                return [answered] { ++*answered; };
            });
        }
        EXPECT_TRUE(gate->hasArrived(1));
    }
    gate->open();
    EXPECT_TRUE(isOnlyHeldHere(gate)) << "the thread releases its question when it ends";
    EXPECT_EQ(*asked, 1);
    EXPECT_EQ(*answered, 0);
}

TEST(AnswerInTime, IsTheResultOrNothing) {
    const auto later = steady_clock::now() + std::chrono::minutes(1);
    EXPECT_EQ(answerInTime(later, [] { return 7; }), 7);
    const auto gate = std::make_shared<Gate>();
    const auto waits = [gate] {
        gate->pass();
        return 7;
    };
    EXPECT_EQ(answerInTime(steady_clock::now() + std::chrono::milliseconds(20), waits),
              std::nullopt);
    gate->open();
}

TEST(AnswerInTime, PassesAFailureOn) {
    const auto later = steady_clock::now() + std::chrono::minutes(1);
    EXPECT_THROW(answerInTime(later, []() -> int { throw std::runtime_error("no"); }),
                 std::runtime_error);
}

/** An object whose end waits at a gate. */
class SlowlyReleased {
  public:
    explicit SlowlyReleased(std::shared_ptr<Gate> gate) : fGate(std::move(gate)) {}
    ~SlowlyReleased() { fGate->pass(); }
    SlowlyReleased(const SlowlyReleased&) = delete;
    SlowlyReleased& operator=(const SlowlyReleased&) = delete;

  private:
    std::shared_ptr<Gate> fGate;
};

TEST(ReleaseInTime, LeavesBehindAnObjectWhoseEndHangs) {
    const auto gate = std::make_shared<Gate>();
    releaseInTime(std::make_unique<SlowlyReleased>(gate));
    EXPECT_TRUE(gate->hasArrived(1));
    EXPECT_EQ(gate.use_count(), 2) << "it has been released";
    gate->open();
    EXPECT_TRUE(isOnlyHeldHere(gate));
}

}  // namespace
}  // namespace base
