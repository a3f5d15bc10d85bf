#include "picture_decoder.h"

#include "yuv_conversion.h"

#include <new>

namespace cameraviewer {
namespace {

using SharedBytes = std::shared_ptr<const unsigned char>;

/** Qt may read an RGB888 or Grayscale8 image at any address and with any stride: it takes these
 *  formats byte by byte. */
QImage wrap(const KVFrame& frame, QImage::Format format) {
    auto owner = std::make_unique<SharedBytes>(frame.fData);
    QImage image(
        frame.fData.get(), static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight),
        static_cast<int>(frame.fStride), format,
        [](void* bytes) { delete static_cast<SharedBytes*>(bytes); }, owner.get());
    if (image.isNull()) {
        throw std::bad_alloc();
    }
    static_cast<void>(owner.release());  // now the image's
    return image;
}

QString colourText(const QColor& colour) {
    return QStringLiteral("R %1 G %2 B %3")
        .arg(colour.red())
        .arg(colour.green())
        .arg(colour.blue());
}

QString greyText(int grey) {
    return QStringLiteral("Grey %1").arg(grey);
}

QString yuvText(const KVFrame& frame, const QPoint& pixel) {
    const unsigned char* row =
        frame.fData.get() + std::size_t{frame.fStride} * static_cast<std::size_t>(pixel.y());
    const unsigned char* pair = row + 4 * static_cast<std::size_t>(pixel.x() / 2);
    return QStringLiteral("Y %1 Cb %2 Cr %3")
        .arg(pixel.x() % 2 == 0 ? pair[0] : pair[2])
        .arg(pair[1])
        .arg(pair[3]);
}

}  // namespace

Picture PictureDecoder::decode(const KVFrame& frame) {
    Picture picture;
    picture.fFrame = frame;
    picture.fFault = check(frame, fJpegReader);
    if (picture.fFault != FrameFault::None) {
        return picture;
    }
    switch (frame.fFormat) {
        case KVPixelFormat::Rgb888:
            picture.fImage = wrap(frame, QImage::Format_RGB888);
            break;
        case KVPixelFormat::Grey8:
            picture.fImage = wrap(frame, QImage::Format_Grayscale8);
            break;
        case KVPixelFormat::Yuv422:
            picture.fImage = xDecodeYuv422(frame);
            break;
        case KVPixelFormat::Jpeg:
            picture.fImage = xDecodeJpeg(frame);
            if (picture.fImage.isNull()) {
                picture.fFault = FrameFault::BadJpeg;
            }
            break;
        case KVPixelFormat::Unknown:
            break;
    }
    return picture;
}

QImage PictureDecoder::xDecodeYuv422(const KVFrame& frame) {
    QImage image = xMakeImage(frame, QImage::Format_RGB32);
    uchar* target = image.bits();
    const unsigned char* source = frame.fData.get();
    for (std::uint32_t y = 0; y < frame.fHeight; ++y) {
        convertYuv422Row(source, reinterpret_cast<QRgb*>(target), frame.fWidth);
        source += frame.fStride;
        target += image.bytesPerLine();
    }
    return image;
}

QImage PictureDecoder::xDecodeJpeg(const KVFrame& frame) {
    const unsigned char* data = frame.fData.get();
    const std::optional<JpegHeader> header = fJpegReader.readHeader(data, frame.fSize);
    if (!header) {
        return {};
    }
    const bool isGrey = header->fColours == JpegColours::Grey;
    QImage image = xMakeImage(frame, isGrey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    const auto decodeRows = isGrey ? &JpegReader::decodeGrey : &JpegReader::decodeRgb32;
    const bool isWhole =
        (fJpegReader.*decodeRows)(data, frame.fSize, *header, image.bits(), image.bytesPerLine());
    return isWhole ? image : QImage();
}

QImage PictureDecoder::xMakeImage(const KVFrame& frame, QImage::Format format) {
    QImage image =
        fBuffers.makeImage(static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight), format);
    if (image.isNull()) {
        throw std::bad_alloc();
    }
    return image;
}

QString rawText(const Picture& picture, const QPoint& pixel) {
    if (!picture.fImage.valid(pixel)) {
        return {};
    }
    if (picture.fFrame.fFormat == KVPixelFormat::Yuv422) {
        return yuvText(picture.fFrame, pixel);
    }
    const QColor colour = picture.fImage.pixelColor(pixel);
    const bool isGrey = picture.fImage.format() == QImage::Format_Grayscale8;
    return isGrey ? greyText(colour.red()) : colourText(colour);
}

}  // namespace cameraviewer
