#ifndef BASE_BUFFER_POOL_H
#define BASE_BUFFER_POOL_H

#include <cstddef>
#include <memory>

namespace base {

/**
 * Memory for frames and pictures that is used again as soon as nobody holds what was in it: memory
 * fresh from the system costs more than the copy into it. May be used from any thread.
 */
class BufferPool {
  public:
    /** @param mostUnused buffers that are kept for later, as many as are in use at one time */
    explicit BufferPool(std::size_t mostUnused);

    /**
     * Returns memory of at least so many bytes, with any content, aligned for every type. It may be
     * released on any thread, and outlive the pool.
     *
     * @throws std::bad_alloc
     */
    std::shared_ptr<unsigned char> obtain(std::size_t size);

    std::size_t unused() const;

  private:
    struct Store;

    std::shared_ptr<Store> fStore;  ///< also held by the memory in use
};

}  // namespace base

#endif
