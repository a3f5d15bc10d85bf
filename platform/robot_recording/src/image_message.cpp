#include "protobuf_message.h"

#include <base/time.h>

#include <initializer_list>
#include <robot_recording/image_message.h>
#include <string_view>

namespace robot_recording {

namespace {

/** The numbers of types in a descriptor. */
enum class Type { Int64 = 3, Int32 = 5, Fixed32 = 7, String = 9, Message = 11, Bytes = 12 };

struct Field {
    const char* fName;
    std::uint32_t fNumber;
    Type fType;
};

constexpr const char* a_timestampFile = "google/protobuf/timestamp.proto";
constexpr const char* a_timestamp = ".google.protobuf.Timestamp";

/** The fields of a FieldDescriptorProto. */
std::string descriptorOf(const Field& field) {
    constexpr std::uint64_t optional = 1;
    ProtobufMessage descriptor;
    descriptor.addBytes(1, field.fName);
    descriptor.addInteger(3, field.fNumber);
    descriptor.addInteger(4, optional);
    descriptor.addInteger(5, static_cast<std::uint64_t>(field.fType));
    if (field.fType == Type::Message) {
        descriptor.addBytes(6, a_timestamp);
    }
    return descriptor.bytes();
}

/** A FileDescriptorProto with one message. */
std::string descriptorOf(const char* file, const char* package, const char* dependency,
                         const char* name, std::initializer_list<Field> fields) {
    ProtobufMessage message;
    message.addBytes(1, name);
    for (const Field& field : fields) {
        message.addBytes(2, descriptorOf(field));
    }
    ProtobufMessage descriptor;
    descriptor.addBytes(1, file);
    descriptor.addBytes(2, package);
    if (dependency != nullptr) {
        descriptor.addBytes(3, dependency);
    }
    descriptor.addBytes(4, message.bytes());
    descriptor.addBytes(12, "proto3");
    return descriptor.bytes();
}

/** A schema whose data is a FileDescriptorSet. */
MessageSchema schemaOf(const char* fullName, const char* name, const char* file,
                       std::initializer_list<Field> fields) {
    ProtobufMessage set;
    set.addBytes(1, descriptorOf(a_timestampFile, "google.protobuf", nullptr, "Timestamp",
                                 {{"seconds", 1, Type::Int64}, {"nanos", 2, Type::Int32}}));
    set.addBytes(1, descriptorOf(file, "foxglove", a_timestampFile, name, fields));
    return {fullName, "protobuf", set.bytes(), "protobuf"};
}

MessageSchema compressedImageSchema() {
    return schemaOf(a_compressedImage, "CompressedImage", "foxglove/CompressedImage.proto",
                    {{"timestamp", 1, Type::Message},
                     {"data", 2, Type::Bytes},
                     {"format", 3, Type::String},
                     {"frame_id", 4, Type::String}});
}

MessageSchema compressedVideoSchema() {
    return schemaOf(a_compressedVideo, "CompressedVideo", "foxglove/CompressedVideo.proto",
                    {{"timestamp", 1, Type::Message},
                     {"frame_id", 2, Type::String},
                     {"data", 3, Type::Bytes},
                     {"format", 4, Type::String}});
}

MessageSchema rawImageSchema() {
    return schemaOf(a_rawImage, "RawImage", "foxglove/RawImage.proto",
                    {{"timestamp", 1, Type::Message},
                     {"width", 2, Type::Fixed32},
                     {"height", 3, Type::Fixed32},
                     {"encoding", 4, Type::String},
                     {"step", 5, Type::Fixed32},
                     {"data", 6, Type::Bytes},
                     {"frame_id", 7, Type::String}});
}

std::string timestampOf(const KVFrame& frame) {
    const auto time = static_cast<std::uint64_t>(frame.fTime);
    constexpr std::uint64_t perSecond = base::a_microsecondsPerSecond;
    ProtobufMessage timestamp;
    timestamp.addInteger(1, time / perSecond);
    timestamp.addInteger(2, time % perSecond * base::a_nanosecondsPerMicrosecond);
    return timestamp.bytes();
}

const char* encodingOf(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Yuv422:
            return "yuv422_yuy2";
        case KVPixelFormat::Grey8:
            return "mono8";
        default:
            return "rgb8";
    }
}

}  // namespace

const MessageSchema& imageSchema(KVPixelFormat format) {
    static const MessageSchema compressed = compressedImageSchema();
    static const MessageSchema video = compressedVideoSchema();
    static const MessageSchema raw = rawImageSchema();
    static const MessageSchema none;
    switch (format) {
        case KVPixelFormat::Jpeg:
            return compressed;
        case KVPixelFormat::H264:
            return video;
        case KVPixelFormat::Rgb888:
        case KVPixelFormat::Yuv422:
        case KVPixelFormat::Grey8:
            return raw;
        case KVPixelFormat::Unknown:
            break;
    }
    return none;
}

std::string imageMessage(const KVFrame& frame, const std::string& camera) {
    const std::string_view data(reinterpret_cast<const char*>(frame.fData.get()), frame.fSize);
    ProtobufMessage message;
    message.addBytes(1, timestampOf(frame));
    if (frame.fFormat == KVPixelFormat::Jpeg) {
        message.addBytes(2, data);
        message.addBytes(3, "jpeg");
        message.addBytes(4, camera);
        return message.take();
    }
    if (frame.fFormat == KVPixelFormat::H264) {
        message.addBytes(2, camera);
        message.addBytes(3, data);
        message.addBytes(4, "h264");
        return message.take();
    }
    message.addFixed32(2, frame.fWidth);
    message.addFixed32(3, frame.fHeight);
    message.addBytes(4, encodingOf(frame.fFormat));
    message.addFixed32(5, frame.fStride);
    message.addBytes(6, data);
    message.addBytes(7, camera);
    return message.take();
}

}  // namespace robot_recording
