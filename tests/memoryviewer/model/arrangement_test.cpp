#include "model/memory_model.h"
#include "session/key_store.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QtTest>
#include <qt_test_main.h>

#include <limits>
#include <memory>

using namespace memoryviewer;

namespace {

KVKeyInfo key(std::uint32_t id, const std::string& name, const std::string& unit = "") {
    KVKeyInfo info;
    info.fId = id;
    info.fName = name;
    info.fUnit = unit;
    return info;
}

}  // namespace

/** Tests filtering and sorting in trees and lists. */
class ArrangementTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void listsWholeNames();
    void sortsAListByEachColumn();
    void sortsNumbersBeforeTextsAndNotANumberLast();
    void turnsTheOrderOfATreeRound();
    void keepsBranchesAboveKeysInASortedTree();
    void showsOnlyWhatTheFilterLetsPass();
    void keepsTheRowThatTheUserStandsOn();
    void keepsTheBranchThatTheUserStandsOn();
    void letsGoOfARowThatIsFilteredOut();
    void filtersKeysThatComeLater();
    void arrangesKeysThatComeLater();
    void removesKeysFromASortedList();
    void followsChangedValuesWhenAskedTo();

  private:
    void xArrange(bool isFlat, int column, Qt::SortOrder order = Qt::AscendingOrder,
                  const QString& filter = QString());
    QStringList xNames(const QModelIndex& parent = QModelIndex()) const;

    std::unique_ptr<KeyStore> fKeys;
    std::unique_ptr<MemoryModel> fModel;
    std::unique_ptr<QAbstractItemModelTester> fTester;
};

