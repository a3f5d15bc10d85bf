#include <picture/image_encoding.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <recorded_robot/json_value.h>
#include <recorded_robot/recorded_image.h>
#include <recorded_robot/recorded_value.h>
#include <string>

namespace recorded_robot {

namespace {

/** The largest JSON in which a frame of 64 MiB fits. */
constexpr std::size_t a_longestJson = std::size_t{100} << 20U;

constexpr std::string_view a_compressedImage = "foxglove.CompressedImage";
constexpr std::string_view a_rawImage = "foxglove.RawImage";
constexpr std::string_view a_compressedVideo = "foxglove.CompressedVideo";

/** The fields of all kinds of pictures. */
struct Image {
    std::string_view fFormat;
    std::string_view fData;
    std::uint32_t fWidth = 0;
    std::uint32_t fHeight = 0;
    std::uint32_t fStride = 0;
};

/** Reads the fields of a message in protobuf. */
class ProtobufFields {
  public:
    enum class Type { Varint = 0, Fixed64 = 1, Sized = 2, Fixed32 = 5 };

    explicit ProtobufFields(std::string_view bytes) : fBytes(bytes) {}

    /** Goes to the next field. Returns false at the end and before a field that is not whole. */
    bool next() {
        std::uint64_t tag = 0;
        if (fBytes.empty() || !xVarint(tag)) {
            return false;
        }
        fNumber = tag >> 3U;
        fType = static_cast<Type>(tag & 7U);
        switch (fType) {
            case Type::Varint:
                return xVarint(fInteger);
            case Type::Fixed64:
                return xTake(sizeof(std::uint64_t));
            case Type::Fixed32:
                return xTake(sizeof(std::uint32_t));
            case Type::Sized:
                return xVarint(fInteger) && xTake(fInteger);
            default:
                return false;
        }
    }

    bool is(std::uint64_t number, Type type) const { return fNumber == number && fType == type; }
    std::string_view bytes() const { return fContent; }
    std::uint32_t fixed32() const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < sizeof(value); ++i) {
            value |= std::uint32_t{static_cast<unsigned char>(fContent[i])} << (8 * i);
        }
        return value;
    }

  private:
    bool xVarint(std::uint64_t& value) {
        value = 0;
        for (unsigned shift = 0; shift < 64 && !fBytes.empty(); shift += 7) {
            const auto byte = static_cast<unsigned char>(fBytes.front());
            fBytes.remove_prefix(1);
            value |= std::uint64_t{byte & 0x7FU} << shift;
            if (byte < 0x80U) {
                return true;
            }
        }
        return false;
    }

    bool xTake(std::uint64_t size) {
        if (size > fBytes.size()) {
            return false;
        }
        fContent = fBytes.substr(0, static_cast<std::size_t>(size));
        fBytes.remove_prefix(static_cast<std::size_t>(size));
        return true;
    }

    std::string_view fBytes;
    std::uint64_t fNumber = 0;
    Type fType = Type::Varint;
    std::uint64_t fInteger = 0;
    std::string_view fContent;
};

/** Reads a picture in a format of files or films, which has these fields. */
Image encodedImage(std::string_view message, std::uint64_t data, std::uint64_t format) {
    Image image;
    ProtobufFields fields(message);
    while (fields.next()) {
        if (fields.is(data, ProtobufFields::Type::Sized)) {
            image.fData = fields.bytes();
        } else if (fields.is(format, ProtobufFields::Type::Sized)) {
            image.fFormat = fields.bytes();
        }
    }
    return image;
}

Image rawImage(std::string_view message) {
    Image image;
    ProtobufFields fields(message);
    while (fields.next()) {
        if (fields.is(2, ProtobufFields::Type::Fixed32)) {
            image.fWidth = fields.fixed32();
        } else if (fields.is(3, ProtobufFields::Type::Fixed32)) {
            image.fHeight = fields.fixed32();
        } else if (fields.is(4, ProtobufFields::Type::Sized)) {
            image.fFormat = fields.bytes();
        } else if (fields.is(5, ProtobufFields::Type::Fixed32)) {
            image.fStride = fields.fixed32();
        } else if (fields.is(6, ProtobufFields::Type::Sized)) {
            image.fData = fields.bytes();
        }
    }
    return image;
}

