// A small viewer to start from: the values of a robot's memory whose names contain a text.

#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/robot_link.h>
#include <obvista/viewer/robot_settings.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/viewer_plugin.h>
#include <obvista/viewer/viewer_widget.h>
#include <robaxi/kv_subscription.h>

#include <QHeaderView>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QTreeWidget>

#include <map>
#include <memory>
#include <mutex>

// QT_LOGGING_RULES="obvista.example.info=true" in the environment makes it speak.
Q_LOGGING_CATEGORY(exampleLog, "obvista.example", QtWarningMsg)

/** The connection to one robot, and the values that it has sent since the last take(). */
class ExampleLink : public obvista::RobotLink {
  public:
    using RobotLink::RobotLink;
    ~ExampleLink() override { close(); }

    /** Asks the robot for its values, at most 5 times a second, or for no more of them. */
    void follow(bool isWanted) {
        fIsFollowing = isWanted;
        fSubscription.reset();
        if (isWanted && !isClosed()) {
            // The middleware calls these on its own threads.
            KVSubscription::Callbacks callbacks;
            callbacks.fKeysAdded = [this](const auto& keys) { xAddKeys(keys); };
            callbacks.fValuesChanged = [this](const auto& changes) { xChange(changes); };
            const auto all = KVSubscription::Selection::AllKeys;
            fSubscription = KVSubscription::start(connection(), "KVMemory", all, 5, callbacks);
        }
    }
    std::map<std::string, KVValue> take() {
        const std::lock_guard<std::mutex> lock(fMutex);
        return std::exchange(fNews, {});
    }

  private:
    void stop() override { fSubscription.reset(); }
    // The robot was lost and has returned; its keys may have other identifiers.
    void restart() override {
        fNames.clear();
        follow(fIsFollowing);
    }

    void xAddKeys(const std::vector<KVKeyInfo>& keys) {
        for (const KVKeyInfo& key : keys) {
            fNames[key.fId] = key.fName;
        }
    }
    void xChange(const std::vector<KVChange>& changes) {
        const std::lock_guard<std::mutex> lock(fMutex);
        for (const KVChange& change : changes) {
            fNews[fNames[change.fId]] = change.fValue;
        }
        notice().give();
    }

    bool fIsFollowing = false;
    std::map<std::uint32_t, std::string> fNames;
    std::mutex fMutex;
    std::map<std::string, KVValue> fNews;
    std::shared_ptr<KVSubscription> fSubscription;
};

/** Shows the values of those keys whose names contain what the user enters. */
class ExampleWidget : public obvista::ViewerWidget {
  public:
    ExampleWidget(const std::shared_ptr<ExampleLink>& link, WidgetInterface* plugin,
                  QWidget* parent)
        : ViewerWidget(link, plugin, parent), fSettings("ExampleViewer", link->robotName()) {
        fTable->setHeaderLabels({"Key", "Value"});
        fTable->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
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
