#include "body/humanoid_channels.h"

#include "body/led_animation.h"
#include "rounded.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace robot {

namespace {

constexpr double a_turn = 2 * 3.14159265358979323846;
constexpr double a_gravity = 9.81;     // m/s²
constexpr double a_weight = 540;       // N
constexpr double a_longestNote = 256;  // bytes

// Periods of the sensors, in steps of 20 ms.
constexpr std::uint64_t a_always = 1;
constexpr std::uint64_t a_tenTimesASecond = 5;
constexpr std::uint64_t a_eachSecond = 50;

// Channels of the noise that determine the run's constants, besides those of the body.
constexpr std::uint32_t a_cyclesDraw = 2000000;
constexpr std::uint32_t a_colourDraw = 3000000;

constexpr std::array<const char*, 2> a_sides{"Left", "Right"};

/** A wave between -1 and 1 with a period in seconds. */
double wave(const Instant& now, double period, double shift = 0) {
    return std::sin(a_turn * (now.fTime / period + shift));
}

bool animates(const Instant& now) {
    return now.fTime >= now.fInputs.fLedsSince && now.fTime < now.fInputs.fLedsUntil;
}

}  // namespace

HumanoidChannels::HumanoidChannels(std::uint64_t seed)
    : fNoise(seed), fBody(std::make_shared<HumanoidBody>(seed)), fSeed(seed) {
}

std::vector<HumanoidChannel> HumanoidChannels::make() {
    fChannels.clear();
    xAddIdentity();
    xAddMotion();
    xAddJoints();
    xAddBattery();
    xAddInertial();
    xAddFeet();
    xAddContacts();
    xAddSonar();
    xAddLeds();
    xAddAudio();
    xAddFans();
    xAddSystem();
    return std::move(fChannels);
}

void HumanoidChannels::xAdd(const HumanoidKey& key, std::uint64_t every, Evaluate evaluate) {
    fChannels.push_back({key, every, std::move(evaluate)});
}

void HumanoidChannels::xAdd(const std::string& name, const std::string& unit,
                            const std::string& description, std::uint64_t every,
                            Evaluate evaluate) {
    xAdd({name, unit, description}, every, std::move(evaluate));
}

void HumanoidChannels::xAddMeasured(const std::string& name, const std::string& unit,
                                    const std::string& description, std::uint64_t every,
                                    double noise, double resolution,
                                    std::function<double(const Instant&)> value) {
    const auto channel = static_cast<std::uint32_t>(fChannels.size());
    xAdd(name, unit, description, every,
         [noise, resolution, channel, random = fNoise,
          value = std::move(value)](const Instant& now) {
             return rounded(value(now) + noise * random.bell(channel, now.fStep), resolution);
         });
}

void HumanoidChannels::xAddJointFigure(std::size_t joint, const char* figure, const char* unit,
                                       const char* description, std::uint64_t every, double noise,
                                       double resolution, JointFigure value) {
    xAddMeasured(jointKey(joints()[joint], figure), unit, description, every, noise, resolution,
                 [joint, value, body = fBody](const Instant& now) {
                     return (*body.*value)(joint, now.fTime, now.fInputs);
                 });
}

void HumanoidChannels::xAddContact(const std::string& name, const std::string& description,
                                   double likelihood) {
    const auto channel = static_cast<std::uint32_t>(fChannels.size());
    // A touch lasts at least half a second.
    xAdd(name, "", description, a_eachSecond / 2,
         [likelihood, channel, random = fNoise](const Instant& now) {
             return random.uniform(channel, now.fStep) < likelihood;
         });
}

void HumanoidChannels::xAddIdentity() {
    const auto constant = [](const KVValue& value) {
        return [value](const Instant&) { return value; };
    };
    xAdd("Robot/Model", "", "Kind of robot", a_always, constant("Simulated humanoid"));
    xAdd("Robot/Joints", "", "Number of joints", a_always,
         constant(static_cast<int>(a_jointCount)));
    xAdd("Robot/Weight", "N", "Weight of the body", a_always, constant(a_weight));
    xAdd({"Robot/Note", "", "A free text for whoever works with the robot", true,
          KVRange{0, a_longestNote}},
         a_always, [](const Instant& now) { return KVValue(now.fInputs.fNote); });
    xAdd("Simulation/Seed", "", "Seed of the run", a_always, constant(std::to_string(fSeed)));
    xAdd("Simulation/Step", "", "Steps since the start of the run", a_always,
         [](const Instant& now) { return KVValue(static_cast<std::int64_t>(now.fStep)); });
    xAdd("Simulation/Time", "s", "Time since the start of the run", a_always,
         [](const Instant& now) { return KVValue(rounded(now.fTime, 100)); });
}

