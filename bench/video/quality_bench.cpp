// Measures how well H.264 shows the room of the simulated robot: for each size and target the bits
// a second with their key frames, the mean similarity of the decoded luma to the drawn one (SSIM,
// squares of 8 pixels, 4 apart), and the time to encode and to decode a frame. Of two spans of
// ten seconds the less similar one counts. Then the lowest of the targets at which it reaches 0.95.
//
//   video_quality_bench
#include "body/humanoid_body.h"
#include "video/canvas.h"
#include "video/frame_encoder.h"
#include "video/robot_views.h"

#include <picture/colours.h>
#include <picture/frame_check.h>

#include <array>
#include <chrono>
#include <codec/h264_decoder.h>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Luma = std::vector<unsigned char>;

constexpr int a_rate = 30;
constexpr int a_seconds = 10;
constexpr double a_goal = 0.95;
constexpr double a_mega = 1e6;
constexpr std::array<double, 2> a_spans{0, 100};

struct Figures {
    double fBitRate = 0;
    double fSimilarity = 0;
    double fEncoding = 0;  ///< milliseconds a frame
    double fDecoding = 0;
};

Luma lumaOf(const robot::Canvas& canvas) {
    Luma luma;
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const robot::Colour& colour = canvas.row(y)[x];
            luma.push_back(picture::greyOf(colour.fRed, colour.fGreen, colour.fBlue));
        }
    }
    return luma;
}

double similarityAt(const unsigned char* one, const unsigned char* other, std::size_t stride) {
    constexpr std::size_t side = 8;
    constexpr double count = side * side;
    constexpr double c1 = 0.01 * 255 * 0.01 * 255;
    constexpr double c2 = 0.03 * 255 * 0.03 * 255;
    double sumA = 0;
    double sumB = 0;
    double squares = 0;
    double products = 0;
    for (std::size_t y = 0; y < side; ++y) {
        for (std::size_t x = 0; x < side; ++x) {
            const double a = one[y * stride + x];
            const double b = other[y * stride + x];
            sumA += a;
            sumB += b;
            squares += a * a + b * b;
            products += a * b;
        }
    }
    const double meanA = sumA / count;
    const double meanB = sumB / count;
    const double variances = squares / count - meanA * meanA - meanB * meanB;
    const double covariance = products / count - meanA * meanB;
    return (2 * meanA * meanB + c1) * (2 * covariance + c2) /
           ((meanA * meanA + meanB * meanB + c1) * (variances + c2));
}

double similarity(const Luma& one, const Luma& other, std::size_t width) {
    constexpr std::size_t step = 4;
    constexpr std::size_t side = 8;
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t y = 0; (y + side) * width <= one.size(); y += step) {
        for (std::size_t x = 0; x + side <= width; x += step, ++count) {
            sum += similarityAt(&one[y * width + x], &other[y * width + x], width);
        }
    }
    return sum / static_cast<double>(count);
}

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

Figures measureSpan(const KVCameraSettings& settings, double start) {
    const robot::HumanoidBody body(1);
    robot::Canvas canvas;
    canvas.resize(settings.fWidth, settings.fHeight);
    robot::FrameEncoder encoder;
    codec::H264Decoder decoder;
    Luma shown(static_cast<std::size_t>(settings.fWidth) *
               static_cast<std::size_t>(settings.fHeight));
    constexpr int frames = a_rate * a_seconds;
    Figures figures;
    for (int i = 0; i < frames; ++i) {
        robot::drawHeadView(canvas, body.pose(start + i / double{a_rate}, robot::HumanoidInputs()));
        Clock::time_point begin = Clock::now();
        const KVFrame frame = encoder.encode(canvas, settings, false);
        figures.fEncoding += millisecondsSince(begin) / frames;
        begin = Clock::now();
        const picture::CheckedFrame checked = picture::check(frame);
        if (checked.fault() != picture::FrameFault::None ||
            decoder.decode(checked) != picture::FrameFault::None ||
            !decoder.read(picture::PixelLayout::Grey8, shown.data(),
                          static_cast<std::size_t>(settings.fWidth))) {
            throw std::runtime_error("a frame cannot be decoded");
        }
        figures.fDecoding += millisecondsSince(begin) / frames;
        figures.fBitRate += static_cast<double>(frame.fSize) * 8 / a_seconds;
        figures.fSimilarity +=
            similarity(lumaOf(canvas), shown, static_cast<std::size_t>(settings.fWidth)) / frames;
    }
    return figures;
}

Figures measure(int width, int height, double target) {
    const KVCameraSettings settings{width, height, "h264", a_rate, static_cast<int>(target)};
    Figures worst;
    worst.fSimilarity = 1;
    for (const double start : a_spans) {
        const Figures span = measureSpan(settings, start);
        worst = span.fSimilarity < worst.fSimilarity ? span : worst;
    }
    std::printf(
        "%4dx%-4d  target %5.2f Mbit/s  sent %5.2f Mbit/s  SSIM %.4f  "
        "encoding %4.1f ms  decoding %4.1f ms\n",
        width, height, target / a_mega, worst.fBitRate / a_mega, worst.fSimilarity, worst.fEncoding,
        worst.fDecoding);
    std::fflush(stdout);
    return worst;
}

void measureSize(int width, int height, const std::vector<double>& targets) {
    std::optional<double> lowest;
    for (const double target : targets) {
        if (measure(width, height, target).fSimilarity >= a_goal && !lowest) {
            lowest = target;
        }
    }
    if (lowest) {
        std::printf("%4dx%-4d  a mean SSIM of %.2f is reached with %.2f Mbit/s\n", width, height,
                    a_goal, *lowest / a_mega);
    } else {
        std::printf("%4dx%-4d  a mean SSIM of %.2f is not reached\n", width, height, a_goal);
    }
}

}  // namespace

int main() {
    try {
        measureSize(640, 480, {0.25e6, 0.5e6, 1e6});
        measureSize(1280, 720, {0.5e6, 1e6, 2.5e6});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
