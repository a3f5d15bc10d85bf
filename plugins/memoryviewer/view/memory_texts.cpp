#include "view/memory_texts.h"

#include "model/key_cells.h"

#include <obvista/viewer/labels.h>
#include <obvista/viewer/link_state.h>
#include <obvista/viewer/value_text.h>

#include <QCoreApplication>
#include <QStringList>

namespace memoryviewer {

namespace {

/** Seconds without a value after which the status line reports it. */
constexpr double a_longQuiet = 3;
constexpr int a_maxFilterLength = 80;
constexpr double a_millisecondsInSecond = 1000;

// The context of these texts from before they were moved out of the widget.
QString translated(const char* text) {
    return QCoreApplication::translate("memoryviewer::MemoryViewerWidget", text);
}

QString phaseText(const MemorySituation& situation) {
    switch (situation.fPhase) {
        case MemoryPhase::WaitingForKeys:
            return translated("Connected. Waiting for the robot's keys\u2026");
        case MemoryPhase::Live:
            return translated("The robot's memory holds no keys.");
        case MemoryPhase::Refused:
            return translated("The robot gives no values: %1").arg(situation.fRefusal);
        case MemoryPhase::Lost:
            return obvista::endText(obvista::LinkState::Lost);
        case MemoryPhase::Closed:
            return obvista::endText(obvista::LinkState::Closed);
    }
    return {};
}

QString keysText(const ViewerSituation& situation) {
    const QString keys =
        situation.fKeys == 1 ? translated("1 key") : translated("%1 keys").arg(situation.fKeys);
    return situation.fShown == situation.fKeys
               ? keys
               : translated("%1 of %2").arg(situation.fShown).arg(keys);
}

QString liveText(const ViewerSituation& situation) {
    if (!situation.fPausedSince.isEmpty()) {
        return translated("paused");
    }
    if (situation.fQuietSeconds >= a_longQuiet) {
        return translated("no change for %1 s").arg(static_cast<int>(situation.fQuietSeconds));
    }
    return situation.fUpdates == 1 ? translated("1 update a second")
                                   : translated("%1 updates a second").arg(situation.fUpdates);
}

QString activityText(const ViewerSituation& situation) {
    switch (situation.fPhase) {
        case MemoryPhase::WaitingForKeys:
            return translated("waiting for keys");
        case MemoryPhase::Live:
            return liveText(situation);
        case MemoryPhase::Refused:
            return translated("no values");
        case MemoryPhase::Lost:
            return translated("robot lost");
        case MemoryPhase::Closed:
            return translated("connection closed");
    }
    return {};
}

}  // namespace

QString messageFor(const ViewerSituation& situation) {
    if (situation.fShown > 0) {
        return {};
    }
    if (situation.fKeys == 0) {
        return phaseText(situation);
    }
    return translated("None of the %1 keys matches the filter \"%2\".")
        .arg(situation.fKeys)
        .arg(obvista::plainText(situation.fFilter.toStdString(), a_maxFilterLength));
}

QString noticeFor(const ViewerSituation& situation) {
    if (!situation.isLive()) {
        return phaseText(situation) + QLatin1Char(' ') +
               translated("These are the last values received.");
    }
    if (!situation.fWriteRefusal.isEmpty()) {
        return situation.fWriteRefusal;
    }
    if (!situation.fFilterFault.isEmpty()) {
        return situation.fFilterFault;
    }
    return situation.fPausedSince.isEmpty()
               ? QString()
               : translated("Paused. These are the values of %1.").arg(situation.fPausedSince);
}

QString statusFor(const ViewerSituation& situation) {
    QStringList parts{keysText(situation), activityText(situation)};
    if (situation.isLive() && situation.fRoundTrip >= 0) {
        const double milliseconds = situation.fRoundTrip * a_millisecondsInSecond;
        parts +=
            translated("round trip %1 ms").arg(milliseconds, 0, 'f', milliseconds < 10 ? 1 : 0);
    }
    if (situation.isLive() && situation.fAge >= 0) {
        parts += translated("age %1").arg(ageText(situation.fAge));
    }
    return parts.join(obvista::statusSeparator());
}

}  // namespace memoryviewer
