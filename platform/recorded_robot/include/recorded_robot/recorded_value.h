#ifndef RECORDED_ROBOT_RECORDED_VALUE_H
#define RECORDED_ROBOT_RECORDED_VALUE_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/** Messages in JSON that contain values. They are untrusted: a message that does not contain what
 *  its channel says has no value, and nothing throws. */
namespace recorded_robot {

/** Returns the value of a message such as {"value": 0.25}. @param schema its name */
std::optional<KVValue> recordedValue(std::string_view message, std::string_view schema);

using TakeValue = std::function<void(const std::string& key, const KVValue& value)>;

/** Calls a function with each key and value of a message such as {"KEY": 0.25}. */
void takeGroup(std::string_view message, const TakeValue& take);

/**
 * Calls a function with each field of a message that is not a map, and the path of its name, for
 * instance "imu/orientation/x" for {"orientation": {"x": 1}} and the path "imu".
 */
void takeFields(std::string_view message, const std::string& path, const TakeValue& take);

/** Describes what has happened to the robot. */
struct RecordedEvent {
    std::string fName;  ///< for instance "key removed"
    std::string fText;
    std::uint64_t fMessages = 0;  ///< number of messages that were "dropped"
};
std::optional<RecordedEvent> recordedEvent(std::string_view message);

/** Returns the bytes of base64, or nothing if it is not base64. */
std::optional<std::string> bytesOfBase64(std::string_view text);

}  // namespace recorded_robot

#endif
