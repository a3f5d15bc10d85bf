#include "memory/load_memory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <set>

using robot::LoadMemory;

namespace {

class LoadMemoryTest : public testing::Test {
  protected:
    std::map<std::string, KVValue> values() const {
        std::map<std::string, KVValue> found;
        for (const KVKeyInfo& key : fTable->getKeys()) {
            found[key.fName] = fTable->getValue(key.fName).fValue;
        }
        return found;
    }

    /** Returns the keys whose values an update changes. */
    std::set<std::string> changedBy(LoadMemory& memory, std::uint64_t step) const {
        const auto before = values();
        memory.update(step);
        std::set<std::string> names;
        for (const auto& [name, value] : values()) {
            if (value != before.at(name)) {
                names.insert(name);
            }
        }
        return names;
    }

    std::shared_ptr<KVMemoryModule> fModule = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVValueTable> fTable = fModule->getValues();
};

TEST_F(LoadMemoryTest, hasAsManyKeysAsAskedForOfSeveralTypesAndUnits) {
    const LoadMemory memory({10'000, 1'000, 50}, fModule);
    EXPECT_EQ(memory.period(), std::chrono::milliseconds(20));
    std::set<KVValue::Type> types;
    std::set<std::string> units;
    for (const KVKeyInfo& key : fTable->getKeys()) {
        types.insert(key.fType);
        units.insert(key.fUnit);
    }
    EXPECT_EQ(fTable->getKeys().size(), 10'000U);
    EXPECT_EQ(types.size(), 5U);
    EXPECT_GT(units.size(), 6U);
    EXPECT_EQ(fTable->getKeys().front().fName, "Load/Unit000/Drive0/Changed");
    EXPECT_EQ(fTable->getKeys().back().fName, "Load/Unit099/Drive9/Pose");
}

TEST_F(LoadMemoryTest, exactlyTheChangingKeysChangeAtEveryStep) {
    LoadMemory memory({200, 40, 50}, fModule);
    const std::set<std::string> changing = changedBy(memory, 1);
    EXPECT_EQ(changing.size(), 40U);
    EXPECT_EQ(changing.count("Load/Unit000/Drive0/Position"), 1U);
    for (std::uint64_t step = 2; step < 500; ++step) {
        ASSERT_EQ(changedBy(memory, step), changing) << step;
    }
}

TEST_F(LoadMemoryTest, numbersThatDoNotMakeWholeDrivesAreKeptToo) {
    LoadMemory memory({25, 24, 50}, fModule);
    EXPECT_EQ(fTable->getKeys().size(), 25U);
    EXPECT_EQ(changedBy(memory, 1).size(), 24U);
}

TEST_F(LoadMemoryTest, changingDrivesAreSpreadOverTheTable) {
    LoadMemory memory({1'000, 100, 50}, fModule);
    std::set<std::string> units;
    for (const std::string& name : changedBy(memory, 1)) {
        units.insert(name.substr(0, std::string("Load/Unit000").size()));
    }
    EXPECT_EQ(units.size(), 10U);
}

TEST_F(LoadMemoryTest, aDriveSaysWhenItChangedAndAtWhichStep) {
    LoadMemory memory({10, 10, 50}, fModule);
    memory.update(7);
    const KVChange changed = fTable->getValue("Load/Unit000/Drive0/Changed");
    const KVChange position = fTable->getValue("Load/Unit000/Drive0/Position");
    EXPECT_EQ(changed.fValue, KVValue(changed.fTime));
    EXPECT_EQ(position.fTime, changed.fTime);
    EXPECT_EQ(fTable->getValue("Load/Unit000/Drive0/Steps").fValue, KVValue(7));
}

TEST_F(LoadMemoryTest, aRateBetweenWholeMillisecondsIsKept) {
    EXPECT_EQ(LoadMemory({1, 1, 60}, fModule).period(), std::chrono::microseconds(16'667));
}

}  // namespace
