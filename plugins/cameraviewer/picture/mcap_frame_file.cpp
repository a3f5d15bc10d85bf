#include "mcap_frame_file.h"

#include <QFile>

#include <optional>
#include <utility>

namespace cameraviewer {

McapFrameFile::McapFrameFile(const QString& file, const PictureOrigin& origin)
    : fName(file), fCamera(origin.fCamera.toStdString()) {
    const robot_recording::RobotOrigin robot{origin.fRobot.toStdString(), origin.fAddress,
                                             origin.fAddress, origin.fPort};
    try {
        fFile = std::make_unique<robot_recording::RobotFile>(QFile::encodeName(file).toStdString(),
                                                             robot);
    } catch (const recording::RecordingError& error) {
        fFailure = QString::fromStdString(robot_recording::sentenceOf(error.what()));
        return;
    }
    fTopic = std::make_unique<robot_recording::CameraTopic>(fFile->sink(), robot.fName, fCamera,
                                                            origin.fDescription);
}

FrameResult McapFrameFile::write(const ArrivedFrame& arrived) {
    const KVFrame& frame = arrived.fFrame.frame();
    if (arrived.fFrame.fault() != picture::FrameFault::None ||
        !robot_recording::CameraTopic::canWrite(frame)) {
        return FrameResult::Faulty;
    }
    if (!fFailure.isEmpty()) {
        return FrameResult::Dropped;
    }
    robot_recording::EventTopic& events = fFile->events();
    if (arrived.fDropped > 0) {
        events.countDrops(arrived.fDropped);
    }
    events.report();
    xEndGap();
    const bool isRecorded = fTopic->write(frame, arrived.fLogTime);
    if (isRecorded) {
        fDuration = fClock.next(frame.fTime, arrived.fArrival);
    } else {
        events.countDrops();
    }
    fFile->addIconIfDone();
    xCheck();
    return isRecorded ? FrameResult::Recorded : FrameResult::Dropped;
}

void McapFrameFile::write(const StreamEnd& end) {
    // The viewer watches the camera again once a second, which may end in the same way.
    if (!fFailure.isEmpty() || (fGap && *fGap >= end.fKind)) {
        return;
    }
    fGap = end.fKind;
    switch (end.fKind) {
        case StreamEnd::Kind::CameraEnded:
            fFile->events().write("camera ended", fCamera + ": " + end.fReason);
            break;
        case StreamEnd::Kind::Silent:
            fFile->events().write("silent", end.fReason);
            break;
        case StreamEnd::Kind::Lost:
            fFile->events().write("lost", end.fReason);
            break;
    }
    xCheck();
}

void McapFrameFile::xEndGap() {
    if (!fGap) {
        return;
    }
    switch (*std::exchange(fGap, std::nullopt)) {
        case StreamEnd::Kind::CameraEnded:
            fFile->events().write("camera continues", fCamera);
            break;
        case StreamEnd::Kind::Silent:
            fFile->events().write("answers again", "");
            break;
        case StreamEnd::Kind::Lost:
            fFile->events().write("connected", "");
            break;
    }
}

void McapFrameFile::finish(std::uint64_t dropped) {
    if (fFile) {
        if (dropped > 0) {
            fFile->events().countDrops(dropped);
        }
        fFile->finish();
        xCheck();
    }
}

std::int64_t McapFrameFile::bytes() const {
    return fFile ? static_cast<std::int64_t>(fFile->sink().progress().fBytes) : 0;
}

void McapFrameFile::xCheck() {
    const std::optional<std::string> error = fFile->sink().error();
    if (error && fFailure.isEmpty()) {
        fFailure = QString::fromStdString(robot_recording::sentenceOf(*error));
    }
}

}  // namespace cameraviewer
