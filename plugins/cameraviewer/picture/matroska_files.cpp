#include "matroska_files.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

namespace cameraviewer {

namespace {

constexpr std::chrono::seconds a_spaceCheckInterval{1};

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::MatroskaFiles)
};

}  // namespace

MatroskaFiles::MatroskaFiles(const QString& file, const PictureOrigin& origin,
                             std::int64_t freeSpace)
    : fFirstFile(file),
      fFreeSpace(freeSpace),
      fFilm(QFile::encodeName(file).toStdString(), [origin](std::int64_t time) {
          //: title of a video: a camera, its robot and the time
          return Texts::tr("%1 of %2, %3")
              .arg(originText(origin.fCamera), originText(origin.fRobot), timeText(time))
              .toStdString();
      }) {
}

FrameResult MatroskaFiles::write(const ArrivedFrame& arrived) {
    if (arrived.fFrame.fault() != picture::FrameFault::None) {
        return FrameResult::Faulty;
    }
    xCheckFreeSpace();
    if (!failure().isEmpty()) {
        return FrameResult::Dropped;
    }
    return fFilm.write(arrived.fFrame, arrived.fArrival) ? FrameResult::Recorded
                                                         : FrameResult::Faulty;
}

/** Ends the recording while there is enough space to complete its file. */
void MatroskaFiles::xCheckFreeSpace() {
    const auto now = std::chrono::steady_clock::now();
    if (now < fNextSpaceCheck) {
        return;
    }
    fNextSpaceCheck = now + a_spaceCheckInterval;
    const QStorageInfo disk(QFileInfo(file()).absolutePath());
    if (disk.isValid() && disk.bytesAvailable() < fFreeSpace) {
        fFailure = Texts::tr(
            "The disk is nearly full, so the recording has ended. What was recorded can be "
            "played.");
    }
}

QString MatroskaFiles::failure() const {
    if (!fFailure.isEmpty()) {
        return fFailure;
    }
    return fFilm.isDiskFull()
               ? Texts::tr("The disk is full. The part recorded so far can be played.")
               : QString::fromStdString(fFilm.failure());
}

QString MatroskaFiles::file() const {
    return fFilm.files().empty()
               ? fFirstFile
               : QFile::decodeName(QByteArray::fromStdString(fFilm.files().back()));
}

}  // namespace cameraviewer
