// Shows the memory viewer in a window, like the host, until it is killed. Beside the probed key,
// the branches of the first changing drives are expanded, so that visible values change.
//
//   memoryviewer_bench_viewer PLUGIN ROBOT_PORT [sorted|filter]
//
// "sorted" sorts by value, for which the viewer subscribes to all keys; "filter" types filters.
#include "filter_typing.h"
#include "host_window.h"

#include <obvista/widget_interface.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMainWindow>
#include <QPluginLoader>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>

namespace {

constexpr int a_rate = 50;
constexpr int a_openUnits = 5;

/** Returns the row of a key by its path, in a tree by "/"; invalid if there is none. */
QModelIndex rowOf(const QAbstractItemModel& model, const QString& path) {
    QModelIndex row;
    for (const QString& segment : path.split(QLatin1Char('/'))) {
        QModelIndex next;
        for (int i = 0; i < model.rowCount(row) && !next.isValid(); ++i) {
            const QModelIndex child = model.index(i, 0, row);
            next = child.data().toString() == segment ? child : QModelIndex();
        }
        if (!next.isValid()) {
            return {};
        }
        row = next;
    }
    return row;
}

/** Returns the tree that shows the probed key. */
QTreeView& treeOf(const QWidget& viewer) {
    for (QTreeView* tree : viewer.findChildren<QTreeView*>()) {
        if (tree->model() != nullptr && rowOf(*tree->model(), bench::a_probedKey).isValid()) {
            return *tree;
        }
    }
    throw std::runtime_error("no tree of the viewer shows the key that is probed");
}

int valueColumnOf(const QAbstractItemModel& model) {
    for (int column = 0; column < model.columnCount(); ++column) {
        if (model.headerData(column, Qt::Horizontal).toString() == QLatin1String("Value")) {
            return column;
        }
    }
    throw std::runtime_error("the viewer has no column of values");
}

void open(QTreeView& tree, const QString& path) {
    for (QModelIndex row = rowOf(*tree.model(), path); row.isValid(); row = row.parent()) {
        tree.expand(row);
    }
}

void sortBy(QTreeView& tree, int column) {
    if (!tree.isSortingEnabled()) {
        throw std::runtime_error("the viewer sorts nothing");
    }
    tree.sortByColumn(column, Qt::AscendingOrder);
}

/**
 * Sets the rate at which the values change, so that waiting does not dominate the time to the
 * screen.
 */
void askOften(const QWidget& viewer) {
    auto* rate = viewer.findChild<QComboBox*>(QStringLiteral("memoryRate"));
    if (rate == nullptr || rate->findData(a_rate) < 0) {
        throw std::runtime_error("the viewer has no rate of 50 Hz");
    }
    rate->setCurrentIndex(rate->findData(a_rate));
}

void arrange(const QWidget& viewer, bool isSorted) {
    askOften(viewer);
    QTreeView& tree = treeOf(viewer);
    open(tree, QStringLiteral("Ballamor"));
    for (int unit = 0; unit < a_openUnits; ++unit) {
        open(tree, QStringLiteral("Load/Unit%1/Drive0").arg(unit, 3, 10, QLatin1Char('0')));
    }
    if (isSorted) {
        sortBy(tree, valueColumnOf(*tree.model()));
    }
}

void tellCell(const QWidget& viewer) {
    QTreeView& tree = treeOf(viewer);
    const QAbstractItemModel& model = *tree.model();
    const QModelIndex key = rowOf(model, bench::a_probedKey);
    tree.scrollTo(key);
    bench::tellWhereShown(tree, key.sibling(key.row(), valueColumnOf(model)));
}

std::unique_ptr<bench::FilterTyping> typeFilters(const QWidget& viewer) {
    auto* filter = viewer.findChild<QLineEdit*>(QStringLiteral("memoryFilter"));
    if (filter == nullptr) {
        throw std::runtime_error("the viewer has no filter");
    }
    auto typing = std::make_unique<bench::FilterTyping>(filter, &treeOf(viewer));
    typing->start();
    return typing;
}

/** Catches exceptions, which must not propagate through the event loop. */
template <typename Step>
void endWhenItFails(Step step) {
    try {
        step();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc < 3) {
        std::fputs("usage: memoryviewer_bench_viewer PLUGIN ROBOT_PORT [sorted|filter]\n", stderr);
        return EXIT_FAILURE;
    }
    const QByteArray kind = argc > 3 ? argv[3] : "";
    QPluginLoader loader(QString::fromLocal8Bit(argv[1]));
    auto* plugin = qobject_cast<WidgetInterface*>(loader.instance());
    if (plugin == nullptr) {
        std::fprintf(stderr, "%s\n", qPrintable(loader.errorString()));
        return EXIT_FAILURE;
    }
    QMainWindow window;
    QWidget* viewer = plugin->createWidget(&window, "127.0.0.1", std::atoi(argv[2]), "/nowhere/");
    window.setCentralWidget(viewer);
    bench::fillScreen(window);
    std::optional<bench::LoopWatch> watch(std::in_place, "opening");
    std::unique_ptr<bench::FilterTyping> typing;
    QTimer::singleShot(bench::a_settling, viewer, [viewer, &kind] {
        endWhenItFails([viewer, &kind] { arrange(*viewer, kind == "sorted"); });
    });
    QTimer::singleShot(2 * bench::a_settling, viewer, [viewer, &kind, &typing, &watch] {
        endWhenItFails([viewer, &kind, &typing] {
            tellCell(*viewer);
            typing = kind == "filter" ? typeFilters(*viewer) : nullptr;
        });
        watch.emplace("hold");
    });
    return QApplication::exec();
}
