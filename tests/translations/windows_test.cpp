// The windows in each language, with normal and large fonts, on light and dark desktops:
// translated, no text is cut, and all can be read. CMakeLists.txt runs some of the rows on screens
// of other sizes and resolutions, too, and on Wayland.
#include "announced.h"
#include "browserobots_dialog.h"
#include "error_dialog.h"
#include "main_window.h"
#include "plugin_loader.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QScreen>
#include <QTimer>
#include <QTranslator>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <cmath>
#include <contrast.h>
#include <cut_texts.h>
#include <memory>
#include <robot_process.h>
#include <viewer_driver.h>

using namespace obvista_test;

namespace {

constexpr char a_number[] = "Battery/Voltage";
const QRect a_memoryZone(QPoint(310, 175), QPoint(399, 199));
const QRect a_cameraZone(QPoint(310, 210), QPoint(399, 234));
/** Room on the screen for a window's frame. */
constexpr QSize a_frame(12, 42);

bool hasLanguage() {
    QFETCH(QString, language);
    return !language.isEmpty();
}

QString builtFolder(const QString& folder) {
    return qEnvironmentVariable("OBVISTA_BUILD_DIR") + QLatin1Char('/') + folder;
}

/** Returns the area in which two pictures of the same size differ. */
QRect differenceOf(const QImage& one, const QImage& other) {
    QRegion region;
    for (int y = 0; y < one.height(); ++y) {
        int left = 0;
        int right = one.width() - 1;
        while (left <= right && one.pixel(left, y) == other.pixel(left, y)) {
            ++left;
        }
        while (right > left && one.pixel(right, y) == other.pixel(right, y)) {
            --right;
        }
        region += QRect(QPoint(left, y), QPoint(right, y));
    }
    return region.boundingRect();
}

}  // namespace

class WindowsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void launcher();
    void messageBoxes();
    void memoryViewer();
    void cameraViewer();
    void robotBrowser();

    void launcher_data() { xAddLooks(); }
    void messageBoxes_data() { xAddLooks(); }
    void memoryViewer_data() { xAddLooks(); }
    void cameraViewer_data() { xAddLooks(); }
    void robotBrowser_data() { xAddLooks(); }

  private:
    static void xAddLooks();
    /** Waits until the window has no defect, or returns its defects. */
    static QString xDefects(const QWidget& window);
    /** Returns the defects of the message box that an action opens, with its details shown. */
    template <class Open>
    static QString xDefectsOfBox(Open open);
    /** The same for the list of a viewer's keys. */
    static QString xDefectsOfKeyList(QWidget& viewer);
    /** Shows the main window of the built program; returns true when it is exposed. */
    static bool xShow(MainWindow& window);
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
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);  // like the program
    for (const char* variable : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"}) {
        if (qEnvironmentVariableIsSet(variable)) {
            QCOMPARE(qApp->devicePixelRatio(), qEnvironmentVariable(variable).toDouble());
        }
    }
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
    QVERIFY(fTranslator->load(QStringLiteral("obvista_") + language,
                              builtFolder(QStringLiteral("share/obvista/translations"))));
    QVERIFY(QCoreApplication::installTranslator(fTranslator.get()));
}

void WindowsTest::cleanup() {
    fTranslator.reset();  // this removes it
    QApplication::setFont(fFont);
    QApplication::setPalette(fPalette);
}

bool WindowsTest::xShow(MainWindow& window) {
    window.setAppFolder(builtFolder(QStringLiteral("bin")));
    window.init();
    window.show();
    return waitForExposed(&window);
}

QWidget* WindowsTest::xShow(PluginDriver& driver) const {
    QMainWindow& window = driver.window();
    const QSize room = window.screen()->availableSize() - a_frame;
    window.resize(room);
    QWidget* viewer = driver.dock(driver.createWidget(fRobot->port()))->widget();
    const bool isShown = waitForExposed(&window);
    if (!waitFor([&] { return window.size().boundedTo(room) == window.size(); })) {
        qWarning() << window.size() << "on" << room;
    }
    QApplication::setActiveWindow(&window);  // without a keyboard the compositor activates none
    return isShown ? viewer : nullptr;
}

QString WindowsTest::xTranslated(const char* context, const char* text) {
    const QString translated = QCoreApplication::translate(context, text);
    return translated == QLatin1String(text) && hasLanguage() ? QString() : translated;
}

QString WindowsTest::xDefects(const QWidget& window) {
    QStringList defects;
    const bool isWhole = waitFor([&] {
        defects = cutTexts(window) + overlappingParts(window) + faintTexts(window);
        return defects.isEmpty();
    });
    return isWhole ? QString() : defects.join(QLatin1Char('|'));
}

