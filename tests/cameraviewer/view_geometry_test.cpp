#include <QPointF>
#include <QtTest>
#include <qt_test_main.h>

#include <cmath>
#include <view_geometry.h>

using cameraviewer::ViewGeometry;

namespace {

ViewGeometry geometry(const QSizeF& view, const QSize& picture, double ratio = 1) {
    ViewGeometry made;
    made.setView(view, ratio);
    made.setPicture(picture);
    return made;
}

/** Returns the centre of the view point at which a pixel is shown. */
QPointF shownAt(const ViewGeometry& geometry, int x, int y) {
    return geometry.pictureToView().map(QPointF(x + 0.5, y + 0.5));
}

}  // namespace

class ViewGeometryTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void fitsTheWholePictureIntoTheMiddle();
    void fitsALargePicture();
    void followsTheViewWhileItIsFitted();
    void showsPixelsOneToOneAtEveryScaleOfTheDesktop_data();
    void showsPixelsOneToOneAtEveryScaleOfTheDesktop();
    void keepsThePixelUnderTheCursorWhileItZooms();
    void zoomsToThirtyTwoTimesAndNoFurther();
    void zoomsOutToTheWholeOfAPictureHoweverLarge();
    void stepsThroughTheSameZoomsUpAndDown();
    void pansWithinThePicture();
    void turnsAsItIsSeen();
    void flipsAsItIsSeen();
    void keepsTheMiddleWhenTurned();
    void keepsThePartThatIsShownWhenTheResolutionChanges();
    void findsEveryPixelWhereItIsShown_data();
    void findsEveryPixelWhereItIsShown();
    void standsAViewOrPictureWithoutSize();
    void isGivenItsFormAgain();
    void takesNonsenseForAForm();
};

void ViewGeometryTest::fitsTheWholePictureIntoTheMiddle() {
    const ViewGeometry fitted = geometry({800, 600}, {160, 120});
    QVERIFY(fitted.isFitted());
    QCOMPARE(fitted.zoom(), 5.0);
    QCOMPARE(fitted.pictureRect(), QRectF(0, 0, 800, 600));
    QCOMPARE(geometry({1000, 600}, {160, 120}).pictureRect(), QRectF(100, 0, 800, 600));
}

void ViewGeometryTest::fitsALargePicture() {
    const ViewGeometry fitted = geometry({320, 300}, {1280, 720});
    QCOMPARE(fitted.zoom(), 0.25);
    QCOMPARE(fitted.pictureRect(), QRectF(0, 60, 320, 180));
}

void ViewGeometryTest::followsTheViewWhileItIsFitted() {
    ViewGeometry changed = geometry({320, 240}, {160, 120});
    changed.setView({640, 480}, 1);
    QCOMPARE(changed.zoom(), 4.0);
    changed.zoomTo(3);
    changed.setView({1600, 1200}, 1);
    QCOMPARE(changed.zoom(), 3.0);
}

void ViewGeometryTest::showsPixelsOneToOneAtEveryScaleOfTheDesktop_data() {
    QTest::addColumn<double>("ratio");
    QTest::newRow("100 %") << 1.0;
    QTest::newRow("150 %") << 1.5;
    QTest::newRow("200 %") << 2.0;
}

void ViewGeometryTest::showsPixelsOneToOneAtEveryScaleOfTheDesktop() {
    QFETCH(double, ratio);
    ViewGeometry sharp = geometry({301, 203}, {640, 480}, ratio);
    sharp.zoomTo(1);
    const QRectF onScreen(sharp.pictureRect().topLeft() * ratio,
                          sharp.pictureRect().size() * ratio);
    QCOMPARE(onScreen.size(), QSizeF(640, 480));
    QCOMPARE(onScreen.left(), std::round(onScreen.left()));
    QCOMPARE(onScreen.top(), std::round(onScreen.top()));
}

