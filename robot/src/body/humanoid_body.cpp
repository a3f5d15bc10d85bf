#include "body/humanoid_body.h"

#include <algorithm>
#include <cmath>

namespace robot {

namespace {

constexpr double a_turn = 2 * 3.14159265358979323846;
constexpr double a_gaitFrequency = 0.8;  // cycles a second, two steps each
constexpr double a_breathFrequency = 0.22;
constexpr double a_waveFrequency = 1.3;
constexpr double a_walkSpeed = 0.22;  // m/s
constexpr double a_circleRadius = 1.5;
constexpr double a_servoDelay = 0.04;

constexpr double a_dischargeTime = 5400;
constexpr double a_chargeTime = 2700;
constexpr double a_fullCharge = 98;
constexpr double a_emptyCharge = 12;

// Channels of the noise that determine the run's constants.
constexpr std::uint32_t a_ambientDraw = 1000000;
constexpr std::uint32_t a_batteryDraw = 1000001;
constexpr std::uint32_t a_roundDraw = 1000002;
constexpr std::uint32_t a_idleDraw = 1000003;  // and one for each joint after it

double inLimits(std::size_t joint, double angle) {
    const Joint& limits = joints()[joint];
    return std::clamp(angle, limits.fMin, limits.fMax);
}

bool isHead(std::size_t joint) {
    return joint == a_headYaw || joint == a_headPitch;
}

}  // namespace

HumanoidBody::HumanoidBody(std::uint64_t seed)
    : fNoise(seed),
      fActivity(2 + 70 * fNoise.uniform(a_roundDraw, 0)),
      fAmbient(20 + 6 * fNoise.uniform(a_ambientDraw, 0)),
      // It starts well charged: somewhere in the first tenth of the discharge.
      fBatteryOffset(a_dischargeTime / 10 * fNoise.uniform(a_batteryDraw, 0)) {
}

double HumanoidBody::jointTarget(std::size_t joint, double time,
                                 const HumanoidInputs& inputs) const {
    if (isHead(joint) && !inputs.fHeadIdle) {
        return inputs.fHeadTarget[joint].fTo;
    }
    return inLimits(joint, xMotion(joint, time));
}

double HumanoidBody::jointPosition(std::size_t joint, double time,
                                   const HumanoidInputs& inputs) const {
    const double past = time - a_servoDelay;
    const double held = isHead(joint) ? xHeadMotion(joint, past, inputs) : xMotion(joint, past);
    const double stiffness = inputs.fStiffness[joint].at(time, a_gripInertia);
    // A limp joint sags a third of the way to the middle of its range.
    const double sagged = held + (0.5 * (joints()[joint].fMin + joints()[joint].fMax) - held) / 3;
    return inLimits(joint, sagged + (held - sagged) * stiffness);
}

double HumanoidBody::jointVelocity(std::size_t joint, double time,
                                   const HumanoidInputs& inputs) const {
    const double half = stepTime(1) / 2;
    return (jointPosition(joint, time + half, inputs) - jointPosition(joint, time - half, inputs)) /
           (2 * half);
}

double HumanoidBody::jointCurrent(std::size_t joint, double time,
                                  const HumanoidInputs& inputs) const {
    const double stiffness = inputs.fStiffness[joint].at(time, a_gripInertia);
    const double effort = 0.35 + 0.65 * fActivity.walking(time);
    return stiffness *
           (joints()[joint].fLoad * effort + 0.12 * std::abs(jointVelocity(joint, time, inputs)));
}

double HumanoidBody::jointTemperature(std::size_t joint, double time,
                                      const HumanoidInputs& inputs) const {
    // The motors have warmed up for ten minutes when the run starts.
    const double warmth = 1 - std::exp(-(time + 600) / 900);
    const double drift = 0.8 * std::sin(a_turn * time / 400 + static_cast<double>(joint));
    const double heat = 8 + 22 * joints()[joint].fLoad;
    return fAmbient + drift + heat * warmth * inputs.fHeat[joint].at(time, a_heatInertia);
}

Pose HumanoidBody::pose(double time, const HumanoidInputs& inputs) const {
    Pose pose;
    pose.fTime = time;
    for (std::size_t joint = 0; joint < a_jointCount; ++joint) {
        pose.fJoints[joint] = jointPosition(joint, time, inputs);
    }
    pose.fRoll = roll(time);
    pose.fPitch = pitch(time);
    pose.fHeading = heading(time);
    return pose;
}

double HumanoidBody::gaitPhase(double time) const {
    return a_turn * a_gaitFrequency * fActivity.walkedTime(time);
}

double HumanoidBody::roll(double time) const {
    return 0.008 * std::sin(a_turn * a_breathFrequency * time) +
           0.05 * fActivity.walking(time) * std::sin(gaitPhase(time));
}

double HumanoidBody::pitch(double time) const {
    return 0.03 + 0.006 * std::cos(a_turn * a_breathFrequency * time) +
           fActivity.walking(time) * (0.04 + 0.03 * std::sin(2 * gaitPhase(time)));
}

double HumanoidBody::heading(double time) const {
    return distanceWalked(time) / a_circleRadius;
}

double HumanoidBody::distanceWalked(double time) const {
    return a_walkSpeed * fActivity.walkedTime(time);
}

double HumanoidBody::leftFootShare(double time) const {
    const double sway = 0.04 * std::sin(a_turn * a_breathFrequency * time);
    const double gait = 0.5 * fActivity.walking(time) * std::tanh(3 * std::sin(gaitPhase(time)));
    return std::clamp(0.5 + sway + gait, 0.0, 1.0);
}

bool HumanoidBody::isCharging(double time) const {
    return xBatteryPhase(time) >= a_dischargeTime;
}

double HumanoidBody::batteryCharge(double time) const {
    const double phase = xBatteryPhase(time);
    const double share = phase < a_dischargeTime ? 1 - phase / a_dischargeTime
                                                 : (phase - a_dischargeTime) / a_chargeTime;
    return a_emptyCharge + (a_fullCharge - a_emptyCharge) * share;
}

double HumanoidBody::batteryCurrent(double time) const {
    return isCharging(time) ? 6.5 : -(2.1 + 5.2 * fActivity.walking(time));
}

double HumanoidBody::batteryTimeLeft(double time) const {
    const double phase = xBatteryPhase(time);
    return (phase < a_dischargeTime ? a_dischargeTime : a_dischargeTime + a_chargeTime) - phase;
}

double HumanoidBody::xMotion(std::size_t joint, double time) const {
    const Joint& part = joints()[joint];
    const double walking = fActivity.walking(time);
    const double wave = 0.15 * std::sin(a_turn * a_waveFrequency * time);
    const double walk =
        part.fWalkOffset + part.fWalkSwing * std::sin(gaitPhase(time) + part.fWalkPhase);
    return part.fRest + xIdle(joint, time) * (1 - 0.7 * walking) + walk * walking +
           part.fGesture * (1 + wave) * fActivity.gesturing(time);
}

double HumanoidBody::xHeadMotion(std::size_t joint, double time,
                                 const HumanoidInputs& inputs) const {
    const double held = inputs.fHeadHeld.at(time, a_headInertia);
    const double told = inputs.fHeadTarget[joint].at(time, a_headInertia);
    return xMotion(joint, time) * (1 - held) + told * held;
}

double HumanoidBody::xIdle(std::size_t joint, double time) const {
    // Breathing and two slow waves whose periods have no common multiple.
    const auto channel = a_idleDraw + static_cast<std::uint32_t>(joint);
    const double breath = std::sin(a_turn * a_breathFrequency * time);
    const double slow = std::sin(a_turn * (time / 11.3 + fNoise.uniform(channel, 0)));
    const double slower = std::sin(a_turn * (time / 29.7 + fNoise.uniform(channel, 1)));
    return joints()[joint].fIdle * (0.15 * breath + 0.35 * slow + 0.5 * slower);
}

double HumanoidBody::xBatteryPhase(double time) const {
    return std::fmod(time + fBatteryOffset, a_dischargeTime + a_chargeTime);
}

}  // namespace robot
