// A minimal Qt viewer for changing values: a table with as many keys as are visible at once, each
// value a text that is set when it arrives, 50 times a second. It does not subscribe to other keys.
// Runs until it is killed.
//
//   memoryviewer_bench_table ROBOT_PORT
#include "host_window.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_subscription.h>

#include <QApplication>
#include <QMainWindow>
#include <QTableWidget>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>

namespace {

constexpr double a_rate = 50;
constexpr int a_rows = 50;

QString textOf(const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Int:
            return QString::number(static_cast<qlonglong>(value.toInt()));
        case KVValue::Type::Float:
            return QString::number(value.toFloat());
        case KVValue::Type::String:
            return QString::fromStdString(value.toString());
        case KVValue::Type::Bool:
            return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        default:
            return QString::number(value.getSize());
    }
}

bool isWanted(const std::string& name) {
    return name == bench::a_probedKey || name.find("/Drive0/") != std::string::npos;
}

class TableFeed : public QObject {
  public:
    explicit TableFeed(QTableWidget* table) : fTable(table) {}

    KVSubscription::Callbacks callbacks() {
        KVSubscription::Callbacks callbacks;
        callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) { xAddKeys(keys); };
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) { xTake(changes); };
        callbacks.fEnded = [](const KVError& error) { std::fprintf(stderr, "%s\n", error.what()); };
        return callbacks;
    }

    /** Adds a row for each of the first keys, by name. @return their identifiers */
    std::vector<std::uint32_t> fillTable() {
        const std::lock_guard lock(fMutex);
        std::vector<std::uint32_t> ids;
        for (const auto& [name, id] : fWanted) {
            if (fTable->rowCount() == a_rows) {
                break;
            }
            const int row = fTable->rowCount();
            fTable->insertRow(row);
            fTable->setItem(row, 0, new QTableWidgetItem(QString::fromStdString(name)));
            fTable->setItem(row, 1, new QTableWidgetItem);
            fItems[id] = fTable->item(row, 1);
            ids.push_back(id);
        }
        return ids;
    }

  private:
    void xAddKeys(const std::vector<KVKeyInfo>& keys) {
        const std::lock_guard lock(fMutex);
        for (const KVKeyInfo& key : keys) {
            if (isWanted(key.fName)) {
                fWanted.emplace(key.fName, key.fId);
            }
        }
    }

    void xTake(const std::vector<KVChange>& changes) {
        {
            const std::lock_guard lock(fMutex);
            for (const KVChange& change : changes) {
                fNewest[change.fId] = change.fValue;
            }
        }
        QMetaObject::invokeMethod(
            this, [this] { xShow(); }, Qt::QueuedConnection);
    }

    void xShow() {
        std::map<std::uint32_t, KVValue> newest;
        {
            const std::lock_guard lock(fMutex);
            std::swap(newest, fNewest);
        }
        for (const auto& [id, value] : newest) {
            fItems.at(id)->setText(textOf(value));
        }
    }

    QTableWidget* fTable;
    std::map<std::uint32_t, QTableWidgetItem*> fItems;
    std::mutex fMutex;  // guards the members below
    std::map<std::string, std::uint32_t> fWanted;
    std::map<std::uint32_t, KVValue> fNewest;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: memoryviewer_bench_table ROBOT_PORT\n", stderr);
        return EXIT_FAILURE;
    }
    QMainWindow window;
    auto* table = new QTableWidget(0, 2);
    window.setCentralWidget(table);
    bench::fillScreen(window);
    TableFeed feed(table);
    const auto broker = KVBroker::createBroker({"Table"});
    const auto connection = KVConnection::open(broker, "127.0.0.1", std::atoi(argv[1]), 5);
    const auto subscription = KVSubscription::start(
        connection, "KVMemory", KVSubscription::Selection::ChosenKeys, a_rate, feed.callbacks());
    std::optional<bench::LoopWatch> watch(std::in_place, "opening");
    QTimer::singleShot(bench::a_settling, table,
                       [&feed, &subscription] { subscription->setKeys(feed.fillTable()); });
    QTimer::singleShot(2 * bench::a_settling, table, [table, &watch] {
        bench::tellWhereShown(*table, table->model()->index(0, 1));
        watch.emplace("hold");
    });
    return QApplication::exec();
}
