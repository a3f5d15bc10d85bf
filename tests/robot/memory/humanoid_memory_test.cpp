#include "memory/humanoid_memory.h"

#include <robaxi/kv_error.h>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

using robot::HumanoidInputs;
using robot::HumanoidMemory;
using robot::HumanoidModel;

namespace {

class HumanoidMemoryTest : public testing::Test {
  protected:
    KVValue value(const std::string& name) const { return fTable->getValue(name).fValue; }

    boost::shared_ptr<KVValueTable> fTable = boost::make_shared<KVValueTable>();
    HumanoidMemory fMemory{7, fTable};
};

TEST_F(HumanoidMemoryTest, tableShowsTheModelAtItsStep) {
    const HumanoidModel model(7);
    fMemory.update(4321);
    const std::vector<KVValue> expected = model.evaluate(4321, HumanoidInputs());
    for (std::size_t i = 0; i < model.size(); ++i) {
        EXPECT_EQ(value(model.key(i).fName), expected[i]) << model.key(i).fName;
    }
    EXPECT_EQ(fTable->getKeys().size(), model.size());
}

TEST_F(HumanoidMemoryTest, aWriteIsSeenAtOnceAndAfterTheNextSteps) {
    fTable->write("Audio/Volume", 12);
    EXPECT_EQ(value("Audio/Volume"), KVValue(12));
    fMemory.update(1);
    EXPECT_EQ(value("Audio/Volume"), KVValue(12));
    fTable->write("Joint/HeadYaw/Target", 1);
    fMemory.update(200);
    EXPECT_NEAR(value("Joint/HeadYaw/Position").toFloat(), 1, 0.01);
}

TEST_F(HumanoidMemoryTest, aRefusedWriteChangesNothing) {
    EXPECT_THROW(fTable->write("Audio/Volume", 101), KVError);
    EXPECT_THROW(fTable->write("Battery/Charge", 100.0), KVError);
    EXPECT_EQ(value("Audio/Volume"), KVValue(60));
}

TEST_F(HumanoidMemoryTest, theAnimationIsSeenAtOnceAndEnds) {
    const KVValue calm = value("Leds/Face/Left/0");
    fMemory.startLeds(1);
    EXPECT_NE(value("Leds/Face/Left/0"), calm);
    fMemory.update(49);
    EXPECT_NE(value("Leds/Face/Left/0"), calm);
    fMemory.update(50);
    EXPECT_EQ(value("Leds/Face/Left/0"), calm);
}

TEST_F(HumanoidMemoryTest, aNewAnimationTakesThePlaceOfTheRunningOne) {
    const KVValue calm = value("Leds/Chest");
    fMemory.startLeds(60);
    fMemory.update(10);
    fMemory.startLeds(1);
    fMemory.update(60);
    EXPECT_EQ(value("Leds/Chest"), calm);
}

}  // namespace
