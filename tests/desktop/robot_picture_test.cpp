// Pictures served by robots: valid ones are shown, decoding is fast for any bytes, and nothing is
// reported.

#include "robot_picture.h"

#include "captured_stderr.h"
#include "costly_pictures.h"
#include "qt_test_main.h"

#include <QImage>
#include <QtTest>

#include <algorithm>

using KD::readRobotPicture;
using obvista_test::CapturedStderr;
using obvista_test::CostlyPicture;
using obvista_test::noise;
using obvista_test::noisyPng;
using obvista_test::pngChunk;
using obvista_test::PngKind;
using obvista_test::timeToDecode;

namespace {

constexpr int a_side = 64;

/** Sanitizers make decoding several times slower. */
double mostMilliseconds() {
    constexpr double most = 5;
    constexpr double slowness = 12;
    return qEnvironmentVariableIsEmpty("OBVISTA_SANITIZE") ? most : most * slowness;
}

/** Returns the decoding time without other load. */
double shortestTimeToDecode(const QByteArray& bytes) {
    constexpr int rounds = 7;
    double shortest = timeToDecode(bytes);
    for (int round = 1; round < rounds; ++round) {
        shortest = std::min(shortest, timeToDecode(bytes));
    }
    return shortest;
}

void addRows(const std::vector<CostlyPicture>& pictures) {
    QTest::addColumn<QByteArray>("bytes");
    for (const CostlyPicture& picture : pictures) {
        QTest::newRow(picture.fName) << picture.fBytes;
    }
}

/** Inserts chunks after the header of a PNG. */
QByteArray withChunks(QByteArray png, const QByteArray& chunks) {
    constexpr int endOfHeader = 33;
    return png.insert(endOfHeader, chunks);
}

/** Returns a text of that many equal bytes, compressed to a thousandth. */
QByteArray compressedText(int size) {
    constexpr int sizeOfLength = 4;
    return pngChunk("zTXt",
                    QByteArray("key\0\0", 5) + qCompress(QByteArray(size, 'x')).mid(sizeOfLength));
}

}  // namespace

class RobotPictureTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsTheSamePixelsAsQt_data();
    void showsTheSamePixelsAsQt();
    void showsPngsOfAllLayouts();
    void leavesOutWhatNoPixelDependsOn();
    void refusesWhatIsBeyondABoundOnTheWork_data();
    void refusesWhatIsBeyondABoundOnTheWork();
    void decodesTheWorstAcceptedPicturesAtOnce_data();
    void decodesTheWorstAcceptedPicturesAtOnce();
    void refusesCostlyPicturesAtOnce_data();
    void refusesCostlyPicturesAtOnce();
    void reportsNothingOfDamagedPictures_data();
    void reportsNothingOfDamagedPictures();
};

void RobotPictureTest::showsTheSamePixelsAsQt_data() {
    QTest::addColumn<QByteArray>("bytes");
    for (const char* format : {"bmp", "ico", "jpeg", "pbm", "pgm", "png", "ppm", "xbm"}) {
        QTest::newRow(format) << noise(a_side, format);
    }
    QTest::newRow("xpm") << noise(16, "xpm");
    QTest::newRow("progressive jpeg") << noise(a_side, "jpeg", 90, true);
    QTest::newRow("gif") << QByteArray::fromHex(
        "47494638396102000200800000ff00ffff00ff2c0000000002000200000202845100"
        "3b");
}

void RobotPictureTest::showsTheSamePixelsAsQt() {
    QFETCH(QByteArray, bytes);
    const QImage expected = QImage::fromData(bytes);
    QVERIFY(!expected.isNull());
    QCOMPARE(readRobotPicture(bytes), expected);
}