void HumanoidChannels::xAddMotion() {
    const auto body = fBody;
    xAdd("Motion/Activity", "", "Current activity", a_always,
         [body](const Instant& now) { return KVValue(body->activity().name(now.fTime)); });
    xAdd({"Motion/HeadIdle", "", "True if the head looks around by itself", true}, a_always,
         [](const Instant& now) { return KVValue(now.fInputs.fHeadIdle); });
    xAdd("Motion/StepCount", "", "Steps walked since the start of the run", a_always,
         [body](const Instant& now) {
             return KVValue(static_cast<std::int64_t>(2 * body->gaitPhase(now.fTime) / a_turn));
         });
    xAdd("Motion/GaitPhase", "rad", "Phase of the gait cycle, 0 to one turn", a_always,
         [body](const Instant& now) {
             return KVValue(rounded(std::fmod(body->gaitPhase(now.fTime), a_turn), 1000));
         });
    xAdd("Motion/WalkEffort", "%", "Share of full walking", a_always, [body](const Instant& now) {
        return KVValue(rounded(100 * body->activity().walking(now.fTime), 10));
    });
    // It walks in a circle that passes through the start, to its left.
    const double radius = 1.5;
    xAddMeasured(
        "Motion/Odometry/X", "m", "Distance forward from the start of the run", a_always, 0, 1000,
        [body, radius](const Instant& now) { return radius * std::sin(body->heading(now.fTime)); });
    xAddMeasured("Motion/Odometry/Y", "m", "Distance to the left from the start of the run",
                 a_always, 0, 1000, [body, radius](const Instant& now) {
                     return radius * (1 - std::cos(body->heading(now.fTime)));
                 });
    xAddMeasured(
        "Motion/Odometry/Heading", "rad", "Direction, anticlockwise", a_always, 0, 1000,
        [body](const Instant& now) { return std::remainder(body->heading(now.fTime), a_turn); });
    xAddMeasured("Motion/Odometry/Distance", "m", "Distance walked since the start of the run",
                 a_always, 0, 1000,
                 [body](const Instant& now) { return body->distanceWalked(now.fTime); });
}

void HumanoidChannels::xAddJoints() {
    for (std::size_t joint = 0; joint < a_jointCount; ++joint) {
        const bool head = joint == a_headYaw || joint == a_headPitch;
        const Joint& limits = joints()[joint];
        xAdd({jointKey(limits, "Target"), "rad", "Target angle of the joint", head,
              KVRange{limits.fMin, limits.fMax}},
             a_always, [joint, head, body = fBody](const Instant& now) {
                 const double target = body->jointTarget(joint, now.fTime, now.fInputs);
                 // A value that a client wrote is shown unchanged.
                 return head && !now.fInputs.fHeadIdle ? target : rounded(target, 10000);
             });
        const auto channel = static_cast<std::uint32_t>(fChannels.size());
        xAdd(jointKey(joints()[joint], "Position"), "rad", "Measured angle", a_always,
             [joint, channel, limits, random = fNoise, body = fBody](const Instant& now) {
                 const double angle = body->jointPosition(joint, now.fTime, now.fInputs) +
                                      0.0004 * random.bell(channel, now.fStep);
                 return rounded(std::clamp(angle, limits.fMin, limits.fMax), 10000);
             });
        xAddJointFigure(joint, "Velocity", "rad/s", "Measured angular velocity", a_always, 0.004,
                        1000, &HumanoidBody::jointVelocity);
        xAdd({jointKey(limits, "Stiffness"), "", "How firmly the joint is held, 0 to 1", true,
              KVRange{0, 1}},
             a_always, [joint](const Instant& now) { return now.fInputs.fStiffness[joint].fTo; });
        xAddJointFigure(joint, "Current", "A", "Current of the motor", a_tenTimesASecond, 0.004,
                        100, &HumanoidBody::jointCurrent);
        xAddJointFigure(joint, "Temperature", "°C", "Temperature of the motor", a_eachSecond, 0.03,
                        10, &HumanoidBody::jointTemperature);
    }
}

