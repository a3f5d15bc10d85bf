#ifndef ROBAXI_FRAME_BUFFERS_H
#define ROBAXI_FRAME_BUFFERS_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace robaxi {

/**
 * A pool of buffers for the frames of one stream, reused when no frame refers to them: new memory
 * from the system costs more than the copy into it.
 */
class FrameBuffers : public std::enable_shared_from_this<FrameBuffers> {
  public:
    static std::shared_ptr<FrameBuffers> create();
    FrameBuffers(const FrameBuffers&) = delete;
    FrameBuffers& operator=(const FrameBuffers&) = delete;

    /** Returns at least that many bytes, not initialised. They may outlive this object. */
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
