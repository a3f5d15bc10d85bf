#include "camera_driver.h"

#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QImage>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <made_frames.h>

namespace obvista_test {

namespace {

KVFrame plainPicture(const QColor& color, KVPixelFormat format, int width, int height) {
    const auto columns = static_cast<std::uint32_t>(width);
    const auto rows = static_cast<std::uint32_t>(height);
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto grey = static_cast<unsigned char>(qGray(color.rgb()));
    Bytes bytes;
    switch (format) {
        case KVPixelFormat::Jpeg: {
            QImage image(width, height, QImage::Format_RGB888);
            image.fill(color);
            return jpegFrame(image);
        }
        case KVPixelFormat::Grey8:
            return makeFrame(format, columns, rows, columns, Bytes(pixels, grey));
        case KVPixelFormat::Yuv422:
            bytes.assign(2 * pixels, 128);
            for (std::size_t i = 0; i < bytes.size(); i += 2) {
                bytes[i] = static_cast<unsigned char>(16 + grey * 219 / 255);
            }
            return makeFrame(format, columns, rows, 2 * columns, bytes);
        default:
            for (std::size_t i = 0; i < pixels; ++i) {
                for (const int part : {color.red(), color.green(), color.blue()}) {
                    bytes.push_back(static_cast<unsigned char>(part));
                }
            }
            return makeFrame(KVPixelFormat::Rgb888, columns, rows, 3 * columns, bytes);
    }
}

}  // namespace

CameraDriver::CameraDriver() : PluginDriver(QStringLiteral("cameraviewer")) {
}

QWidget* CameraDriver::show(int port, const std::string& address) {
    QWidget* viewer = createWidget(port, address);
    dock(viewer);
    return viewer;
}

QWidget* pictureOf(QWidget* viewer) {
    return viewer->findChild<QWidget*>(QStringLiteral("cameraPicture"));
}

QColor shownColor(QWidget* viewer) {
    QWidget* view = pictureOf(viewer);
    return view->grab().toImage().pixelColor(view->rect().center());
}

std::optional<FrameStamp> shownStamp(QWidget* viewer) {
    const QRegularExpression size(QString::fromUtf8("^(\\d+) × (\\d+) "));
    const QRegularExpressionMatch match = size.match(readoutOf(viewer));
    const double width = match.captured(1).toDouble();
    const double height = match.captured(2).toDouble();
    const QImage shot = pictureOf(viewer)->grab().toImage();
    if (width <= 0 || height <= 0 || shot.isNull()) {
        return std::nullopt;
    }
    // Fitted and centred, as every picture is at first.
    const double scale = std::min(shot.width() / width, shot.height() / height);
    const auto luma = [&](int x, int y) { return shot.valid(x, y) ? qGray(shot.pixel(x, y)) : 0; };
    return readFrameStamp(luma, qRound((shot.width() - width * scale) / 2),
                          qRound((shot.height() - height * scale) / 2), width * scale);
}

QComboBox* boxOf(QWidget* viewer, const char* objectName) {
    return viewer->findChild<QComboBox*>(QLatin1String(objectName));
}

bool choose(QWidget* viewer, const char* objectName, const QString& text) {
    QComboBox* box = boxOf(viewer, objectName);
    const int index = box->findText(text);
    if (index < 0 || !box->isEnabled()) {
        return false;
    }
    // In its list: in the closed box, each entry on the way would be selected.
    box->showPopup();
    box->view()->setCurrentIndex(box->model()->index(index, box->modelColumn()));
    QTest::keyClick(box->view(), Qt::Key_Return);
    return box->currentIndex() == index;
}

QAction* actionOf(QWidget* viewer, const char* objectName) {
    return viewer->findChild<QAction*>(QLatin1String(objectName));
}

QString messageOf(QWidget* viewer) {
    return labelText(viewer, "cameraMessage");
}

QString noticeOf(QWidget* viewer) {
    return labelText(viewer, "viewerBanner");
}

QString toldOf(QWidget* viewer) {
    return labelText(viewer, "cameraTold");
}

QString readoutOf(QWidget* viewer) {
    return labelText(viewer, "cameraReadout");
}

QString statusOf(QWidget* viewer) {
    return labelText(viewer, "cameraStatus");
}

double figureOf(QWidget* viewer, const QString& name) {
    const QRegularExpression figure(QStringLiteral("([0-9.]+) ") + name);
    const QRegularExpressionMatch match = figure.match(statusOf(viewer));
    return match.hasMatch() ? match.captured(1).toDouble() : -1;
}

KVFrame plainFrame(const QColor& color, KVPixelFormat format, int width, int height) {
    KVFrame frame = plainPicture(color, format, width, height);
    frame.fNumber = 0;
    frame.fTime = 0;
    return frame;
}

}  // namespace obvista_test
