#ifndef OBVISTA_BENCH_CAMERAVIEWER_SCREEN_WATCH_H
#define OBVISTA_BENCH_CAMERAVIEWER_SCREEN_WATCH_H

#include <frame_stamp.h>
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

    /** @return nothing while there is no picture, or it is only partly painted */
    std::optional<obvista_test::FrameStamp> read() const;

    /** Searches the whole screen for a picture of that width. */
    static std::optional<ShownRect> find(int width);

  private:
    ShownRect fRect;
};

}  // namespace bench

#endif
