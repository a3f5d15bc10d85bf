#ifndef OBVISTA_CAMERAVIEWER_JPEG_WRITER_H
#define OBVISTA_CAMERAVIEWER_JPEG_WRITER_H

#include <QImage>

#include <cstddef>
#include <memory>

namespace cameraviewer {

/** How much of the colours a JPEG keeps. Grey pictures have none. */
enum class JpegDetail {
    Full,  ///< a colour for each pixel (4:4:4)
    Half   ///< one for two pixels side by side (4:2:2)
};

struct JpegFile {
    std::shared_ptr<const unsigned char> fData;  ///< fSize bytes
    std::size_t fSize = 0;
};

/** Makes JPEGs of high quality. It belongs to one thread at a time. */
class JpegWriter {
  public:
    /** Of 100. Differences to the original cannot be seen at this quality. */
    static constexpr int a_quality = 95;

    /** @throws std::bad_alloc */
    JpegWriter();

    /**
     * @param image Format_RGB888, Format_RGB32 or Format_Grayscale8
     * @return no data when the picture has a side above 65,535, the most a JPEG can have, or
     *         memory is short
     */
    JpegFile write(const QImage& image, JpegDetail detail);

  private:
    struct Release {
        void operator()(void* handle) const;
    };

    std::unique_ptr<void, Release> fHandle;
};

}  // namespace cameraviewer

#endif
