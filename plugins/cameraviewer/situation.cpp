#include "situation.h"

#include "fault_sentence.h"

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

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::Situation)
};

QString whole(Seconds time) {
    return QString::number(std::max(1L, std::lround(time.count())));
}

QString reasonForNoCamera(const Situation& situation) {
    if (situation.fFailure) {
        switch (situation.fFailure->cause()) {
            case KVError::Cause::NoSuchModule:
                return Texts::tr("This robot offers no cameras: it has no module KVVideo.");
            case KVError::Cause::NoSuchMethod:
                return Texts::tr(
                    "This robot does not list its cameras: its module KVVideo has no method "
                    "getCameras. Enter a camera's name above to watch it.");
            default:
                //: %1 is the reason in the robot's words
                return Texts::tr("The robot does not list its cameras: %1")
                    .arg(obvista::plainText(situation.fFailure->toString()));
        }
    }
    if (!situation.fHasCameras) {
        return Texts::tr("Connected. Asking the robot for its cameras\u2026");
    }
    return situation.fCameraCount == 0 ? Texts::tr("This robot has no camera.")
                                       : Texts::tr("No camera is chosen.");
}

QString reasonOfFrames(const Situation& situation) {
    if (situation.fEnd) {
        //: %2 is the reason in the robot's words
        return Texts::tr("The robot has ended the stream of camera \"%1\": %2")
            .arg(situation.fCamera, obvista::plainText(situation.fEnd->toString()));
    }
    if (!situation.fSinceFrame) {
        return situation.fWatched < patienceFor(situation.fRate)
                   ? Texts::tr("Waiting for the first picture of camera \"%1\"\u2026")
                         .arg(situation.fCamera)
                   : Texts::tr("Camera \"%1\" has not sent a picture in %2 s.")
                         .arg(situation.fCamera, whole(situation.fWatched));
    }
    if (!situation.fIsReplayPaused &&
        *situation.fSinceFrame >= patienceFor(situation.fRate * situation.fReplaySpeed)) {
        return Texts::tr("Camera \"%1\" stopped sending %2 s ago.")
            .arg(situation.fCamera, whole(*situation.fSinceFrame * situation.fReplaySpeed));
    }
    return faultSentence(situation.fFault);
}

}  // namespace

QString reasonOf(const Situation& situation) {
    if (situation.fLink != obvista::LinkState::Connected) {
        return obvista::endText(situation.fLink);
    }
    if (situation.fCamera.isEmpty()) {
        return reasonForNoCamera(situation);
    }
    return situation.fIsPaused ? Texts::tr("Paused.") : reasonOfFrames(situation);
}

Seconds patienceFor(double rate) {
    return rate > 0 ? std::max(Seconds(a_patienceInFrames / rate), a_shortestPatience)
                    : a_patienceForUnknownRate;
}

}  // namespace cameraviewer
