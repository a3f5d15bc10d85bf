#include "replay/replayed_film.h"

#include <picture/pixel_format.h>

#include <utility>

namespace robot {

bool ReplayedFilm::take(KVFrame frame) {
    if (!fOrder.complete(frame)) {
        return false;
    }
    const picture::CheckedFrame checked = picture::check(frame);
    fFault = checked.fault();
    if (fFault == picture::FrameFault::None) {
        fFault = fDecoder.decode(checked);
    }
    if (fFault != picture::FrameFault::None) {
        restart();
        return false;
    }
    fFrame = std::move(frame);
    return true;
}

std::optional<KVFrame> ReplayedFilm::picture() {
    if (!fFrame) {
        return std::nullopt;
    }
    const std::size_t stride = std::size_t{fFrame->fWidth} * 3;
    fRows.resize(stride * fFrame->fHeight);
    if (!fDecoder.read(picture::PixelLayout::Rgb888, fRows.data(), stride)) {
        return std::nullopt;
    }
    const picture::JpegFile file = fJpegWriter.write(
        {fRows.data(), fFrame->fWidth, fFrame->fHeight, stride, picture::PixelLayout::Rgb888},
        picture::JpegDetail::Quarter);
    if (!file.fData) {
        return std::nullopt;
    }
    KVFrame picture;
    picture.fNumber = fFrame->fNumber;
    picture.fTime = fFrame->fTime;
    picture.fWidth = fFrame->fWidth;
    picture.fHeight = fFrame->fHeight;
    picture.fFormat = KVPixelFormat::Jpeg;
    picture.fData = file.fData;
    picture.fSize = file.fSize;
    return picture;
}

void ReplayedFilm::restart() {
    fOrder.interrupt();
    fDecoder.reset();
    fFrame.reset();
}

}  // namespace robot