void RobotPictureTest::showsPngsOfAllLayouts() {
    struct Layout {
        PngKind::Colour fColour;
        std::vector<int> fDepths;
    };
    const std::vector<Layout> layouts{{PngKind::Grey, {1, 2, 4, 8, 16}},
                                      {PngKind::Rgb, {8, 16}},
                                      {PngKind::Palette, {1, 2, 4, 8}},
                                      {PngKind::GreyAlpha, {8, 16}},
                                      {PngKind::Rgba, {8, 16}}};
    for (const Layout& layout : layouts) {
        for (const int depth : layout.fDepths) {
            for (const int side : {1, 3, 7, a_side}) {
                for (const bool interlaced : {false, true}) {
                    const QByteArray bytes =
                        noisyPng({side, depth, layout.fColour, interlaced, -1, 256});
                    const QImage expected = QImage::fromData(bytes);
                    QVERIFY(!expected.isNull());
                    QVERIFY2(readRobotPicture(bytes) == expected,
                             qPrintable(QString("colour %1, depth %2, side %3, interlaced %4")
                                            .arg(layout.fColour)
                                            .arg(depth)
                                            .arg(side)
                                            .arg(interlaced)));
                }
            }
        }
    }
}

// Five hundred texts of 8 MB are a PNG of 4 MB, and Qt reads all of them.
void RobotPictureTest::leavesOutWhatNoPixelDependsOn() {
    const QByteArray picture = noisyPng({a_side});
    QByteArray texts;
    for (int i = 0; i < 40; ++i) {
        texts += compressedText(7'900'000);
    }
    const QByteArray costly = withChunks(picture, texts);
    QVERIFY(costly.size() < 512 * 1024);
    QCOMPARE(readRobotPicture(costly), readRobotPicture(picture));
    const double time = shortestTimeToDecode(costly);
    QVERIFY2(time < mostMilliseconds(), qPrintable(QString("%1 ms").arg(time)));
}

void RobotPictureTest::refusesWhatIsBeyondABoundOnTheWork_data() {
    QTest::addColumn<QByteArray>("within");
    QTest::addColumn<QByteArray>("beyond");
    for (const obvista_test::PictureBound& bound : obvista_test::pictureBounds()) {
        QTest::newRow(bound.fName) << bound.fWithin << bound.fBeyond;
    }
}

// The browser decodes 50 pictures in a pass. What they cost was measured for these bounds
// (bench_browser_refresh); the bounds hold on every machine.
void RobotPictureTest::refusesWhatIsBeyondABoundOnTheWork() {
    QFETCH(QByteArray, within);
    QFETCH(QByteArray, beyond);
    QVERIFY(!readRobotPicture(within).isNull());
    QVERIFY(readRobotPicture(beyond).isNull());
}

void RobotPictureTest::decodesTheWorstAcceptedPicturesAtOnce_data() {
    addRows(obvista_test::worstAcceptedPictures());
}

void RobotPictureTest::decodesTheWorstAcceptedPicturesAtOnce() {
    QFETCH(QByteArray, bytes);
    QVERIFY(!readRobotPicture(bytes).isNull());
    const double time = shortestTimeToDecode(bytes);
    QVERIFY2(time < mostMilliseconds(), qPrintable(QString("%1 ms").arg(time)));
}

void RobotPictureTest::refusesCostlyPicturesAtOnce_data() {
    addRows(obvista_test::refusedPictures());
}

void RobotPictureTest::refusesCostlyPicturesAtOnce() {
    QFETCH(QByteArray, bytes);
    QVERIFY(readRobotPicture(bytes).isNull());
    const double time = shortestTimeToDecode(bytes);
    QVERIFY2(time < mostMilliseconds(), qPrintable(QString("%1 ms").arg(time)));
}

void RobotPictureTest::reportsNothingOfDamagedPictures_data() {
    QTest::addColumn<QByteArray>("bytes");
    for (const char* format : {"bmp", "ico", "jpeg", "png", "ppm", "xbm", "xpm"}) {
        QTest::newRow(format) << noise(16, format);
    }
    QTest::newRow("filtered png") << noisyPng({16});
    QTest::newRow("indexed png") << noisyPng({16, 4, PngKind::Palette, true});
}

void RobotPictureTest::reportsNothingOfDamagedPictures() {
    QFETCH(QByteArray, bytes);
    CapturedStderr captured;
    for (int size = 1; size < bytes.size(); size += 1 + size / 32) {
        readRobotPicture(bytes.left(size));
        QByteArray changed = bytes;
        changed[size] = static_cast<char>(changed[size] ^ 0x55);
        readRobotPicture(changed);
    }
    QCOMPARE(captured.take(), QString());
}

OBVISTA_QTEST_MAIN(RobotPictureTest)
#include "robot_picture_test.moc"
