#include "shown_rect.h"

#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>

#include <algorithm>
#include <cstdio>

namespace bench {
void showLarge(QMainWindow& window) {
    window.setWindowFlag(Qt::FramelessWindowHint);
    window.setGeometry(QRect(0, 0, 1440, 960) & QGuiApplication::primaryScreen()->geometry());
    window.show();
}

void tellWhereShown(QWidget* view, const QSize& picture) {
    const double scale = std::min(
        {double(view->width()) / picture.width(), double(view->height()) / picture.height(), 1.0});
    const QSizeF shown = QSizeF(picture) * scale;
    const QPoint at = view->mapToGlobal(QPoint(qRound((view->width() - shown.width()) / 2),
                                               qRound((view->height() - shown.height()) / 2)));
    std::printf("shown %d %d %.3f\n", at.x(), at.y(), shown.width());
    std::fflush(stdout);
}

}  // namespace bench
