#ifndef OBVISTA_ROBOT_SERVING_H
#define OBVISTA_ROBOT_SERVING_H

#include "options.h"

#include <bonjour/bonjour_announcer.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_settings.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <string>

/** The parts with which a robot is found and reached, whether it is simulated or replayed. */
namespace robot {

/** Destinations of a robot's lines for the user; both are called from any thread. */
struct Output {
    std::function<void(const std::string& line)> fSay;
    std::function<void(const std::string& line)> fComplain;
};

/** Returns the user's settings, overridden by the command line. */
KVSettings settingsFor(const Security& security);

/** Returns a broker that listens on a port. @throws KVError */
boost::shared_ptr<KVBroker> listen(const Options& options, const std::string& name, int port,
                                   const KVSettings& settings);

/** Returns null if the robot is not to be announced, or nobody else could reach it. */
std::unique_ptr<KV::BonjourAnnouncer> makeAnnouncer(const Options& options, const std::string& name,
                                                    const Output& output);

}  // namespace robot

#endif