KVPixelFormat formatOf(std::string_view format, std::string_view schema) {
    if (schema == a_compressedVideo) {
        return format == "h264" ? KVPixelFormat::H264 : KVPixelFormat::Unknown;
    }
    if (schema == a_compressedImage) {
        return format == "jpeg" || format == "jpg" ? KVPixelFormat::Jpeg : KVPixelFormat::Unknown;
    }
    if (format == "rgb8") {
        return KVPixelFormat::Rgb888;
    }
    if (format == "mono8" || format == "8UC1") {
        return KVPixelFormat::Grey8;
    }
    return format == "yuv422_yuy2" || format == "yuyv" ? KVPixelFormat::Yuv422
                                                       : KVPixelFormat::Unknown;
}

/** Converts a picture that robots do not send: a PNG, or rows in other encodings than theirs. */
std::optional<KVFrame> convertedFrameOf(const Image& image, std::string_view schema) {
    if (schema == a_compressedVideo) {
        return std::nullopt;
    }
    const auto owner = std::make_shared<const std::string>(image.fData);
    const auto* const data = reinterpret_cast<const unsigned char*>(owner->data());
    const picture::ImageResult result =
        schema == a_compressedImage
            ? picture::frameOfFile(data, owner->size(), image.fFormat, owner)
            : picture::frameOfRows(
                  {image.fFormat, data, owner->size(), image.fWidth, image.fHeight, image.fStride},
                  owner);
    return result.fProblem.empty() ? std::optional(result.fFrame) : std::nullopt;
}

std::optional<KVFrame> frameOf(const Image& image, std::string_view schema) {
    KVFrame frame;
    frame.fFormat = formatOf(image.fFormat, schema);
    if (image.fData.empty()) {
        return std::nullopt;
    }
    if (frame.fFormat == KVPixelFormat::Unknown) {
        return convertedFrameOf(image, schema);
    }
    frame.fWidth = image.fWidth;
    frame.fHeight = image.fHeight;
    frame.fStride = image.fStride;
    frame.fSize = image.fData.size();
    const std::shared_ptr<unsigned char> data(new unsigned char[frame.fSize],
                                              std::default_delete<unsigned char[]>());
    std::memcpy(data.get(), image.fData.data(), frame.fSize);
    frame.fData = data;
    return frame;
}

std::uint32_t numberOf(const KVValue::Map& map, const std::string& key) {
    const auto found = map.find(key);
    const bool isNumber = found != map.end() && found->second.type() == KVValue::Type::Int;
    const std::int64_t number = isNumber ? found->second.toInt() : 0;
    return number >= 0 && number <= UINT32_MAX ? static_cast<std::uint32_t>(number) : 0;
}

}  // namespace

std::optional<KVFrame> recordedFrame(std::string_view message, std::string_view schema) {
    if (schema == a_compressedVideo) {
        return frameOf(encodedImage(message, 3, 4), schema);
    }
    return frameOf(schema == a_compressedImage ? encodedImage(message, 2, 3) : rawImage(message),
                   schema);
}

std::optional<KVFrame> recordedJsonFrame(std::string_view message, std::string_view schema) {
    const std::optional<KVValue> value = valueOfMessage(message, a_longestJson);
    if (!value || value->type() != KVValue::Type::Map) {
        return std::nullopt;
    }
    const KVValue::Map& map = value->toMap();  // not copied: it has the picture
    const auto data = bytesOfBase64(textOf(map, "data"));
    if (!data) {
        return std::nullopt;
    }
    const std::string format = textOf(map, schema == a_rawImage ? "encoding" : "format");
    return frameOf(
        {format, *data, numberOf(map, "width"), numberOf(map, "height"), numberOf(map, "step")},
        schema);
}

}  // namespace recorded_robot
