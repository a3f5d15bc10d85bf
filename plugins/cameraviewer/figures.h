#ifndef OBVISTA_CAMERAVIEWER_FIGURES_H
#define OBVISTA_CAMERAVIEWER_FIGURES_H

#include "frame_feed.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace cameraviewer {

/** What came and was shown lately. */
struct Figures {
    double fReceived = 0;  ///< frames a second
    double fShown = 0;     ///< frames a second
    double fDropped = 0;   ///< frames a second
    double fBytes = 0;     ///< a second
    /** Mean time from the robot's stamp to the paint, microseconds; nothing when nothing was
     *  shown. */
    std::optional<double> fAge;
    std::map<FrameFault, std::uint64_t> fFaults;  ///< frames since the beginning
};

/** Makes figures a second of counts that only grow. */
class FigureMeter {
  public:
    using Clock = FeedState::Clock;

    explicit FigureMeter(Clock::time_point now) : fSince(now) {}

    /** A picture was painted for the first time. @param age microseconds since the robot's stamp */
    void addShown(std::int64_t age);

    /** The figures since the last call. */
    Figures measure(const FeedCounts& counts, Clock::time_point now);

    /** Measures from now on, as if nothing had come before. */
    void restart(const FeedCounts& counts, Clock::time_point now);

  private:
    Clock::time_point fSince;
    FeedCounts fCounts;
    std::uint64_t fShown = 0;
    double fAges = 0;
};

/** An age as people read it: "12 ms", "3.4 s". A negative one, or one of minutes, says that the
 *  clocks differ. */
QString ageText(double microseconds);
/** "3.4 MB" */
QString sizeText(std::int64_t bytes);
/** "27.6 MB/s" */
QString byteRateText(double bytesPerSecond);

/** The figures as one line. */
QString figuresLine(const Figures& figures);
/** The figures as lines of "name: value", to be copied. */
QString figuresReport(const Figures& figures);

}  // namespace cameraviewer

#endif
