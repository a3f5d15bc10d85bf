#include "figures.h"

#include "fault_sentence.h"

#include <base/time.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>

#include <QCoreApplication>
#include <QStringList>

namespace cameraviewer {

namespace {

constexpr double a_millisecond = base::a_microsecondsPerMillisecond;
constexpr double a_second = base::a_microsecondsPerSecond;
/** An arriving picture cannot be older than this: the clocks of robot and computer differ. */
constexpr double a_oldest = 30 * a_second;

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::Figures)
};

/**
 * Numbers have a decimal point in every locale, since they are meant to be copied into other
 * programs.
 */
QString number(double value, int digits) {
    return QString::number(value, 'f', digits);
}

QString ageOf(const Figures& figures) {
    const double age = *figures.fAge;
    const bool isKnown = !figures.fReplay.isEmpty() || (age >= 0 && age <= a_oldest);
    return isKnown ? ageText(age + figures.fKept) : liveAgeText(age);
}

QString faultLines(const Figures& figures) {
    QString lines;
    for (const auto& [fault, count] : figures.fFaults) {
        //: %2 is the sentence that gives the reason
        lines += Texts::tr("Not shown: %1 frames. %2", nullptr, obvista::pluralOf(count))
                     .arg(count)
                     .arg(faultSentence(fault)) +
                 QLatin1Char('\n');
    }
    return lines;
}

}  // namespace

void FigureMeter::addShown(std::int64_t age) {
    ++fShown;
    fAges += static_cast<double>(age);
}

Figures FigureMeter::measure(const FeedCounts& counts, Clock::time_point now) {
    const auto rate = [now](std::uint64_t count, Clock::time_point since) {
        const double seconds = std::chrono::duration<double>(now - since).count();
        return seconds > 0 ? static_cast<double>(count) / seconds : 0;
    };
    Figures figures;
    figures.fReceived = rate(counts.fReceived - fCounts.fReceived, fSince);
    figures.fShown = rate(fShown, fSince);
    figures.fBytes = rate(counts.fBytes - fCounts.fBytes, fSince);
    if (fShown > 0) {
        figures.fAge = fAges / static_cast<double>(fShown);
    }
    figures.fFaults = counts.fFaults;
    // The frames that are missing before one are known when it arrives, perhaps after a long
    // silence.
    if (counts.fReceived != fCounts.fReceived) {
        figures.fDropped = rate(counts.fDropped - fDropped, fSinceDropped);
        fDropped = counts.fDropped;
        fSinceDropped = now;
    }
    xBegin(counts, now);
    return figures;
}

void FigureMeter::restart(const FeedCounts& counts, Clock::time_point now) {
    fDropped = counts.fDropped;
    fSinceDropped = now;
    xBegin(counts, now);
}

void FigureMeter::xBegin(const FeedCounts& counts, Clock::time_point now) {
    fSince = now;
    fCounts = counts;
    fShown = 0;
    fAges = 0;
}

QString ageText(double microseconds) {
    return microseconds < a_second ? Texts::tr("%1 ms").arg(number(microseconds / a_millisecond, 0))
                                   : Texts::tr("%1 s").arg(number(microseconds / a_second, 1));
}

QString liveAgeText(double microseconds) {
    if (microseconds < 0 || microseconds > a_oldest) {
        return microseconds < 0 ? Texts::tr("unknown (the robot's clock is ahead)")
                                : Texts::tr("unknown (the robot's clock is behind)");
    }
    return ageText(microseconds);
}

QString byteRateText(double bytesPerSecond) {
    constexpr double kilo = 1e3;
    constexpr double mega = 1e6;
    return bytesPerSecond < mega ? Texts::tr("%1 kB/s").arg(number(bytesPerSecond / kilo, 0))
                                 : Texts::tr("%1 MB/s").arg(number(bytesPerSecond / mega, 1));
}

QString figuresLine(const Figures& figures) {
    //: %1 is a number of pictures a second; in the status line
    QStringList parts{Texts::tr("%1 received").arg(number(figures.fReceived, 1)),
                      //: %1 is a number of pictures a second; in the status line
                      Texts::tr("%1 shown").arg(number(figures.fShown, 1)),
                      //: %1 is a number of pictures; in the status line
                      Texts::tr("%1 dropped a second").arg(number(figures.fDropped, 1))};
    if (!figures.fReplay.isEmpty()) {
        parts.prepend(figures.fReplay);
    }
    if (figures.fAge) {
        //: age of the shown picture, with its unit; in the status line
        parts += Texts::tr("age %1").arg(ageOf(figures));
    }
    parts += byteRateText(figures.fBytes);
    std::uint64_t faulty = 0;
    for (const auto& [fault, count] : figures.fFaults) {
        faulty += count;
    }
    if (faulty > 0) {
        parts +=
            faulty == 1
                ? Texts::tr("1 faulty frame")
                : Texts::tr("%1 faulty frames", nullptr, obvista::pluralOf(faulty)).arg(faulty);
    }
    return parts.join(obvista::statusSeparator());
}

QString figuresReport(const Figures& figures) {
    const QString age = figures.fAge ? ageOf(figures) : Texts::tr("no picture");
    const QString replay = figures.fReplay.isEmpty()
                               ? QString()
                               : Texts::tr("State: %1").arg(figures.fReplay) + QLatin1Char('\n');
    return replay + Texts::tr("Received: %1 frames a second").arg(number(figures.fReceived, 2)) +
           QLatin1Char('\n') +
           Texts::tr("Shown: %1 frames a second").arg(number(figures.fShown, 2)) +
           QLatin1Char('\n') +
           Texts::tr("Dropped: %1 frames a second").arg(number(figures.fDropped, 2)) +
           //: %1 is a whole number
           QLatin1Char('\n') + Texts::tr("Bytes: %1 a second").arg(number(figures.fBytes, 0)) +
           //: %1 is a time with its unit, or "no picture"
           QLatin1Char('\n') + Texts::tr("Age when shown: %1").arg(age) + QLatin1Char('\n') +
           faultLines(figures);
}

}  // namespace cameraviewer
