#ifndef OBVISTA_CAMERAVIEWER_BANDWIDTH_CONTROL_H
#define OBVISTA_CAMERAVIEWER_BANDWIDTH_CONTROL_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <utility>

namespace cameraviewer {

/**
 * The automatic bandwidth of an H.264 camera: as much as the link carries without a queue.
 *
 * Frames wait in the queue of a link that is slower than the stream, so their age increases above
 * its minimum. Then the bandwidth is reduced; while the age stays low, it is increased slowly, but
 * not far above the stream's present need, which rises suddenly with movement in the picture. The
 * ages are compared with each other only, so the clocks of robot and viewer need not agree.
 */
class BandwidthControl {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr int a_lowest = 100'000;     ///< bits a second
    static constexpr int a_highest = 8'000'000;  ///< bits a second

    /** Forgets the past, for another camera or link. */
    void reset();

    /**
     * Reports a frame that is shown.
     *
     * @param age seconds since its time stamp
     * @param bytes number of bytes of the stream that have arrived until now
     * @param bitRate current setting of the camera
     * @return another bit rate to request from the robot, at most twice a second
     */
    std::optional<int> frameShown(Clock::time_point now, double age, std::uint64_t bytes,
                                  int bitRate);

  private:
    struct Shown {
        Clock::time_point fTime;
        double fAge;
        std::uint64_t fBytes;
    };

    double xMeanExcess() const;
    std::optional<double> xArrivingBitRate() const;
    std::optional<int> xChange(Clock::time_point now, int from, double to);

    /** Ages of the frames of some time with their times, of which each is below all later ones. */
    std::deque<std::pair<Clock::time_point, double>> fLowest;
    std::deque<Shown> fShown;  // recently
    Clock::time_point fChanged;
    Clock::time_point fReduced;
};

}  // namespace cameraviewer

#endif
