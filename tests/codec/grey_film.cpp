#include "grey_film.h"

#include <vector>

namespace obvista_test {

int GreyFilm::greyOf(std::uint64_t number) {
    constexpr int darkest = 40;
    return darkest + static_cast<int>(number % 40) * 5;
}

KVFrame GreyFilm::next(bool isKeyWanted) {
    const std::vector<unsigned char> pixels(std::size_t{4} * 64 * 48,
                                            static_cast<unsigned char>(greyOf(++fNumber)));
    KVFrame frame = fEncoder.encode({pixels.data(), 64, 48, 256, picture::PixelLayout::Rgbx32},
                                    {64, 48, "h264", fRate, 1'000'000}, isKeyWanted);
    frame.fNumber = fNumber;
    return frame;
}

}  // namespace obvista_test
