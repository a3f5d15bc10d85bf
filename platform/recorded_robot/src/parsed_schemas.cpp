#include <recorded_robot/parsed_schemas.h>
#include <ros2_message/message_schema.h>
#include <ros2_message/message_table.h>
#include <stdexcept>

namespace recorded_robot {

namespace {

constexpr std::size_t a_largestSchemas = std::size_t{16} << 20U;  // bytes

std::shared_ptr<const ros2_message::MessageType> ros2Type(const recording::Schema& schema) {
    const std::string name = ros2_message::fullTypeName(schema.fName, "");
    // Some recorders do not have the definitions, and write an empty text.
    if (schema.fEncoding == "ros2msg" && (!schema.fData.empty() || name == "std_msgs/msg/Empty")) {
        return ros2_message::typeOfSchema(name, schema.fData);
    }
    auto known = ros2_message::knownType(name);
    if (!known) {
        throw std::runtime_error("its type is not known, and has no schema 'ros2msg'");
    }
    return known;
}

}  // namespace

template <typename Parsed, typename Parse>
std::shared_ptr<const Parsed> ParsedSchemas::xParsed(KnownById<Parsed>& known,
                                                     const recording::Schema& schema,
                                                     const Parse& parse) {
    const auto [at, isNew] = known.try_emplace(schema.fId);
    Known<Parsed>& result = at->second;
    if (isNew) {
        fBytes += schema.fData.size();
        try {
            if (fBytes > a_largestSchemas) {
                throw std::runtime_error("the recording's schemas are too large");
            }
            result.fParsed = parse(schema);
        } catch (const std::runtime_error& failure) {
            result.fReason = failure.what();
        }
    }
    if (!result.fParsed) {
        throw std::runtime_error(result.fReason);
    }
    return result.fParsed;
}

std::shared_ptr<const ProtobufFields> ParsedSchemas::protobuf(const recording::Schema& schema) {
    return xParsed(fProtobuf, schema, [](const recording::Schema& read) {
        return std::make_shared<const ProtobufFields>(read);
    });
}

std::shared_ptr<const ros2_message::MessageType> ParsedSchemas::ros2(
    const recording::Schema& schema) {
    return xParsed(fRos2, schema, ros2Type);
}

}  // namespace recorded_robot
