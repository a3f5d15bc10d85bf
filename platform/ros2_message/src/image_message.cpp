#include <ros2_message/image_message.h>
#include <ros2_message/message_values.h>
#include <string_view>

namespace ros2_message {

namespace {

using picture::ImageResult;

/** Reads a header without its frame; returns its time, or `otherwise` if it has none. */
std::int64_t readHeader(CdrReader& reader, std::int64_t otherwise) {
    const std::int64_t time = readTime(reader);
    reader.text();
    return time > 0 ? time : otherwise;
}

}  // namespace

ImageResult imageOf(Bytes message, const std::shared_ptr<const void>& owner, std::int64_t time) {
    CdrReader reader(message);
    const std::int64_t stamp = readHeader(reader, time);
    picture::EncodedRows rows;
    rows.fHeight = reader.number<std::uint32_t>();
    rows.fWidth = reader.number<std::uint32_t>();
    rows.fEncoding = reader.text();
    rows.fIsBigEndian = reader.number<std::uint8_t>() != 0;
    rows.fStride = reader.number<std::uint32_t>();
    const Bytes data = reader.bytes(reader.length(1));
    if (!reader.isAtEnd()) {
        return {{}, "it is not a sensor_msgs/msg/Image"};
    }
    rows.fData = data.fData;
    rows.fSize = data.fSize;
    ImageResult result = picture::frameOfRows(rows, owner);
    result.fFrame.fTime = stamp;
    return result;
}

ImageResult compressedImageOf(Bytes message, const std::shared_ptr<const void>& owner,
                              std::int64_t time) {
    CdrReader reader(message);
    const std::int64_t stamp = readHeader(reader, time);
    const std::string_view format = reader.text();
    const Bytes data = reader.bytes(reader.length(1));
    if (!reader.isAtEnd()) {
        return {{}, "it is not a sensor_msgs/msg/CompressedImage"};
    }
    ImageResult result = picture::frameOfFile(data.fData, data.fSize, format, owner);
    result.fFrame.fTime = stamp;
    return result;
}

}  // namespace ros2_message
