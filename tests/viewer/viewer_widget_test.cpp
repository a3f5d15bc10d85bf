#include <obvista/viewer/robot_link.h>
#include <obvista/viewer/viewer_widget.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

#include <QLabel>
#include <QtTest>
#include <qt_test_main.h>

#include <free_port.h>

namespace {

/** A link through which nothing flows. */
class PlainLink : public viewer::RobotLink {
  public:
    PlainLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port)
        : RobotLink(broker, ip, port, 10.0) {}
    ~PlainLink() override { closeSilently(); }
    PlainLink(const PlainLink&) = delete;
    PlainLink& operator=(const PlainLink&) = delete;

  private:
    void xStop() override {}
    void xTellClosed() override {}
    void xSilence() override {}
};

}  // namespace

class ViewerWidgetTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void writesAnIpv6AddressInBrackets();
};

void ViewerWidgetTest::writesAnIpv6AddressInBrackets() {
    const int port = obvista_test::freePort();
    const auto robot = KVBroker::createBroker("Robot", "::1", port, "", 0, 0, "", false);
    const auto broker = KVBroker::createBroker("Viewer", "", 0, "", 0, 0, "", false);
    viewer::ViewerWidget widget(std::make_shared<PlainLink>(broker, "::1", port), nullptr, nullptr);
    QCOMPARE(widget.robotAddress(), QStringLiteral("[::1]:%1").arg(port));
    const auto* address = widget.findChild<QLabel*>(QStringLiteral("robotAddress"));
    QCOMPARE(address->text(), widget.robotAddress());
}

OBVISTA_QTEST_MAIN(ViewerWidgetTest)
#include "viewer_widget_test.moc"
