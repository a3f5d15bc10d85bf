#ifndef OBVISTA_ROBOT_BODY_HUMANOID_CHANNELS_H
#define OBVISTA_ROBOT_BODY_HUMANOID_CHANNELS_H

#include "body/humanoid_body.h"

#include <robaxi/kv_memory_module.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace robot {

/** The time for which the humanoid's values are computed. */
struct Instant {
    std::uint64_t fStep;
    double fTime;  ///< seconds since the start of the run
    const HumanoidInputs& fInputs;
};

/** Metadata of one value of the humanoid. */
struct HumanoidKey {
    std::string fName;
    std::string fUnit;
    std::string fDescription;
    bool fWritable = false;
    std::optional<KVRange> fRange = std::nullopt;  ///< values that can be written
};

/** One value of the humanoid: its key and its computation. */
struct HumanoidChannel {
    HumanoidKey fKey;
    /** The sensor is read after this many steps and keeps its value in between. */
    std::uint64_t fEvery;
    std::function<KVValue(const Instant&)> fEvaluate;
};

/** Creates the humanoid's channels: each value is declared beside the line that computes it. */
class HumanoidChannels {
  public:
    explicit HumanoidChannels(std::uint64_t seed);

    std::vector<HumanoidChannel> make();

  private:
    using Evaluate = std::function<KVValue(const Instant&)>;
    /** A quantity of one joint, computed by HumanoidBody. */
    using JointFigure = double (HumanoidBody::*)(std::size_t, double, const HumanoidInputs&) const;

    void xAdd(const HumanoidKey& key, std::uint64_t every, Evaluate evaluate);
    void xAdd(const std::string& name, const std::string& unit, const std::string& description,
              std::uint64_t every, Evaluate evaluate);
    void xAddMeasured(const std::string& name, const std::string& unit,
                      const std::string& description, std::uint64_t every, double noise,
                      double resolution, std::function<double(const Instant&)> value);
    void xAddJointFigure(std::size_t joint, const char* figure, const char* unit,
                         const char* description, std::uint64_t every, double noise,
                         double resolution, JointFigure value);
    void xAddContact(const std::string& name, const std::string& description, double likelihood);
    void xAddIdentity();
    void xAddMotion();
    void xAddJoints();
    void xAddBattery();
    void xAddInertial();
    void xAddFeet();
    void xAddContacts();
    void xAddSonar();
    void xAddLeds();
    void xAddAudio();
    void xAddFans();
    void xAddSystem();

    Noise fNoise;
    std::shared_ptr<const HumanoidBody> fBody;
    std::uint64_t fSeed;
    std::vector<HumanoidChannel> fChannels;
};

}  // namespace robot

#endif
