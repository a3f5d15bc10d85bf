#include <base/safe_text.h>
#include <base/time.h>

#include <recorded_robot/channel_reader.h>
#include <recorded_robot/recorded_image.h>
#include <ros2_message/image_message.h>
#include <ros2_message/message_values.h>
#include <stdexcept>
#include <utility>

namespace recorded_robot {

namespace {

constexpr std::size_t a_longestCameraName = 200;  ///< bytes, of the protocol

ros2_message::Bytes bytesOf(std::string_view message) {
    return {reinterpret_cast<const unsigned char*>(message.data()), message.size()};
}

std::optional<KVFrame> ros2Frame(Content content, std::string_view message) {
    const auto copy = std::make_shared<const std::string>(message);
    picture::ImageResult image = content == Content::Ros2Picture
                                     ? ros2_message::imageOf(bytesOf(*copy), copy, 0)
                                     : ros2_message::compressedImageOf(bytesOf(*copy), copy, 0);
    return image.fProblem.empty() ? std::optional(std::move(image.fFrame)) : std::nullopt;
}

std::optional<KVFrame> frameOf(Content content, std::string_view message, std::string_view schema) {
    switch (content) {
        case Content::Picture:
            return recordedFrame(message, schema);
        case Content::JsonPicture:
            return recordedJsonFrame(message, schema);
        default:
            return ros2Frame(content, message);
    }
}

}  // namespace

std::int64_t timeOf(const recording::Message& message) {
    const std::uint64_t time = message.fPublishTime != 0 ? message.fPublishTime : message.fLogTime;
    return static_cast<std::int64_t>(time / base::a_nanosecondsPerMicrosecond);
}

ChannelReader::ChannelReader(const recording::Reader& reader, std::uint16_t id,
                             RecordedChannel channel, ParsedSchemas& schemas)
    : fChannel(std::move(channel)) {
    const auto schema = reader.schemas().find(reader.channels().at(id).fSchemaId);
    if (schema != reader.schemas().end()) {
        fSchema = schema->second.fName;
    }
    if (hasPictures(fChannel.fContent)) {
        fChannel.fName =
            std::string(base::beginning(base::validUtf8(fChannel.fName), a_longestCameraName));
    }
    if (schema != reader.schemas().end()) {
        xUseSchema(schema->second, schemas);
    }
}

void ChannelReader::xUseSchema(const recording::Schema& schema, ParsedSchemas& schemas) {
    try {
        if (fChannel.fContent == Content::ProtobufFields) {
            fProtobuf = schemas.protobuf(schema);
        } else if (fChannel.fContent == Content::Ros2Fields) {
            fRos2 = schemas.ros2(schema);
        }
    } catch (const std::runtime_error& failure) {
        fChannel.fContent = Content::Unknown;
        fChannel.fReason = failure.what();
    }
}

void ChannelReader::takeValues(const recording::Message& message, const TakeValue& take) const {
    switch (fChannel.fContent) {
        case Content::Value:
            if (const auto value = recordedValue(message.fData, fSchema)) {
                take(fChannel.fName, *value);
            }
            break;
        case Content::Group:
            takeGroup(message.fData, take);
            break;
        case Content::JsonFields:
            takeFields(message.fData, fChannel.fName, take);
            break;
        case Content::ProtobufFields:
            fProtobuf->take(message.fData, fChannel.fName, take);
            break;
        case Content::Ros2Fields: {
            if (message.fData.size() > ros2_message::a_largestMessage) {
                break;
            }
            const auto values = valuesOf(*fRos2, fChannel.fName, bytesOf(message.fData), 0);
            for (const ros2_message::NamedValue& value : values.fValues) {
                take(value.fName, value.fValue);
            }
            break;
        }
        default:
            break;
    }
}

std::optional<KVFrame> ChannelReader::frame(const recording::Message& message,
                                            picture::JpegReader& jpegs) const {
    std::optional<KVFrame> frame = frameOf(fChannel.fContent, message.fData, fSchema);
    if (!frame) {
        return std::nullopt;
    }
    if (frame->fFormat == KVPixelFormat::Jpeg) {
        if (const auto header = jpegs.readHeader(frame->fData.get(), frame->fSize)) {
            frame->fWidth = header->fWidth;
            frame->fHeight = header->fHeight;
        }
    }
    frame->fNumber = message.fSequence;
    frame->fTime = timeOf(message);
    return frame;
}

}  // namespace recorded_robot
