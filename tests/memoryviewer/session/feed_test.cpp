#include "session/memory_feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

using memoryviewer::MemoryBatch;
using memoryviewer::MemoryFeed;
using memoryviewer::MergedChange;
using obvista::Notice;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

KVKeyInfo key(std::uint32_t id, const std::string& name) {
    KVKeyInfo info;
    info.fId = id;
    info.fName = name;
    return info;
}

KVChange change(std::uint32_t id, int value) {
    return {id, KVValue(value), value};
}

TEST(MemoryFeed, GivesOneNoticeForAllThatComesUntilItIsTaken) {
    Notice notice;
    MemoryFeed feed(notice);
    int notices = 0;
    notice.set([&] { ++notices; });
    EXPECT_EQ(notices, 0);
    feed.keysAdded({key(1, "A")});
    feed.valuesChanged({change(1, 1)});
    feed.keysRemoved({7});
    EXPECT_EQ(notices, 1);
    notice.clear();
    feed.valuesChanged({change(1, 1)});
    EXPECT_EQ(notices, 1);
    feed.take();
    feed.valuesChanged({change(1, 2)});
    feed.valuesChanged({change(1, 3)});
    EXPECT_EQ(notices, 2);
}

TEST(MemoryFeed, KeepsTheNewestValueOfAKeyAndCountsAll) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.valuesChanged({change(1, 10), change(1, 11)});
    feed.valuesChanged({change(1, 12)});
    const MemoryBatch batch = feed.take();
    ASSERT_EQ(batch.fChanged.size(), 1U);
    EXPECT_EQ(batch.fChanged[0].fNewest.fValue, KVValue(12));
    EXPECT_EQ(batch.fChanged[0].fTimes.count(), 3);
    EXPECT_EQ(batch.fUpdates, 3U);
    EXPECT_THAT(feed.take().fChanged, IsEmpty());
}

TEST(MemoryFeed, CountsAChangeOnceThatComesTwice) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.valuesChanged({change(1, 10)});
    feed.valuesChanged({change(1, 10)});
    EXPECT_EQ(feed.take().fChanged[0].fTimes.count(), 1);
}

TEST(MemoryFeed, ForgetsAKeyThatCameAndWent) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.keysAdded({key(1, "A"), key(2, "B")});
    feed.valuesChanged({change(1, 1), change(2, 2)});
    feed.keysRemoved({1});
    const MemoryBatch batch = feed.take();
    ASSERT_EQ(batch.fAdded.size(), 1U);
    EXPECT_EQ(batch.fAdded[0].fId, 2U);
    ASSERT_EQ(batch.fChanged.size(), 1U);
    EXPECT_EQ(batch.fChanged[0].fNewest.fId, 2U);
    EXPECT_THAT(batch.fRemoved, IsEmpty());
}

TEST(MemoryFeed, TellsTheRemovalOfAKeyThatWasTaken) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.keysAdded({key(1, "A")});
    feed.take();
    feed.valuesChanged({change(1, 1)});
    feed.keysRemoved({1});
    const MemoryBatch batch = feed.take();
    EXPECT_THAT(batch.fRemoved, ElementsAre(1U));
    EXPECT_THAT(batch.fChanged, IsEmpty());
}

TEST(MemoryFeed, KeepsTheIdentifiersOfARobotThatReturnsWithOthers) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.keysAdded({key(1, "A"), key(2, "B"), key(3, "C")});
    feed.take();
    feed.restart({{"A", 1}, {"B", 2}, {"C", 3}});
    EXPECT_THAT(feed.robotsIdentifiers({1, 2, 3}), IsEmpty());
    feed.valuesChanged({change(1, 5)});
    EXPECT_THAT(feed.take().fChanged, IsEmpty()) << "not announced again";

    feed.keepEveryChangeOf({2});
    feed.keysAdded({key(1, "New"), key(3, "B"), key(2, "A")});
    feed.valuesChanged({change(3, 7)});
    const MemoryBatch batch = feed.take();
    ASSERT_EQ(batch.fAdded.size(), 3U);
    ASSERT_EQ(batch.fChanged.size(), 1U);
    EXPECT_EQ(batch.fChanged[0].fNewest.fId, 2U);
    ASSERT_EQ(batch.fEveryChange.size(), 1U);
    EXPECT_EQ(batch.fEveryChange[0].fId, 2U);
    EXPECT_THAT(feed.robotsIdentifiers({1, 2, 3, 4}), ElementsAre(2U, 3U, 1U));
    EXPECT_THAT(feed.takeMissing(), ElementsAre(3U));
    EXPECT_THAT(feed.takeMissing(), IsEmpty());

    feed.keysRemoved({3});
    EXPECT_THAT(feed.take().fRemoved, ElementsAre(2U));
}

TEST(MemoryFeed, TellsAnEmptyTableFromNone) {
    Notice notice;
    MemoryFeed feed(notice);
    EXPECT_FALSE(feed.take().fHasTable);
    feed.keysAdded({});
    EXPECT_TRUE(feed.take().fHasTable);
}

TEST(MemoryFeed, TellsARefusalAndLeavesALossToTheLink) {
    Notice notice;
    MemoryFeed feed(notice);
    feed.ended(KVError(KVError::Cause::NoSuchModule, "no module KVMemory"));
    const std::optional<KVError> refusal = feed.take().fRefusal;
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->cause(), KVError::Cause::NoSuchModule);
    EXPECT_EQ(refusal->toString(), "no module KVMemory");

    feed.ended(KVError(KVError::Cause::ConnectionLost, "gone"));
    EXPECT_FALSE(feed.take().fRefusal);
}

TEST(MemoryFeed, LosesNothingBetweenThreads) {
    constexpr int changes = 20000;
    constexpr std::uint32_t keys = 16;
    Notice notice;
    MemoryFeed feed(notice);
    std::mutex mutex;
    std::condition_variable condition;
    bool hasNotice = false;
    notice.set([&] {
        const std::lock_guard<std::mutex> lock(mutex);
        hasNotice = true;
        condition.notify_one();
    });

    std::thread robot([&] {
        for (int i = 1; i <= changes; ++i) {
            feed.valuesChanged({change(static_cast<std::uint32_t>(i) % keys, i)});
        }
        feed.ended(KVError(KVError::Cause::Cancelled, "over"));
    });
    std::vector<std::int64_t> newest(keys, 0);
    std::size_t updates = 0;
    bool goesBack = false;
    for (bool isOver = false; !isOver;) {
        {
            std::unique_lock<std::mutex> lock(mutex);
            condition.wait(lock, [&] { return hasNotice; });
            hasNotice = false;
        }
        notice.clear();
        const MemoryBatch batch = feed.take();
        updates += batch.fUpdates;
        isOver = batch.fRefusal.has_value();
        for (const MergedChange& one : batch.fChanged) {
            const auto value = one.fNewest.fValue.toInt();
            goesBack = goesBack || value <= newest[one.fNewest.fId];
            newest[one.fNewest.fId] = value;
        }
    }
    robot.join();
    EXPECT_FALSE(goesBack);
    EXPECT_EQ(updates, static_cast<std::size_t>(changes));
    EXPECT_EQ(*std::max_element(newest.begin(), newest.end()), changes);
    EXPECT_EQ(*std::min_element(newest.begin(), newest.end()),
              changes - static_cast<int>(keys) + 1);
}

}  // namespace
