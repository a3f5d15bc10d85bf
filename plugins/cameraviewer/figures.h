#ifndef OBVISTA_CAMERAVIEWER_FIGURES_H
#define OBVISTA_CAMERAVIEWER_FIGURES_H

#include "frame_feed.h"

#include <picture/frame_check.h>

#include <QString>

#include <cstdint>
#include <optional>

namespace cameraviewer {

/** Statistics of recently received and displayed frames. */
struct Figures {
    double fReceived = 0;  ///< frames a second
    double fShown = 0;     ///< frames a second
    double fDropped = 0;   ///< frames a second
    double fBytes = 0;     ///< a second
    /**
     * Mean time from the robot's time stamp to painting, microseconds; nothing if no frame was
     * shown.
     */
    std::optional<double> fAge;
    /** Microseconds for which the last picture has been shown without a connection; added to its
     *  age. */
    double fKept = 0;
    /** State of a replay, such as "replay at 2×"; empty for other robots. The age is then that of
     *  the shown frame at the replay's position. */
    QString fReplay;
    std::map<picture::FrameFault, std::uint64_t> fFaults;  ///< frames since the viewer was opened
};

/** Calculates rates from counters that only increase. */
class FigureMeter {
  public:
    using Clock = FeedState::Clock;

    explicit FigureMeter(Clock::time_point now) : fSince(now), fSinceDropped(now) {}

    /**
     * Counts a picture painted for the first time. @param age microseconds since the robot's stamp
     */
    void addShown(std::int64_t age);

    /**
     * Returns the figures since the last call; of dropped frames since the last call before which
     * a frame had arrived, and 0 until the next one arrives.
     */
    Figures measure(const FeedCounts& counts, Clock::time_point now);

    /** Restarts the measurement. */
    void restart(const FeedCounts& counts, Clock::time_point now);

  private:
    void xBegin(const FeedCounts& counts, Clock::time_point now);

    Clock::time_point fSince;
    FeedCounts fCounts;
    Clock::time_point fSinceDropped;
    std::uint64_t fDropped = 0;
    std::uint64_t fShown = 0;
    double fAges = 0;
};

/** Returns an age for the user: "12 ms", "3.4 s". */
QString ageText(double microseconds);
/** Returns the same, but for a negative one, or one of minutes, that the clocks differ. */
QString liveAgeText(double microseconds);
/** Returns for instance "27.6 MB/s". */
QString byteRateText(double bytesPerSecond);

/** Returns the figures as one line. */
QString figuresLine(const Figures& figures);
/** Returns the figures as lines of "name: value", for copying. */
QString figuresReport(const Figures& figures);

}  // namespace cameraviewer

#endif
