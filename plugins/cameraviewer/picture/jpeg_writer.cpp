#include "jpeg_writer.h"

#include "jpeg_pixels.h"

#include <new>

namespace cameraviewer {
namespace {

int pixelFormatOf(const QImage& image) {
    switch (image.format()) {
        case QImage::Format_Grayscale8:
            return TJPF_GRAY;
        case QImage::Format_RGB888:
            return TJPF_RGB;
        default:
            return a_jpegRgb32;
    }
}

int subsamplingOf(const QImage& image, JpegDetail detail) {
    if (image.format() == QImage::Format_Grayscale8) {
        return TJSAMP_GRAY;
    }
    return detail == JpegDetail::Full ? TJSAMP_444 : TJSAMP_422;
}

}  // namespace

void JpegWriter::Release::operator()(void* handle) const {
    tjDestroy(handle);
}

JpegWriter::JpegWriter() : fHandle(tjInitCompress()) {
    if (!fHandle) {
        throw std::bad_alloc();
    }
}

JpegFile JpegWriter::write(const QImage& image, JpegDetail detail) {
    unsigned char* data = nullptr;
    unsigned long size = 0;
    const int result = tjCompress2(fHandle.get(), image.constBits(), image.width(),
                                   image.bytesPerLine(), image.height(), pixelFormatOf(image),
                                   &data, &size, subsamplingOf(image, detail), a_quality, 0);
    std::shared_ptr<const unsigned char> bytes(
        data, [](const unsigned char* memory) { tjFree(const_cast<unsigned char*>(memory)); });
    if (result != 0) {
        return {};
    }
    return {std::move(bytes), size};
}

}  // namespace cameraviewer
