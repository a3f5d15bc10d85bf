#include <picture/colours.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

using picture::convertYuv422Row;
using picture::PixelLayout;

namespace {

constexpr std::size_t a_values = 256;
/** Every Y beside one pair of Cb and Cr. */
using Row = std::array<unsigned char, 2 * a_values>;
using Rgb = std::uint32_t;
using Pixels = std::array<Rgb, a_values>;

Rgb rgbOf(int red, int green, int blue) {
    return 0xff000000U | static_cast<Rgb>(red) << 16 | static_cast<Rgb>(green) << 8 |
           static_cast<Rgb>(blue);
}

int redOf(Rgb colour) {
    return static_cast<int>(colour >> 16 & 255);
}

int greenOf(Rgb colour) {
    return static_cast<int>(colour >> 8 & 255);
}

int blueOf(Rgb colour) {
    return static_cast<int>(colour & 255);
}

void convert(const unsigned char* source, Rgb* target, std::size_t pixels) {
    convertYuv422Row(source, pixels, PixelLayout::Rgb32, reinterpret_cast<unsigned char*>(target));
}

Row rowOf(int cb, int cr) {
    Row row;
    for (std::size_t y = 0; y < a_values; ++y) {
        row[2 * y] = static_cast<unsigned char>(y);
        row[2 * y + 1] = static_cast<unsigned char>(y % 2 == 0 ? cb : cr);
    }
    return row;
}

int limited(double value) {
    return static_cast<int>(std::clamp(std::floor(value), 0.0, 255.0));
}

/** The documented formula, in numbers that hold each step exactly. */
Rgb documented(int y, int cb, int cr) {
    const double scaled = 298.0 * (y - 16);
    const double b = cb - 128;
    const double r = cr - 128;
    return rgbOf(limited((scaled + 409 * r + 128) / 256),
                 limited((scaled - 100 * b - 208 * r + 128) / 256),
                 limited((scaled + 516 * b + 128) / 256));
}

/** BT.601: luma 16 to 235, colour differences 16 to 240. */
std::array<double, 3> standard(int y, int cb, int cr) {
    const double luma = (y - 16) * 255.0 / 219;
    const double b = (cb - 128) * 255.0 / 224;
    const double r = (cr - 128) * 255.0 / 224;
    const double kr = 0.299;
    const double kb = 0.114;
    const double kg = 1 - kr - kb;
    return {luma + 2 * (1 - kr) * r, luma - 2 * (1 - kb) * kb / kg * b - 2 * (1 - kr) * kr / kg * r,
            luma + 2 * (1 - kb) * b};
}

double distance(int converted, double wanted) {
    return std::abs(converted - std::clamp(wanted, 0.0, 255.0));
}

/** Calls visit(y, cb, cr, converted) with each of the 2^24 values of a pixel. */
template <typename Visit>
void convertEach(Visit visit) {
    Pixels pixels;
    for (int cb = 0; cb < 256; ++cb) {
        for (int cr = 0; cr < 256; ++cr) {
            convert(rowOf(cb, cr).data(), pixels.data(), pixels.size());
            for (std::size_t y = 0; y < a_values; ++y) {
                visit(static_cast<int>(y), cb, cr, pixels[y]);
            }
        }
    }
}

TEST(YuvConversion, IsTheDocumentedOneForEachValue) {
    std::size_t differing = 0;
    convertEach([&differing](int y, int cb, int cr, Rgb converted) {
        differing += converted == documented(y, cb, cr) ? 0 : 1;
    });
    EXPECT_EQ(differing, 0U);
}

TEST(YuvConversion, StaysWithinOneOfTheStandard) {
    double most = 0;
    convertEach([&most](int y, int cb, int cr, Rgb converted) {
        const std::array<double, 3> wanted = standard(y, cb, cr);
        most = std::max({most, distance(redOf(converted), wanted[0]),
                         distance(greenOf(converted), wanted[1]),
                         distance(blueOf(converted), wanted[2])});
    });
    EXPECT_LE(most, 1.0);
}

TEST(YuvConversion, KeepsBlackWhiteAndTheMiddle) {
    const std::array<unsigned char, 8> source{16, 128, 235, 128, 126, 128, 0, 128};
    std::array<Rgb, 4> pixels{};
    convert(source.data(), pixels.data(), pixels.size());
    EXPECT_EQ(pixels[0], rgbOf(0, 0, 0));
    EXPECT_EQ(pixels[1], rgbOf(255, 255, 255));
    EXPECT_EQ(pixels[2], rgbOf(128, 128, 128));
    EXPECT_EQ(pixels[3], rgbOf(0, 0, 0));
}

TEST(YuvConversion, WritesNothingBeyondItsRow) {
    for (std::size_t count = 0; count <= 64; count += 2) {
        const std::vector<unsigned char> source(2 * count, 200);
        std::vector<Rgb> pixels(count + 1, 42);
        convert(source.data(), pixels.data(), count);
        EXPECT_EQ(pixels.back(), 42U);
        EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 42U), 1);
    }
}

TEST(YuvConversion, HasTheSameColoursInBytes) {
    for (int step = 0; step < 256; step += 5) {
        const Row row = rowOf(step, 255 - step);
        Pixels numbers;
        convert(row.data(), numbers.data(), numbers.size());
        std::vector<unsigned char> bytes(3 * a_values + 1, 42);
        convertYuv422Row(row.data(), a_values, PixelLayout::Rgb888, bytes.data());
        for (std::size_t i = 0; i < a_values; ++i) {
            ASSERT_EQ(rgbOf(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]), numbers[i]);
        }
        EXPECT_EQ(bytes.back(), 42);
    }
}

TEST(Grey, IsTheBrightnessOfAColour) {
    EXPECT_EQ(picture::greyOf(0, 0, 0), 0);
    EXPECT_EQ(picture::greyOf(255, 255, 255), 255);
    EXPECT_EQ(picture::greyOf(255, 0, 0), 76);
    EXPECT_EQ(picture::greyOf(0, 255, 0), 150);
    EXPECT_EQ(picture::greyOf(0, 0, 255), 29);
    EXPECT_EQ(picture::greyOf(77, 77, 77), 77);
}

}  // namespace
