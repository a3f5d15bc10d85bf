// A plugin that fails with an exception of its own making.

#include <robaxi/kv_error.h>

#include <QObject>

#include <obvista/widget_interface.h>

namespace {

/**
 * Tells who catches it: a host that knows it as KVError reads toString(), one that has another idea
 * of that class falls back on std::exception and what().
 */
class TellTaleError : public KVError {
  public:
    TellTaleError() : KVError(Cause::Refused, "caught as KVError") {}
    const char* what() const noexcept override { return "caught as std::exception"; }
};

}  // namespace

class Thrower : public QObject, public WidgetInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    QWidget* createWidget(QWidget*, const std::string&, int, const std::string&) override {
        throw TellTaleError();
    }
    bool needsRobotConnection() override { return true; }
};

#include "thrower.moc"
