// A plugin that throws its own exception type.

#include <obvista/widget_interface.h>
#include <robaxi/kv_error.h>

#include <QObject>

namespace {

/**
 * Shows how it is caught: a host that recognises it as KVError calls toString(); otherwise
 * std::exception::what() is called.
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
