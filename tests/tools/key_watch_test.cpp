#include "values/key_watch.h"

#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class KeyWatchTest : public ::testing::Test {
  protected:
    static KVKeyInfo key(std::uint32_t id, const std::string& name, const std::string& unit = {}) {
        KVKeyInfo info;
        info.fId = id;
        info.fName = name;
        info.fUnit = unit;
        return info;
    }

    static KVChange change(std::uint32_t id, const KVValue& value) { return {id, value, 1}; }

    Interruption fInterruption;
    Bell fBell{fInterruption};
    std::vector<std::string> fSeen;
    KeyWatch fWatch{
        {"Head/*", "Charge"},
        [this](const std::vector<ChangeRow>& rows) {
            for (const ChangeRow& row : rows) {
                fSeen.push_back(row.fKey + '=' + std::to_string(row.fValue.toInt()) + row.fUnit);
            }
        },
        fBell};
};

TEST_F(KeyWatchTest, AsksForTheKeysThatMatch) {
    EXPECT_EQ(std::nullopt, fWatch.takeNewSelection());
    fWatch.keysAdded({key(1, "Head/Yaw"), key(2, "Arm"), key(3, "Charge")});
    EXPECT_THAT(fWatch.takeNewSelection(), Optional(ElementsAre(1, 3)));
    EXPECT_EQ(std::nullopt, fWatch.takeNewSelection()) << "only when it has changed";
}

TEST_F(KeyWatchTest, NamesItsKeysInTheOrderOfThePatterns) {
    EXPECT_EQ(std::nullopt, fWatch.takeNewNames());
    fWatch.keysAdded({key(1, "Charge"), key(2, "Head/Yaw"), key(3, "Arm"), key(4, "Head/Pitch")});
    EXPECT_THAT(fWatch.takeNewNames(), Optional(ElementsAre("Head/Pitch", "Head/Yaw", "Charge")));
    EXPECT_EQ(std::nullopt, fWatch.takeNewNames()) << "only when they have changed";
    fWatch.keysRemoved({3});
    EXPECT_EQ(std::nullopt, fWatch.takeNewNames()) << "another key";
    fWatch.keysRemoved({2});
    EXPECT_THAT(fWatch.takeNewNames(), Optional(ElementsAre("Head/Pitch", "Charge")));
}

TEST_F(KeyWatchTest, AsksAgainWhenAKeyComesLater) {
    fWatch.keysAdded({key(1, "Head/Yaw")});
    fWatch.takeNewSelection();
    fWatch.keysAdded({key(4, "Leg")});
    EXPECT_EQ(std::nullopt, fWatch.takeNewSelection());
    fWatch.keysAdded({key(5, "Head/Pitch")});
    EXPECT_THAT(fWatch.takeNewSelection(), Optional(ElementsAre(1, 5)));
}

TEST_F(KeyWatchTest, GivesTheRowsTheirNamesAndUnits) {
    fWatch.keysAdded({key(1, "Head/Yaw", "rad"), key(3, "Charge", "%")});
    fWatch.valuesChanged({change(1, 10), change(2, 20), change(3, 30)});
    EXPECT_THAT(fSeen, ElementsAre("Head/Yaw=10rad", "Charge=30%"));
}

TEST_F(KeyWatchTest, ForgetsKeysThatAreRemoved) {
    fWatch.keysAdded({key(1, "Head/Yaw")});
    fWatch.keysRemoved({1});
    fWatch.valuesChanged({change(1, 10)});
    EXPECT_THAT(fSeen, IsEmpty());
    EXPECT_FALSE(fWatch.hasKeys());
}

TEST_F(KeyWatchTest, KnowsThePatternsThatNothingMatched) {
    EXPECT_THAT(fWatch.unmatched(), ElementsAre("Charge", "Head/*"));
    fWatch.keysAdded({key(1, "Head/Yaw")});
    EXPECT_THAT(fWatch.unmatched(), ElementsAre("Charge"));
}

TEST_F(KeyWatchTest, EndsWithTheReasonOfTheRobot) {
    EXPECT_FALSE(fWatch.isOver());
    EXPECT_NO_THROW(fWatch.rethrow());
    fWatch.ended(KVError(KVError::Cause::ConnectionLost, "lost"));
    EXPECT_TRUE(fWatch.isOver());
    EXPECT_THROW(fWatch.rethrow(), KVError);
}

TEST_F(KeyWatchTest, EndsWhenTheRowsCannotBeWritten) {
    KeyWatch watch(
        {"*"}, [](const std::vector<ChangeRow>&) { throw ReaderGone(); }, fBell);
    watch.keysAdded({key(1, "a")});
    watch.valuesChanged({change(1, 1)});
    EXPECT_TRUE(watch.isOver());
    watch.ended(KVError(KVError::Cause::ConnectionLost, "lost"));
    EXPECT_THROW(watch.rethrow(), ReaderGone) << "the first reason counts";
}

}  // namespace
}  // namespace robaxi_tool