void HumanoidChannels::xAddBattery() {
    const auto body = fBody;
    xAdd("Battery/Charge", "%", "Charge of the battery", a_eachSecond, [body](const Instant& now) {
        return KVValue(rounded(body->batteryCharge(now.fTime), 10));
    });
    xAdd("Battery/Charging", "", "True if the charger is plugged in", a_always,
         [body](const Instant& now) { return KVValue(body->isCharging(now.fTime)); });
    xAddMeasured("Battery/Voltage", "V", "Voltage at the terminals", a_tenTimesASecond, 0.01, 100,
                 [body](const Instant& now) {
                     return 21.5 + 0.038 * body->batteryCharge(now.fTime) +
                            0.06 * body->batteryCurrent(now.fTime);
                 });
    xAddMeasured("Battery/Current", "A", "Current into the battery; negative when it discharges",
                 a_tenTimesASecond, 0.05, 100,
                 [body](const Instant& now) { return body->batteryCurrent(now.fTime); });
    xAddMeasured("Battery/Temperature", "°C", "Temperature of the cells", a_eachSecond, 0.02, 10,
                 [body](const Instant& now) {
                     return body->ambientTemperature() + 6 + 1.5 * wave(now, 900);
                 });
    xAdd("Battery/TimeLeft", "s", "Time until it is empty, or full while it charges", a_eachSecond,
         [body](const Instant& now) {
             return KVValue(static_cast<std::int64_t>(body->batteryTimeLeft(now.fTime)));
         });
    xAdd("Battery/Cycles", "", "Full charges so far", a_always, [random = fNoise](const Instant&) {
        return KVValue(static_cast<int>(80 + 300 * random.uniform(a_cyclesDraw, 0)));
    });
}

void HumanoidChannels::xAddInertial() {
    const auto body = fBody;
    const auto rate = [body](double (HumanoidBody::*angle)(double) const) {
        return [body, angle](const Instant& now) {
            const double step = stepTime(1);
            return ((*body.*angle)(now.fTime + step / 2) - (*body.*angle)(now.fTime - step / 2)) /
                   step;
        };
    };
    const auto bounce = [body](const Instant& now) {
        return 0.8 * body->activity().walking(now.fTime) *
               std::sin(2 * body->gaitPhase(now.fTime) + 0.7);
    };
    xAddMeasured("Inertial/Angle/Roll", "rad", "Lean to the right", a_always, 0.0005, 10000,
                 [body](const Instant& now) { return body->roll(now.fTime); });
    xAddMeasured("Inertial/Angle/Pitch", "rad", "Lean to the front", a_always, 0.0005, 10000,
                 [body](const Instant& now) { return body->pitch(now.fTime); });
    xAddMeasured("Inertial/Angle/Yaw", "rad", "Direction, with the drift of the gyroscope",
                 a_always, 0.0005, 10000, [body](const Instant& now) {
                     return std::remainder(body->heading(now.fTime) + 0.0002 * now.fTime, a_turn);
                 });
    xAddMeasured("Inertial/Gyroscope/X", "rad/s", "Turning rate about the forward axis", a_always,
                 0.003, 1000, rate(&HumanoidBody::roll));
    xAddMeasured("Inertial/Gyroscope/Y", "rad/s", "Turning rate about the left axis", a_always,
                 0.003, 1000, rate(&HumanoidBody::pitch));
    xAddMeasured("Inertial/Gyroscope/Z", "rad/s", "Turning rate about the upward axis", a_always,
                 0.003, 1000, rate(&HumanoidBody::heading));
    xAddMeasured("Inertial/Accelerometer/X", "m/s²", "Acceleration to the front", a_always, 0.03,
                 100, [body, bounce](const Instant& now) {
                     return -a_gravity * std::sin(body->pitch(now.fTime)) + 0.6 * bounce(now);
                 });
    xAddMeasured(
        "Inertial/Accelerometer/Y", "m/s²", "Acceleration to the left", a_always, 0.03, 100,
        [body](const Instant& now) { return a_gravity * std::sin(body->roll(now.fTime)); });
    xAddMeasured("Inertial/Accelerometer/Z", "m/s²", "Acceleration upward", a_always, 0.03, 100,
                 [body, bounce](const Instant& now) {
                     return a_gravity * std::cos(body->roll(now.fTime)) + bounce(now);
                 });
    xAddMeasured("Inertial/Temperature", "°C", "Temperature of the unit", a_eachSecond, 0.02, 10,
                 [body](const Instant& now) {
                     return body->ambientTemperature() + 11 + 0.8 * wave(now, 600);
                 });
}

