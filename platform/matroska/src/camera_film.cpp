#include <picture/frame_decoder.h>
#include <picture/h264.h>

#include <filesystem>
#include <matroska/camera_film.h>
#include <system_error>
#include <utility>

namespace matroska {

using picture::CheckedFrame;
using picture::JpegDetail;
using picture::JpegFile;
using picture::PixelLayout;

namespace {

std::int64_t sizeOf(const std::string& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return error ? 0 : static_cast<std::int64_t>(size);
}

}  // namespace

bool CameraFilm::Kind::operator==(const Kind& other) const {
    return fFormat == other.fFormat && fWidth == other.fWidth && fHeight == other.fHeight &&
           fParameterSets == other.fParameterSets;
}

CameraFilm::CameraFilm(std::string file, Title title)
    : fFirstFile(std::move(file)), fTitle(std::move(title)) {
}

bool CameraFilm::write(const CheckedFrame& checked, std::int64_t arrival) {
    const KVFrame& frame = checked.frame();
    const EncodedPicture picture = xEncode(checked);
    if (!picture.fData) {
        return false;
    }
    Kind kind = xKindOf(frame);
    if (fWriter && !(kind == fKind)) {
        xFinishFile();
    }
    if (!fFailure.empty()) {
        return true;
    }
    fTime = fClock.next(frame.fTime, arrival);
    if (!fWriter) {
        xBegin(std::move(kind), frame);
    }
    fWriter->write(picture, fTime - fBegin);
    xCheck();
    return true;
}

CameraFilm::Kind CameraFilm::xKindOf(const KVFrame& frame) const {
    Kind kind{frame.fFormat, frame.fWidth, frame.fHeight, {}};
    if (frame.fFormat == KVPixelFormat::H264) {
        kind.fParameterSets = frame.fIsKey ? picture::parameterSets(frame) : fKind.fParameterSets;
    }
    return kind;
}

/** @return no data if the frame has a fault */
EncodedPicture CameraFilm::xEncode(const CheckedFrame& checked) {
    if (checked.fault() != picture::FrameFault::None) {
        return {};
    }
    const KVFrame& frame = checked.frame();
    if (frame.fFormat == KVPixelFormat::Jpeg || frame.fFormat == KVPixelFormat::H264) {
        return {frame.fData, frame.fSize};
    }
    const PixelLayout layout = checked.isGrey() ? PixelLayout::Grey8 : PixelLayout::Rgb888;
    const std::size_t stride = std::size_t{frame.fWidth} * bytesPerPixel(layout);
    fRows.resize(stride * frame.fHeight);
    if (!decode(checked, fJpegReader, layout, fRows.data(), stride)) {
        return {};
    }
    // YUV 4:2:2 has no higher colour resolution.
    const bool isHalf = frame.fFormat == KVPixelFormat::Yuv422;
    const JpegFile jpeg =
        fJpegWriter.write({fRows.data(), frame.fWidth, frame.fHeight, stride, layout},
                          isHalf ? JpegDetail::Half : JpegDetail::Full);
    return {jpeg.fData, jpeg.fSize};
}

void CameraFilm::xBegin(Kind kind, const KVFrame& frame) {
    fFiles.push_back(fFiles.empty() ? fFirstFile : xNextFile());
    fKind = std::move(kind);
    fBegin = fTime;
    MatroskaWriter::Settings settings;
    settings.fFile = fFiles.back();
    settings.fFormat =
        fKind.fFormat == KVPixelFormat::H264 ? KVPixelFormat::H264 : KVPixelFormat::Jpeg;
    settings.fWidth = static_cast<int>(fKind.fWidth);
    settings.fHeight = static_cast<int>(fKind.fHeight);
    settings.fTitle = fTitle(frame.fTime);
    settings.fStart = frame.fTime;
    fWriter = std::make_unique<MatroskaWriter>(settings);
}

std::string CameraFilm::xNextFile() const {
    const std::filesystem::path first(fFirstFile);
    std::filesystem::path file;
    std::size_t number = fFiles.size();
    std::error_code ignored;
    do {
        ++number;
        file = first.parent_path() /
               (first.stem().string() + '-' + std::to_string(number) + first.extension().string());
    } while (std::filesystem::exists(file, ignored));
    return file.string();
}

void CameraFilm::xFinishFile() {
    if (!fWriter) {
        return;
    }
    fWriter->finish();
    xCheck();
    fBytesBefore += sizeOf(fFiles.back());
    fWriter.reset();
}

void CameraFilm::xCheck() {
    if (fFailure.empty()) {
        fFailure = fWriter->failure();
        fIsDiskFull = fWriter->isDiskFull();
    }
}

void CameraFilm::finish() {
    xFinishFile();
}

std::int64_t CameraFilm::bytes() const {
    return fWriter ? fBytesBefore + sizeOf(fFiles.back()) : fBytesBefore;
}

}  // namespace matroska
