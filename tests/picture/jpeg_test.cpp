#include <picture/jpeg.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <plain_frames.h>

using obvista_test::Bytes;
using obvista_test::smoothBytes;
using obvista_test::smoothJpeg;
using picture::JpegColours;
using picture::JpegDetail;
using picture::JpegReader;
using picture::JpegWriter;
using picture::PixelLayout;
using picture::PixelRows;

namespace {

int difference(const Bytes& one, const Bytes& other) {
    EXPECT_EQ(one.size(), other.size());
    int most = 0;
    for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
        most = std::max(most, std::abs(one[i] - other[i]));
    }
    return most;
}

Bytes decoded(const Bytes& jpeg, std::uint32_t width, std::uint32_t height, PixelLayout layout) {
    const std::size_t stride = std::size_t{width} * bytesPerPixel(layout);
    Bytes rows(stride * height);
    EXPECT_TRUE(
        JpegReader().decode(jpeg.data(), jpeg.size(), width, height, layout, rows.data(), stride));
    return rows;
}

TEST(Jpeg, HeaderTellsSizeAndColours) {
    const Bytes colour = smoothJpeg(20, 10);
    const auto header = JpegReader().readHeader(colour.data(), colour.size());
    ASSERT_TRUE(header);
    EXPECT_EQ(header->fWidth, 20U);
    EXPECT_EQ(header->fHeight, 10U);
    EXPECT_EQ(header->fColours, JpegColours::Colour);
    const Bytes grey = smoothJpeg(20, 10, PixelLayout::Grey8);
    EXPECT_EQ(JpegReader().readHeader(grey.data(), grey.size())->fColours, JpegColours::Grey);
}

TEST(Jpeg, ReaderGoesOnAfterABadOne) {
    JpegReader reader;
    const Bytes nonsense(600);
    const Bytes whole = smoothJpeg(40, 24);
    Bytes rows(40 * 24 * 3);
    const auto decodes = [&](std::size_t size) {
        return reader.decode(whole.data(), size, 40, 24, PixelLayout::Rgb888, rows.data(), 120);
    };
    EXPECT_FALSE(reader.readHeader(nonsense.data(), nonsense.size()));
    EXPECT_TRUE(reader.readHeader(whole.data(), whole.size()));
    EXPECT_FALSE(decodes(whole.size() - 4));
    EXPECT_TRUE(decodes(whole.size()));
}

TEST(Jpeg, HasThePictureInEachLayout) {
    for (const auto layout : {PixelLayout::Grey8, PixelLayout::Rgb888, PixelLayout::Rgb32}) {
        const Bytes picture = smoothBytes(160, 120, layout);
        Bytes again = decoded(smoothJpeg(160, 120, layout), 160, 120, layout);
        if (layout == PixelLayout::Rgb32) {
            // The fourth byte, which is the first one in the other byte order, has no meaning.
            const std::uint32_t opaque = 0xff000000U;
            for (std::size_t i = 0; i < again.size(); ++i) {
                const bool isUnused = reinterpret_cast<const unsigned char*>(&opaque)[i % 4] != 0;
                again[i] = isUnused ? picture[i] : again[i];
            }
        }
        EXPECT_LE(difference(again, picture), 4) << static_cast<int>(layout);
    }
}

TEST(Jpeg, IsTheSameInMemoryOfTheCaller) {
    const Bytes bytes = smoothBytes(64, 48, PixelLayout::Rgb888);
    const PixelRows rows{bytes.data(), 64, 48, 192, PixelLayout::Rgb888};
    Bytes memory(JpegWriter::maxSize(rows, JpegDetail::Full));
    memory.resize(JpegWriter().write(rows, JpegDetail::Full, JpegWriter::a_quality, memory.data()));
    EXPECT_EQ(memory, obvista_test::jpegOf(rows));
}

TEST(Jpeg, KeepsAsMuchOfTheColoursAsIsWanted) {
    const Bytes bytes = smoothBytes(64, 48, PixelLayout::Rgb888);
    const PixelRows rows{bytes.data(), 64, 48, 192, PixelLayout::Rgb888};
    JpegWriter writer;
    const std::size_t full = writer.write(rows, JpegDetail::Full).fSize;
    const std::size_t half = writer.write(rows, JpegDetail::Half).fSize;
    EXPECT_GT(full, half);
    EXPECT_GT(half, writer.write(rows, JpegDetail::Quarter).fSize);
}

TEST(Jpeg, HasNoSideAboveWhatItCanHold) {
    const Bytes bytes(70000);
    JpegWriter writer;
    EXPECT_FALSE(
        writer.write({bytes.data(), 70000, 1, 70000, PixelLayout::Grey8}, JpegDetail::Full).fData);
    EXPECT_FALSE(writer.error().empty());
}

}  // namespace