void HumanoidChannels::xAddFeet() {
    for (const char* side : a_sides) {
        const bool left = side == a_sides[0];
        const std::string foot = std::string("Foot/") + side;
        const auto weight = [left, body = fBody](const Instant& now) {
            const double share = body->leftFootShare(now.fTime);
            return a_weight * (left ? share : 1 - share);
        };
        // The centre of pressure in a foot moves with the lean of the body, -1 to 1.
        const auto forward = [body = fBody](const Instant& now) {
            return std::clamp(4 * (body->pitch(now.fTime) - 0.03), -0.8, 0.8);
        };
        const auto leftward = [body = fBody](const Instant& now) {
            return std::clamp(-6 * body->roll(now.fTime), -0.8, 0.8);
        };
        for (const bool front : {true, false}) {
            for (const bool outer : {true, false}) {
                std::string corner = foot + "/Force/";
                corner += front ? "Front" : "Rear";
                corner += outer ? "Outer" : "Inner";
                xAddMeasured(corner, "N", "Force on one corner of the sole", a_always, 0.2, 10,
                             [weight, forward, leftward, left, front, outer](const Instant& now) {
                                 const double along = front ? 1 + forward(now) : 1 - forward(now);
                                 const bool leftCorner = outer == left;
                                 const double across =
                                     leftCorner ? 1 + leftward(now) : 1 - leftward(now);
                                 return std::max(1.0, weight(now) * along * across / 4);
                             });
            }
        }
        xAddMeasured(foot + "/Force/Total", "N", "Force on the whole sole", a_always, 0.4, 10,
                     [weight](const Instant& now) { return std::max(2.0, weight(now)); });
        xAddMeasured(foot + "/CentreOfPressure/X", "m", "Towards the toes from the middle",
                     a_always, 0.0005, 10000,
                     [forward](const Instant& now) { return 0.07 * forward(now); });
        xAddMeasured(foot + "/CentreOfPressure/Y", "m", "To the left of the middle", a_always,
                     0.0005, 10000,
                     [leftward](const Instant& now) { return 0.04 * leftward(now); });
        xAdd(foot + "/OnGround", "", "True if the foot carries weight", a_always,
             [weight](const Instant& now) { return KVValue(weight(now) > 0.05 * a_weight); });
    }
}

void HumanoidChannels::xAddContacts() {
    for (const char* place : {"Front", "Middle", "Rear"}) {
        xAddContact(std::string("Touch/Head/") + place, "True if the head is touched there", 0.03);
    }
    for (const std::string side : a_sides) {
        for (const char* place : {"Back", "Palm", "Fingers"}) {
            xAddContact("Touch/" + side + "Hand/" + place, "True if the hand is touched there",
                        0.02);
        }
        for (const char* place : {"Left", "Right"}) {
            xAddContact("Bumper/" + side + "Foot/" + place, "True if the toes touch something",
                        0.01);
        }
    }
    xAddContact("Button/Chest", "True while the chest button is pressed", 0.004);
}

void HumanoidChannels::xAddSonar() {
    for (const std::string side : a_sides) {
        const double shift = side == a_sides[0] ? 0 : 0.21;
        const auto nearest = [shift](const Instant& now) {
            return 1.6 + 0.9 * wave(now, 37, shift) + 0.3 * wave(now, 9.1, shift);
        };
        xAddMeasured("Sonar/" + side + "/Distance", "m", "Distance to the nearest object",
                     a_tenTimesASecond, 0.01, 100, nearest);
        for (int echo = 1; echo <= 3; ++echo) {
            xAddMeasured(
                "Sonar/" + side + "/Echo" + std::to_string(echo), "m",
                "Distance to an object behind it", a_tenTimesASecond, 0.02, 100,
                [nearest, echo](const Instant& now) { return nearest(now) + 0.55 * echo; });
        }
    }
}

