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

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::MemoryTexts)
};

QString phaseText(const MemorySituation& situation) {
    switch (situation.fPhase) {
        case MemoryPhase::WaitingForKeys:
            return Texts::tr("Connected. Waiting for the robot's keys\u2026");
        case MemoryPhase::Live:
            return Texts::tr("The robot's memory contains no keys.");
        case MemoryPhase::Refused:
            //: %1 is the robot's reason
            return Texts::tr("The robot does not provide values: %1").arg(situation.fRefusal);
        case MemoryPhase::Interrupted:
        case MemoryPhase::Lost:
            return obvista::endText(obvista::LinkState::Lost);
        case MemoryPhase::Closed:
            return obvista::endText(obvista::LinkState::Closed);
    }
    return {};
}

QString keysText(const ViewerSituation& situation) {
    const QString keys = situation.fKeys == 1
                             ? Texts::tr("1 key")
                             : Texts::tr("%n keys", nullptr, obvista::pluralOf(situation.fKeys));
    return situation.fShown == situation.fKeys
               ? keys
               //: a number, and a text such as "500 keys"
               : Texts::tr("%1 of %2").arg(situation.fShown).arg(keys);
}

QString changesText(const ViewerSituation& situation) {
    if (situation.fQuietSeconds >= a_longQuiet) {
        //: in the status line
        return Texts::tr("no change for %1 s").arg(static_cast<int>(situation.fQuietSeconds));
    }
    return situation.fUpdates == 1 ? Texts::tr("1 update a second")
                                   : Texts::tr("%n updates a second", nullptr, situation.fUpdates);
}

QString liveText(const ViewerSituation& situation) {
    if (!situation.fPausedSince.isEmpty()) {
        return Texts::tr("paused");
    }
    if (situation.fReplay.isEmpty()) {
        return changesText(situation);
    }
    return situation.fIsReplayPaused
               ? situation.fReplay
               : situation.fReplay + obvista::statusSeparator() + changesText(situation);
}

QString activityText(const ViewerSituation& situation) {
    switch (situation.fPhase) {
        case MemoryPhase::WaitingForKeys:
            return Texts::tr("waiting for keys");
        case MemoryPhase::Live:
            return liveText(situation);
        case MemoryPhase::Refused:
            return Texts::tr("no values");
        case MemoryPhase::Interrupted:
        case MemoryPhase::Lost:
            return Texts::tr("robot lost");
        case MemoryPhase::Closed:
            return Texts::tr("connection closed");
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
    //: %1 is a number, %2 what the user entered
    return Texts::tr("None of the %1 keys matches the filter \"%2\".")
        .arg(situation.fKeys)
        .arg(obvista::plainText(situation.fFilter.toStdString(), a_maxFilterLength));
}

QString noticeFor(const ViewerSituation& situation) {
    if (situation.fPhase == MemoryPhase::Interrupted) {
        return Texts::tr("These are the last values received.");  // the kit says the rest
    }
    if (!situation.isLive()) {
        return phaseText(situation) + QLatin1Char(' ') +
               Texts::tr("These are the last values received.");
    }
    if (!situation.fWriteRefusal.isEmpty()) {
        return situation.fWriteRefusal;
    }
    if (!situation.fFilterFault.isEmpty()) {
        return situation.fFilterFault;
    }
    return situation.fPausedSince.isEmpty()
               ? QString()
               //: %1 is a time of day
               : Texts::tr("Paused. These are the values of %1.").arg(situation.fPausedSince);
}

QString statusFor(const ViewerSituation& situation) {
    QStringList parts{keysText(situation), activityText(situation)};
    if (situation.isLive() && situation.fRoundTrip >= 0) {
        const double milliseconds = situation.fRoundTrip * a_millisecondsInSecond;
        //: in the status line
        parts += Texts::tr("round trip %1 ms").arg(milliseconds, 0, 'f', milliseconds < 10 ? 1 : 0);
    }
    if (!situation.isOver() && situation.fAge >= 0) {
        //: time since the newest value, with its unit; in the status line
        parts += Texts::tr("age %1").arg(ageText(situation.fAge));
    }
    return parts.join(obvista::statusSeparator());
}

}  // namespace memoryviewer
