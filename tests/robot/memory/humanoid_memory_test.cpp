#include "memory/humanoid_memory.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

using robot::HumanoidInputs;
using robot::HumanoidMemory;
using robot::HumanoidModel;
using testing::HasSubstr;

namespace {

class HumanoidMemoryTest : public testing::Test {
  protected:
    KVValue value(const std::string& name) const { return fTable->getValue(name).fValue; }

    std::string refusal(const std::string& name, const KVValue& value) const {
        try {
            fModule->invoke("setData", {name, value});
        } catch (const KVError& error) {
            return error.toString();
        }
        return "it was accepted";
    }

    std::shared_ptr<KVMemoryModule> fModule = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVValueTable> fTable = fModule->getValues();
    std::shared_ptr<KVMemoryModule> fOther = std::make_shared<KVMemoryModule>();
    HumanoidMemory fMemory{7, fModule};
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

TEST_F(HumanoidMemoryTest, refusalsSayWhy) {
    EXPECT_EQ(refusal("Joint/HeadYaw/Target", 2.5),
              "Joint/HeadYaw/Target was not changed: it accepts -2 to 2 rad, not 2.5.");
    EXPECT_THAT(refusal("Joint/LeftHand/Stiffness", -0.1),
                HasSubstr("it accepts 0 to 1, not -0.1"));
    EXPECT_THAT(refusal("Joint/LeftHand/Stiffness", std::numeric_limits<double>::quiet_NaN()),
                HasSubstr("it accepts 0 to 1, not "));
    EXPECT_THAT(refusal("Audio/Volume", 101), HasSubstr("it accepts 0 to 100 %, not 101"));
    EXPECT_THAT(refusal("Robot/Note", std::string(257, 'x')),
                HasSubstr("at most 256 bytes, not 257"));
    EXPECT_THAT(refusal("Battery/Charge", 100.0), HasSubstr("Battery/Charge is only for reading"));
}

TEST_F(HumanoidMemoryTest, itsKeysLeaveWithIt) {
    {
        const HumanoidMemory other(7, fOther);
        EXPECT_FALSE(fOther->getValues()->getKeys().empty());
    }
    EXPECT_TRUE(fOther->getValues()->getKeys().empty());
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
