#include "memory/load_memory.h"

#include <base/time.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

namespace robot {

namespace {

constexpr int a_drivesOfUnit = 10;
constexpr double a_turn = 2 * 3.14159265358979323846;

/** The time of a step, and the drive. */
struct Sample {
    std::uint64_t fStep;
    std::int64_t fTime;
    double fPhase;  // of the drive's motion, rad
};

/**
 * Completes a full turn in 211 steps. The offset prevents the waves from being symmetric about the
 * middle between two steps, where they would have the same value twice.
 */
double phaseOf(int drive, std::uint64_t step) {
    return a_turn * static_cast<double>(step % 211) / 211 + 0.1 + 1.9416 * drive;
}

KVValue stateOf(std::uint64_t step) {
    constexpr std::array<const char*, 4> states{"speeding up", "moving", "braking", "holding"};
    return states[step % states.size()];
}

KVValue poseOf(double phase) {
    return KVValue::List{0.4 * std::cos(phase), 0.4 * std::sin(phase), 0.9};
}

struct Figure {
    const char* fName;
    const char* fUnit;
    const char* fDescription;
    KVValue (*fEvaluate)(const Sample&);
};

const std::array<Figure, 10> a_figures{{
    {"Changed", "µs", "When this drive last changed, since 1970-01-01 UTC",
     [](const Sample& sample) { return KVValue(sample.fTime); }},
    {"Position", "rad", "Angle of the drive",
     [](const Sample& sample) { return KVValue(1.5 * std::sin(sample.fPhase)); }},
    {"Velocity", "rad/s", "Angular velocity",
     [](const Sample& sample) { return KVValue(2.2 * std::cos(sample.fPhase)); }},
    {"Current", "A", "Current through the motor",
     [](const Sample& sample) { return KVValue(0.6 + 0.5 * std::cos(sample.fPhase + 0.3)); }},
    {"Temperature", "°C", "Temperature of the motor",
     [](const Sample& sample) { return KVValue(42 + 3 * std::sin(sample.fPhase + 1)); }},
    {"Torque", "N·m", "Torque at the shaft",
     [](const Sample& sample) { return KVValue(1.1 * std::cos(sample.fPhase - 0.2)); }},
    {"Steps", "", "Number of the current step",
     [](const Sample& sample) { return KVValue(static_cast<std::int64_t>(sample.fStep)); }},
    {"Enabled", "", "True if the drive is on",
     [](const Sample& sample) { return KVValue(sample.fStep % 2 == 0); }},
    {"State", "", "State of the drive", [](const Sample& sample) { return stateOf(sample.fStep); }},
    {"Pose", "m", "Position of the drive's end: x, y, z",
     [](const Sample& sample) { return poseOf(sample.fPhase); }},
}};

constexpr int a_figureCount = static_cast<int>(a_figures.size());

KVMemoryKey keyOf(int drive, const Figure& figure, const KVValue& value) {
    std::array<char, 64> path{};
    std::snprintf(path.data(), path.size(), "Load/Unit%03d/Drive%d/", drive / a_drivesOfUnit,
                  drive % a_drivesOfUnit);
    return {std::string(path.data()) + figure.fName, figure.fUnit, figure.fDescription, value};
}

std::chrono::microseconds periodOf(double rate) {
    return std::chrono::microseconds(std::llround(base::a_microsecondsPerSecond / rate));
}

}  // namespace

LoadMemory::LoadMemory(const Load& load, std::shared_ptr<KVMemoryModule> module)
    : fPeriod(periodOf(load.fRate)), fModule(std::move(module)) {
    xAddKeys(load);
}

void LoadMemory::update(std::uint64_t step) {
    const std::int64_t now = base::microsecondsNow();
    for (std::size_t i = 0; i < fChanging.size(); ++i) {
        const Key& key = fChanging[i];
        fValues[i].second =
            a_figures[key.fFigure].fEvaluate({step, now, phaseOf(key.fDrive, step)});
    }
    fModule->getValues()->setValues(fValues, now);
}

void LoadMemory::xAddKeys(const Load& load) {
    std::vector<bool> isChanging(static_cast<std::size_t>(load.fKeys));
    xMarkChanging(load, isChanging);
    const std::int64_t now = base::microsecondsNow();
    for (std::size_t i = 0; i < isChanging.size(); ++i) {
        const Key key{static_cast<int>(i) / a_figureCount, i % a_figures.size()};
        const Figure& figure = a_figures[key.fFigure];
        const KVValue value = figure.fEvaluate({0, now, phaseOf(key.fDrive, 0)});
        const std::uint32_t id = fModule->addKey(keyOf(key.fDrive, figure, value));
        if (isChanging[i]) {
            fChanging.push_back(key);
            fValues.emplace_back(id, value);
        }
    }
}

void LoadMemory::xMarkChanging(const Load& load, std::vector<bool>& isChanging) const {
    const std::int64_t drives = (load.fKeys + a_figureCount - 1) / a_figureCount;
    const std::int64_t changingDrives = (load.fChanging + a_figureCount - 1) / a_figureCount;
    int left = load.fChanging;
    for (std::size_t i = 0; i < isChanging.size() && left > 0; ++i) {
        const auto drive = static_cast<std::int64_t>(i) / a_figureCount;
        if (drive * changingDrives % drives < changingDrives) {
            isChanging[i] = true;
            --left;
        }
    }
    // The last drive may have fewer keys than the others; the difference is made up for at the
    // front.
    for (std::size_t i = 0; i < isChanging.size() && left > 0; ++i) {
        left -= isChanging[i] ? 0 : 1;
        isChanging[i] = true;
    }
}

}  // namespace robot