template <class Open>
QString WindowsTest::xDefectsOfBox(Open open) {
    QString defects = QStringLiteral("no box");
    QTimer poll;
    connect(&poll, &QTimer::timeout, &poll, [&poll, &defects] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr || !box->windowHandle()->isExposed()) {
            return;
        }
        poll.stop();
        for (QAbstractButton* button : box->buttons()) {
            if (box->buttonRole(button) == QMessageBox::ActionRole) {
                button->click();  // "Show Details..."
            }
        }
        defects = xDefects(*box);
        box->done(QMessageBox::Ok);
    });
    poll.start(5);
    open();
    return defects;
}

QString WindowsTest::xDefectsOfKeyList(QWidget& viewer) {
    QTest::keyClick(viewer.window()->focusWidget(), Qt::Key_F1);
    auto* list = viewer.findChild<QDialog*>(QStringLiteral("keyList"));
    if (list == nullptr || !waitForExposed(list)) {
        return QStringLiteral("no list of keys");
    }
    QString defects = xDefects(*list);
    const QSize largest = list->screen()->availableSize() * 4 / 5;
    const auto* texts = list->findChild<QTreeView*>();
    const int width = static_cast<const QAbstractItemView*>(texts)->sizeHintForColumn(1);
    if (list->width() < largest.width() && texts->columnWidth(1) < width) {
        defects += QStringLiteral(" texts of %1 in %2").arg(width).arg(texts->columnWidth(1));
    }
    delete list;
    return defects;
}

void WindowsTest::launcher() {
    MainWindow window;
    QVERIFY(xShow(window));
    QCOMPARE(xDefects(window), QString());
    auto* launcher = qobject_cast<PluginLoader*>(window.centralWidget());
    QVERIFY(launcher != nullptr);
    const QImage plain = launcher->grab().toImage();
    const double ratio = plain.devicePixelRatio();
    if (ratio == std::floor(ratio)) {
        const QString name =
            ratio > 1 ? QStringLiteral("interface@2x.png") : QStringLiteral("interface.png");
        const QImage drawn(builtFolder(QStringLiteral("share/obvista/background/")) + name);
        QCOMPARE(plain.convertToFormat(drawn.format()), drawn);
    }
    for (const QRect& zone : {a_memoryZone, a_cameraZone}) {
        QMouseEvent move(QEvent::MouseMove, zone.center(), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(launcher, &move);
        const QImage highlighted = launcher->grab().toImage();
        const QRect difference = differenceOf(plain, highlighted);
        const QRectF lit(QPointF(difference.topLeft()) / ratio, QSizeF(difference.size()) / ratio);
        QVERIFY2(QRectF(zone).adjusted(-1, -1, 1, 1).contains(lit) &&
                     lit.contains(QRectF(zone).adjusted(1, 1, -1, -1)),
                 qPrintable(QStringLiteral("%1, %2, %3 x %4")
                                .arg(lit.x())
                                .arg(lit.y())
                                .arg(lit.width())
                                .arg(lit.height())));
        QVERIFY(coloursIn(launcher, zone).fContrast >= a_textContrast);
    }
}

void WindowsTest::messageBoxes() {
    MainWindow window;
    QVERIFY(xShow(window));
    QCOMPARE(xDefectsOfBox([&] {
                 window.onBonjourListeningException(QStringLiteral("no answer\nfrom Avahi"));
             }),
             QString());
    const QList<QAction*> menus = window.menuBar()->actions();
    QAction* about = menus.last()->menu()->actions().first();
    QCOMPARE(about->text(), xTranslated("MainWindow", "About Obvista"));
    QCOMPARE(xDefectsOfBox([&] { about->trigger(); }), QString());
    // Shown when a robot cannot be reached.
    const QString text = xTranslated(
        "MainWindow",
        "Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and listening "
        "to the port you have set...\nAlso make sur that another Obvista is not already connected "
        "to this Robaxi.");
    QVERIFY(!text.isEmpty());
    QCOMPARE(xDefectsOfBox([&] {
                 KD::ErrorDialog box(xTranslated("MainWindow", "Error"), text, QStringLiteral("?"),
                                     &window, QMessageBox::NoButton);
                 box.displayDialog();
             }),
             QString());
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
    QCOMPARE(xDefectsOfKeyList(*viewer), QString());
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
    QCOMPARE(xDefectsOfKeyList(*viewer), QString());
}

void WindowsTest::robotBrowser() {
    Announced announced;
    announced.robot("marvin.local", 9559, "192.0.2.7");
    announced.robotWithoutMiddleware("sleeper.local", "192.0.2.8");
    KD::BrowseRobotsDialog dialog(nullptr, builtFolder(QStringLiteral("share/obvista/")),
                                  QString());
    dialog.show();
    QVERIFY(waitForExposed(&dialog));
    QCOMPARE(dialog.windowTitle(), xTranslated("KD::BrowseRobotsDialog", "Browse robots"));
    QCOMPARE(xDefects(dialog), QString());
}

OBVISTA_QTEST_MAIN(WindowsTest)
#include "windows_test.moc"
