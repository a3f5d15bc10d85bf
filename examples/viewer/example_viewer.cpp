// A small viewer to start from: the values of a robot's memory whose names contain a text.

#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/robot_link.h>
#include <obvista/viewer/robot_settings.h>
#include <obvista/viewer/robot_values.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/viewer_plugin.h>
#include <obvista/viewer/viewer_widget.h>

#include <QHeaderView>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QTreeWidget>

#include <map>
#include <memory>

// QT_LOGGING_RULES="obvista.example.info=true" in the environment makes it speak.
Q_LOGGING_CATEGORY(exampleLog, "obvista.example", QtWarningMsg)

/** The connection to one robot, with its values. */
class ExampleLink : public obvista::RobotLink {
  public:
    using RobotLink::RobotLink;
    ~ExampleLink() override { close(); }

    /** Requests the robot's values, at most 5 times a second, or no more of them. */
    void follow(bool isWanted) {
        fIsFollowing = isWanted;
        fValues.stop();
        if (isWanted && !isClosed()) {
            fValues.start(connection(), "KVMemory", 5);
        }
    }
    std::map<std::string, KVValue> take() { return fValues.take(); }

  private:
    void stop() override { fValues.stop(); }
    void restart() override { follow(fIsFollowing); }  // the robot was lost and has returned

    bool fIsFollowing = false;
    obvista::RobotValues fValues{notice()};
};

/** Shows the values of those keys whose names contain what the user enters. */
class ExampleWidget : public obvista::ViewerWidget {
  public:
    ExampleWidget(const std::shared_ptr<ExampleLink>& link, WidgetInterface* plugin,
                  QWidget* parent)
        : ViewerWidget(link, plugin, parent), fSettings("ExampleViewer", link->robotName()) {
        fTable->setHeaderLabels({"Key", "Value"});
        fTable->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        // A stretched column is never narrower than its initial width, for which the table scrolls.
        fTable->header()->setStretchLastSection(false);
        fFilter->setText(fSettings.value("filter", "Battery").toString());
        layOut(fFilter, {fTable}, fTable);
        connect(fFilter, &QLineEdit::textChanged, this, [this](const QString& text) {
            fSettings.setValue("filter", text);
            xFilter();
        });
        connect(this, &ViewerWidget::newsArrived, this, [this, link] { xShow(link->take()); });
        connect(this, &ViewerWidget::seenChanged, this,
                [link](bool isSeen) { link->follow(isSeen); });
    }

  private:
    void xShow(const std::map<std::string, KVValue>& values) {
        for (const auto& [name, value] : values) {
            QTreeWidgetItem*& row = fRows[name];
            row = row != nullptr ? row : new QTreeWidgetItem(fTable, {obvista::plainText(name)});
            row->setText(1, obvista::valueText(value));
            qCInfo(exampleLog).noquote() << row->text(0) << row->text(1);
        }
        xFilter();
    }
    void xFilter() {
        for (const auto& [name, row] : fRows) {
            row->setHidden(!row->text(0).contains(fFilter->text()));
        }
    }

    obvista::RobotSettings fSettings;
    QLineEdit* fFilter = new QLineEdit(this);
    QTreeWidget* fTable = new QTreeWidget(this);
    std::map<std::string, QTreeWidgetItem*> fRows;
};

/** The plugin object, which the host creates. */
class ExamplePlugin : public obvista::ViewerPlugin<ExampleLink, ExampleWidget> {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    ExamplePlugin() : ViewerPlugin("ObvistaExampleViewer") {}
};

#include "example_viewer.moc"
