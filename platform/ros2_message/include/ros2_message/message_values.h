#ifndef ROS2_MESSAGE_MESSAGE_VALUES_H
#define ROS2_MESSAGE_MESSAGE_VALUES_H

#include <robaxi/kv_value.h>

#include <cstddef>
#include <cstdint>
#include <ros2_message/cdr_reader.h>
#include <ros2_message/message_type.h>
#include <string>
#include <string_view>
#include <vector>

namespace ros2_message {

/** Bytes of a message whose values are read; larger ones are left out. */
constexpr std::size_t a_largestMessage = 1UL << 20U;
/** Elements of an array or sequence that become values; further ones are left out. */
constexpr std::uint32_t a_mostElements = 256;
/** Values of one message; further ones are left out. */
constexpr std::size_t a_mostValues = 4096;
/** Bytes of a text that becomes a value; it is shortened. */
constexpr std::size_t a_longestText = 16UL * 1024;

/** A value with the key that it is to have. */
struct NamedValue {
    std::string fName;       ///< key
    std::string_view fUnit;  ///< owned by somebody else, who says how long
    std::string_view fDescription;
    KVValue fValue;
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC; 0 for now
};

/** The values of a message. */
struct MessageValues {
    bool fIsGood = false;     ///< false: the bytes are not such a message, and there are no values
    bool fIsComplete = true;  ///< false: some are left out at the limits
    std::vector<NamedValue> fValues;
};

/**
 * Returns the numbers, bools and texts of a message by the names of their fields, with the time
 * stamp of the message's header, or `time` without one.
 *
 * @param type outlives the values, which refer to its units and descriptions
 * @param topic begins the names, for instance "imu/data"
 * @param time microseconds since 1970-01-01 UTC
 */
MessageValues valuesOf(const MessageType& type, const std::string& topic, Bytes message,
                       std::int64_t time);

/** Returns an Int, or a Float for a number above its range, which loses the last digits. */
KVValue valueOf(std::uint64_t number);

/** Reads a point in time of a message: microseconds. */
std::int64_t readTime(CdrReader& reader);

/** Returns one level of a key for a name of a robot's: valid UTF-8 of one line, shortened. */
std::string levelFor(std::string_view name);

/**
 * Returns how the values of a topic begin: "imu/data" for "/imu/data", but "left/Joint" for the
 * joints of "/left/joint_states".
 *
 * @param type name of the topic's type
 */
std::string prefixFor(const std::string& topic, const std::string& type);

}  // namespace ros2_message

#endif
