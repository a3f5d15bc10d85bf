#include "body/humanoid_model.h"

#include "body/led_animation.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using robot::HumanoidInputs;
using robot::HumanoidModel;
using robot::joints;
using testing::HasSubstr;

namespace {

constexpr std::uint64_t a_second = 50;  // steps

std::uint64_t minutes(std::uint64_t count) {
    return count * 60 * a_second;
}

/** A model with the names of its keys. */
class HumanoidModelTest : public testing::Test {
  protected:
    KVValue at(std::uint64_t step, const std::string& name) const {
        return fModel.evaluate(step, fInputs)[indexOf(name)];
    }

    double number(std::uint64_t step, const std::string& name) const {
        return at(step, name).toFloat();
    }

    std::size_t indexOf(const std::string& name) const {
        for (std::size_t i = 0; i < fModel.size(); ++i) {
            if (fModel.key(i).fName == name) {
                return i;
            }
        }
        throw std::out_of_range(name);
    }

    void write(std::uint64_t step, const std::string& name, const KVValue& value) {
        fModel.write(name, value, step, fInputs);
    }

    const HumanoidModel fModel{7};
    HumanoidInputs fInputs;
};

TEST_F(HumanoidModelTest, hasSome300KeysWithDifferentNames) {
    std::set<std::string> names;
    for (std::size_t i = 0; i < fModel.size(); ++i) {
        names.insert(fModel.key(i).fName);
        EXPECT_THAT(fModel.key(i).fName, HasSubstr("/"));
        EXPECT_FALSE(fModel.key(i).fDescription.empty()) << fModel.key(i).fName;
    }
    EXPECT_EQ(names.size(), fModel.size());
    EXPECT_GE(fModel.size(), 280U);
    EXPECT_LE(fModel.size(), 330U);
}

TEST_F(HumanoidModelTest, sameSeedRepeatsTheRun) {
    const HumanoidModel again(7);
    for (const std::uint64_t step :
         {std::uint64_t{0}, std::uint64_t{1}, minutes(3), minutes(600)}) {
        EXPECT_TRUE(fModel.evaluate(step, fInputs) == again.evaluate(step, fInputs));
    }
}

TEST_F(HumanoidModelTest, stepsMayBeAskedForInAnyOrder) {
    const std::vector<KVValue> early = fModel.evaluate(1234, fInputs);
    fModel.evaluate(minutes(5), fInputs);
    EXPECT_TRUE(fModel.evaluate(1234, fInputs) == early);
}

TEST_F(HumanoidModelTest, anotherSeedIsAnotherRun) {
    const std::vector<KVValue> here = fModel.evaluate(500, fInputs);
    const std::vector<KVValue> there = HumanoidModel(8).evaluate(500, fInputs);
    std::size_t different = 0;
    for (std::size_t i = 0; i < here.size(); ++i) {
        different += here[i] != there[i] ? 1U : 0U;
    }
    EXPECT_GT(different, here.size() / 2);
}

TEST_F(HumanoidModelTest, eachValueKeepsItsType) {
    const std::vector<KVValue> first = fModel.evaluate(0, fInputs);
    const std::vector<KVValue> later = fModel.evaluate(minutes(2), fInputs);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].type(), later[i].type()) << fModel.key(i).fName;
    }
}

TEST_F(HumanoidModelTest, readingsAreFiniteAndWithinWhatTheirUnitAllows) {
    const std::map<std::string, std::pair<double, double>> limits{
        {"rad", {-4, 7}},  {"rad/s", {-12, 12}}, {"°C", {10, 90}},    {"%", {0, 100}},
        {"A", {-15, 15}},  {"V", {20, 27}},      {"m/s²", {-13, 13}}, {"N", {0, 600}},
        {"dB", {-100, 0}}, {"rpm", {0, 6000}},   {"m", {-5, 10000}}};
    for (std::uint64_t step = 0; step < minutes(3); step += 7) {
        const std::vector<KVValue> values = fModel.evaluate(step, fInputs);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const robot::HumanoidKey& key = fModel.key(i);
            const auto limit = limits.find(key.fUnit);
            if (limit == limits.end()) {
                continue;
            }
            ASSERT_TRUE(values[i].toFloat() >= limit->second.first &&
                        values[i].toFloat() <= limit->second.second)
                << key.fName << " is " << values[i].toFloat() << ' ' << key.fUnit << " at step "
                << step;
        }
    }
}

TEST_F(HumanoidModelTest, everyNumberHasAUnitThatIsKnown) {
    const std::set<std::string> units{"",  "rad", "rad/s", "°C", "%", "A",   "V", "m/s²",
                                      "N", "dB",  "rpm",   "m",  "s", "RGB", "B", "B/s"};
    for (std::size_t i = 0; i < fModel.size(); ++i) {
        EXPECT_EQ(units.count(fModel.key(i).fUnit), 1U) << fModel.key(i).fName;
    }
}

