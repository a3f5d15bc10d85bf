#ifndef OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H
#define OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H

#include <base/buffer_pool.h>

#include <QImage>

namespace cameraviewer {

/**
 * A pool of memory for decoded pictures, reused when the last copy of a picture is destroyed, on
 * any thread.
 *
 * A picture may outlive the pool. makeImage() is called by one thread at a time.
 */
class PictureBuffers {
  public:
    /**
     * Returns an image to write to; its initial contents are undefined.
     *
     * @return a null image if its size is impossible
     * @throws std::bad_alloc
     */
    QImage makeImage(int width, int height, QImage::Format format);

  private:
    /** One picture is displayed, one waits to be displayed and one is being decoded. */
    base::BufferPool fPool{3};
};

}  // namespace cameraviewer

#endif
