#ifndef OBVISTA_ROBOT_VIDEO_FRAME_POOL_H
#define OBVISTA_ROBOT_VIDEO_FRAME_POOL_H

#include <cstddef>
#include <memory>

namespace robot {

/**
 * A pool of memory for the bytes of frames, reused when no frame refers to it: the system would
 * have to clear new memory for each frame. The memory may be released on any thread, and after the
 * pool is destroyed.
 */
class FramePool {
  public:
    FramePool();

    /** Returns memory of that many bytes, with any content. */
    std::shared_ptr<unsigned char> take(std::size_t size);

  private:
    struct Store;
    std::shared_ptr<Store> fStore;
};

}  // namespace robot

#endif
