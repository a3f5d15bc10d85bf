#ifndef OBVISTA_BENCH_CAMERAVIEWER_SCREEN_WATCH_H
#define OBVISTA_BENCH_CAMERAVIEWER_SCREEN_WATCH_H

#include <frame_stamp.h>
#include <optional>

namespace bench {

/** Where a picture stands on the screen, pixels. */
struct ShownRect {
    int fLeft = 0;
    int fTop = 0;
    double fWidth = 0;
};

/** Reads which frame stands on the screen, of whatever program, from outside of it. */
class ScreenWatch {
  public:
    explicit ScreenWatch(const ShownRect& rect) : fRect(rect) {}

    /** @return nothing while there is no picture, and of one that is half painted */
    std::optional<obvista_test::FrameStamp> read() const;

    /** Looks for a picture of that width anywhere on the screen. */
    static std::optional<ShownRect> find(int width);

  private:
    ShownRect fRect;
};

}  // namespace bench

#endif