void ArrangementTest::init() {
    fKeys = std::make_unique<KeyStore>();
    fModel = std::make_unique<MemoryModel>(fKeys.get());
    fTester = std::make_unique<QAbstractItemModelTester>(
        fModel.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    fKeys->add({key(1, "Arm/Left/Angle", "rad"), key(2, "Arm/Right/Angle", "rad"),
                key(3, "Battery", "%"), key(4, "Name")});
    fKeys->change({KVChange{1, KVValue(0.5), 4'000'000}, KVChange{2, KVValue(-1), 1'000'000},
                   KVChange{3, KVValue(80), 3'000'000}, KVChange{4, KVValue("robot"), 2'000'000}});
}

void ArrangementTest::cleanup() {
    fTester.reset();
    fModel.reset();
    fKeys.reset();
}

void ArrangementTest::xArrange(bool isFlat, int column, Qt::SortOrder order,
                               const QString& filter) {
    Arrangement arrangement;
    arrangement.fIsFlat = isFlat;
    arrangement.fSortColumn = column;
    arrangement.fOrder = order;
    arrangement.fFilter = FilterExpression(filter);
    fModel->setArrangement(arrangement);
}

QStringList ArrangementTest::xNames(const QModelIndex& parent) const {
    QStringList names;
    for (int row = 0; row < fModel->rowCount(parent); ++row) {
        names += fModel->index(row, NameColumn, parent).data().toString();
    }
    return names;
}

void ArrangementTest::listsWholeNames() {
    xArrange(true, NameColumn);
    QCOMPARE(xNames(), QStringList({"Arm/Left/Angle", "Arm/Right/Angle", "Battery", "Name"}));
    QCOMPARE(fModel->rowCount(fModel->index(0, 0)), 0);
}

void ArrangementTest::sortsAListByEachColumn() {
    xArrange(true, ValueColumn);
    QCOMPARE(xNames(), QStringList({"Arm/Right/Angle", "Arm/Left/Angle", "Battery", "Name"}));
    xArrange(true, UnitColumn);
    QCOMPARE(xNames(), QStringList({"Name", "Battery", "Arm/Left/Angle", "Arm/Right/Angle"}));
    xArrange(true, TypeColumn);
    QCOMPARE(xNames(), QStringList({"Arm/Left/Angle", "Arm/Right/Angle", "Battery", "Name"}));
    xArrange(true, AgeColumn);
    QCOMPARE(xNames(), QStringList({"Arm/Left/Angle", "Battery", "Name", "Arm/Right/Angle"}));
    xArrange(true, AgeColumn, Qt::DescendingOrder);
    QCOMPARE(xNames(), QStringList({"Arm/Right/Angle", "Name", "Battery", "Arm/Left/Angle"}));
}

void ArrangementTest::sortsNumbersBeforeTextsAndNotANumberLast() {
    fKeys->change({KVChange{1, KVValue(std::numeric_limits<double>::quiet_NaN()), 5'000'000},
                   KVChange{3, KVValue(true), 5'000'000}});
    xArrange(true, ValueColumn);
    QCOMPARE(xNames(), QStringList({"Arm/Right/Angle", "Battery", "Arm/Left/Angle", "Name"}));
}

void ArrangementTest::turnsTheOrderOfATreeRound() {
    xArrange(false, NameColumn, Qt::DescendingOrder);
    QCOMPARE(xNames(), QStringList({"Name", "Battery", "Arm"}));
    QCOMPARE(xNames(fModel->index(2, 0)), QStringList({"Right", "Left"}));
}

void ArrangementTest::keepsBranchesAboveKeysInASortedTree() {
    for (const auto order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        xArrange(false, UnitColumn, order);
        QCOMPARE(xNames().first(), QStringLiteral("Arm"));
    }
    QCOMPARE(xNames(), QStringList({"Arm", "Battery", "Name"}));
}

void ArrangementTest::showsOnlyWhatTheFilterLetsPass() {
    xArrange(false, NameColumn, Qt::AscendingOrder, "arm right");
    QCOMPARE(fModel->keyCount(), 1);
    QCOMPARE(xNames(), QStringList({"Arm"}));
    QCOMPARE(xNames(fModel->index(0, 0)), QStringList({"Right"}));
}

void ArrangementTest::keepsTheRowThatTheUserStandsOn() {
    const QPersistentModelIndex row = fModel->indexOfKey(2, ValueColumn);
    xArrange(true, ValueColumn);
    QVERIFY(row.isValid());
    QCOMPARE(row.row(), 0);
    QCOMPARE(row.column(), static_cast<int>(ValueColumn));
    QCOMPARE(fModel->keyOf(row)->fInfo.fId, 2U);
}

void ArrangementTest::keepsTheBranchThatTheUserStandsOn() {
    const QPersistentModelIndex branch = fModel->indexOfKey(2).parent();
    QCOMPARE(branch.data().toString(), QStringLiteral("Right"));
    xArrange(false, NameColumn, Qt::DescendingOrder);
    QCOMPARE(branch.data().toString(), QStringLiteral("Right"));
    QCOMPARE(branch.row(), 0);
}

void ArrangementTest::letsGoOfARowThatIsFilteredOut() {
    const QPersistentModelIndex row = fModel->indexOfKey(3);
    xArrange(false, NameColumn, Qt::AscendingOrder, "arm");
    QVERIFY(!row.isValid());
}

void ArrangementTest::filtersKeysThatComeLater() {
    xArrange(false, NameColumn, Qt::AscendingOrder, "arm");
    fKeys->add({key(5, "Arm/Left/Force"), key(6, "Leg")});
    QCOMPARE(fModel->keyCount(), 3);
    QVERIFY(fModel->indexOfKey(5).isValid());
    QVERIFY(!fModel->indexOfKey(6).isValid());
}

void ArrangementTest::arrangesKeysThatComeLater() {
    xArrange(true, NameColumn, Qt::DescendingOrder);
    fKeys->add({key(5, "Leg")});
    QTRY_COMPARE(xNames(),
                 QStringList({"Name", "Leg", "Battery", "Arm/Right/Angle", "Arm/Left/Angle"}));
}

void ArrangementTest::removesKeysFromASortedList() {
    xArrange(true, ValueColumn);
    fKeys->remove({1, 4});
    QCOMPARE(xNames(), QStringList({"Arm/Right/Angle", "Battery"}));
}

void ArrangementTest::followsChangedValuesWhenAskedTo() {
    xArrange(true, ValueColumn);
    QVERIFY(fModel->arrangement().isLive());
    fKeys->change({KVChange{2, KVValue(1000), 6'000'000}});
    QCOMPARE(xNames().first(), QStringLiteral("Arm/Right/Angle"));
    fModel->rearrange();
    QCOMPARE(xNames(), QStringList({"Arm/Left/Angle", "Battery", "Arm/Right/Angle", "Name"}));
}

OBVISTA_QTEST_MAIN(ArrangementTest)
#include "arrangement_test.moc"