void ViewGeometryTest::keepsThePixelUnderTheCursorWhileItZooms() {
    ViewGeometry zoomed = geometry({640, 480}, {640, 480});
    const QPointF cursor(500.5, 100.5);
    for (int step = 0; step < 12; ++step) {
        zoomed.zoomAround(cursor, 1.3);
        QCOMPARE(zoomed.pixelAt(cursor), QPoint(500, 100));
    }
}

void ViewGeometryTest::zoomsToThirtyTwoTimesAndNoFurther() {
    ViewGeometry zoomed = geometry({640, 480}, {640, 480});
    zoomed.zoomAround({10, 10}, 1000);
    QCOMPARE(zoomed.zoom(), 32.0);
    QCOMPARE(geometry({6400, 4800}, {16, 12}).zoom(), 32.0);
}

void ViewGeometryTest::zoomsOutToTheWholeOfAPictureHoweverLarge() {
    ViewGeometry small = geometry({640, 480}, {640, 480});
    small.zoomAround({0, 0}, 1e-6);
    QCOMPARE(small.zoom(), ViewGeometry::a_smallestZoom);
    ViewGeometry large = geometry({64, 48}, {64000, 480});
    large.zoomAround({0, 0}, 1e-6);
    QCOMPARE(large.pictureRect().width(), 64.0);
}

void ViewGeometryTest::stepsThroughTheSameZoomsUpAndDown() {
    ViewGeometry stepped = geometry({640, 480}, {640, 480});
    stepped.zoomByStep(1);
    stepped.zoomByStep(1);
    QVERIFY(std::abs(stepped.zoom() - 2) < 1e-9);
    stepped.zoomByStep(-1);
    stepped.zoomByStep(-1);
    QVERIFY(std::abs(stepped.zoom() - 1) < 1e-9);
    stepped.zoomTo(1.1);
    stepped.zoomByStep(-1);
    QVERIFY(std::abs(stepped.zoom() - 1) < 1e-9);
}

void ViewGeometryTest::pansWithinThePicture() {
    ViewGeometry panned = geometry({100, 100}, {200, 200});
    panned.zoomTo(1);
    panned.panBy({30, -20});
    QCOMPARE(panned.pixelAt({0.5, 0.5}), QPoint(20, 70));
    panned.panBy({1000, 1000});
    QCOMPARE(panned.pictureRect().topLeft(), QPointF(0, 0));
    panned.panBy({-1000, -1000});
    QCOMPARE(panned.pictureRect().bottomRight(), QPointF(100, 100));
    ViewGeometry whole = geometry({100, 100}, {100, 100});
    whole.panBy({50, 50});
    QCOMPARE(whole.pictureRect(), QRectF(0, 0, 100, 100));
}

void ViewGeometryTest::turnsAsItIsSeen() {
    ViewGeometry turned = geometry({400, 400}, {200, 100});
    turned.zoomTo(1);
    turned.rotate(1);
    QCOMPARE(turned.pictureRect(), QRectF(150, 100, 100, 200));
    QCOMPARE(shownAt(turned, 0, 0), QPointF(249.5, 100.5));
    QCOMPARE(shownAt(turned, 199, 0), QPointF(249.5, 299.5));
    turned.rotate(-1);
    QCOMPARE(shownAt(turned, 0, 0), QPointF(100.5, 150.5));
    turned.rotate(2);
    QCOMPARE(shownAt(turned, 0, 0), QPointF(299.5, 249.5));
}

void ViewGeometryTest::flipsAsItIsSeen() {
    ViewGeometry flipped = geometry({400, 400}, {200, 100});
    flipped.zoomTo(1);
    flipped.rotate(1);
    const QPointF before = shownAt(flipped, 0, 0);
    flipped.flipHorizontally();
    QCOMPARE(shownAt(flipped, 0, 0), QPointF(400 - before.x(), before.y()));
    flipped.flipVertically();
    QCOMPARE(shownAt(flipped, 0, 0), QPointF(400 - before.x(), 400 - before.y()));
    flipped.straighten();
    QCOMPARE(shownAt(flipped, 0, 0), QPointF(100.5, 150.5));
}

