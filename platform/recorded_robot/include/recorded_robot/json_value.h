#ifndef RECORDED_ROBOT_JSON_VALUE_H
#define RECORDED_ROBOT_JSON_VALUE_H

#include <robaxi/kv_value.h>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace recorded_robot {

/** JSON that is not a valid value. The text is a part of a sentence. */
class JsonLimit : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Integers of more than 64 bits with a sign. */
enum class LargeIntegers {
    Refused,      ///< with JsonLimit
    BecomeFloats  ///< and lose digits
};

/**
 * Returns the value of a text in JSON, or nothing if it is not JSON.
 *
 * @throw JsonLimit for more than 64 levels, the most that a message can have, and numbers that are
 *        too large
 */
std::optional<KVValue> valueOfJson(std::string_view text, LargeIntegers largeIntegers);

/** Returns the value of a recorded message, in which large integers become floats; nothing if it is
 *  too long, not JSON or not a valid value. */
std::optional<KVValue> valueOfMessage(std::string_view message, std::size_t mostBytes);
/** Returns the entries of a message that is an object. */
std::optional<KVValue::Map> mapOfMessage(std::string_view message, std::size_t mostBytes);
/** Returns the text of an entry; empty without one. */
std::string textOf(const KVValue::Map& map, const std::string& key);

}  // namespace recorded_robot

#endif
