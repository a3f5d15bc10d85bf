// The pictures as the build makes them: what the program relies on, and what a user must be able
// to see on any desktop.

#include "qt_test_main.h"

#include <QColor>
#include <QDir>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QRect>
#include <QtTest>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace {

const QRect a_memoryZone(QPoint(310, 175), QPoint(399, 199));
const QRect a_cameraZone(QPoint(310, 210), QPoint(399, 234));
const int a_rowsBehindMenuBar = 40;
const int a_cornerRadius = 4;
const QSize a_listIconSize(60, 60);
const std::array a_listIcons = {"computer", "robot_off", "robot_on", "star_on", "star_off"};
const std::array a_backgrounds = {"interface", "interface_memory", "interface_camera"};

QString buildPath(const QString& file) {
    return QDir(qEnvironmentVariable("OBVISTA_BUILD_DIR")).filePath(file);
}

QString background(const QString& name) {
    return buildPath(QStringLiteral("share/obvista/background/") + name);
}

QString listIcon(const QString& name) {
    return buildPath(QStringLiteral("share/obvista/images/bonjour/") + name);
}

QImage picture(const QString& path) {
    return QImage(path).convertToFormat(QImage::Format_ARGB32);
}

QImage shownOn(const QImage& icon, const QColor& surface) {
    QImage result(icon.size(), QImage::Format_RGB32);
    result.fill(surface);
    QPainter(&result).drawImage(0, 0, icon);
    return result;
}

/** Greatest difference of a colour channel, 0 to 255. */
int distance(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

/** Relative luminance and contrast as the web accessibility guidelines define them. */
double luminance(QRgb colour) {
    const auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) +
           0.0722 * linear(qBlue(colour));
}

double contrast(QRgb a, QRgb b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

template <typename Predicate>
double shareOfPixels(const QImage& image, Predicate predicate) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += predicate(x, y) ? 1 : 0;
        }
    }
    return static_cast<double>(count) / (image.width() * image.height());
}

double shareThatDiffers(const QImage& a, const QImage& b, const QRect& zone, bool inside) {
    return shareOfPixels(a, [&](int x, int y) {
        return zone.contains(x, y) == inside && a.pixel(x, y) != b.pixel(x, y);
    });
}

/** Pairs of a pixel on the zone's edge and its neighbour outside, the round corners left out. */
QVector<QPair<QPoint, QPoint>> edgePairs(const QRect& zone) {
    QVector<QPair<QPoint, QPoint>> pairs;
    for (int x = zone.left() + a_cornerRadius; x <= zone.right() - a_cornerRadius; ++x) {
        pairs.append({QPoint(x, zone.top()), QPoint(x, zone.top() - 1)});
        pairs.append({QPoint(x, zone.bottom()), QPoint(x, zone.bottom() + 1)});
    }
    for (int y = zone.top() + a_cornerRadius; y <= zone.bottom() - a_cornerRadius; ++y) {
        pairs.append({QPoint(zone.left(), y), QPoint(zone.left() - 1, y)});
        pairs.append({QPoint(zone.right(), y), QPoint(zone.right() + 1, y)});
    }
    return pairs;
}

}  // namespace

class PicturesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyPictureHasItsSize_data();
    void everyPictureHasItsSize();
    void iconsAreTransparentAroundTheirShape_data();
    void iconsAreTransparentAroundTheirShape();
    void backgroundsAreOpaque();
    void highlightStaysInItsZone_data();
    void highlightStaysInItsZone();
    void buttonsFillTheirZones_data();
    void buttonsFillTheirZones();
    void buttonTextsAreLegible_data();
    void buttonTextsAreLegible();
    void rowsBehindTheMenuBarArePlain();
    void listIconsStandOutOnAnyList_data();
    void listIconsStandOutOnAnyList();
    void onAndOffDifferWithoutColour_data();
    void onAndOffDifferWithoutColour();
    void listIconsAreShownAtTheListsSize_data();
    void listIconsAreShownAtTheListsSize();
    void smallWindowIconStillHasTwoEyes();
};