void ViewGeometryTest::keepsTheMiddleWhenTurned() {
    ViewGeometry turned = geometry({101, 101}, {640, 480});
    turned.zoomTo(4);
    turned.panBy({400, 300});
    const QPoint middle = turned.pixelAt({50.5, 50.5});
    turned.rotate(1);
    QVERIFY((turned.pixelAt({50.5, 50.5}) - middle).manhattanLength() <= 1);
    turned.flipHorizontally();
    QVERIFY((turned.pixelAt({50.5, 50.5}) - middle).manhattanLength() <= 1);
}

void ViewGeometryTest::keepsThePartThatIsShownWhenTheResolutionChanges() {
    ViewGeometry changed = geometry({100, 100}, {640, 480});
    changed.zoomTo(2);
    changed.panBy({200, 100});
    const QPoint before = changed.pixelAt({50, 50});
    changed.setPicture({320, 240});
    const QPoint after = changed.pixelAt({50, 50});
    QVERIFY((after * 2 - before).manhattanLength() <= 2);
}

void ViewGeometryTest::findsEveryPixelWhereItIsShown_data() {
    QTest::addColumn<int>("turns");
    QTest::addColumn<bool>("isFlipped");
    for (const int turns : {0, 1, 2, 3}) {
        QTest::addRow("%d", turns) << turns << false;
        QTest::addRow("%d flipped", turns) << turns << true;
    }
}

void ViewGeometryTest::findsEveryPixelWhereItIsShown() {
    QFETCH(int, turns);
    QFETCH(bool, isFlipped);
    ViewGeometry turned = geometry({333, 222}, {40, 30});
    turned.rotate(turns);
    if (isFlipped) {
        turned.flipHorizontally();
    }
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            QCOMPARE(turned.pixelAt(shownAt(turned, x, y)), QPoint(x, y));
        }
    }
}

void ViewGeometryTest::standsAViewOrPictureWithoutSize() {
    ViewGeometry nothing;
    nothing.zoomByStep(1);
    nothing.panBy({5, 5});
    nothing.rotate(1);
    QVERIFY(std::isfinite(nothing.zoom()));
    ViewGeometry flat = geometry({0, 0}, {640, 480});
    flat.zoomAround({0, 0}, 2);
    QVERIFY(std::isfinite(flat.zoom()));
    QVERIFY(flat.pictureToView().isInvertible());
}

void ViewGeometryTest::isGivenItsFormAgain() {
    for (const double zoom : {0.0, 0.5, 1.0, 7.5}) {
        for (int turns = 0; turns < 4; ++turns) {
            for (int flips = 0; flips < 4; ++flips) {
                ViewGeometry turned = geometry({333, 222}, {40, 30});
                turned.rotate(turns);
                for (int flip = 0; flip < flips; ++flip) {
                    flip % 2 == 0 ? turned.flipHorizontally() : turned.flipVertically();
                }
                if (zoom > 0) {
                    turned.zoomTo(zoom);
                }
                ViewGeometry again = geometry({333, 222}, {});
                again.setForm(turned.form());  // before there is a picture
                again.setPicture({40, 30});
                QCOMPARE(again.pictureToView(), turned.pictureToView());
                QVERIFY(again.form() == turned.form());
                QCOMPARE(again.isFitted(), zoom == 0);
            }
        }
    }
}

void ViewGeometryTest::takesNonsenseForAForm() {
    ViewGeometry shown = geometry({800, 600}, {160, 120});
    for (const double zoom : {std::nan(""), -1.0, HUGE_VAL}) {
        shown.setForm({zoom, -5, false});
        QVERIFY(shown.isFitted());
        QCOMPARE(shown.form().fQuarterTurns, 3);
    }
    shown.setForm({1e300, 2'000'000'000, true});
    QCOMPARE(shown.zoom(), ViewGeometry::a_largestZoom);
    QCOMPARE(shown.form().fQuarterTurns, 0);
}

OBVISTA_QTEST_MAIN(ViewGeometryTest)
#include "view_geometry_test.moc"
