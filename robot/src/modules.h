#ifndef OBVISTA_ROBOT_MODULES_H
#define OBVISTA_ROBOT_MODULES_H

#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_module.h>

#include <functional>
#include <memory>
#include <string>

namespace robot {

/** Maximum size of a text for "KVBallamor" in bytes. */
constexpr int a_longestClipboard = 4096;

/**
 * Creates "KVLeds": shows an animation on the LEDs.
 *
 * @param start starts an animation of that many seconds; throws KVError to refuse it
 */
std::shared_ptr<KVModule> makeLedsModule(std::function<void(double duration)> start);

/**
 * Creates "KVBallamor": stores the text sent last in the memory and passes it on.
 *
 * @param show called with each text, one call at a time
 */
std::shared_ptr<KVModule> makeBallamorModule(std::shared_ptr<KVMemoryModule> memory,
                                             std::function<void(const std::string&)> show);

}  // namespace robot

#endif
