#include "snapshot/picture_file.h"

#include "process/failure.h"
#include "snapshot/pixels.h"

#include <picture/jpeg.h>

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <array>
#include <locale>
#include <png.h>

namespace robaxi_tool {

namespace {

using Channels = Pixels::Channels;

struct NamedFormat {
    PictureFormat fFormat;
    const char* fName;
    const char* fEnding;
};

constexpr std::array<NamedFormat, 4> a_formats{{{PictureFormat::Jpeg, "jpeg", "jpg"},
                                                {PictureFormat::Png, "png", "png"},
                                                {PictureFormat::Ppm, "ppm", "ppm"},
                                                {PictureFormat::Pgm, "pgm", "pgm"}}};

const NamedFormat& entryOf(PictureFormat format) {
    return *std::find_if(a_formats.begin(), a_formats.end(),
                         [format](const NamedFormat& entry) { return entry.fFormat == format; });
}

std::string jpegFile(const Pixels& pixels) {
    picture::JpegWriter writer;
    const picture::JpegFile file = writer.write(
        {pixels.fBytes.data(), pixels.fWidth, pixels.fHeight, pixels.rowSize(), pixels.layout()},
        picture::JpegDetail::Full);
    if (!file.fData) {
        throw Failure(ExitStatus::BadPicture,
                      "This picture cannot be a JPEG: " + writer.error() + '.');
    }
    return {file.fData.get(), file.fData.get() + file.fSize};
}

std::string pngFile(const Pixels& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = pixels.fWidth;
    image.height = pixels.fHeight;
    image.format = pixels.fChannels == Channels::Grey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string file(size, '\0');
    if (png_image_write_to_memory(&image, file.data(), &size, 0, pixels.fBytes.data(), 0,
                                  nullptr) == 0) {
        throw Failure(ExitStatus::BadPicture,
                      std::string("This picture cannot be a PNG: ") + image.message + '.');
    }
    file.resize(size);
    return file;
}

/** A PPM or PGM: its heading and the bytes. */
std::string plainFile(const char* kind, const Pixels& pixels) {
    std::string file = std::string(kind) + '\n' + std::to_string(pixels.fWidth) + ' ' +
                       std::to_string(pixels.fHeight) + "\n255\n";
    file.append(pixels.fBytes.begin(), pixels.fBytes.end());
    return file;
}

}  // namespace

std::optional<PictureFormat> parsePictureFormat(const std::string& text) {
    const std::locale& ascii = std::locale::classic();
    for (const NamedFormat& entry : a_formats) {
        if (boost::iequals(text, entry.fName, ascii) ||
            boost::iequals(text, entry.fEnding, ascii)) {
            return entry.fFormat;
        }
    }
    return std::nullopt;
}

std::optional<PictureFormat> pictureFormatOf(const std::string& fileName) {
    const std::size_t point = fileName.rfind('.');
    return point == std::string::npos ? std::nullopt
                                      : parsePictureFormat(fileName.substr(point + 1));
}

std::string nameOf(PictureFormat format) {
    return entryOf(format).fName;
}

std::string endingOf(PictureFormat format) {
    return entryOf(format).fEnding;
}

PictureFormat bestFormatFor(KVPixelFormat format) {
    return format == KVPixelFormat::Jpeg ? PictureFormat::Jpeg : PictureFormat::Png;
}

std::string pictureFile(const KVFrame& frame, PictureFormat format, PixelReader& reader) {
    Pixels pixels = reader.read(frame);
    switch (format) {
        case PictureFormat::Jpeg:
            if (frame.fFormat == KVPixelFormat::Jpeg) {
                return {frame.fData.get(), frame.fData.get() + frame.fSize};
            }
            return jpegFile(pixels);
        case PictureFormat::Png:
            return pngFile(pixels);
        case PictureFormat::Ppm:
            return plainFile("P6", converted(std::move(pixels), Channels::Rgb));
        case PictureFormat::Pgm:
            break;
    }
    return plainFile("P5", converted(std::move(pixels), Channels::Grey));
}

}  // namespace robaxi_tool
