#include "screen_watch.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int a_columns = 40;
constexpr std::chrono::milliseconds a_look{1};

/**
 * Returns true if the last 16 blocks of a strip could be at this place, which is rarely the case
 * elsewhere on a screen.
 */
bool hasEndOfStrip(const QImage& screen, int left, int top, int block) {
    constexpr unsigned bits = 0xa55a;
    for (int bit = 0; bit < 16; ++bit) {
        const int x = left + (a_columns - 16 + bit) * block + block / 2;
        const int y = top + 2 * block + block / 2;
        const bool isWhite = (bits >> (15 - bit) & 1U) != 0;
        if (!screen.valid(x, y) || (qGray(screen.pixel(x, y)) > 127) != isWhite) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<ShownRect> ScreenWatch::find(int width) {
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    const auto luma = [&](int x, int y) {
        return screen.valid(x, y) ? qGray(screen.pixel(x, y)) : 0;
    };
    // All places at which it can be read are less than a block away from the true one.
    QRect places;
    for (int top = 0; top < screen.height(); ++top) {
        for (int left = -width / a_columns; left < screen.width(); ++left) {
            if (hasEndOfStrip(screen, left, top, width / a_columns) &&
                obvista_test::readFrameStamp(luma, left, top, width)) {
                places |= QRect(left, top, 1, 1);
            }
        }
    }
    if (places.isNull()) {
        return std::nullopt;
    }
    return ShownRect{places.center().x(), places.center().y(), static_cast<double>(width)};
}

std::optional<obvista_test::FrameStamp> ScreenWatch::read() const {
    QScreen* screen = QGuiApplication::primaryScreen();
    std::map<int, QImage> lines;  // only the requested ones, as each takes time
    const auto luma = [&](int x, int y) {
        QImage& line = lines[y];
        if (line.isNull()) {
            line =
                screen->grabWindow(0, fRect.fLeft, y, static_cast<int>(fRect.fWidth), 1).toImage();
        }
        const int column = x - fRect.fLeft;
        return line.valid(column, 0) ? qGray(line.pixel(column, 0)) : 0;
    };
    return obvista_test::readFrameStamp(luma, fRect.fLeft, fRect.fTop, fRect.fWidth);
}

void ScreenWatch::follow(std::chrono::duration<double> time, const Seen& seen,
                         const std::function<void()>& eachLook) const {
    const auto end = Clock::now() + time;
    std::uint32_t last = 0;
    while (Clock::now() < end) {
        if (eachLook) {
            eachLook();
        }
        const std::optional<obvista_test::FrameStamp> stamp = read();
        if (stamp && stamp->fNumber != last) {
            seen(*stamp);
            last = stamp->fNumber;
        }
        std::this_thread::sleep_for(a_look);
    }
}

ShownRect shownRectOf(obvista_test::ChildProcess& program) {
    ShownRect rect;
    const bool isTold = program.waitForOutput("\n");
    const std::string output = program.output();
    if (!isTold || std::sscanf(output.c_str(), "shown %d %d %lf", &rect.fLeft, &rect.fTop,
                               &rect.fWidth) != 3) {
        throw std::runtime_error("no picture is shown: " + output + program.errors());
    }
    return rect;
}

double ageInMilliseconds(const obvista_test::FrameStamp& stamp) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    return static_cast<double>(microseconds - stamp.fTime) / 1000;
}

}  // namespace bench
