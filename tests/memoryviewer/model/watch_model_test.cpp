#include "model/watch_model.h"

#include "model/key_cells.h"
#include "plots/key_mime.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>

using namespace memoryviewer;

class WatchModelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void showsWatchedKeysInTheUsersOrder();
    void followsChangesOfWatchedKeysOnly();
    void keepsKeysThatAreMissing();
    void showsKeysThatReturn();
    void movesAndRemovesRows();
    void takesWhatIsDropped();
    void takesNoNameTwiceAndNotTooMany();
    void showsNamesAsPlainText();

  private:
    void xAdd(std::uint32_t id, const std::string& name, double value);
    QString xText(int row, int column) const {
        return fModel->index(row, column).data().toString();
    }

    std::unique_ptr<KeyStore> fKeys;
    std::unique_ptr<WatchModel> fModel;
    std::unique_ptr<QAbstractItemModelTester> fTester;
};

void WatchModelTest::init() {
    fKeys = std::make_unique<KeyStore>();
    fModel = std::make_unique<WatchModel>(fKeys.get());
    fTester = std::make_unique<QAbstractItemModelTester>(fModel.get());
    xAdd(1, "A", 1);
    xAdd(2, "B", 2);
    xAdd(3, "C", 3);
}

void WatchModelTest::cleanup() {
    fTester.reset();
    fModel.reset();
    fKeys.reset();
}

void WatchModelTest::xAdd(std::uint32_t id, const std::string& name, double value) {
    KVKeyInfo info;
    info.fId = id;
    info.fName = name;
    info.fUnit = "rad";
    fKeys->add({info});
    fKeys->change({KVChange{id, KVValue(value), 1000}});
}

void WatchModelTest::showsWatchedKeysInTheUsersOrder() {
    fModel->setNames({"C", "A"});
    QCOMPARE(fModel->rowCount(), 2);
    QCOMPARE(xText(0, NameColumn), QStringLiteral("C"));
    QCOMPARE(xText(0, ValueColumn), QStringLiteral("3"));
    QCOMPARE(xText(1, NameColumn), QStringLiteral("A"));
    QCOMPARE(xText(1, UnitColumn), QStringLiteral("rad"));
    QCOMPARE(fModel->keyOf(fModel->index(1, 0)), fKeys->find("A"));
}

void WatchModelTest::followsChangesOfWatchedKeysOnly() {
    fModel->setNames({"C", "A"});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({KVChange{2, KVValue(5.0), 2000}});
    QCOMPARE(changed.size(), 0);
    fKeys->change({KVChange{1, KVValue(7.0), 2000}});
    QCOMPARE(changed.size(), 1);
    QCOMPARE(xText(1, ValueColumn), QStringLiteral("7"));
}

void WatchModelTest::keepsKeysThatAreMissing() {
    fModel->setNames({"A", "Gone", "B"});
    QCOMPARE(xText(1, NameColumn), QStringLiteral("Gone"));
    QCOMPARE(xText(1, ValueColumn), QStringLiteral("not there"));
    fKeys->remove({1});
    QCOMPARE(fModel->rowCount(), 3);
    QCOMPARE(xText(0, ValueColumn), QStringLiteral("not there"));
    QVERIFY(fModel->keyOf(fModel->index(0, 0)) == nullptr);
    QCOMPARE(xText(2, ValueColumn), QStringLiteral("2"));
}

void WatchModelTest::showsKeysThatReturn() {
    fModel->setNames({"A"});
    fKeys->remove({1});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    xAdd(9, "A", 42);
    QVERIFY(!changed.isEmpty());
    QCOMPARE(xText(0, ValueColumn), QStringLiteral("42"));
}

void WatchModelTest::movesAndRemovesRows() {
    fModel->setNames({"A", "B", "C"});
    QSignalSpy changed(fModel.get(), &WatchModel::namesChanged);
    QCOMPARE(fModel->move(0, 1), 1);
    QCOMPARE(fModel->names(), (QStringList{"B", "A", "C"}));
    QCOMPARE(xText(1, ValueColumn), QStringLiteral("1"));
    QCOMPARE(fModel->move(0, -1), 0);
    QCOMPARE(fModel->move(2, 1), 2);
    QCOMPARE(changed.size(), 1);
    fKeys->change({KVChange{2, KVValue(8.0), 3000}});
    QCOMPARE(xText(0, ValueColumn), QStringLiteral("8"));
    fModel->remove("B");
    QCOMPARE(fModel->names(), (QStringList{"A", "C"}));
    QCOMPARE(xText(1, ValueColumn), QStringLiteral("3"));
    QVERIFY(!fModel->removeRows(1, 2));
}

void WatchModelTest::takesWhatIsDropped() {
    fModel->setNames({"A", "B", "C"});
    const std::unique_ptr<QMimeData> own(fModel->mimeData({fModel->index(2, NameColumn)}));
    QVERIFY(fModel->dropMimeData(own.get(), Qt::CopyAction, 0, 0, {}));
    QCOMPARE(fModel->names(), (QStringList{"C", "A", "B"}));
    const std::unique_ptr<QMimeData> others(keysToMime({"X", "Y"}));
    QVERIFY(fModel->canDropMimeData(others.get(), Qt::CopyAction, -1, -1, {}));
    QVERIFY(fModel->dropMimeData(others.get(), Qt::CopyAction, -1, -1, fModel->index(1, 0)));
    QCOMPARE(fModel->names(), (QStringList{"C", "X", "Y", "A", "B"}));
    QMimeData text;
    text.setText("A");
    QVERIFY(!fModel->canDropMimeData(&text, Qt::CopyAction, -1, -1, {}));
    QVERIFY(!fModel->dropMimeData(&text, Qt::CopyAction, -1, -1, {}));
}

void WatchModelTest::takesNoNameTwiceAndNotTooMany() {
    fModel->insert({"A", "A", ""});
    fModel->insert({"A"});
    QCOMPARE(fModel->names(), QStringList("A"));
    QStringList many;
    for (int i = 0; i < 2 * WatchModel::a_maxNames; ++i) {
        many += QString::number(i);
    }
    fModel->insert(many);
    QCOMPARE(fModel->rowCount(), int(WatchModel::a_maxNames));
    QCOMPARE(fModel->names().first(), QStringLiteral("A"));
}

void WatchModelTest::showsNamesAsPlainText() {
    fModel->setNames({"<b>x</b>\n"});
    QCOMPARE(xText(0, NameColumn), QStringLiteral("<b>x</b>\\n"));
}

OBVISTA_QTEST_MAIN(WatchModelTest)
#include "watch_model_test.moc"
