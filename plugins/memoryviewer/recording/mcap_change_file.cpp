#include "recording/mcap_change_file.h"

#include <QFile>

#include <robot_recording/robot_origin.h>

namespace memoryviewer {

bool McapChangeFile::open(const QString& fileName) {
    try {
        fFile = std::make_unique<robot_recording::RobotFile>(
            QFile::encodeName(fileName).toStdString(), fRobot);
    } catch (const recording::RecordingError& error) {
        fError = QString::fromStdString(robot_recording::sentenceOf(error.what()));
        return false;
    }
    fTopics = std::make_unique<robot_recording::ValueTopics>(fFile->sink(), fRobot.fName);
    return xCheck();
}

bool McapChangeFile::append(const RecordedChange& change) {
    if (fTopics->write(*change.fKey, change.fValue, change.fTime,
                       robot_recording::messageTime(change.fArrival))) {
        ++fChanges;
    } else {
        fFile->events().countDrops();
    }
    return xCheck();
}

bool McapChangeFile::append(const RecordedEvent& event) {
    fFile->events().write(event.fName, event.fText);
    return xCheck();
}

bool McapChangeFile::appendLoss(std::uint64_t lost) {
    fFile->events().countDrops(lost);
    return write();
}

bool McapChangeFile::write() {
    fFile->events().report();
    fFile->addIconIfDone();
    return xCheck();
}

void McapChangeFile::close() {
    if (fFile) {
        fFile->finish();
        xCheck();
    }
}

std::int64_t McapChangeFile::size() const {
    return fFile ? static_cast<std::int64_t>(fFile->sink().progress().fBytes) : 0;
}

/** @return true if there is no error */
bool McapChangeFile::xCheck() {
    const std::optional<std::string> error = fFile->sink().error();
    if (error && fError.isEmpty()) {
        fError = QString::fromStdString(robot_recording::sentenceOf(*error));
    }
    return fError.isEmpty();
}

}  // namespace memoryviewer
