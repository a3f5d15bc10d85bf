#ifndef OBVISTA_ROBOT_MODULES_H
#define OBVISTA_ROBOT_MODULES_H

#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <string>

namespace robot {

/** Longest text that "KVBallamor" takes, bytes. */
constexpr std::size_t a_longestClipboard = 4096;

/** "KVMemory": the robot's values, to be subscribed to, read and written. */
boost::shared_ptr<KVModule> makeMemoryModule(const boost::shared_ptr<KVValueTable>& table);

/**
 * "KVLeds": shows an animation on the LEDs.
 *
 * @param start starts an animation of so many seconds; throws KVError when it refuses
 */
boost::shared_ptr<KVModule> makeLedsModule(std::function<void(double duration)> start);

/**
 * "KVBallamor": keeps the text that was sent last in the table and hands it on.
 *
 * @param show called with each text, one call at a time
 */
boost::shared_ptr<KVModule> makeBallamorModule(boost::shared_ptr<KVValueTable> table,
                                               std::function<void(const std::string&)> show);

}  // namespace robot

#endif
