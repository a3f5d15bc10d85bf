#ifndef EXAMPLE_WIDGET_H
#define EXAMPLE_WIDGET_H

#include <QLabel>

#include <memory>

class RobotLink;
class WidgetInterface;

/** Shows a robot's name and the charge of its battery. */
class ExampleWidget : public QLabel {
    Q_OBJECT

  public:
    /** @param plugin is handed back with disconnected() and not used otherwise */
    ExampleWidget(std::unique_ptr<RobotLink> link, WidgetInterface* plugin, QWidget* parent);
    ~ExampleWidget() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  Q_SIGNALS:
    void disconnected(WidgetInterface* plugin);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void xOnBatteryChanged(double percent);
    void xOnLost();

    std::unique_ptr<RobotLink> fLink;
    WidgetInterface* fPlugin;
};

#endif
