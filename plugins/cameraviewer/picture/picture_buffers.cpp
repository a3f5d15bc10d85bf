#include "picture_buffers.h"

#include <limits>

namespace cameraviewer {
namespace {

using Memory = std::shared_ptr<unsigned char>;

void release(void* memory) {
    const std::unique_ptr<Memory> owned(static_cast<Memory*>(memory));
}

}  // namespace

QImage PictureBuffers::makeImage(int width, int height, QImage::Format format) {
    constexpr qint64 bits = std::numeric_limits<quint32>::digits;
    const qint64 depth = format == QImage::Format_Grayscale8 ? 8 : bits;
    const qint64 stride = (width * depth + bits - 1) / bits * qint64{sizeof(quint32)};
    auto memory = std::make_unique<Memory>(fPool.obtain(static_cast<std::size_t>(stride * height)));
    QImage image(memory->get(), width, height, static_cast<int>(stride), format, &release,
                 memory.get());
    if (!image.isNull()) {
        static_cast<void>(memory.release());  // now the image's
    }
    return image;
}

}  // namespace cameraviewer
