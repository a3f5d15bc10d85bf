#include "memory_robot.h"
#include "plots/plot_history.h"
#include "plots/plot_panel.h"
#include "plots/time_axis.h"
#include "session/memory_link.h"
#include "view/memory_viewer_widget.h"
#include "viewer_driver.h"

#include <robaxi/kv_broker.h>

#include <QAbstractItemModel>
#include <QElapsedTimer>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <atomic>
#include <memory>
#include <thread>

using namespace obvista_test;
using memoryviewer::CurveHistory;
using memoryviewer::MemoryLink;
using memoryviewer::MemoryViewerWidget;
using memoryviewer::PlotPanel;

/** Tests the widget with more changes than a screen can show. */
class FlowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void takesWhatComesAtMostOnceAFrame();
    void answersTheUserWhileManyKeysChange();
    void isQuietWhileNothingChanges();
    void endsCurvesAtTheLastValueOfALostRobot();

  private:
    /** Changes values through the widget's feed, as fast as one thread can, while `during` runs. */
    template <class During>
    void xFlood(std::uint32_t keyCount, During during);

    std::unique_ptr<MemoryRobot> fRobot;
    std::shared_ptr<MemoryLink> fLink;
    std::unique_ptr<MemoryViewerWidget> fWidget;
};

void FlowTest::init() {
    fRobot = std::make_unique<MemoryRobot>();
    fRobot->set("Real", 1);
    const auto broker = KVBroker::createBroker({"FlowTest"});
    fLink = std::make_shared<MemoryLink>(broker, "127.0.0.1", fRobot->port(), 5);
    fWidget = std::make_unique<MemoryViewerWidget>(fLink, nullptr, nullptr);
    fWidget->show();
    QTRY_COMPARE(valueOf(fWidget.get(), "Real"), QStringLiteral("1"));
}

void FlowTest::cleanup() {
    fWidget.reset();
    fLink.reset();
    fRobot.reset();
}

template <class During>
void FlowTest::xFlood(std::uint32_t keyCount, During during) {
    constexpr std::uint32_t firstId = 1'000'000;
    std::vector<KVKeyInfo> keys;
    keys.reserve(keyCount);
    for (std::uint32_t i = 0; i < keyCount; ++i) {
        KVKeyInfo info;
        info.fId = firstId + i;
        info.fName = "Flood/" + std::to_string(i);
        keys.push_back(info);
    }
    fLink->feed().keysAdded(keys);
    QTRY_VERIFY(indexOf(fWidget.get(), "Flood/0").isValid());
    treeOf(fWidget.get())->expandAll();

    std::atomic<bool> isOver{false};
    std::thread robot([&] {
        for (std::int64_t value = 1; !isOver; ++value) {
            std::vector<KVChange> changes;
            changes.reserve(keys.size());
            for (const KVKeyInfo& key : keys) {
                changes.push_back({key.fId, KVValue(value), value});
            }
            fLink->feed().valuesChanged(changes);
        }
    });
    during();
    isOver = true;
    robot.join();
}

void FlowTest::takesWhatComesAtMostOnceAFrame() {
    int signalsSeen = 0;
    const auto* model = treeOf(fWidget.get())->model();
    connect(model, &QAbstractItemModel::dataChanged, this, [&] { ++signalsSeen; });
    xFlood(1, [&] {
        signalsSeen = 0;
        QElapsedTimer time;
        time.start();
        QTRY_VERIFY(signalsSeen >= 10);
        const qint64 frames = time.elapsed() / 40 + 2;
        QVERIFY2(
            signalsSeen <= frames,
            qPrintable(QStringLiteral("%1 signals in %2 frames").arg(signalsSeen).arg(frames)));
    });
}

void FlowTest::answersTheUserWhileManyKeysChange() {
    xFlood(10000, [&] {
        auto* tree = treeOf(fWidget.get());
        tree->setCurrentIndex(indexOf(fWidget.get(), "Flood/0"));
        const QString before = valueOf(fWidget.get(), "Flood/0");
        for (int i = 0; i < 50; ++i) {
            QTest::keyClick(tree, Qt::Key_Down);
        }
        QCOMPARE(tree->currentIndex().data().toString(), QStringLiteral("50"));
        QTRY_VERIFY(valueOf(fWidget.get(), "Flood/0") != before);
    });
}

void FlowTest::isQuietWhileNothingChanges() {
    int signalsSeen = 0;
    const auto* model = treeOf(fWidget.get())->model();
    connect(model, &QAbstractItemModel::dataChanged, this, [&] { ++signalsSeen; });
    // The age in the status line shows that the widget does its periodic work.
    for (int seconds = 0; seconds < 2; ++seconds) {
        const QString before = statusOf(fWidget.get());
        QTRY_VERIFY(statusOf(fWidget.get()) != before);
    }
    QCOMPARE(signalsSeen, 0);
}

void FlowTest::endsCurvesAtTheLastValueOfALostRobot() {
    constexpr double aSecond = 1e6;
    auto* plots = fWidget->findChild<PlotPanel*>();
    QVERIFY(plots->addCurve(QStringLiteral("Real"), QString()));
    const auto curve = [&]() -> const CurveHistory& {
        return plots->history().curve(plots->keyHandle(QStringLiteral("Real")));
    };
    fRobot->set("Real", 2);
    QTRY_VERIFY(!curve().isEmpty() && curve().last().fValue == 2);
    const std::int64_t last = curve().last().fTime;
    // The value is drawn as constant until the robot's death is detected.
    QTRY_VERIFY(plots->timeAxis().right() > static_cast<double>(last) + aSecond);
    fRobot->stop();
    QTRY_VERIFY(!curve().isGoingOn());
    QCOMPARE(curve().last().fTime, last);
    QTRY_COMPARE(plots->timeAxis().right(), static_cast<double>(last));
}

OBVISTA_QTEST_MAIN(FlowTest)
#include "flow_test.moc"
