#include <base/safe_text.h>
#include <base/time.h>

#include <recorded_robot/channel_reader.h>
#include <recorded_robot/recorded_image.h>
#include <stdexcept>
#include <utility>

namespace recorded_robot {

namespace {

constexpr std::size_t a_longestCameraName = 200;  ///< bytes, of the protocol

}  // namespace

bool hasFields(Content content) {
    return content == Content::JsonFields || content == Content::ProtobufFields;
}

bool hasValues(Content content) {
    return content == Content::Value || content == Content::Group || hasFields(content);
}

bool hasPictures(Content content) {
    return content == Content::Picture || content == Content::JsonPicture;
}

std::int64_t timeOf(const recording::Message& message) {
    const std::uint64_t time = message.fPublishTime != 0 ? message.fPublishTime : message.fLogTime;
    return static_cast<std::int64_t>(time / base::a_nanosecondsPerMicrosecond);
}

ChannelReader::ChannelReader(const recording::Reader& reader, std::uint16_t id,
                             RecordedChannel channel)
    : fChannel(std::move(channel)) {
    const auto schema = reader.schemas().find(reader.channels().at(id).fSchemaId);
    if (schema != reader.schemas().end()) {
        fSchema = schema->second.fName;
    }
    if (hasPictures(fChannel.fContent)) {
        fChannel.fName =
            std::string(base::beginning(base::validUtf8(fChannel.fName), a_longestCameraName));
    }
    if (fChannel.fContent == Content::ProtobufFields) {
        try {
            fProtobuf = std::make_unique<ProtobufFields>(schema->second);
        } catch (const std::runtime_error& failure) {
            fChannel.fContent = Content::Unknown;
            fChannel.fReason = failure.what();
        }
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
        default:
            break;
    }
}

std::optional<KVFrame> ChannelReader::frame(const recording::Message& message,
                                            picture::JpegReader& jpegs) const {
    std::optional<KVFrame> frame = fChannel.fContent == Content::Picture
                                       ? recordedFrame(message.fData, fSchema)
                                       : recordedJsonFrame(message.fData, fSchema);
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
