#ifndef OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H
#define OBVISTA_CAMERAVIEWER_PICTURE_BUFFERS_H

#include <QImage>

#include <cstddef>
#include <memory>

namespace cameraviewer {

/**
 * Memory for decoded pictures, used again as soon as the last copy of the picture that was in it is
 * gone, on whatever thread that happens.
 *
 * A picture may outlive the buffers it came from. makeImage() is called by one thread at a time.
 */
class PictureBuffers {
  public:
    PictureBuffers();
    ~PictureBuffers();
    PictureBuffers(const PictureBuffers&) = delete;
    PictureBuffers& operator=(const PictureBuffers&) = delete;

    /**
     * An image that is to be written to; what it shows at first is undefined.
     *
     * @return a null image when memory is short
     */
    QImage makeImage(int width, int height, QImage::Format format);

    /** Blocks of memory that wait to be used again. */
    std::size_t spareCount() const;

  private:
    struct Spares;
    struct Loan;

    static void xGiveBack(void* loan);

    std::shared_ptr<Spares> fSpares;
};

}  // namespace cameraviewer

#endif
