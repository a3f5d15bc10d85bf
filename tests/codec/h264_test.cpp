// H.264 as robots send it: encoded, checked and decoded.
#include <picture/h264.h>
#include <robaxi/kv_frame_chain.h>

#include <gtest/gtest.h>

#include <cmath>
#include <codec/h264_decoder.h>
#include <codec/h264_encoder.h>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

using codec::H264Decoder;
using codec::H264Encoder;
using picture::FrameFault;
using picture::PixelLayout;

namespace {

constexpr int a_width = 320;
constexpr int a_height = 180;  // not a multiple of 16

/** A picture of smooth colours that move with the step. */
class Drawing {
  public:
    Drawing(int width, int height, int step) : fWidth(width), fHeight(height) {
        fBytes.resize(std::size_t{4} * static_cast<std::size_t>(width * height));
        std::size_t at = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x, at += 4) {
                fBytes[at] = value(x + 3 * step, 50);
                fBytes[at + 1] = value(y + 2 * step, 40);
                fBytes[at + 2] = value(x + y, 90);
            }
        }
    }

    picture::PixelRows rows() const {
        return {fBytes.data(), static_cast<std::uint32_t>(fWidth),
                static_cast<std::uint32_t>(fHeight), std::size_t{4} * static_cast<unsigned>(fWidth),
                PixelLayout::Rgbx32};
    }

    /** Returns the mean difference to rows of RGB. */
    double difference(const std::vector<unsigned char>& rgb) const {
        double sum = 0;
        for (std::size_t pixel = 0; pixel < fBytes.size() / 4; ++pixel) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                sum += std::abs(fBytes[4 * pixel + channel] - rgb[3 * pixel + channel]);
            }
        }
        return sum / static_cast<double>(rgb.size());
    }

  private:
    static unsigned char value(int at, double period) {
        return static_cast<unsigned char>(128 + 90 * std::sin(at / period * 6.28));
    }

    int fWidth;
    int fHeight;
    std::vector<unsigned char> fBytes;
};

KVCameraSettings settings(int width = a_width, int height = a_height) {
    return {width, height, "h264", 30, 1'000'000};
}

/** Encodes drawings one after another. */
class Film {
  public:
    KVFrame next(bool isKeyWanted = false) { return next(settings(), isKeyWanted); }
    KVFrame next(const KVCameraSettings& wanted, bool isKeyWanted = false) {
        return fEncoder.encode(Drawing(wanted.fWidth, wanted.fHeight, ++fStep).rows(), wanted,
                               isKeyWanted);
    }
    std::vector<KVFrame> frames(int count) {
        std::vector<KVFrame> frames;
        for (int i = 0; i < count; ++i) {
            frames.push_back(next());
        }
        return frames;
    }

  private:
    H264Encoder fEncoder;
    int fStep = 0;
};

FrameFault faultOf(const KVFrame& frame) {
    return picture::check(frame).fault();
}

FrameFault decode(H264Decoder& decoder, const KVFrame& frame) {
    const picture::CheckedFrame checked = picture::check(frame);
    return checked.fault() == FrameFault::None ? decoder.decode(checked) : checked.fault();
}

std::vector<unsigned char> pixelsOf(H264Decoder& decoder, const KVFrame& frame) {
    std::vector<unsigned char> pixels(std::size_t{3} * frame.fWidth * frame.fHeight);
    EXPECT_TRUE(decoder.read(PixelLayout::Rgb888, pixels.data(), std::size_t{3} * frame.fWidth));
    return pixels;
}

KVFrame withBytes(KVFrame frame, const std::vector<unsigned char>& bytes) {
    const auto kept = std::make_shared<std::vector<unsigned char>>(bytes);
    frame.fData = {kept, kept->data()};
    frame.fSize = kept->size();
    return frame;
}

std::vector<unsigned char> bytesOf(const KVFrame& frame) {
    return {frame.fData.get(), frame.fData.get() + frame.fSize};
}

KVFrame joined(const KVFrame& first, const KVFrame& second) {
    std::vector<unsigned char> bytes = bytesOf(first);
    bytes.insert(bytes.end(), second.fData.get(), second.fData.get() + second.fSize);
    return withBytes(first, bytes);
}

}  // namespace

