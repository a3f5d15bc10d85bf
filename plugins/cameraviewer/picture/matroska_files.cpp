#include "matroska_files.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

namespace cameraviewer {

using picture::CheckedFrame;
using picture::JpegDetail;
using picture::JpegFile;

namespace {

constexpr std::chrono::seconds a_spaceCheckInterval{1};

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::MatroskaFiles)
};

}  // namespace

bool MatroskaFiles::Kind::operator==(const Kind& other) const {
    return fFormat == other.fFormat && fWidth == other.fWidth && fHeight == other.fHeight;
}

MatroskaFiles::MatroskaFiles(const QString& file, const PictureOrigin& origin,
                             std::int64_t freeSpace)
    : fFirstFile(file), fOrigin(origin), fFreeSpace(freeSpace), fFile(file) {
}

bool MatroskaFiles::write(const ArrivedFrame& arrived) {
    const CheckedFrame& checked = arrived.fFrame;
    const KVFrame& frame = checked.frame();
    const JpegFile jpeg = xEncode(checked);
    if (!jpeg.fData) {
        return false;
    }
    xCheckFreeSpace();
    const Kind kind{frame.fFormat, frame.fWidth, frame.fHeight};
    if (fWriter && !(kind == fKind)) {
        xFinishFile();
        fFile = xNextFile();
    }
    if (!fFailure.isEmpty()) {
        return true;
    }
    fTime = fClock.next(frame.fTime, arrived.fArrival);
    if (!fWriter) {
        xBegin(kind, frame);
    }
    fWriter->write(jpeg, fTime - fBegin);
    fFailure = QString::fromStdString(fWriter->failure());
    return true;
}

JpegFile MatroskaFiles::xEncode(const CheckedFrame& checked) {
    if (checked.fault() != picture::FrameFault::None) {
        return {};
    }
    const KVFrame& frame = checked.frame();
    if (frame.fFormat == KVPixelFormat::Jpeg) {
        return {frame.fData, frame.fSize};
    }
    // YUV 4:2:2 has no higher colour resolution.
    const bool isHalf = frame.fFormat == KVPixelFormat::Yuv422;
    return fJpegWriter.write(rowsOf(fDecoder.decode(checked).fImage),
                             isHalf ? JpegDetail::Half : JpegDetail::Full);
}

/** Ends the recording while there is enough space to complete its file. */
void MatroskaFiles::xCheckFreeSpace() {
    const auto now = std::chrono::steady_clock::now();
    if (now < fNextSpaceCheck) {
        return;
    }
    fNextSpaceCheck = now + a_spaceCheckInterval;
    const QStorageInfo disk(QFileInfo(fFile).absolutePath());
    if (disk.isValid() && disk.bytesAvailable() < fFreeSpace) {
        fFailure = Texts::tr(
            "The disk is nearly full, so the recording has ended. What was recorded can be "
            "played.");
    }
}

void MatroskaFiles::xBegin(const Kind& kind, const KVFrame& frame) {
    ++fFileCount;
    fKind = kind;
    fBegin = fTime;
    matroska::MatroskaWriter::Settings settings;
    settings.fFile = QFile::encodeName(fFile).toStdString();
    settings.fWidth = static_cast<int>(kind.fWidth);
    settings.fHeight = static_cast<int>(kind.fHeight);
    settings.fTitle =
        //: title of a video: a camera, its robot and the time
        Texts::tr("%1 of %2, %3")
            .arg(originText(fOrigin.fCamera), originText(fOrigin.fRobot), timeText(frame.fTime))
            .toStdString();
    settings.fStart = frame.fTime;
    fWriter = std::make_unique<matroska::MatroskaWriter>(settings);
}

QString MatroskaFiles::xNextFile() const {
    const QFileInfo first(fFirstFile);
    const QString suffix = first.suffix().isEmpty() ? QString() : QLatin1Char('.') + first.suffix();
    const QString stem = first.path() + QLatin1Char('/') + first.completeBaseName();
    QString file;
    int number = fFileCount;
    do {
        ++number;
        file = stem + QLatin1Char('-') + QString::number(number) + suffix;
    } while (QFile::exists(file));
    return file;
}

void MatroskaFiles::xFinishFile() {
    if (!fWriter) {
        return;
    }
    fWriter->finish();
    if (fFailure.isEmpty()) {
        fFailure = QString::fromStdString(fWriter->failure());
    }
    fBytesBefore = bytes();
    fWriter.reset();
}

std::int64_t MatroskaFiles::bytes() const {
    return fWriter ? fBytesBefore + QFileInfo(fFile).size() : fBytesBefore;
}

}  // namespace cameraviewer