void PicturesTest::everyPictureHasItsSize_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    for (const char* name : a_backgrounds) {
        QTest::newRow(name) << background(QString::fromLatin1(name) + QStringLiteral(".png"))
                            << QSize(640, 400);
    }
    for (const char* name : a_listIcons) {
        const QString icon = listIcon(QString::fromLatin1(name));
        QTest::newRow(name) << icon + QStringLiteral(".png") << a_listIconSize;
        QTest::addRow("%s, high resolution", name)
            << icon + QStringLiteral("@2x.png") << 2 * a_listIconSize;
    }
    QTest::newRow("window icon") << buildPath(QStringLiteral("bin/media/icons/obvista.png"))
                                 << QSize(256, 256);
    QTest::newRow("simulated robot")
        << buildPath(QStringLiteral("share/obvista/robot/buddy.png")) << QSize(96, 96);
    QTest::newRow("simulated computer")
        << buildPath(QStringLiteral("share/obvista/robot/computer.png")) << QSize(96, 96);
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QTest::addRow("theme icon %d", size)
            << buildPath(QStringLiteral("share/icons/hicolor/%1x%1/apps/obvista.png").arg(size))
            << QSize(size, size);
    }
}

void PicturesTest::everyPictureHasItsSize() {
    QFETCH(QString, path);
    QFETCH(QSize, size);
    QCOMPARE(picture(path).size(), size);
}

void PicturesTest::iconsAreTransparentAroundTheirShape_data() {
    QTest::addColumn<QString>("path");
    for (const char* name : a_listIcons) {
        QTest::newRow(name) << listIcon(QString::fromLatin1(name) + QStringLiteral(".png"));
    }
    QTest::newRow("window icon") << buildPath(QStringLiteral("bin/media/icons/obvista.png"));
    QTest::newRow("simulated robot") << buildPath(QStringLiteral("share/obvista/robot/buddy.png"));
    QTest::newRow("simulated computer")
        << buildPath(QStringLiteral("share/obvista/robot/computer.png"));
}

void PicturesTest::iconsAreTransparentAroundTheirShape() {
    QFETCH(QString, path);
    const QImage icon = picture(path);
    const QRect corners = icon.rect();
    for (const QPoint corner :
         {corners.topLeft(), corners.topRight(), corners.bottomLeft(), corners.bottomRight()}) {
        QCOMPARE(qAlpha(icon.pixel(corner)), 0);
    }
    QVERIFY(shareOfPixels(icon, [&](int x, int y) { return qAlpha(icon.pixel(x, y)) == 255; }) >
            0.02);
}

void PicturesTest::backgroundsAreOpaque() {
    const QImage image = picture(background(QStringLiteral("interface.png")));
    QCOMPARE(shareOfPixels(image, [&](int x, int y) { return qAlpha(image.pixel(x, y)) == 255; }),
             1.0);
}

void PicturesTest::highlightStaysInItsZone_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("zone");
    QTest::newRow("memory viewer") << QStringLiteral("interface_memory.png") << a_memoryZone;
    QTest::newRow("camera viewer") << QStringLiteral("interface_camera.png") << a_cameraZone;
}

void PicturesTest::highlightStaysInItsZone() {
    QFETCH(QString, name);
    QFETCH(QRect, zone);
    const QImage plain = picture(background(QStringLiteral("interface.png")));
    const QImage highlighted = picture(background(name));
    QCOMPARE(highlighted.size(), plain.size());

    const double zoneShare =
        static_cast<double>(zone.width() * zone.height()) / (plain.width() * plain.height());
    QCOMPARE(shareThatDiffers(plain, highlighted, zone, false), 0.0);
    QVERIFY(shareThatDiffers(plain, highlighted, zone, true) > 0.95 * zoneShare);
}

void PicturesTest::buttonsFillTheirZones_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("zone");
    for (const char* name : a_backgrounds) {
        const QString file = QString::fromLatin1(name) + QStringLiteral(".png");
        QTest::addRow("memory viewer in %s", name) << file << a_memoryZone;
        QTest::addRow("camera viewer in %s", name) << file << a_cameraZone;
    }
}

void PicturesTest::buttonsFillTheirZones() {
    QFETCH(QString, name);
    QFETCH(QRect, zone);
    const QImage image = picture(background(name));
    for (const auto& [inside, outside] : edgePairs(zone)) {
        const int difference = distance(image.pixel(inside), image.pixel(outside));
        QVERIFY2(difference >= 48, qPrintable(QStringLiteral("at %1, %2: only %3")
                                                  .arg(inside.x())
                                                  .arg(inside.y())
                                                  .arg(difference)));
    }
}

void PicturesTest::buttonTextsAreLegible_data() {
    buttonsFillTheirZones_data();
}

