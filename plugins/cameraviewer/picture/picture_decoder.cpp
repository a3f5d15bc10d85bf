#include "picture_decoder.h"

#include <picture/frame_decoder.h>

#include <QCoreApplication>

#include <new>

namespace cameraviewer {

using picture::CheckedFrame;
using picture::FrameFault;
using picture::PixelLayout;

namespace {

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::PictureDecoder)
};

using SharedBytes = std::shared_ptr<const unsigned char>;

/**
 * Qt can read an RGB888 or Grayscale8 image at any address and with any stride: it accesses these
 * formats byte by byte.
 */
QImage wrap(const KVFrame& frame, QImage::Format format) {
    auto owner = std::make_unique<SharedBytes>(frame.fData);
    QImage image(
        frame.fData.get(), static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight),
        static_cast<int>(frame.fStride), format,
        [](void* bytes) { delete static_cast<SharedBytes*>(bytes); }, owner.get());
    if (image.isNull()) {
        throw std::bad_alloc();
    }
    static_cast<void>(owner.release());  // now owned by the image
    return image;
}

QString colourText(const QColor& colour) {
    return QStringLiteral("R %1 G %2 B %3")
        .arg(colour.red())
        .arg(colour.green())
        .arg(colour.blue());
}

QString greyText(int grey) {
    //: %1 is the brightness of a pixel, 0 to 255
    return Texts::tr("Grey %1").arg(grey);
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
    return decode(check(frame, fJpegReader));
}

Picture PictureDecoder::decode(const CheckedFrame& checked) {
    const KVFrame& frame = checked.frame();
    Picture result;
    result.fFrame = frame;
    result.fFault = checked.fault();
    if (result.fFault != FrameFault::None) {
        return result;
    }
    if (frame.fFormat == KVPixelFormat::Rgb888) {
        result.fImage = wrap(frame, QImage::Format_RGB888);
    } else if (frame.fFormat == KVPixelFormat::Grey8) {
        result.fImage = wrap(frame, QImage::Format_Grayscale8);
    } else if (frame.fFormat == KVPixelFormat::H264) {
        xDecodeH264(checked, result);
    } else {
        result.fImage = xDecodeRows(checked);
        result.fFault = result.fImage.isNull() ? FrameFault::BadJpeg : FrameFault::None;
    }
    return result;
}

FrameFault PictureDecoder::skip(const CheckedFrame& frame) {
    const bool isNeeded =
        frame.fault() == FrameFault::None && frame.frame().fFormat == KVPixelFormat::H264;
    return isNeeded ? fH264Decoder.decode(frame) : frame.fault();
}

void PictureDecoder::xDecodeH264(const CheckedFrame& frame, Picture& picture) {
    picture.fFault = fH264Decoder.decode(frame);
    if (picture.fFault != FrameFault::None) {
        return;
    }
    QImage image = xMakeImage(frame.frame(), QImage::Format_RGB32);
    if (fH264Decoder.read(PixelLayout::Rgb32, image.bits(),
                          static_cast<std::size_t>(image.bytesPerLine()))) {
        picture.fImage = image;
    } else {
        picture.fFault = FrameFault::BadH264;
    }
}

/** @throws std::bad_alloc */
QImage PictureDecoder::xMakeImage(const KVFrame& frame, QImage::Format format) {
    QImage image =
        fBuffers.makeImage(static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight), format);
    if (image.isNull()) {
        throw std::bad_alloc();
    }
    return image;
}

/** @return a null image for a JPEG that is damaged */
QImage PictureDecoder::xDecodeRows(const CheckedFrame& frame) {
    QImage image = xMakeImage(frame.frame(),
                              frame.isGrey() ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    const bool isWhole = picture::decode(
        frame, fJpegReader, frame.isGrey() ? PixelLayout::Grey8 : PixelLayout::Rgb32, image.bits(),
        static_cast<std::size_t>(image.bytesPerLine()));
    return isWhole ? image : QImage();
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