TEST_F(HumanoidModelTest, jointsStayWithinTheirLimits) {
    std::vector<std::pair<robot::Joint, std::size_t>> indices;
    for (const robot::Joint& joint : joints()) {
        indices.emplace_back(joint, indexOf(jointKey(joint, "Position")));
    }
    for (std::uint64_t step = 0; step < minutes(2); step += 29) {
        const auto values = fModel.evaluate(step, fInputs);
        for (const auto& [joint, index] : indices) {
            const double angle = values[index].toFloat();
            ASSERT_GE(angle, joint.fMin) << joint.fName;
            ASSERT_LE(angle, joint.fMax) << joint.fName;
        }
    }
}

TEST_F(HumanoidModelTest, jointsMoveWithoutJumps) {
    const std::size_t knee = indexOf("Joint/LeftKneePitch/Position");
    double last = fModel.evaluate(0, fInputs)[knee].toFloat();
    double lowest = last;
    double highest = last;
    for (std::uint64_t step = 1; step < minutes(2); ++step) {
        const double angle = fModel.evaluate(step, fInputs)[knee].toFloat();
        ASSERT_LT(std::abs(angle - last), 0.08) << "at step " << step;
        lowest = std::min(lowest, angle);
        highest = std::max(highest, angle);
        last = angle;
    }
    EXPECT_GT(highest - lowest, 0.4);
}

TEST_F(HumanoidModelTest, velocityIsTheSlopeOfThePosition) {
    const std::size_t velocity = indexOf("Joint/RightHipPitch/Velocity");
    const std::size_t position = indexOf("Joint/RightHipPitch/Position");
    double way = 0;
    const double start = fModel.evaluate(0, fInputs)[position].toFloat();
    for (std::uint64_t step = 0; step < 40 * a_second; ++step) {
        way += fModel.evaluate(step, fInputs)[velocity].toFloat() * robot::stepTime(1);
    }
    const double end = fModel.evaluate(40 * a_second, fInputs)[position].toFloat();
    EXPECT_NEAR(way, end - start, 0.03);
}

TEST_F(HumanoidModelTest, batteryDischargesAndNeverRunsOver) {
    double last = 100;
    for (std::uint64_t minute = 0; minute <= 60; ++minute) {
        const double charge = number(minutes(minute), "Battery/Charge");
        EXPECT_FALSE(at(minutes(minute), "Battery/Charging").toBool());
        EXPECT_LT(charge, last);
        last = charge;
    }
    EXPECT_LT(last, 50);
    for (std::uint64_t minute = 0; minute < 600; ++minute) {
        const double charge = number(minutes(minute), "Battery/Charge");
        ASSERT_GE(charge, 0);
        ASSERT_LE(charge, 100);
    }
}

TEST_F(HumanoidModelTest, temperaturesChangeSlowly) {
    double last = number(0, "Joint/LeftKneePitch/Temperature");
    for (std::uint64_t second = 1; second < 600; ++second) {
        const double now = number(second * a_second, "Joint/LeftKneePitch/Temperature");
        ASSERT_LE(std::abs(now - last), 0.4);
        last = now;
    }
}

TEST_F(HumanoidModelTest, noiseMovesEvenARobotThatStandsStill) {
    std::set<double> readings;
    for (std::uint64_t step = 0; step < a_second; ++step) {
        readings.insert(number(step, "Inertial/Accelerometer/Z"));
    }
    EXPECT_GT(readings.size(), 5U);
}

TEST_F(HumanoidModelTest, feetCarryTheWholeWeight) {
    for (std::uint64_t step = 0; step < minutes(2); step += 50) {
        const double sum =
            number(step, "Foot/Left/Force/Total") + number(step, "Foot/Right/Force/Total");
        EXPECT_NEAR(sum, number(step, "Robot/Weight"), 5);
    }
}

TEST_F(HumanoidModelTest, stiffnessIsSetAndTheMotorCoolsSlowly) {
    const std::uint64_t step = minutes(5);
    const double warm = number(step, "Joint/LeftKneePitch/Temperature");
    write(step, "Joint/LeftKneePitch/Stiffness", 0.0);
    EXPECT_EQ(number(step, "Joint/LeftKneePitch/Stiffness"), 0);
    EXPECT_NEAR(number(step + a_second, "Joint/LeftKneePitch/Temperature"), warm, 0.5);
    EXPECT_LT(number(step + minutes(10), "Joint/LeftKneePitch/Temperature"), warm - 10);
    EXPECT_NEAR(number(step + a_second, "Joint/LeftKneePitch/Current"), 0, 0.03);
}