void PicturesTest::buttonTextsAreLegible() {
    QFETCH(QString, name);
    QFETCH(QRect, zone);
    const QImage image = picture(background(name));
    const QRect inner = zone.adjusted(3, 3, -3, -3);
    const QRgb face = image.pixel(inner.topLeft());
    const double textShare = shareOfPixels(image.copy(inner), [&](int x, int y) {
        return contrast(image.pixel(inner.topLeft() + QPoint(x, y)), face) >= 4.5;
    });
    QVERIFY2(textShare > 0.08, qPrintable(QString::number(textShare)));
    for (int y = inner.top(); y <= inner.bottom(); ++y) {
        QCOMPARE(image.pixel(inner.left(), y), face);
        QCOMPARE(image.pixel(inner.right(), y), face);
    }
}

void PicturesTest::rowsBehindTheMenuBarArePlain() {
    const QImage image = picture(background(QStringLiteral("interface.png")));
    for (int y = image.height() - a_rowsBehindMenuBar; y < image.height(); ++y) {
        const QRgb first = image.pixel(0, y);
        QCOMPARE(shareOfPixels(image.copy(0, y, image.width(), 1),
                               [&](int x, int) { return distance(image.pixel(x, y), first) <= 4; }),
                 1.0);
    }
}

void PicturesTest::listIconsStandOutOnAnyList_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QColor>("surface");
    for (const char* name : a_listIcons) {
        const QString file = QString::fromLatin1(name) + QStringLiteral(".png");
        QTest::addRow("%s on white", name) << file << QColor(Qt::white);
        QTest::addRow("%s on dark", name) << file << QColor(0x23, 0x26, 0x29);
    }
}

void PicturesTest::listIconsStandOutOnAnyList() {
    QFETCH(QString, name);
    QFETCH(QColor, surface);
    const QImage shown = shownOn(picture(listIcon(name)), surface);
    const double share = shareOfPixels(
        shown, [&](int x, int y) { return contrast(shown.pixel(x, y), surface.rgb()) >= 3.0; });
    QVERIFY2(share > 0.08, qPrintable(QString::number(share)));
}

void PicturesTest::onAndOffDifferWithoutColour_data() {
    QTest::addColumn<QString>("on");
    QTest::addColumn<QString>("off");
    QTest::addColumn<QColor>("surface");
    for (const char* kind : {"robot", "star"}) {
        const QString prefix = QString::fromLatin1(kind);
        const QString on = prefix + QStringLiteral("_on.png");
        const QString off = prefix + QStringLiteral("_off.png");
        QTest::addRow("%s on white", kind) << on << off << QColor(Qt::white);
        QTest::addRow("%s on dark", kind) << on << off << QColor(0x23, 0x26, 0x29);
    }
}

void PicturesTest::onAndOffDifferWithoutColour() {
    QFETCH(QString, on);
    QFETCH(QString, off);
    QFETCH(QColor, surface);
    const QImage onShown = shownOn(picture(listIcon(on)), surface);
    const QImage offShown = shownOn(picture(listIcon(off)), surface);
    const double share = shareOfPixels(onShown, [&](int x, int y) {
        return std::abs(qGray(onShown.pixel(x, y)) - qGray(offShown.pixel(x, y))) >= 40;
    });
    QVERIFY2(share > 0.05, qPrintable(QString::number(share)));
}

void PicturesTest::listIconsAreShownAtTheListsSize_data() {
    QTest::addColumn<QString>("name");
    for (const char* name : a_listIcons) {
        QTest::newRow(name) << QString::fromLatin1(name) + QStringLiteral(".png");
    }
}

void PicturesTest::listIconsAreShownAtTheListsSize() {
    QFETCH(QString, name);
    const QPixmap shown = QIcon(listIcon(name)).pixmap(a_listIconSize);
    QCOMPARE(shown.size(), a_listIconSize);
    QCOMPARE(shownOn(shown.toImage(), Qt::white), shownOn(picture(listIcon(name)), Qt::white));
}

void PicturesTest::smallWindowIconStillHasTwoEyes() {
    const QImage icon =
        picture(buildPath(QStringLiteral("share/icons/hicolor/16x16/apps/obvista.png")));
    int eyes = 0;
    bool inEye = false;
    const int eyeRow = icon.height() / 2;
    for (int x = icon.width() / 4; x < icon.width() * 3 / 4; ++x) {
        const bool light = qGray(icon.pixel(x, eyeRow)) > 120;
        eyes += light && !inEye ? 1 : 0;
        inEye = light;
    }
    QCOMPARE(eyes, 2);
}

OBVISTA_QTEST_MAIN(PicturesTest)
#include "pictures_test.moc"
