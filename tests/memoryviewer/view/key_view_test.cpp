#include "model/memory_model.h"
#include "view/key_tree_view.h"

#include <QHeaderView>
#include <QtTest>
#include <qt_test_main.h>

using namespace memoryviewer;

/** Adds up what a widget is asked to paint. */
class PaintedRegion : public QObject {
  public:
    explicit PaintedRegion(QWidget* widget) : fWidget(widget) { widget->installEventFilter(this); }

    const QRegion& region() const { return fRegion; }

    /** Waits until what is to be painted is, and forgets it. */
    void forget() {
        fWidget->repaint();
        QCoreApplication::processEvents();
        fRegion = QRegion();
    }

  protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            fRegion += dynamic_cast<QPaintEvent&>(*event).region();
        }
        return false;
    }

  private:
    QWidget* fWidget;
    QRegion fRegion;
};

KVKeyInfo keyOf(std::uint32_t id, const char* name) {
    KVKeyInfo info;
    info.fId = id;
    info.fName = name;
    info.fType = KVValue::Type::Int;
    return info;
}

/** Tests the views of keys: what is painted, and which branches are open. */
class KeyViewTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void paintsTheChangedColumnsOnly();
    void keepsABranchClosedWhoseKeysReturn();
};

void KeyViewTest::paintsTheChangedColumnsOnly() {
    constexpr std::uint32_t count = 20;
    KeyStore keys;
    MemoryModel model(&keys);
    KeyTreeView view(&model, nullptr);
    std::vector<KVKeyInfo> infos(count);
    for (std::uint32_t id = 0; id < count; ++id) {
        infos[id].fId = id;
        infos[id].fName = "Key" + std::to_string(id);
        infos[id].fType = KVValue::Type::Int;
    }
    keys.add(infos);
    view.resize(800, 600);
    view.show();
    QVERIFY(obvista_test::waitForExposed(&view));
    const auto change = [&keys](int value) {
        std::vector<MergedChange> changes;
        for (std::uint32_t id = 3; id < 9; ++id) {
            changes.emplace_back(KVChange{id, KVValue(value), value});
        }
        keys.change(changes);
    };
    change(1);

    PaintedRegion painted(view.viewport());
    painted.forget();
    change(2);
    QTRY_VERIFY(!painted.region().isEmpty());
    QCOMPARE(painted.region(),
             QRegion(view.header()->sectionViewportPosition(ValueColumn), 0,
                     view.header()->sectionSize(ValueColumn), view.viewport()->height()));
}

void KeyViewTest::keepsABranchClosedWhoseKeysReturn() {
    KeyStore keys;
    MemoryModel model(&keys);
    KeyTreeView view(&model, nullptr);
    const auto branch = [&model](const char* name) {
        return model.match(model.index(0, NameColumn), Qt::DisplayRole, QLatin1String(name), 1,
                           Qt::MatchExactly);
    };
    keys.add({keyOf(1, "Audio/Volume"), keyOf(2, "Battery/Charge")});
    QVERIFY(view.isExpanded(branch("Audio").value(0)));
    view.collapse(branch("Audio").value(0));
    keys.remove({1, 2});
    QVERIFY(branch("Audio").isEmpty());
    keys.add({keyOf(3, "Audio/Volume"), keyOf(4, "Battery/Charge")});
    QVERIFY(view.isExpanded(branch("Battery").value(0)));
    QVERIFY(!branch("Audio").isEmpty());
    QVERIFY(!view.isExpanded(branch("Audio").value(0)));
}

OBVISTA_QTEST_MAIN(KeyViewTest)
#include "key_view_test.moc"