TEST(H264, isDecodedToWhatWasDrawnFrameByFrame) {
    Film film;
    H264Decoder decoder;
    KVFrameChain chain;
    for (int step = 1; step <= 20; ++step) {
        const KVFrame frame = film.next();
        ASSERT_EQ(frame.fFormat, KVPixelFormat::H264);
        EXPECT_EQ(frame.fWidth, a_width + 0U);
        EXPECT_EQ(frame.fHeight, a_height + 0U);
        EXPECT_EQ(frame.fIsKey, step == 1);
        EXPECT_TRUE(chain.accepts(frame));
        ASSERT_EQ(decode(decoder, frame), FrameFault::None) << step;
        EXPECT_LT(Drawing(a_width, a_height, step).difference(pixelsOf(decoder, frame)), 7) << step;
    }
}

TEST(H264, hasAKeyFrameEveryTwoSecondsAndOnRequest) {
    Film film;
    std::vector<int> keys;
    for (int number = 0; number < 120; ++number) {
        if (film.next(number == 70).fIsKey) {
            keys.push_back(number);
        }
    }
    EXPECT_EQ(keys, (std::vector<int>{0, 60, 70}));
}

TEST(H264, followsTheBitRateWithoutAKeyFrame) {
    Film film;
    KVCameraSettings wanted = settings();
    const auto bytesOfTwoSeconds = [&](int bitRate) {
        wanted.fBitRate = bitRate;
        film.next(wanted);
        std::size_t bytes = 0;
        for (int i = 0; i < 60; ++i) {
            bytes += film.next(wanted).fSize;
        }
        return bytes;
    };
    film.next(wanted);
    wanted.fBitRate = 100'000;
    EXPECT_FALSE(film.next(wanted).fIsKey);
    const std::size_t few = bytesOfTwoSeconds(100'000);
    const std::size_t many = bytesOfTwoSeconds(400'000);
    EXPECT_LT(few, 100'000U / 8 * 2 * 3 / 2);
    EXPECT_GT(many, few * 3 / 2);
}

TEST(H264, beginsAgainWithAnotherSize) {
    Film film;
    H264Decoder decoder;
    ASSERT_EQ(decode(decoder, film.next()), FrameFault::None);
    const KVFrame larger = film.next(settings(640, 360));
    EXPECT_TRUE(larger.fIsKey);
    ASSERT_EQ(decode(decoder, larger), FrameFault::None);
    EXPECT_LT(Drawing(640, 360, 2).difference(pixelsOf(decoder, larger)), 7);
}

TEST(H264, keepsTheColoursOfLargeAreas) {
    const std::vector<std::vector<unsigned char>> colours{
        {0, 0, 0}, {255, 255, 255}, {200, 40, 30}, {20, 190, 60}, {40, 50, 220}, {128, 128, 128}};
    for (const auto& colour : colours) {
        std::vector<unsigned char> bytes;
        for (int pixel = 0; pixel < 64 * 64; ++pixel) {
            bytes.insert(bytes.end(), {colour[0], colour[1], colour[2], 0});
        }
        H264Encoder encoder;
        H264Decoder decoder;
        const KVFrame frame = encoder.encode({bytes.data(), 64, 64, 256, PixelLayout::Rgbx32},
                                             settings(64, 64), false);
        ASSERT_EQ(decode(decoder, frame), FrameFault::None);
        const std::vector<unsigned char> shown = pixelsOf(decoder, frame);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(shown[std::size_t{3} * 2000 + channel], colour[channel], 8);
        }
    }
}

TEST(H264, isShownInTheLayoutsOfPictures) {
    Film film;
    H264Decoder decoder;
    const KVFrame frame = film.next();
    ASSERT_EQ(decode(decoder, frame), FrameFault::None);
    const std::vector<unsigned char> rgb = pixelsOf(decoder, frame);
    std::vector<std::uint32_t> numbers(std::size_t{a_width} * a_height);
    ASSERT_TRUE(decoder.read(PixelLayout::Rgb32, reinterpret_cast<unsigned char*>(numbers.data()),
                             std::size_t{4} * a_width));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i] >> 16U & 0xFFU, rgb[3 * i]) << i;
        ASSERT_EQ(numbers[i] & 0xFFU, rgb[3 * i + 2]) << i;
    }
}

