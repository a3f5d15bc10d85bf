#include "screen_watch.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <map>

namespace bench {
namespace {

constexpr int a_columns = 40;

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

}  // namespace bench
