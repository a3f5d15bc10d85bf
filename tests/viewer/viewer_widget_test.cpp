#include "plain_link.h"

#include <obvista/viewer/link_state.h>
#include <obvista/viewer/viewer_widget.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

#include <QAbstractButton>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QSignalSpy>
#include <QtTest>
#include <qt_test_main.h>

#include <free_port.h>

using obvista::LinkState;
using obvista::ViewerWidget;
using obvista_test::PlainLink;

namespace {

class LaidOutWidget : public ViewerWidget {
  public:
    using ViewerWidget::layOut;
    using ViewerWidget::ViewerWidget;
};

}  // namespace

class ViewerWidgetTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void writesAnIpv6AddressInBrackets();
    void tellsOfNewsOnceForAllThatCame();
    void saysThatItsLinkIsClosed();
    void saysThatTheRobotIsLostBeforeItReportsIt();
    void canBeDockedAgainByMouse();

  private:
    QLabel* xBanner() const { return fWidget->findChild<QLabel*>(QStringLiteral("viewerBanner")); }

    int fPort = 0;
    boost::shared_ptr<KVBroker> fRobot;
    std::shared_ptr<PlainLink> fLink;
    std::unique_ptr<LaidOutWidget> fWidget;
};

void ViewerWidgetTest::init() {
    fPort = obvista_test::freePort();
    fRobot = KVBroker::createBroker({"Robot", "::1", fPort});
    const auto broker = KVBroker::createBroker({"Viewer"});
    fLink = std::make_shared<PlainLink>(broker, "::1", fPort, 10.0);
    fWidget = std::make_unique<LaidOutWidget>(fLink, nullptr, nullptr);
}

void ViewerWidgetTest::cleanup() {
    fWidget.reset();
    fLink.reset();
    fRobot.reset();
}

void ViewerWidgetTest::writesAnIpv6AddressInBrackets() {
    QCOMPARE(fWidget->robotAddress(), QStringLiteral("[::1]:%1").arg(fPort));
    const auto* address = fWidget->findChild<QLabel*>(QStringLiteral("robotAddress"));
    QCOMPARE(address->text(), fWidget->robotAddress());
}

void ViewerWidgetTest::tellsOfNewsOnceForAllThatCame() {
    QSignalSpy news(fWidget.get(), &ViewerWidget::newsArrived);
    fLink->notice().give();
    fLink->notice().give();
    QCOMPARE(news.size(), 0);
    QTRY_COMPARE(news.size(), 1);
    fLink->notice().give();
    QTRY_COMPARE(news.size(), 2);
}

void ViewerWidgetTest::saysThatItsLinkIsClosed() {
    QSignalSpy news(fWidget.get(), &ViewerWidget::newsArrived);
    QSignalSpy ended(fWidget.get(), &ViewerWidget::linkEnded);
    int losses = 0;
    connect(fWidget.get(), &ViewerWidget::disconnected, this, [&] { ++losses; });
    QVERIFY(xBanner()->isHidden());
    fLink->notice().give();
    fLink->close();
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(fWidget->linkState(), LinkState::Closed);
    QCOMPARE(xBanner()->text(), QStringLiteral("The connection is closed."));
    QVERIFY(!xBanner()->isHidden());
    QCOMPARE(news.size(), 0);
    QCOMPARE(losses, 0);
}

void ViewerWidgetTest::saysThatTheRobotIsLostBeforeItReportsIt() {
    QString whenReported;
    connect(fWidget.get(), &ViewerWidget::disconnected, this,
            [&] { whenReported = xBanner()->text(); });
    fRobot.reset();
    QTRY_COMPARE(whenReported, QStringLiteral("The robot is lost."));
    QCOMPARE(fWidget->linkState(), LinkState::Lost);
    QVERIFY(!xBanner()->isHidden());
    fLink->close();
    QCoreApplication::processEvents();
    QCOMPARE(fWidget->linkState(), LinkState::Lost);
}

/** With Qt's own button where Qt draws the title of a floating dock, or with the header's. */
void ViewerWidgetTest::canBeDockedAgainByMouse() {
    auto* bar = new QLabel(QStringLiteral("bar"));
    auto* part = new QLabel(QStringLiteral("part"));
    fWidget->layOut(bar, {part}, part);
    QMainWindow window;
    auto* dock = new QDockWidget(&window);
    dock->setWidget(fWidget.release());
    window.addDockWidget(Qt::TopDockWidgetArea, dock);
    window.show();
    QVERIFY(obvista_test::waitForExposed(&window));
    const auto buttons = [&] {
        QList<QAbstractButton*> visible;
        for (auto* button : dock->findChildren<QAbstractButton*>()) {
            const QStringList names{QStringLiteral("dockButton"),
                                    QStringLiteral("qt_dockwidget_floatbutton")};
            if (names.contains(button->objectName()) && button->isVisible()) {
                visible += button;
            }
        }
        return visible;
    };
    QCOMPARE(buttons().size(), 1);
    QCOMPARE(buttons().first()->objectName(), QStringLiteral("qt_dockwidget_floatbutton"));
    buttons().first()->click();
    QVERIFY(dock->isFloating());
    QVERIFY(obvista_test::waitForExposed(dock));
    QCOMPARE(buttons().size(), 1);
    QTest::mouseClick(buttons().first(), Qt::LeftButton);
    QTRY_VERIFY(!dock->isFloating());
    QCOMPARE(buttons().size(), 1);
}

OBVISTA_QTEST_MAIN(ViewerWidgetTest)
#include "viewer_widget_test.moc"
