#ifndef OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H
#define OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H

#include <QImage>

#include <cstddef>
#include <memory>

namespace cameraviewer {

/**
 * A pool of memory for decoded pictures, reused when the last copy of a picture is destroyed, on
 * any thread.
 *
 * A picture may outlive the pool. makeImage() is called by one thread at a time.
 */
class PictureBuffers {
  public:
    PictureBuffers();
    ~PictureBuffers();
    PictureBuffers(const PictureBuffers&) = delete;
    PictureBuffers& operator=(const PictureBuffers&) = delete;

    /**
     * Returns an image to write to; its initial contents are undefined.
     *
     * @return a null image if memory is short
     */
    QImage makeImage(int width, int height, QImage::Format format);

    /** Returns the number of unused blocks of memory. */
    std::size_t spareCount() const;

  private:
    struct Spares;
    struct Loan;

    static void xGiveBack(void* loan);

    std::shared_ptr<Spares> fSpares;
};

}  // namespace cameraviewer

#endif
