#ifndef OBVISTA_BENCH_SCREEN_SCREEN_WATCH_H
#define OBVISTA_BENCH_SCREEN_SCREEN_WATCH_H

#include <child_process.h>
#include <chrono>
#include <frame_stamp.h>
#include <functional>
#include <optional>

namespace bench {

/** Position of a picture on the screen in pixels. */
struct ShownRect {
    int fLeft = 0;
    int fTop = 0;
    double fWidth = 0;
};

/** Reads from the screen, for any program, which frame is displayed. */
class ScreenWatch {
  public:
    explicit ScreenWatch(const ShownRect& rect) : fRect(rect) {}

    using Seen = std::function<void(const obvista_test::FrameStamp& stamp)>;

    /** @return nothing while there is no picture, or it is only partly painted */
    std::optional<obvista_test::FrameStamp> read() const;

    /** Looks every millisecond or two: calls seen(stamp) for each picture that appears, and
     *  eachLook() in between. */
    void follow(std::chrono::duration<double> time, const Seen& seen,
                const std::function<void()>& eachLook = {}) const;

    /** Searches the whole screen for a picture of that width. */
    static std::optional<ShownRect> find(int width);

  private:
    ShownRect fRect;
};

/**
 * Waits until a program has printed the position of its picture: "shown LEFT TOP WIDTH".
 *
 * @throws std::runtime_error if it does not
 */
ShownRect shownRectOf(obvista_test::ChildProcess& program);

/** Returns the time since a picture was made, in milliseconds. */
double ageInMilliseconds(const obvista_test::FrameStamp& stamp);

}  // namespace bench

#endif
