#include "cell_watch.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <cstdlib>

namespace bench {

namespace {

constexpr int a_contrast = 80;
/** Where the background is visible: inside the lines around a cell, outside its text. */
constexpr int a_inset = 2;

}  // namespace

int CellWatch::ink() const {
    const QImage cell = QGuiApplication::primaryScreen()
                            ->grabWindow(0, fCell.x(), fCell.y(), fCell.width(), fCell.height())
                            .toImage();
    const int ground = qGray(cell.pixel(cell.width() - 1 - a_inset, a_inset));
    int count = 0;
    for (int y = a_inset; y < cell.height() - a_inset; ++y) {
        for (int x = a_inset; x < cell.width() - a_inset; ++x) {
            count += std::abs(qGray(cell.pixel(x, y)) - ground) > a_contrast ? 1 : 0;
        }
    }
    return count;
}

}  // namespace bench
