#include "host_window.h"
#include "installation.h"
#include "qclosabledock_widget.h"
#include "qt_test_main.h"

#include <QAbstractButton>
#include <QStyleFactory>
#include <QtTest>

#include <contrast.h>
#include <memory>

using namespace obvista_test;

namespace {

const QString a_closeButton = QStringLiteral("qt_dockwidget_closebutton");
const QString a_floatButton = QStringLiteral("qt_dockwidget_floatbutton");

/** Returns the application's style, if it is installed, and the one that Qt always has. */
QStringList styles() {
    const QStringList installed = QStyleFactory::keys();
    const QString preferred = QStringLiteral("cleanlooks");
    QStringList names{QStringLiteral("fusion")};
    if (installed.contains(preferred, Qt::CaseInsensitive)) {
        names += preferred;
    }
    return names;
}

/** Returns the picture of a dock's button, without the dock's frame around it. */
QImage pictureOf(QDockWidget* dock, const QString& button, int scale) {
    const QRect area = dock->findChild<QAbstractButton*>(button)->geometry();
    QImage picture(area.size() * scale, QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    dock->render(&picture, QPoint(), area);
    return picture;
}

}  // namespace

/** Tests the buttons in the title of a viewer's dock on dark and light palettes. */
class DockButtonsTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void initTestCase() {
        fPalette = QApplication::palette();
        fInstallation = std::make_unique<Installation>();
        fInstallation->addPlugin(QStringLiteral("viewer"));
    }

    void cleanup() {
        fWindow.reset();
        QApplication::setPalette(fPalette);
    }

    void cleanupTestCase() { fInstallation.reset(); }

    void areVisibleOnDarkPalettes_data() { xAddLooks(); }
    void areVisibleOnDarkPalettes() {
        QFETCH(int, scale);
        xOpen();
        for (const QPalette& palette : {darkPalette(), highContrastPalette()}) {
            QApplication::setPalette(palette);  // changes while the dock exists
            fDock->setFloating(true);
            fDock->setFloating(false);
            for (const QString& button : {a_closeButton, a_floatButton}) {
                const Colours colours = coloursIn(pictureOf(fDock, button, scale));
                QVERIFY2(colours.fContrast >= a_lineContrast,
                         qPrintable(QStringLiteral("%1: %2").arg(button).arg(colours.fContrast)));
            }
        }
    }

    void areDrawnInFullResolutionOnDarkPalettes_data() { xAddStyles(); }
    void areDrawnInFullResolutionOnDarkPalettes() {
        xOpen();
        QApplication::setPalette(darkPalette());
        const QImage fine = pictureOf(fDock, a_closeButton, 2);
        QImage enlarged = fine.scaled(fine.size() / 2).scaled(fine.size());
        enlarged.setDevicePixelRatio(2);
        QVERIFY(fine != enlarged);
    }

    void lookAsTheStyleDrawsThemOnLightPalettes_data() { xAddLooks(); }
    void lookAsTheStyleDrawsThemOnLightPalettes() {
        QFETCH(int, scale);
        xOpen();
        QApplication::setPalette(darkPalette());
        QApplication::setPalette(fWindow->style()->standardPalette());
        QDockWidget plain(fDock->windowTitle(), fWindow.get());
        plain.resize(fDock->size());
        plain.setWidget(new QWidget);
        fWindow->addDockWidget(Qt::BottomDockWidgetArea, &plain);
        plain.show();
        for (const QString& button : {a_closeButton, a_floatButton}) {
            QCOMPARE(pictureOf(fDock, button, scale), pictureOf(&plain, button, scale));
        }
    }

  private:
    static void xAddStyles() {
        QTest::addColumn<QString>("style");
        for (const QString& style : styles()) {
            QTest::newRow(qPrintable(style)) << style;
        }
    }

    static void xAddLooks() {
        QTest::addColumn<QString>("style");
        QTest::addColumn<int>("scale");
        for (const QString& style : styles()) {
            for (const int scale : {1, 2}) {
                QTest::addRow("%s, %d %%", qPrintable(style), 100 * scale) << style << scale;
            }
        }
    }

    void xOpen() {
        QFETCH(QString, style);
        QApplication::setStyle(style);
        fWindow = std::make_unique<HostWindow>(*fInstallation);
        fWindow->show();
        QVERIFY(fWindow->loadPlugin(QStringLiteral("viewer"), {}, 0, 0));
        QCOMPARE(fWindow->openDocks().size(), 1);
        fDock = fWindow->openDocks().first();
        QVERIFY(waitForActive(fWindow.get()));
    }

    QPalette fPalette;
    std::unique_ptr<Installation> fInstallation;
    std::unique_ptr<HostWindow> fWindow;
    QClosableDockWidget* fDock = nullptr;
};

OBVISTA_QTEST_MAIN(DockButtonsTest)
#include "dock_buttons_test.moc"
