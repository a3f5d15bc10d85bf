#include <QSignalSpy>
#include <QTimer>
#include <QtTest>
#include <qt_test_main.h>

#include <made_frames.h>
#include <memory>
#include <picture_grid.h>
#include <picture_view.h>

using cameraviewer::Picture;
using cameraviewer::PictureDecoder;
using cameraviewer::PictureView;
using namespace obvista_test;

namespace {

Picture pictureOf(KVFrame frame, std::uint64_t number = 1) {
    frame.fNumber = number;
    frame.fTime = static_cast<std::int64_t>(number) * 1000;
    PictureDecoder decoder;
    return decoder.decode(frame);
}

Picture varied(int width, int height, std::uint64_t number = 1) {
    return pictureOf(soundFrame(KVPixelFormat::Rgb888, static_cast<std::uint32_t>(width),
                                static_cast<std::uint32_t>(height)),
                     number);
}

Picture grey(const Bytes& bytes, std::uint32_t width, std::uint32_t height) {
    return pictureOf(makeFrame(KVPixelFormat::Grey8, width, height, width, bytes));
}

/** Counts the paint events of a widget and records their areas. */
class PaintCounter : public QObject {
  public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        fCount += event->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

    int fCount = 0;
};

/**
 * A widget in a corner of another one's window that repaints continuously: it counts the frames in
 * which the other one could have been painted.
 */
class RestlessWidget : public QWidget {
  public:
    explicit RestlessWidget(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_OpaquePaintEvent);  // its parent is not painted for it
        resize(1, 1);
        show();
    }

    int fCount = 0;

  protected:
    void paintEvent(QPaintEvent*) override {
        ++fCount;
        QTimer::singleShot(0, this, [this] { update(); });
    }
};

}  // namespace

class PictureViewTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void showsThePixelsOneToOne();
    void showsThePictureTurnedAndFlipped();
    void tellsOncePerPictureThatItWasShown();
    void paintsNothingWhenNothingChanges();
    void findsThePixelUnderTheCursor();
    void zoomsAroundTheCursor();
    void pansByDragging();
    void changesBetweenFittedAndOneToOneByDoubleClick();
    void isMovedAndLookedAtByKeyboard();
    void movesTheMarkAsItIsSeen();
    void showsAGridOfPixels();
    void keepsTheLinesOfTheGridApart_data();
    void keepsTheLinesOfTheGridApart();
    void showsGreyInItsRange();
    void showsNothingOfAPictureThatIsCleared();
    void takesAPictureOfAnotherSize();
    void showsTheEdgesAtThirtyTwoTimes();

  private:
    QImage xShot();
    void xMoveMouse(const QPoint& to, Qt::MouseButtons held = Qt::NoButton);

    std::unique_ptr<PictureView> fView;
};

void PictureViewTest::init() {
    fView = std::make_unique<PictureView>(nullptr);
    fView->resize(200, 160);
    fView->show();
    QVERIFY(waitForExposed(fView.get()));
    fView->activateWindow();
}

void PictureViewTest::cleanup() {
    fView.reset();
}

