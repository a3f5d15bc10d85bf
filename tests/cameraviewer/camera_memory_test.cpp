#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <camera_memory.h>

using cameraviewer::CameraMemory;
using picture::CameraSettings;

class CameraMemoryTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { QSettings().clear(); }

    void knowsNothingAtFirst() {
        const CameraMemory memory("Robot");
        QCOMPARE(memory.camera(), std::string());
        QVERIFY(!memory.settings("head"));
    }

    void keepsWhatWasChosenForEachRobotAndCamera() {
        const CameraSettings head{640, 480, "jpeg", 30};
        const CameraSettings chest{320, 240, "rgb", 7.5};
        CameraMemory("One").setSettings("head", head);
        CameraMemory("One").setSettings("chest", chest);
        CameraMemory("One").setCamera("chest");
        QCOMPARE(CameraMemory("One").camera(), std::string("chest"));
        QVERIFY(CameraMemory("One").settings("head") == head);
        QVERIFY(CameraMemory("One").settings("chest") == chest);
        CameraMemory("One").setAutomatic("chest", true);
        QVERIFY(CameraMemory("One").isAutomatic("chest"));
        QVERIFY(!CameraMemory("One").isAutomatic("head"));
        QVERIFY(!CameraMemory("Two").isAutomatic("chest"));
        QCOMPARE(CameraMemory("Two").camera(), std::string());
        QVERIFY(!CameraMemory("Two").settings("head"));
    }

    void keepsNamesOfEveryKindApart_data() {
        QTest::addColumn<QByteArray>("one");
        QTest::addColumn<QByteArray>("other");
        QTest::newRow("slash") << QByteArray("a/b") << QByteArray("a");
        QTest::newRow("parent folder") << QByteArray("..") << QByteArray(".");
        QTest::newRow("empty") << QByteArray("") << QByteArray(" ");
        QTest::newRow("case") << QByteArray("Head") << QByteArray("head");
        QTest::newRow("control") << QByteArray("a\nb") << QByteArray("a\rb");
        QTest::newRow("no UTF-8") << QByteArray("\xff") << QByteArray("\xfe");
        QTest::newRow("long") << QByteArray(5000, 'x') << QByteArray(5001, 'x');
    }

    void keepsNamesOfEveryKindApart() {
        QFETCH(QByteArray, one);
        QFETCH(QByteArray, other);
        CameraMemory memory(one.toStdString());
        memory.setSettings(one.toStdString(), {1, 2, "rgb", 3});
        memory.setSettings(other.toStdString(), {4, 5, "jpeg", 6});
        QVERIFY(memory.settings(one.toStdString()) == (CameraSettings{1, 2, "rgb", 3}));
        QVERIFY(memory.settings(other.toStdString()) == (CameraSettings{4, 5, "jpeg", 6}));
        QVERIFY(!CameraMemory(other.toStdString()).settings(one.toStdString()));
        for (const QString& key : QSettings().allKeys()) {
            QVERIFY2(key.startsWith(QLatin1String("CameraViewer/")), qPrintable(key));
        }
    }

    void keepsTheViewOfEachRobot() {
        const cameraviewer::RememberedView view{{2.5, 3, true}, true, true, true};
        CameraMemory("One").setView({}, view);
        QVERIFY(CameraMemory("One").view() == view);
        QVERIFY(CameraMemory("Two").view() == cameraviewer::RememberedView());
    }

    /** Two viewers show the cameras of one robot. */
    void keepsWhatAnotherViewerHasChanged() {
        CameraMemory one("One");
        CameraMemory other("One");
        cameraviewer::RememberedView zoomed;
        zoomed.fForm.fZoom = 2.5;
        cameraviewer::RememberedView withGrid;
        withGrid.fHasGrid = true;
        one.setView({}, zoomed);
        other.setView({}, withGrid);
        QVERIFY(CameraMemory("One").view() ==
                (cameraviewer::RememberedView{{2.5, 0, false}, true, false, false}));
    }

    void takesNoHalfRememberedSettings() {
        CameraMemory("One").setSettings("head", {640, 480, "jpeg", 0});
        QVERIFY(!CameraMemory("One").settings("head"));
    }
};

OBVISTA_QTEST_MAIN(CameraMemoryTest)
#include "camera_memory_test.moc"