void HumanoidChannels::xAddLeds() {
    const auto draw = [this](std::uint32_t channel) {
        return fNoise.uniform(a_colourDraw, channel);
    };
    // One calm colour for both eyes, chosen by the seed from blues and greens.
    const auto calm = (static_cast<std::int64_t>(0x60 + 0x90 * draw(0)) << 8) +
                      static_cast<std::int64_t>(0x80 + 0x7f * draw(1));
    const auto colour = [](std::int64_t base, int segment) {
        return [base, segment](const Instant& now) {
            return KVValue(animates(now) ? rastaColour(now.fTime - now.fInputs.fLedsSince, segment)
                                         : base);
        };
    };
    for (const std::string side : a_sides) {
        for (int segment = 0; segment < a_faceSegments; ++segment) {
            xAdd("Leds/Face/" + side + "/" + std::to_string(segment), "RGB",
                 "Colour of one LED around the eye, red the highest byte", a_always,
                 colour(calm, segment));
        }
    }
    for (const std::string side : a_sides) {
        for (int segment = 0; segment < a_earSegments; ++segment) {
            xAdd("Leds/Ear/" + side + "/" + std::to_string(segment), "",
                 "Brightness of one LED in the ear, 0 to 1", a_always,
                 [segment](const Instant& now) {
                     return KVValue(animates(now) ? rastaBrightness(
                                                        now.fTime - now.fInputs.fLedsSince, segment)
                                                  : 0.6);
                 });
        }
    }
    xAdd("Leds/Chest", "RGB", "Colour of the chest button", a_always, colour(0x00ff00, 0));
    for (const std::string side : a_sides) {
        xAdd("Leds/Foot/" + side, "RGB", "Colour of the foot", a_always, colour(calm, 0));
    }
}

void HumanoidChannels::xAddAudio() {
    xAdd({"Audio/Volume", "%", "Volume of the loudspeakers", true, KVRange{0, 100}}, a_always,
         [](const Instant& now) { return KVValue(now.fInputs.fVolume); });
    for (const char* microphone : {"FrontLeft", "FrontRight", "RearLeft", "RearRight"}) {
        xAddMeasured(std::string("Audio/Microphone/") + microphone, "dB", "Level at the microphone",
                     a_tenTimesASecond, 1.2, 10,
                     [](const Instant& now) { return -48 + 6 * wave(now, 7.3) * wave(now, 1.9); });
    }
}

void HumanoidChannels::xAddFans() {
    for (const std::string fan : {"Chest", "Head"}) {
        xAddMeasured("Fan/" + fan + "/Speed", "rpm", "Speed of the fan", a_tenTimesASecond, 8, 1,
                     [body = fBody](const Instant& now) {
                         return 2200 +
                                45 * body->jointTemperature(a_headPitch, now.fTime, now.fInputs);
                     });
    }
}

void HumanoidChannels::xAddSystem() {
    const auto body = fBody;
    for (int minutes : {1, 5, 15}) {
        xAddMeasured(
            "System/Load/" + std::to_string(minutes), "", "Load average of the last minutes",
            a_eachSecond, 0.02, 100,
            [minutes](const Instant& now) { return 1.4 + 0.5 * wave(now, 60.0 * minutes); });
    }
    for (int core = 0; core < 4; ++core) {
        xAddMeasured("System/Cpu/" + std::to_string(core) + "/Usage", "%",
                     "Share of time that the core is busy", a_eachSecond, 3, 10,
                     [core, body](const Instant& now) {
                         return 32 + 10 * wave(now, 21 + 5 * core) +
                                18 * body->activity().walking(now.fTime);
                     });
    }
    xAddMeasured("System/Cpu/Temperature", "°C", "Temperature of the processor", a_eachSecond, 0.1,
                 10, [body](const Instant& now) {
                     return body->ambientTemperature() + 31 + 4 * wave(now, 180);
                 });
    constexpr std::int64_t mebibyte = 1048576;
    xAdd("System/Memory/Total", "B", "Memory of the robot's computer", a_always,
         [](const Instant&) { return KVValue(3900 * mebibyte); });
    xAdd("System/Memory/Used", "B", "Memory in use", a_eachSecond, [](const Instant& now) {
        return KVValue((1500 + static_cast<std::int64_t>(60 * wave(now, 240))) * mebibyte);
    });
    xAdd("System/Disk/Total", "B", "Size of the disk", a_always,
         [](const Instant&) { return KVValue(29000 * mebibyte); });
    xAdd("System/Disk/Used", "B", "Used space on the disk", a_eachSecond, [](const Instant& now) {
        return KVValue((11200 + static_cast<std::int64_t>(now.fTime / 120)) * mebibyte);
    });
    xAdd("System/Uptime", "s", "Time since the robot's computer started", a_eachSecond,
         [](const Instant& now) { return KVValue(static_cast<std::int64_t>(42 + now.fTime)); });
    for (const char* direction : {"Received", "Sent"}) {
        xAddMeasured(std::string("System/Network/") + direction, "B/s",
                     "Traffic of the network card", a_eachSecond, 900, 1,
                     [](const Instant& now) { return 52000 + 9000 * wave(now, 33); });
    }
}

}  // namespace robot
