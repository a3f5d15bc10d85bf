#ifndef OBVISTA_ROBOT_VIDEO_FRAME_POOL_H
#define OBVISTA_ROBOT_VIDEO_FRAME_POOL_H

#include <cstddef>
#include <memory>

namespace robot {

/**
 * Memory for the bytes of frames, used again when nobody holds a frame any more: fresh memory for
 * each frame would have to be cleared by the system each time. The memory may be given back on any
 * thread, and after the pool is gone.
 */
class FramePool {
  public:
    FramePool();

    /** Memory for so many bytes, with any content. */
    std::shared_ptr<unsigned char> take(std::size_t size);

  private:
    struct Store;
    std::shared_ptr<Store> fStore;
};

}  // namespace robot

#endif
