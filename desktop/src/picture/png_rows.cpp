#include "png_rows.h"

#include <cstdlib>
#include <vector>

namespace KD {

namespace {

struct Pass {
    int fRows = 0;
    int fBytesOfRow = 0;  // without the filter's number
};

/** Returns the pixels of a pass in one direction: every `step`th one, starting with `first`. */
int inPass(int pixels, int first, int step) {
    return (pixels - first + step - 1) / step;
}

/** Returns the passes that have pixels, in the file's order. */
std::vector<Pass> passesOf(const PngLayout& layout, int bitsOfPixel) {
    struct Grid {
        int fFirstX, fFirstY, fStepX, fStepY;
    };
    static constexpr Grid whole[] = {{0, 0, 1, 1}};
    static constexpr Grid adam7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                     {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    constexpr int bitsOfByte = 8;
    std::vector<Pass> passes;
    const bool interlaced = layout.fInterlace != 0;
    for (const Grid* grid = interlaced ? std::begin(adam7) : std::begin(whole);
         grid != (interlaced ? std::end(adam7) : std::end(whole)); ++grid) {
        const int width = inPass(layout.fWidth, grid->fFirstX, grid->fStepX);
        const int height = inPass(layout.fHeight, grid->fFirstY, grid->fStepY);
        if (width > 0 && height > 0) {
            passes.push_back({height, (width * bitsOfPixel + bitsOfByte - 1) / bitsOfByte});
        }
    }
    return passes;
}

int left(int left, int /*above*/, int /*corner*/) {
    return left;
}

int above(int /*left*/, int above, int /*corner*/) {
    return above;
}

int average(int left, int above, int /*corner*/) {
    return (left + above) / 2;
}

/** Returns the neighbour that is nearest to left + above - corner; left before above in a tie. */
int paeth(int left, int above, int corner) {
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    // Combined so that the compiler generates no branches, which are slow for noise.
    const int upper = toAbove <= toCorner ? above : corner;
    return ((toLeft <= toAbove) & (toLeft <= toCorner)) != 0 ? left : upper;
}

/** Adds to each byte the prediction from the pixel to the left and the two above. */
template <int BytesOfPixel, int (*Predict)(int left, int above, int corner)>
void addPrediction(unsigned char* row, const unsigned char* above, int size) {
    int left[BytesOfPixel] = {};
    int corner[BytesOfPixel] = {};
    for (int pixel = 0; pixel < size; pixel += BytesOfPixel) {
        for (int byte = 0; byte < BytesOfPixel; ++byte) {
            const int up = above[pixel + byte];
            left[byte] = (row[pixel + byte] + Predict(left[byte], up, corner[byte])) & 0xFF;
            corner[byte] = up;
            row[pixel + byte] = static_cast<unsigned char>(left[byte]);
        }
    }
}

/** Reverses a row's filter; returns false if the filter is unknown. */
template <int BytesOfPixel>
bool unfilterRow(int filter, unsigned char* row, const unsigned char* rowAbove, int size) {
    switch (filter) {
        case 0:
            return true;
        case 1:
            addPrediction<BytesOfPixel, left>(row, rowAbove, size);
            return true;
        case 2:
            addPrediction<BytesOfPixel, above>(row, rowAbove, size);
            return true;
        case 3:
            addPrediction<BytesOfPixel, average>(row, rowAbove, size);
            return true;
        case 4:
            addPrediction<BytesOfPixel, paeth>(row, rowAbove, size);
            return true;
        default:
            return false;
    }
}

using UnfilterRow = bool (*)(int filter, unsigned char* row, const unsigned char* rowAbove,
                             int size);

UnfilterRow unfilterFor(int bytesOfPixel) {
    switch (bytesOfPixel) {
        case 2:
            return unfilterRow<2>;
        case 3:
            return unfilterRow<3>;
        case 4:
            return unfilterRow<4>;
        case 6:
            return unfilterRow<6>;
        case 8:
            return unfilterRow<8>;
        default:
            return unfilterRow<1>;
    }
}

}  // namespace

bool PngLayout::isValid() const {
    constexpr unsigned char deep = 16;
    const bool isPowerOfTwo = fDepth != 0 && (fDepth & (fDepth - 1)) == 0 && fDepth <= deep;
    if (!isPowerOfTwo || fInterlace > 1) {
        return false;
    }
    switch (fColour) {
        case Grey:
            return true;
        case Palette:
            return fDepth < deep;
        case Rgb:
        case GreyAlpha:
        case Rgba:
            return fDepth >= deep / 2;
        default:
            return false;
    }
}

int PngLayout::sizeOfRows() const {
    int size = 0;
    for (const Pass& pass : passesOf(*this, xBitsOfPixel())) {
        size += pass.fRows * (1 + pass.fBytesOfRow);
    }
    return size;
}

bool PngLayout::unfilter(QByteArray& rows) const {
    constexpr int bitsOfByte = 8;
    const UnfilterRow unfilterRow = unfilterFor(xBitsOfPixel() / bitsOfByte);
    auto* row = reinterpret_cast<unsigned char*>(rows.data());
    for (const Pass& pass : passesOf(*this, xBitsOfPixel())) {
        const std::vector<unsigned char> nothing(static_cast<std::size_t>(pass.fBytesOfRow));
        const unsigned char* above = nothing.data();
        for (int y = 0; y < pass.fRows; ++y) {
            unsigned char& filter = *row++;
            if (!unfilterRow(filter, row, above, pass.fBytesOfRow)) {
                return false;
            }
            filter = 0;
            above = row;
            row += pass.fBytesOfRow;
        }
    }
    return true;
}

int PngLayout::xBitsOfPixel() const {
    switch (fColour) {
        case Rgb:
            return 3 * fDepth;
        case GreyAlpha:
            return 2 * fDepth;
        case Rgba:
            return 4 * fDepth;
        default:
            return fDepth;
    }
}

}  // namespace KD