TEST_F(HumanoidModelTest, headFollowsItsTargetWithInertiaAndHoldsIt) {
    const double before = number(1000, "Joint/HeadYaw/Position");
    write(1000, "Joint/HeadYaw/Target", 1.25);
    EXPECT_EQ(number(1000, "Joint/HeadYaw/Target"), 1.25);
    EXPECT_NEAR(number(1001, "Joint/HeadYaw/Position"), before, 0.1);
    EXPECT_NEAR(number(1000 + 2 * a_second, "Joint/HeadYaw/Position"), 1.25, 0.01);
    EXPECT_NEAR(number(minutes(10), "Joint/HeadYaw/Position"), 1.25, 0.01);
    EXPECT_FALSE(at(1000, "Motion/HeadIdle").toBool());
}

TEST_F(HumanoidModelTest, turningTheHeadLeavesItsOtherJointWhereItWas) {
    const double pitch = number(1000, "Joint/HeadPitch/Target");
    write(1000, "Joint/HeadYaw/Target", -0.5);
    EXPECT_NEAR(number(minutes(3), "Joint/HeadPitch/Position"), pitch, 0.01);
}

TEST_F(HumanoidModelTest, headLooksAroundAgainWhenToldTo) {
    const HumanoidInputs untouched;
    write(1000, "Joint/HeadYaw/Target", 1.25);
    write(2000, "Motion/HeadIdle", true);
    const std::size_t yaw = indexOf("Joint/HeadYaw/Position");
    EXPECT_NEAR(fModel.evaluate(3000, fInputs)[yaw].toFloat(),
                fModel.evaluate(3000, untouched)[yaw].toFloat(), 0.01);
}

TEST_F(HumanoidModelTest, settingsAreKept) {
    write(10, "Audio/Volume", 35);
    write(10, "Robot/Note", "leave it alone");
    EXPECT_EQ(at(11, "Audio/Volume"), KVValue(35));
    EXPECT_EQ(at(11, "Robot/Note"), KVValue("leave it alone"));
}

TEST_F(HumanoidModelTest, aKeyThatIsNotWritableIsRefused) {
    const std::vector<KVValue> before = fModel.evaluate(0, fInputs);
    EXPECT_THROW(write(0, "Battery/Charge", 100.0), KVError);
    EXPECT_TRUE(fModel.evaluate(0, fInputs) == before);
}

TEST_F(HumanoidModelTest, everyWritableKeyTakesItsOwnValueBack) {
    const std::vector<KVValue> values = fModel.evaluate(100, fInputs);
    std::size_t writable = 0;
    for (std::size_t i = 0; i < fModel.size(); ++i) {
        if (fModel.key(i).fWritable) {
            ++writable;
            EXPECT_NO_THROW(write(100, fModel.key(i).fName, values[i])) << fModel.key(i).fName;
        }
    }
    EXPECT_EQ(writable, robot::a_jointCount + 2 + 3);
}

TEST_F(HumanoidModelTest, animationChangesTheLedsAndLeavesThemAsBefore) {
    const std::vector<KVValue> before = fModel.evaluate(100, fInputs);
    fModel.startLeds(1, 100, fInputs);
    std::set<std::string> moved;
    for (std::uint64_t step = 100; step < 150; ++step) {
        const std::vector<KVValue> now = fModel.evaluate(step, fInputs);
        for (std::size_t i = 0; i < now.size(); ++i) {
            const std::string& name = fModel.key(i).fName;
            if (name.rfind("Leds/", 0) == 0 && now[i] != before[i]) {
                moved.insert(name);
            }
        }
    }
    EXPECT_EQ(moved.size(), 2U * robot::a_faceSegments + 2 * robot::a_earSegments + 3);
    const std::vector<KVValue> after = fModel.evaluate(150, fInputs);
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (fModel.key(i).fName.rfind("Leds/", 0) == 0) {
            EXPECT_EQ(after[i], before[i]) << fModel.key(i).fName;
        }
    }
}

TEST_F(HumanoidModelTest, animationRunsInRedYellowAndGreen) {
    std::set<std::int64_t> colours;
    for (int frame = 0; frame < 20; ++frame) {
        colours.insert(robot::rastaColour(0.05 * frame, 0));
    }
    EXPECT_EQ(colours, (std::set<std::int64_t>{0xff0000, 0xffd000, 0x00a030}));
}

TEST_F(HumanoidModelTest, animationsOfNoOrEndlessDurationAreRefused) {
    for (const double duration : {0.0, -1.0, 60.5, std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(fModel.startLeds(duration, 0, fInputs), KVError) << duration;
    }
}

}  // namespace