TEST(H264Check, refusesAnotherSizeThanTheStreams) {
    Film film;
    KVFrame key = film.next();
    key.fWidth += 2;
    EXPECT_EQ(faultOf(key), FrameFault::H264SizeDiffers);
    key.fWidth -= 2;
    key.fHeight = 192;  // the height before it is cropped
    EXPECT_EQ(faultOf(key), FrameFault::H264SizeDiffers);
}

TEST(H264Check, refusesAChangeOfTheSizeWithoutAKeyFrame) {
    Film film;
    film.next();
    KVFrame delta = film.next();
    EXPECT_EQ(faultOf(delta), FrameFault::None);
    const std::vector<unsigned char> key = bytesOf(film.next(settings(640, 360)));
    // Its parameter sets come before its picture, whose unit is of type 5.
    std::vector<unsigned char> sets;
    for (std::size_t i = 0; i + 3 < key.size(); ++i) {
        if (key[i] == 0 && key[i + 1] == 0 && key[i + 2] == 1 && (key[i + 3] & 0x1FU) == 5) {
            sets.assign(key.begin(), key.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    ASSERT_FALSE(sets.empty());
    const std::vector<unsigned char> picture = bytesOf(delta);
    sets.insert(sets.end(), picture.begin(), picture.end());
    EXPECT_EQ(faultOf(withBytes(delta, sets)), FrameFault::H264SizeDiffers);
}

TEST(H264Check, refusesMoreThanOnePictureAFrame) {
    const std::vector<KVFrame> frames = Film().frames(3);
    EXPECT_EQ(faultOf(joined(frames[0], frames[0])), FrameFault::UnreadableH264);
    EXPECT_EQ(faultOf(joined(frames[1], frames[2])), FrameFault::UnreadableH264);
}

TEST(H264Check, refusesFramesThatAreNotWhatTheyClaim) {
    std::vector<KVFrame> frames = Film().frames(2);
    frames[0].fIsKey = false;
    frames[1].fIsKey = true;
    EXPECT_EQ(faultOf(frames[0]), FrameFault::UnreadableH264);
    EXPECT_EQ(faultOf(frames[1]), FrameFault::UnreadableH264);
    KVFrame empty = frames[0];
    empty.fSize = 0;
    EXPECT_EQ(faultOf(empty), FrameFault::NoData);
    EXPECT_EQ(faultOf(withBytes(empty, std::vector<unsigned char>(100))),
              FrameFault::UnreadableH264);
    EXPECT_EQ(faultOf(withBytes(empty, std::vector<unsigned char>(picture::a_maxH264Bytes + 1))),
              FrameFault::H264TooLarge);
}

TEST(H264Check, refusesASizeThatNeedsTooMuchMemory) {
    // Baseline, level 5.1, one reference, 512 x 512 squares of 16 pixels.
    const std::vector<unsigned char> sequence{0,    0,    1,    0x67, 66,   0,    51,
                                              0xFA, 0x00, 0x80, 0x00, 0x80, 0x00, 0x00};
    KVFrame frame;
    frame.fFormat = KVPixelFormat::H264;
    frame.fIsKey = true;
    frame.fWidth = 8192;
    frame.fHeight = 8192;
    EXPECT_NE(faultOf(withBytes(frame, sequence)), FrameFault::None);
}

TEST(H264Decoder, survivesDamageAndGoesOnWithTheNextKeyFrame) {
    Film film;
    H264Decoder decoder;
    std::srand(7);
    int shown = 0;
    for (int round = 0; round < 60; ++round) {
        const KVFrame key = film.next(true);
        ASSERT_EQ(decode(decoder, key), FrameFault::None) << round;
        const KVFrame delta = film.next();
        std::vector<unsigned char> bytes = bytesOf(delta);
        for (int i = 0; i < 4; ++i) {
            bytes[static_cast<std::size_t>(std::rand()) % bytes.size()] =
                static_cast<unsigned char>(std::rand());
        }
        shown += decode(decoder, withBytes(delta, bytes)) == FrameFault::None ? 1 : 0;
    }
    EXPECT_LT(shown, 60) << "no damage was noticed";
}
