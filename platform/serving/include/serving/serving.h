#ifndef SERVING_SERVING_H
#define SERVING_SERVING_H

#include <bonjour/bonjour_announcer.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_settings.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <serving/server_options.h>
#include <string>

/** The parts with which a robot is found and reached, whatever its values come from. */
namespace serving {

/** Destinations of a robot's lines for the user; both are called from any thread. */
struct Output {
    std::function<void(const std::string& line)> fSay;
    std::function<void(const std::string& line)> fComplain;
};

/** Returns standard output and standard error, for lines that begin with the program's name. */
Output outputOf(const std::string& program);

/** Returns the user's settings, overridden by the command line. */
KVSettings settingsFor(const Security& security);

/** Returns a broker that listens on a port. @throws KVError */
boost::shared_ptr<KVBroker> listen(const ServerOptions& options, const std::string& name, int port,
                                   const KVSettings& settings);

/** Returns null if the robot is not to be announced, or nobody else could reach it. */
std::unique_ptr<KV::BonjourAnnouncer> makeAnnouncer(const ServerOptions& options,
                                                    const std::string& name, const Output& output);

/**
 * Reads an icon.
 *
 * @throws std::runtime_error if the file cannot be read, is empty or above 4 MiB
 */
std::string readIcon(const std::string& file);

/** Returns the path of an installed picture, for instance "robot/buddy.png". */
std::string installedPicture(const std::string& name);

}  // namespace serving

#endif
