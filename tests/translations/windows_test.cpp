// The windows in each language, with normal and large fonts, on light and dark desktops:
// translated, no text is cut, and all can be read.
#include "announced.h"
#include "browserobots_dialog.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QTranslator>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <contrast.h>
#include <cut_texts.h>
#include <memory>
#include <robot_process.h>
#include <viewer_driver.h>

using namespace obvista_test;

namespace {

constexpr char a_number[] = "Battery/Voltage";

bool hasLanguage() {
    QFETCH(QString, language);
    return !language.isEmpty();
}

}  // namespace

class WindowsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void memoryViewer();
    void cameraViewer();
    void robotBrowser();

    void memoryViewer_data() { xAddLooks(); }
    void cameraViewer_data() { xAddLooks(); }
    void robotBrowser_data() { xAddLooks(); }

  private:
    static void xAddLooks();
    /** Waits until the window has no defect, or returns its defects. */
    static QString xDefects(const QWidget& window);
    /** Returns a docked viewer of the robot. */
    QWidget* xShow(PluginDriver& driver) const;
    static QString xTranslated(const char* context, const char* text);

    QFont fFont;
    QPalette fPalette;
    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<QTranslator> fTranslator;
};

void WindowsTest::initTestCase() {
    fFont = QApplication::font();
    fPalette = QApplication::palette();
    fRobot = std::make_unique<RobotProcess>();
}

void WindowsTest::xAddLooks() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<double>("scale");
    QTest::addColumn<QPalette>("palette");
    for (const char* language : {"de", "fr", "ja"}) {
        for (const double scale : {1.0, 2.0}) {
            QTest::addRow("%s, %g %%", language, 100 * scale)
                << language << scale << QApplication::palette();
        }
    }
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        QTest::addRow("light, %g %%", 100 * scale) << "" << scale << QApplication::palette();
        QTest::addRow("dark, %g %%", 100 * scale) << "" << scale << darkPalette();
        QTest::addRow("high contrast, %g %%", 100 * scale) << "" << scale << highContrastPalette();
    }
}

void WindowsTest::init() {
    QFETCH(QString, language);
    QFETCH(double, scale);
    QFont font = fFont;
    font.setPointSizeF(fFont.pointSizeF() * scale);
    QApplication::setFont(font);
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    if (language.isEmpty()) {
        return;
    }
    fTranslator = std::make_unique<QTranslator>();
    QVERIFY(fTranslator->load(
        QStringLiteral("obvista_") + language,
        qEnvironmentVariable("OBVISTA_BUILD_DIR") + QStringLiteral("/share/obvista/translations")));
    QVERIFY(QCoreApplication::installTranslator(fTranslator.get()));
}

void WindowsTest::cleanup() {
    fTranslator.reset();  // this removes it
    QApplication::setFont(fFont);
    QApplication::setPalette(fPalette);
}

QWidget* WindowsTest::xShow(PluginDriver& driver) const {
    driver.window().resize(1200, 900);
    QWidget* viewer = driver.dock(driver.createWidget(fRobot->port()))->widget();
    return waitForExposed(&driver.window()) ? viewer : nullptr;
}

QString WindowsTest::xTranslated(const char* context, const char* text) {
    const QString translated = QCoreApplication::translate(context, text);
    return translated == QLatin1String(text) && hasLanguage() ? QString() : translated;
}

QString WindowsTest::xDefects(const QWidget& window) {
    QStringList defects;
    const bool isWhole = waitFor([&] {
        defects = cutTexts(window) + faintTexts(window);
        return defects.isEmpty();
    });
    return isWhole ? QString() : defects.join(QLatin1Char('|'));
}

void WindowsTest::memoryViewer() {
    PluginDriver driver(QStringLiteral("memoryviewer"));
    QWidget* viewer = xShow(driver);
    QVERIFY(viewer != nullptr);
    const QTreeView* tree = treeOf(viewer);
    QTRY_VERIFY(indexOf(viewer, a_number).isValid());
    choose(viewer, a_number);
    QTest::keyClick(treeOf(viewer), Qt::Key_P, Qt::ControlModifier);
    const auto* plot = viewer->findChild<QWidget*>(QStringLiteral("plot"));
    QTRY_VERIFY(plot != nullptr && plot->isVisible());
    const QString name = xTranslated("memoryviewer::KeyCells", "Name");
    if (!name.isEmpty()) {  // in German the same
        QCOMPARE(tree->model()->headerData(0, Qt::Horizontal).toString(), name);
    }
    QCOMPARE(tree->model()->headerData(1, Qt::Horizontal).toString(),
             xTranslated("memoryviewer::KeyCells", "Value"));
    QCOMPARE(xDefects(*viewer), QString());
}

void WindowsTest::cameraViewer() {
    PluginDriver driver(QStringLiteral("cameraviewer"));
    QWidget* viewer = xShow(driver);
    QVERIFY(viewer != nullptr);
    auto* camera = viewer->findChild<QComboBox*>(QStringLiteral("cameraBox"));
    QVERIFY(camera != nullptr);
    QTRY_VERIFY(camera->count() > 0);
    viewer->findChild<QAction*>(QStringLiteral("histogramAction"))->trigger();
    QCOMPARE(xDefects(*viewer), QString());
}

void WindowsTest::robotBrowser() {
    Announced announced;
    announced.robot("marvin.local", 9559, "192.0.2.7");
    announced.robotWithoutMiddleware("sleeper.local", "192.0.2.8");
    KD::BrowseRobotsDialog dialog(nullptr, QString(), QString());
    dialog.show();
    QVERIFY(waitForExposed(&dialog));
    QCOMPARE(dialog.windowTitle(), xTranslated("KD::BrowseRobotsDialog", "Browse robots"));
    QCOMPARE(xDefects(dialog), QString());
}

OBVISTA_QTEST_MAIN(WindowsTest)
#include "windows_test.moc"