QImage PictureViewTest::xShot() {
    return fView->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

void PictureViewTest::xMoveMouse(const QPoint& to, Qt::MouseButtons held) {
    QMouseEvent move(QEvent::MouseMove, to, fView->mapToGlobal(to), Qt::NoButton, held,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(fView.get(), &move);
}

void PictureViewTest::showsThePixelsOneToOne() {
    const Picture picture = varied(200, 160);
    fView->setPicture(picture);
    fView->showOneToOne();
    QCOMPARE(xShot(), picture.fImage.convertToFormat(QImage::Format_RGB32));
}

void PictureViewTest::showsThePictureTurnedAndFlipped() {
    const Picture picture = varied(160, 200);
    fView->setPicture(picture);
    fView->showOneToOne();
    fView->rotateRight();
    const QImage right = picture.fImage.transformed(QTransform().rotate(90));
    QCOMPARE(xShot(), right.convertToFormat(QImage::Format_RGB32));
    fView->flipHorizontally();
    QCOMPARE(xShot(), right.mirrored(true, false).convertToFormat(QImage::Format_RGB32));
    fView->flipVertically();
    QCOMPARE(xShot(), right.mirrored(true, true).convertToFormat(QImage::Format_RGB32));
    fView->rotateLeft();
    fView->straighten();
    fView->rotateLeft();
    QCOMPARE(
        xShot(),
        picture.fImage.transformed(QTransform().rotate(-90)).convertToFormat(QImage::Format_RGB32));
}

void PictureViewTest::tellsOncePerPictureThatItWasShown() {
    QSignalSpy shown(fView.get(), &PictureView::pictureShown);
    fView->setPicture(varied(40, 30, 5));
    QTRY_COMPARE(shown.size(), 1);
    QCOMPARE(shown.at(0).at(0).toULongLong(), 5ULL);
    QCOMPARE(shown.at(0).at(1).toLongLong(), 5000LL);
    fView->repaint();
    QCOMPARE(shown.size(), 1);
    fView->setPicture(varied(40, 30, 6));
    QTRY_COMPARE(shown.size(), 2);
}

void PictureViewTest::paintsNothingWhenNothingChanges() {
    fView->setPicture(varied(40, 30));
    QSignalSpy shown(fView.get(), &PictureView::pictureShown);
    QTRY_COMPARE(shown.size(), 1);
    RestlessWidget restless(fView.get());
    PaintCounter paints(fView.get());
    QTRY_VERIFY(restless.fCount >= 20);
    QCOMPARE(paints.fCount, 0);
    // Both are painted in the same frames: an update requested by the view comes before the next of
    // them.
    fView->update();
    const int before = restless.fCount;
    QTRY_VERIFY(restless.fCount > before + 1);
    QCOMPARE(paints.fCount, 1);
}

void PictureViewTest::findsThePixelUnderTheCursor() {
    fView->setPicture(varied(20, 16));  // ten times as large when fitted
    QSignalSpy changed(fView.get(), &PictureView::pixelChanged);
    xMoveMouse(QPoint(39, 70));
    QCOMPARE(fView->pixel(), std::make_optional(QPoint(3, 7)));
    QVERIFY(!changed.isEmpty());
    fView->rotateRight();
    QVERIFY(fView->pixel() != std::make_optional(QPoint(3, 7)));
    fView->straighten();
    changed.clear();
    fView->setPicture(varied(20, 16, 2));
    QCOMPARE(changed.size(), 1);  // another value under the same cursor
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(fView.get(), &leave);
    QCOMPARE(fView->pixel(), std::optional<QPoint>());
}

void PictureViewTest::zoomsAroundTheCursor() {
    fView->setPicture(varied(200, 160));
    xMoveMouse(QPoint(150, 20));
    QCOMPARE(fView->pixel(), std::make_optional(QPoint(150, 20)));
    for (int notch = 0; notch < 30; ++notch) {
        QWheelEvent wheel(QPointF(150.5, 20.5), fView->mapToGlobal(QPoint(150, 20)), QPoint(),
                          QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(fView.get(), &wheel);
        QCOMPARE(fView->pixel(), std::make_optional(QPoint(150, 20)));
    }
    QCOMPARE(fView->geometry().zoom(), 32.0);
}

void PictureViewTest::pansByDragging() {
    fView->setPicture(varied(400, 320));
    fView->showOneToOne();
    const QPoint before = fView->geometry().pixelAt({100.5, 80.5});
    QTest::mousePress(fView.get(), Qt::LeftButton, {}, QPoint(100, 80));
    xMoveMouse(QPoint(120, 90), Qt::LeftButton);
    QCOMPARE(fView->geometry().pixelAt({120.5, 90.5}), before);
    QTest::mouseRelease(fView.get(), Qt::LeftButton, {}, QPoint(120, 90));
    xMoveMouse(QPoint(10, 10));
    QCOMPARE(fView->geometry().pixelAt({120.5, 90.5}), before);
}

void PictureViewTest::changesBetweenFittedAndOneToOneByDoubleClick() {
    fView->setPicture(varied(400, 320));
    QVERIFY(fView->geometry().isFitted());
    QTest::mouseDClick(fView.get(), Qt::LeftButton, {}, QPoint(50, 50));
    QCOMPARE(fView->geometry().zoom(), 1.0);
    QTest::mouseDClick(fView.get(), Qt::LeftButton, {}, QPoint(50, 50));
    QVERIFY(fView->geometry().isFitted());
}

void PictureViewTest::isMovedAndLookedAtByKeyboard() {
    fView->setPicture(varied(400, 320));
    fView->showOneToOne();
    const QPoint before = fView->geometry().pixelAt({0.5, 0.5});
    QTest::keyClick(fView.get(), Qt::Key_Right);
    QVERIFY(fView->geometry().pixelAt({0.5, 0.5}).x() > before.x());
    QTest::keyClick(fView.get(), Qt::Key_Up);
    QVERIFY(fView->geometry().pixelAt({0.5, 0.5}).y() < before.y());

    QTest::keyClick(fView.get(), Qt::Key_Left, Qt::ShiftModifier);
    const std::optional<QPoint> first = fView->pixel();
    QVERIFY(first.has_value());
    QTest::keyClick(fView.get(), Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(fView.get(), Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(fView->pixel(), std::make_optional(*first + QPoint(-1, 1)));
    QTest::keyClick(fView.get(), Qt::Key_Escape);
    QCOMPARE(fView->pixel(), std::optional<QPoint>());
}

void PictureViewTest::movesTheMarkAsItIsSeen() {
    fView->setPicture(varied(40, 32));
    fView->rotateRight();
    QTest::keyClick(fView.get(), Qt::Key_Left, Qt::ShiftModifier);
    const QPoint first = fView->pixel().value();
    QTest::keyClick(fView.get(), Qt::Key_Right, Qt::ShiftModifier);
    // After a rotation to the right, the picture's top is on the right.
    QCOMPARE(fView->pixel().value(), first + QPoint(0, -1));
}

void PictureViewTest::showsAGridOfPixels() {
    fView->setPicture(grey(Bytes(20 * 16, 128), 20, 16));
    const QImage without = xShot();
    fView->setGrid(true);
    QCOMPARE(gridStep(fView->geometry()), 1);
    const QImage with = xShot();
    QVERIFY(with != without);
    QCOMPARE(with.pixel(15, 15), without.pixel(15, 15));   // inside a picture pixel
    QVERIFY(with.pixel(20, 15) != without.pixel(20, 15));  // on its border
}

/** Large pixels get a frame each; a coarser grid leaves the picture visible. */
void PictureViewTest::keepsTheLinesOfTheGridApart_data() {
    QTest::addColumn<double>("zoom");
    QTest::addColumn<double>("pixelRatio");
    QTest::addColumn<int>("step");
    QTest::newRow("1/16") << 0.0625 << 1.0 << 1000;
    QTest::newRow("fitted, nearly a third") << 0.3125 << 1.0 << 200;
    QTest::newRow("1:1") << 1.0 << 1.0 << 50;
    QTest::newRow("2:1") << 2.0 << 1.0 << 50;
    QTest::newRow("5:1") << 5.0 << 1.0 << 10;
    QTest::newRow("just too small") << 7.9 << 1.0 << 10;
    QTest::newRow("large enough") << 8.0 << 1.0 << 1;
    QTest::newRow("32:1") << 32.0 << 1.0 << 1;
    QTest::newRow("the same at 200 %, too small") << 15.9 << 2.0 << 10;
    QTest::newRow("the same at 200 %, large enough") << 16.0 << 2.0 << 1;
}

void PictureViewTest::keepsTheLinesOfTheGridApart() {
    QFETCH(double, zoom);
    QFETCH(double, pixelRatio);
    cameraviewer::ViewGeometry geometry;
    geometry.setView({200, 160}, pixelRatio);
    geometry.setPicture({1280, 960});
    geometry.zoomTo(zoom);
    QTEST(gridStep(geometry), "step");
}

void PictureViewTest::showsGreyInItsRange() {
    Bytes bytes(20 * 16, 100);
    bytes.back() = 150;
    fView->setPicture(grey(bytes, 20, 16));  // ten times as large when fitted
    fView->setGreyRange(100, 150);
    const QImage stretched = xShot();
    QCOMPARE(stretched.pixel(20, 80), qRgb(0, 0, 0));
    QCOMPARE(stretched.pixel(195, 155), qRgb(255, 255, 255));
    QCOMPARE(fView->picture().fImage.pixel(0, 0), qRgb(100, 100, 100));
    fView->setFullGreyRange();
    QCOMPARE(xShot().pixel(20, 80), qRgb(100, 100, 100));
}

void PictureViewTest::showsNothingOfAPictureThatIsCleared() {
    const QImage empty = xShot();
    fView->setPicture(varied(40, 30));
    QVERIFY(xShot() != empty);
    fView->clear();
    QVERIFY(!fView->hasPicture());
    QCOMPARE(xShot(), empty);
}

void PictureViewTest::takesAPictureOfAnotherSize() {
    fView->setPicture(varied(40, 32));
    fView->setPicture(varied(200, 80));
    QCOMPARE(fView->geometry().pictureRect(), QRectF(0, 40, 200, 80));
    const QImage shot = xShot();
    QCOMPARE(shot.pixel(100, 10), shot.pixel(100, 150));  // the background, above and below
}

void PictureViewTest::showsTheEdgesAtThirtyTwoTimes() {
    Bytes bytes(400 * 320, 0);
    bytes[400 * 160 + 200] = 255;
    fView->setPicture(grey(bytes, 400, 320));
    for (int step = 0; step < 20; ++step) {
        fView->zoomIn();
    }
    const QRectF pixel = fView->geometry().pictureToView().mapRect(QRectF(200, 160, 1, 1));
    QCOMPARE(pixel.size(), QSizeF(32, 32));
    const QImage shot = xShot();
    const QRect inside = pixel.toRect();
    QCOMPARE(shot.pixel(inside.topLeft()), qRgb(255, 255, 255));
    QCOMPARE(shot.pixel(inside.bottomRight()), qRgb(255, 255, 255));
    QCOMPARE(shot.pixel(inside.topLeft() - QPoint(1, 1)), qRgb(0, 0, 0));
    QCOMPARE(shot.pixel(inside.bottomRight() + QPoint(1, 1)), qRgb(0, 0, 0));
}

OBVISTA_QTEST_MAIN(PictureViewTest)
#include "picture_view_test.moc"
