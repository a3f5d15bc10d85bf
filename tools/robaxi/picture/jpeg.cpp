#include "picture/jpeg.h"

#include "process/failure.h"

#include <memory>
#include <new>
#include <turbojpeg.h>

namespace robaxi_tool {

namespace {

/** Of 100. Differences to the original cannot be seen at this quality. */
constexpr int a_quality = 95;

struct Release {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using Handle = std::unique_ptr<void, Release>;

Handle checked(tjhandle handle) {
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    return Handle(handle);
}

[[noreturn]] void refuse(const std::string& sentence) {
    throw Failure(ExitStatus::BadPicture, sentence);
}

bool isForPrinters(int colourSpace) {
    return colourSpace == TJCS_CMYK || colourSpace == TJCS_YCCK;
}

int pixelFormatOf(const Pixels& pixels) {
    return pixels.fChannels == Pixels::Channels::Grey ? TJPF_GRAY : TJPF_RGB;
}

}  // namespace

Pixels readJpeg(const unsigned char* data, std::size_t size, std::uint32_t width,
                std::uint32_t height) {
    const Handle handle = checked(tjInitDecompress());
    int jpegWidth = 0;
    int jpegHeight = 0;
    int subsampling = 0;
    int colourSpace = 0;
    if (tjDecompressHeader3(handle.get(), data, size, &jpegWidth, &jpegHeight, &subsampling,
                            &colourSpace) != 0 ||
        jpegWidth <= 0 || jpegHeight <= 0 || isForPrinters(colourSpace)) {
        refuse("The camera sends JPEGs that cannot be read.");
    }
    if (std::int64_t{jpegWidth} != width || std::int64_t{jpegHeight} != height) {
        refuse("The camera sends JPEGs of another size than it says.");
    }
    const bool isGrey = colourSpace == TJCS_GRAY;
    Pixels pixels(width, height, isGrey ? Pixels::Channels::Grey : Pixels::Channels::Rgb);
    // A picture that ends early or is damaged is worth a warning only to the library, which fills
    // in what is missing. That is not what the camera saw.
    if (tjDecompress2(handle.get(), data, size, pixels.fBytes.data(), jpegWidth, 0, jpegHeight,
                      pixelFormatOf(pixels), TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS) != 0) {
        refuse("The camera sends JPEGs that are damaged or incomplete.");
    }
    return pixels;
}

std::string writeJpeg(const Pixels& pixels) {
    const Handle handle = checked(tjInitCompress());
    const bool isGrey = pixels.fChannels == Pixels::Channels::Grey;
    unsigned char* data = nullptr;
    unsigned long size = 0;
    const int result =
        tjCompress2(handle.get(), pixels.fBytes.data(), static_cast<int>(pixels.fWidth), 0,
                    static_cast<int>(pixels.fHeight), pixelFormatOf(pixels), &data, &size,
                    isGrey ? TJSAMP_GRAY : TJSAMP_444, a_quality, 0);
    const std::unique_ptr<unsigned char, decltype(&tjFree)> owner(data, &tjFree);
    if (result != 0) {
        refuse(std::string("This picture cannot be a JPEG: ") + tjGetErrorStr2(handle.get()) + '.');
    }
    return {data, data + size};
}

}  // namespace robaxi_tool
