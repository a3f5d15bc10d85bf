#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "model/key_value_source.h"
#include "model/memory_model.h"
#include "model/watch_model.h"
#include "plots/plot_history.h"
#include "plots/plot_panel.h"
#include "session/key_store.h"
#include "view/key_curves.h"

#include <QtTest>
#include <qt_test_main.h>

#include <memory>

using namespace memoryviewer;

namespace {

constexpr std::uint32_t a_older = 3;
constexpr std::uint32_t a_newer = 7;
constexpr char a_name[] = "Twin";

/** Accepts every write. */
class Writer : public ValueWriter {
  public:
    void write(const std::string& /*key*/, const KVValue& /*value*/) override {}
    void cancel() override {}
};

}  // namespace

/** Tests two keys that a robot announces under one name. */
class TwinsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void editsTheOneThatIsChosen();
    void marksTheOneThatWasWritten();
    void marksTheOneThatHasChanged();
    void watchesTheOtherOneWhenOneGoes_data();
    void watchesTheOtherOneWhenOneGoes();
    void findsNoneWhenBothHaveGone();
    void plotsTheNewerOne();

  private:
    void xChange(std::uint32_t id, int value) {
        fKeys->change({KVChange{id, KVValue(value), ++fTime}});
    }
    QModelIndex xValueOf(std::uint32_t id) const { return fModel->indexOfKey(id, ValueColumn); }

    std::unique_ptr<KeyStore> fKeys;
    std::unique_ptr<MemoryModel> fModel;
    std::unique_ptr<WriteQueue> fWrites;
    std::unique_ptr<KeyValueSource> fValues;
    std::int64_t fTime = 0;
};

void TwinsTest::init() {
    fKeys = std::make_unique<KeyStore>();
    fModel = std::make_unique<MemoryModel>(fKeys.get());
    fWrites = std::make_unique<WriteQueue>(std::make_unique<Writer>());
    fValues = std::make_unique<KeyValueSource>(fKeys.get(), fWrites.get());
    for (const std::uint32_t id : {a_older, a_newer}) {
        KVKeyInfo info;
        info.fId = id;
        info.fName = a_name;
        info.fType = KVValue::Type::Int;
        info.fWritable = true;
        fKeys->add({info});
        xChange(id, static_cast<int>(id) * 10);
    }
}

void TwinsTest::cleanup() {
    fValues.reset();
    fWrites.reset();
    fModel.reset();
    fKeys.reset();
}

void TwinsTest::editsTheOneThatIsChosen() {
    QVERIFY(fValues->editableValue(xValueOf(a_older)) == KVValue(30));
    QVERIFY(fValues->editableValue(xValueOf(a_newer)) == KVValue(70));
}

void TwinsTest::marksTheOneThatWasWritten() {
    for (const std::uint32_t id : {a_older, a_newer}) {
        const std::uint32_t other = id == a_older ? a_newer : a_older;
        fWrites = std::make_unique<WriteQueue>(std::make_unique<Writer>());
        fValues = std::make_unique<KeyValueSource>(fKeys.get(), fWrites.get());
        fValues->enter(xValueOf(id), KVValue(0), KVValue(5));
        QVERIFY(!fWrites->canUndo());
        QCOMPARE(int(fValues->look(xValueOf(id)).fMark), int(ValueMark::Pending));
        QCOMPARE(fValues->look(xValueOf(id)).fWrittenText.value_or(QString()), QStringLiteral("5"));
        QCOMPARE(int(fValues->look(xValueOf(other)).fMark), int(ValueMark::None));
        QVERIFY(!fValues->look(xValueOf(other)).fWrittenText);
        QTRY_VERIFY(fWrites->canUndo());
    }
}

void TwinsTest::marksTheOneThatHasChanged() {
    xChange(a_older, 31);
    QCOMPARE(int(fValues->look(xValueOf(a_older)).fMark), int(ValueMark::Changed));
    QCOMPARE(int(fValues->look(xValueOf(a_newer)).fMark), int(ValueMark::None));
}

void TwinsTest::watchesTheOtherOneWhenOneGoes_data() {
    QTest::addColumn<std::uint32_t>("gone");
    QTest::addColumn<std::uint32_t>("left");
    QTest::newRow("the newer") << a_newer << a_older;
    QTest::newRow("the older") << a_older << a_newer;
}

void TwinsTest::watchesTheOtherOneWhenOneGoes() {
    QFETCH(std::uint32_t, gone);
    QFETCH(std::uint32_t, left);
    WatchModel watched(fKeys.get());
    watched.setNames({a_name});
    const QModelIndex value = watched.index(0, ValueColumn);
    QCOMPARE(value.data().toString(), QStringLiteral("70"));
    fKeys->remove({gone});
    QCOMPARE(value.data().toString(), QString::number(left * 10));
    QCOMPARE(watched.keyOf(value), fKeys->find(left));
    QVERIFY(fValues->editableValue(value) == KVValue(int(left) * 10));
}

void TwinsTest::findsNoneWhenBothHaveGone() {
    WatchModel watched(fKeys.get());
    watched.setNames({a_name});
    fKeys->remove({a_older, a_newer});
    QVERIFY(fKeys->find(a_name) == nullptr);
    QVERIFY(watched.keyOf(watched.index(0, ValueColumn)) == nullptr);
    QVERIFY(!fValues->editableValue(watched.index(0, ValueColumn)));
}

void TwinsTest::plotsTheNewerOne() {
    PlotPanel plots;
    KeyCurves curves(fKeys.get(), &plots);
    curves.plot({a_name}, KeyCurves::Place::CurrentPlot);
    const auto points = [&] { return plots.history().curve(plots.keyHandle(a_name)).size(); };
    curves.append({KVChange{a_older, KVValue(1), 1}, KVChange{a_newer, KVValue(2), 2}});
    QCOMPARE(points(), std::size_t(1));
    QCOMPARE(plots.history().curve(plots.keyHandle(a_name)).last().fValue, 2.0);
    fKeys->remove({a_older});
    QCOMPARE(points(), std::size_t(1));
    fKeys->remove({a_newer});
    QCOMPARE(points(), std::size_t(2));
}

OBVISTA_QTEST_MAIN(TwinsTest)
#include "twins_test.moc"
