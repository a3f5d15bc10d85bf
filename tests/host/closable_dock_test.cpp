#include "qclosabledock_widget.h"
#include "qt_test_main.h"

#include <QAbstractButton>
#include <QMainWindow>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>

static_assert(sizeof(QClosableDockWidget) == sizeof(QDockWidget), "no state of its own");

class ClosableDockTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void init() {
        fWindow = std::make_unique<QMainWindow>();
        fDock = new QClosableDockWidget(QStringLiteral("memoryviewer"), fWindow.get());
        fDock->setWidget(new QWidget);
        fWindow->addDockWidget(Qt::TopDockWidgetArea, fDock);
        fWindow->resize(400, 300);
        fWindow->show();
        QVERIFY(obvista_test::waitForActive(fWindow.get()));
    }

    void cleanup() { fWindow.reset(); }

    void isAnOrdinaryDockOtherwise() {
        const QDockWidget plain;
        QCOMPARE(fDock->windowTitle(), QStringLiteral("memoryviewer"));
        QCOMPARE(fDock->parentWidget(), fWindow.get());
        QCOMPARE(fDock->features(), plain.features());
        QCOMPARE(fDock->allowedAreas(), plain.allowedAreas());
    }

    void isClosedByItsButton() {
        auto* button =
            fDock->findChild<QAbstractButton*>(QStringLiteral("qt_dockwidget_closebutton"));
        QVERIFY(button != nullptr);
        closesTellingOnce([button] { QTest::mouseClick(button, Qt::LeftButton); });
    }

    void isClosedByCode() {
        closesTellingOnce([this] { QVERIFY(fDock->close()); });
    }

    void isClosedWithNobodyListening() {
        QVERIFY(fDock->close());
        QVERIFY(fDock->isHidden());
    }

    void mayBeDeletedLaterByTheOneWhoListens() {
        connect(fDock, &QClosableDockWidget::askToBeClosed, fDock, &QObject::deleteLater);
        const QPointer<QClosableDockWidget> dock = fDock;
        QVERIFY(fDock->close());
        QVERIFY(dock != nullptr);
        QTRY_VERIFY(dock == nullptr);
    }

  private:
    void closesTellingOnce(const std::function<void()>& close) {
        int told = 0;
        connect(fDock, &QClosableDockWidget::askToBeClosed, this,
                [this, &told](QClosableDockWidget* dock) {
                    ++told;
                    QCOMPARE(dock, fDock);
                    QVERIFY(dock->isVisible());
                    QVERIFY(dock->widget() != nullptr);
                });
        close();
        QCOMPARE(told, 1);
        QVERIFY(fDock->isHidden());
    }

    std::unique_ptr<QMainWindow> fWindow;
    QClosableDockWidget* fDock = nullptr;
};

OBVISTA_QTEST_MAIN(ClosableDockTest)

#include "closable_dock_test.moc"
