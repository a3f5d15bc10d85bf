#include <obvista/widget_interface.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_memory_module.h>

#include <QHeaderView>
#include <QLineEdit>
#include <QPluginLoader>
#include <QScrollBar>
#include <QTreeWidget>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <loopback_broker.h>
#include <memory>
#include <project_files.h>

namespace {

int countShown(const QTreeWidget& table) {
    int count = 0;
    for (int row = 0; row < table.topLevelItemCount(); ++row) {
        count += table.topLevelItem(row)->isHidden() ? 0 : 1;
    }
    return count;
}

/** Returns the width that the visible rows and the titles need, in pixels. */
int neededWidth(const QTreeWidget& table) {
    int width = 0;
    for (const int column : {0, 1}) {
        width += std::max(table.header()->sectionSizeHint(column),
                          static_cast<const QAbstractItemView&>(table).sizeHintForColumn(column));
    }
    return width;
}

}  // namespace

class ExampleViewerTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void scrollsSidewaysOnlyForRowsThatAreShown();
};

void ExampleViewerTest::scrollsSidewaysOnlyForRowsThatAreShown() {
    const auto robot = obvista_test::createTestBroker("Robot");
    auto memory = std::make_shared<KVMemoryModule>();
    memory->addKey({"Battery/Charge", "%", "", 87.5});
    memory->addKey({"A/Very/Long/Name/Of/A/Key/That/No/Narrow/Dock/Has/Room/For", "", "", 1});
    robot->addModule(memory);
    const auto library = obvista_test::builtFile("tests/libexample_viewer.so");
    const std::unique_ptr<QObject> root(QPluginLoader(QString::fromStdString(library)).instance());
    auto* plugin = qobject_cast<WidgetInterface*>(root.get());
    QVERIFY(plugin != nullptr);
    const std::unique_ptr<QWidget> viewer(
        plugin->createWidget(nullptr, "127.0.0.1", robot->getPort(), ""));
    viewer->show();
    const auto* table = viewer->findChild<QTreeWidget*>();
    auto* filter = viewer->findChild<QLineEdit*>();
    QTRY_COMPARE(table->topLevelItemCount(), 2);

    QCOMPARE(countShown(*table), 1);
    viewer->resize(viewer->width() - table->viewport()->width() + neededWidth(*table), 300);
    QTRY_COMPARE(table->viewport()->width(), neededWidth(*table));
    QTRY_COMPARE(table->horizontalScrollBar()->maximum(), 0);

    filter->clear();
    QTRY_VERIFY(table->horizontalScrollBar()->maximum() > 0);
    filter->setText("Battery");
    QTRY_COMPARE(table->horizontalScrollBar()->maximum(), 0);
}

OBVISTA_QTEST_MAIN(ExampleViewerTest)

#include "example_viewer_test.moc"
