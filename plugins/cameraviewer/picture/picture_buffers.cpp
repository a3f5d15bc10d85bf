#include "picture_buffers.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <new>
#include <vector>

namespace cameraviewer {
namespace {

/** One picture is displayed, one waits to be displayed and one is being decoded. */
constexpr std::size_t a_maxSpares = 3;

using Words = std::unique_ptr<quint32[]>;

struct Block {
    Words fWords;
    std::size_t fCount = 0;
};

}  // namespace

struct PictureBuffers::Spares {
    std::mutex fMutex;
    std::vector<Block> fBlocks;

    Block take(std::size_t count) {
        const std::lock_guard lock(fMutex);
        // Blocks of another size belong to a resolution that is no longer used.
        fBlocks.erase(std::remove_if(fBlocks.begin(), fBlocks.end(),
                                     [count](const Block& block) { return block.fCount != count; }),
                      fBlocks.end());
        if (fBlocks.empty()) {
            return {Words(new (std::nothrow) quint32[count]), count};
        }
        Block block = std::move(fBlocks.back());
        fBlocks.pop_back();
        return block;
    }

    void giveBack(Block block) {
        const std::lock_guard lock(fMutex);
        if (fBlocks.size() < a_maxSpares) {
            fBlocks.push_back(std::move(block));
        }
    }
};

struct PictureBuffers::Loan {
    std::shared_ptr<Spares> fSpares;
    Block fBlock;
};

PictureBuffers::PictureBuffers() : fSpares(std::make_shared<Spares>()) {
    fSpares->fBlocks.reserve(a_maxSpares);
}

PictureBuffers::~PictureBuffers() = default;

QImage PictureBuffers::makeImage(int width, int height, QImage::Format format) {
    constexpr qint64 bits = std::numeric_limits<quint32>::digits;
    const qint64 depth = format == QImage::Format_Grayscale8 ? 8 : bits;
    const qint64 wordsPerRow = (width * depth + bits - 1) / bits;
    Block block = fSpares->take(static_cast<std::size_t>(wordsPerRow * height));
    if (!block.fWords) {
        return {};
    }
    auto loan = std::make_unique<Loan>(Loan{fSpares, std::move(block)});
    auto* bytes = reinterpret_cast<uchar*>(loan->fBlock.fWords.get());
    const auto stride = static_cast<int>(wordsPerRow * qint64{sizeof(quint32)});
    QImage image(bytes, width, height, stride, format, &PictureBuffers::xGiveBack, loan.get());
    if (!image.isNull()) {
        static_cast<void>(loan.release());  // now owned by the image
    }
    return image;
}

std::size_t PictureBuffers::spareCount() const {
    const std::lock_guard lock(fSpares->fMutex);
    return fSpares->fBlocks.size();
}

void PictureBuffers::xGiveBack(void* loan) {
    const std::unique_ptr<Loan> owned(static_cast<Loan*>(loan));
    owned->fSpares->giveBack(std::move(owned->fBlock));
}

}  // namespace cameraviewer
