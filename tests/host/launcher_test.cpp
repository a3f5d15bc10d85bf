#include "installation.h"
#include "plugin_loader.h"
#include "qt_test_main.h"

#include <QSignalSpy>
#include <QtTest>

#include <type_traits>

using obvista_test::Installation;

static_assert(std::has_virtual_destructor_v<Plugin>);

namespace {

const QPoint a_inMemoryZone(350, 187);
const QPoint a_inVisionZone(350, 220);
const QPoint a_outside(20, 20);

QColor shownColour(PluginLoader& launcher) {
    return launcher.grab().toImage().pixelColor(5, 5);
}

void moveTo(PluginLoader& launcher, const QPoint& position) {
    QMouseEvent move(QEvent::MouseMove, position, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&launcher, &move);
}

}  // namespace

class LauncherTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void isThePictureAtItsSize() {
        PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        QCOMPARE(launcher.pictureSize(), Installation::a_pictureSize);
        QCOMPARE(launcher.minimumSize(), Installation::a_pictureSize);
        QCOMPARE(launcher.maximumSize(), Installation::a_pictureSize);
        QCOMPARE(launcher.size(), Installation::a_pictureSize);
        QCOMPARE(shownColour(launcher), Installation::a_plainColour);
    }

    void staysAsLargeAsThePictureInAnyLayout() {
        const PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        QCOMPARE(launcher.alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(launcher.sizePolicy().horizontalPolicy(), QSizePolicy::Ignored);
        QCOMPARE(launcher.sizePolicy().verticalPolicy(), QSizePolicy::Ignored);
        QVERIFY(!launcher.hasScaledContents());
        QVERIFY(launcher.hasMouseTracking());
    }

    void isAPlainChildOfItsParent() {
        QWidget parent;
        const QWidget plain(&parent);
        const PluginLoader launcher(fInstallation.mediaFolder(), &parent);
        QCOMPARE(launcher.windowFlags(), plain.windowFlags());
        QVERIFY(!launcher.isWindow());
    }

    void loadsTheZonesPluginOnAPress_data() {
        QTest::addColumn<QPoint>("position");
        QTest::addColumn<QString>("plugin");
        const QString memory = QStringLiteral("memoryviewer");
        const QString vision = QStringLiteral("cameraviewer");
        QTest::newRow("memory, top left") << QPoint(310, 175) << memory;
        QTest::newRow("memory, bottom right") << QPoint(399, 199) << memory;
        QTest::newRow("memory, left of it") << QPoint(309, 187) << QString();
        QTest::newRow("memory, right of it") << QPoint(400, 199) << QString();
        QTest::newRow("memory, above it") << QPoint(350, 174) << QString();
        QTest::newRow("memory, below it") << QPoint(310, 200) << QString();
        QTest::newRow("between the zones") << QPoint(350, 205) << QString();
        QTest::newRow("vision, above it") << QPoint(310, 209) << QString();
        QTest::newRow("vision, top left") << QPoint(310, 210) << vision;
        QTest::newRow("vision, inside") << QPoint(350, 220) << vision;
        QTest::newRow("vision, bottom right") << QPoint(399, 234) << vision;
        QTest::newRow("vision, below it") << QPoint(399, 235) << QString();
        QTest::newRow("far away") << QPoint(0, 0) << QString();
    }

    void loadsTheZonesPluginOnAPress() {
        QFETCH(QPoint, position);
        QFETCH(QString, plugin);
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
            PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
            const QSignalSpy loads(&launcher, &PluginLoader::loadPlugin);
            QTest::mousePress(&launcher, button, {}, position);
            QCOMPARE(loads.size(), plugin.isEmpty() ? 0 : 1);
            if (!plugin.isEmpty()) {
                QCOMPARE(loads.first().first().toString(), plugin);
            }
            QTest::mouseRelease(&launcher, button, {}, position);
            QCOMPARE(loads.size(), plugin.isEmpty() ? 0 : 1);
        }
    }

    void keepsAPressToItself() {
        PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        QMouseEvent press(QEvent::MouseButtonPress, a_outside, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&launcher, &press);
        QVERIFY(press.isAccepted());
    }

    void highlightsTheZoneUnderTheMouse() {
        PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        moveTo(launcher, a_inMemoryZone);
        QCOMPARE(shownColour(launcher), Installation::a_memoryColour);
        moveTo(launcher, a_inVisionZone);
        QCOMPARE(shownColour(launcher), Installation::a_visionColour);
        moveTo(launcher, a_outside);
        QCOMPARE(shownColour(launcher), Installation::a_plainColour);
    }

    void readsAPictureOnlyWhenItChanges() {
        PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        const QSignalSpy pictures(&launcher, &PluginLoader::bitmapChanged);

        // The first move reads the plain picture once, though it is already shown.
        moveTo(launcher, a_outside);
        QCOMPARE(pictures.size(), 1);
        moveTo(launcher, a_outside + QPoint(1, 1));
        QCOMPARE(pictures.size(), 1);

        moveTo(launcher, a_inMemoryZone);
        QCOMPARE(pictures.size(), 2);
        moveTo(launcher, a_inMemoryZone + QPoint(10, 3));
        QCOMPARE(pictures.size(), 2);

        moveTo(launcher, a_outside);
        QCOMPARE(pictures.size(), 3);
        QCOMPARE(pictures.last().first().value<QPixmap>().size(), Installation::a_pictureSize);
    }

    void showsAnyPictureOfTheMediaFolder() {
        PluginLoader launcher(fInstallation.mediaFolder(), nullptr);
        launcher.xSetBackground(PluginLoader::fBackgroundVision);
        QCOMPARE(shownColour(launcher), Installation::a_visionColour);
    }

    void worksWithoutPictures() {
        PluginLoader launcher(QStringLiteral("/nowhere/"), nullptr);
        QCOMPARE(launcher.pictureSize(), QSize(0, 0));
        QCOMPARE(launcher.maximumSize(), QSize(0, 0));
        const QSignalSpy loads(&launcher, &PluginLoader::loadPlugin);
        QMouseEvent press(QEvent::MouseButtonPress, a_inMemoryZone, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&launcher, &press);
        QCOMPARE(loads.size(), 1);
        moveTo(launcher, a_inVisionZone);
    }

    void namesItsPictures() {
        QCOMPARE(PluginLoader::fBackground, QStringLiteral("background/interface.png"));
        QCOMPARE(PluginLoader::fBackgroundMemory,
                 QStringLiteral("background/interface_memory.png"));
        QCOMPARE(PluginLoader::fBackgroundVision,
                 QStringLiteral("background/interface_camera.png"));
    }

    void finishedPicturesAreInPlace() {
        const QString media =
            qEnvironmentVariable("OBVISTA_BUILD_DIR") + QStringLiteral("/share/obvista/");
        const QSize size = QPixmap(media + PluginLoader::fBackground).size();
        QVERIFY(QRect({}, size).contains(QRect(310, 175, 90, 60)));
        QCOMPARE(QPixmap(media + PluginLoader::fBackgroundMemory).size(), size);
        QCOMPARE(QPixmap(media + PluginLoader::fBackgroundVision).size(), size);
    }

  private:
    const Installation fInstallation;
};

OBVISTA_QTEST_MAIN(LauncherTest)

#include "launcher_test.moc"
