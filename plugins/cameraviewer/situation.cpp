#include "situation.h"

#include <obvista/viewer/plain_text.h>

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace cameraviewer {

namespace {

using Seconds = Situation::Seconds;

constexpr Seconds a_shortestPatience{0.8};
/** Leaves time to inform the user within two seconds. */
constexpr Seconds a_patienceForUnknownRate{1.6};
constexpr double a_patienceInFrames = 1.6;

QString translated(const char* text) {
    return QCoreApplication::translate("cameraviewer::Situation", text);
}

QString whole(Seconds time) {
    return QString::number(std::max(1L, std::lround(time.count())));
}

QString reasonForNoCamera(const Situation& situation) {
    if (situation.fFailure) {
        switch (situation.fFailure->cause()) {
            case KVError::Cause::NoSuchModule:
                return translated("This robot offers no cameras: it has no module KVVideo.");
            case KVError::Cause::NoSuchMethod:
                return translated(
                    "This robot does not list its cameras: its module KVVideo has no method "
                    "getCameras. Enter a camera's name above to watch it.");
            default:
                return translated("The robot does not list its cameras: %1")
                    .arg(obvista::plainText(situation.fFailure->toString()));
        }
    }
    if (!situation.fHasCameras) {
        return translated("Connected. Asking the robot for its cameras\u2026");
    }
    return situation.fCameraCount == 0 ? translated("This robot has no camera.")
                                       : translated("No camera is chosen.");
}

QString reasonOfFrames(const Situation& situation) {
    if (situation.fEnd) {
        return translated("The robot has ended the pictures of camera \"%1\": %2")
            .arg(situation.fCamera, obvista::plainText(situation.fEnd->toString()));
    }
    if (!situation.fSinceFrame) {
        return situation.fWatched < patienceFor(situation.fRate)
                   ? translated("Waiting for the first picture of camera \"%1\"\u2026")
                         .arg(situation.fCamera)
                   : translated("Camera \"%1\" has not sent a picture in %2 s.")
                         .arg(situation.fCamera, whole(situation.fWatched));
    }
    if (*situation.fSinceFrame >= patienceFor(situation.fRate)) {
        return translated("Camera \"%1\" stopped sending %2 s ago.")
            .arg(situation.fCamera, whole(*situation.fSinceFrame));
    }
    return translated(faultText(situation.fFault));
}

}  // namespace

QString reasonOf(const Situation& situation) {
    if (situation.fLink != obvista::LinkState::Connected) {
        return obvista::endText(situation.fLink);
    }
    if (situation.fCamera.isEmpty()) {
        return reasonForNoCamera(situation);
    }
    return situation.fIsPaused ? translated("Paused.") : reasonOfFrames(situation);
}

Seconds patienceFor(double rate) {
    return rate > 0 ? std::max(Seconds(a_patienceInFrames / rate), a_shortestPatience)
                    : a_patienceForUnknownRate;
}

}  // namespace cameraviewer
