#ifndef ROBAXI_FRAME_BUFFERS_H
#define ROBAXI_FRAME_BUFFERS_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace robaxi {

/**
 * Memory for the frames of one stream, used again as soon as nobody keeps the frame that was in it:
 * memory fresh from the system costs more than the copy into it.
 */
class FrameBuffers : public std::enable_shared_from_this<FrameBuffers> {
  public:
    static std::shared_ptr<FrameBuffers> create();
    FrameBuffers(const FrameBuffers&) = delete;
    FrameBuffers& operator=(const FrameBuffers&) = delete;

    /** At least so many bytes, not initialised. May outlive this object. */
    std::shared_ptr<unsigned char> obtain(std::size_t size);

  private:
    struct Buffer {
        std::unique_ptr<unsigned char[]> fBytes;
        std::size_t fSize = 0;
    };

    FrameBuffers() = default;
    Buffer xTake(std::size_t size);
    void xGiveBack(Buffer buffer);

    std::mutex fMutex;
    std::vector<Buffer> fUnused;
};

}  // namespace robaxi

#endif
