#include "model/memory_model.h"
#include "model/memory_node.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTextDocument>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

using memoryviewer::KeyStore;
using memoryviewer::MemoryModel;
using memoryviewer::MemoryNode;
using memoryviewer::MergedChange;
using memoryviewer::naturalLess;

namespace {

KVKeyInfo key(std::uint32_t id, const std::string& name,
              KVValue::Type type = KVValue::Type::Float) {
    KVKeyInfo info;
    info.fId = id;
    info.fName = name;
    info.fUnit = "rad";
    info.fType = type;
    return info;
}

KVChange change(std::uint32_t id, const KVValue& value) {
    return {id, value, 1'000'000};
}

void appendPaths(const MemoryModel& model, const QModelIndex& parent, const QString& prefix,
                 QStringList& paths) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, memoryviewer::NameColumn, parent);
        const QString path = prefix + index.data().toString();
        const auto id = model.keyOf(index);
        paths += id ? QStringLiteral("%1=%2").arg(path).arg(id->fInfo.fId) : path;
        appendPaths(model, index, path + QLatin1Char('/'), paths);
    }
}

/** Returns every row's path from the top, followed by "=" and the identifier if it is a key. */
QStringList paths(const MemoryModel& model) {
    QStringList all;
    appendPaths(model, QModelIndex(), QString(), all);
    return all;
}

QString text(const MemoryModel& model, std::uint32_t id, int column) {
    return model.indexOfKey(id, column).data().toString();
}

/** Returns the ranges of a dataChanged spy, as "parent: first-last, columns first-last". */
QStringList ranges(const QSignalSpy& spy) {
    QStringList all;
    for (const QList<QVariant>& arguments : spy) {
        const auto first = arguments.at(0).toModelIndex();
        const auto last = arguments.at(1).toModelIndex();
        all += QStringLiteral("%1: %2-%3, columns %4-%5")
                   .arg(first.parent().data().toString())
                   .arg(first.row())
                   .arg(last.row())
                   .arg(first.column())
                   .arg(last.column());
    }
    all.sort();
    return all;
}

}  // namespace

class ModelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void ordersNamesNaturally();
    void isEmptyAtFirst();
    void buildsATreeBySlashes();
    void insertsTheFirstTableInOneStep();
    void insertsLaterKeysAtTheirPlace();
    void mergesNeighboursIntoOneInsertion();
    void passesOverIdentifiersAlreadyKnown();
    void showsAKeyThatIsALeafAndABranch();
    void showsANameAnnouncedTwiceInTwoRows();
    void namesEmptySegments();
    void boundsTheDepth();
    void showsDeclaredTypeUntilTheFirstValue();
    void showsNewValues();
    void alignsNumbersAndTextsApart();
    void signalsOnlyRowsThatChanged();
    void mergesChangedRowsIntoRuns();
    void signalsAChangedType();
    void signalsNothingForAnEqualValue();
    void passesOverUnknownKeys();
    void removesKeysAndEmptyBranches();
    void keepsABranchWhoseKeyIsRemoved();
    void keepsAKeyWhoseBranchIsRemoved();
    void removesManyKeysInRuns();
    void takesARemovedNameBackUnderANewIdentifier();
    void neverResets();
    void showsRobotTextsAsPlainText();
    void tellsTheRangeOfAKeyThatCanBeEdited();
    void survivesAnyOrderOfChanges();

  private:
    std::unique_ptr<KeyStore> fKeys;
    std::unique_ptr<MemoryModel> fModel;
    std::unique_ptr<QAbstractItemModelTester> fTester;
};

void ModelTest::init() {
    fKeys = std::make_unique<KeyStore>();
    fModel = std::make_unique<MemoryModel>(fKeys.get());
    fTester = std::make_unique<QAbstractItemModelTester>(
        fModel.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
}

void ModelTest::cleanup() {
    fTester.reset();
    fModel.reset();
    fKeys.reset();
}

void ModelTest::ordersNamesNaturally() {
    std::vector<std::string> names{"b", "Joint10", "joint2", "Joint1", "A", "Joint01", "a", ""};
    std::sort(names.begin(), names.end(), naturalLess);
    const std::vector<std::string> expected{"",        "A",      "a",      "b",
                                            "Joint01", "Joint1", "joint2", "Joint10"};
    QCOMPARE(names, expected);
    QVERIFY(!naturalLess("x", "x"));
    QVERIFY(naturalLess("9", "123456789012345678901234567890"));
}

void ModelTest::isEmptyAtFirst() {
    QCOMPARE(fModel->rowCount(), 0);
    QCOMPARE(fModel->keyCount(), 0);
    QCOMPARE(fModel->columnCount(), 6);
    QCOMPARE(fModel->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
    QCOMPARE(fModel->headerData(1, Qt::Horizontal).toString(), QStringLiteral("Value"));
    QCOMPARE(fModel->headerData(2, Qt::Horizontal).toString(), QStringLiteral("Unit"));
    QCOMPARE(fModel->headerData(3, Qt::Horizontal).toString(), QStringLiteral("Type"));
}

void ModelTest::buildsATreeBySlashes() {
    fKeys->add({key(1, "Joint/HeadYaw/Position"), key(2, "Battery/Charge"),
                key(3, "Joint/HeadYaw/Current"), key(4, "Uptime")});
    const QStringList expected{
        "Battery",       "Battery/Charge=2",        "Joint",
        "Joint/HeadYaw", "Joint/HeadYaw/Current=3", "Joint/HeadYaw/Position=1",
        "Uptime=4"};
    QCOMPARE(paths(*fModel), expected);
    QCOMPARE(fModel->keyCount(), 4);
    QCOMPARE(text(*fModel, 1, memoryviewer::NameColumn), QStringLiteral("Position"));
    QCOMPARE(text(*fModel, 1, memoryviewer::UnitColumn), QStringLiteral("rad"));
    QVERIFY(!fModel->indexOfKey(99).isValid());
}

void ModelTest::insertsTheFirstTableInOneStep() {
    QSignalSpy inserted(fModel.get(), &QAbstractItemModel::rowsInserted);
    fKeys->add({key(1, "C/1"), key(2, "A/1"), key(3, "B/1")});
    QCOMPARE(inserted.size(), 1);
}

void ModelTest::insertsLaterKeysAtTheirPlace() {
    fKeys->add({key(1, "B/2"), key(2, "D")});
    fKeys->add({key(3, "B/1"), key(4, "B/3"), key(5, "A"), key(6, "C/X/Y"), key(7, "E")});
    const QStringList expected{"A=5", "B",   "B/1=3",   "B/2=1", "B/3=4",
                               "C",   "C/X", "C/X/Y=6", "D=2",   "E=7"};
    QCOMPARE(paths(*fModel), expected);
    QCOMPARE(fModel->indexOfKey(7).row(), 4);
}

void ModelTest::mergesNeighboursIntoOneInsertion() {
    fKeys->add({key(1, "A"), key(2, "Z")});
    QSignalSpy inserted(fModel.get(), &QAbstractItemModel::rowsInserted);
    fKeys->add({key(3, "M1"), key(4, "M2"), key(5, "M3/X"), key(6, "ZZ")});
    QCOMPARE(inserted.size(), 2);
    QCOMPARE(paths(*fModel), QStringList({"A=1", "M1=3", "M2=4", "M3", "M3/X=5", "Z=2", "ZZ=6"}));
}

void ModelTest::passesOverIdentifiersAlreadyKnown() {
    fKeys->add({key(1, "A"), key(1, "B")});
    fKeys->add({key(1, "C")});
    QCOMPARE(paths(*fModel), QStringList({"A=1"}));
}

void ModelTest::showsAKeyThatIsALeafAndABranch() {
    fKeys->add({key(1, "A"), key(2, "A/B")});
    fKeys->add({key(3, "C/D")});
    fKeys->add({key(4, "C"), key(5, "A/B/E")});
    QCOMPARE(paths(*fModel), QStringList({"A=1", "A/B=2", "A/B/E=5", "C=4", "C/D=3"}));
    fKeys->change({change(1, 1.5), change(2, 2.5), change(4, 4.5)});
    QCOMPARE(text(*fModel, 1, memoryviewer::ValueColumn), QStringLiteral("1.5"));
    QCOMPARE(text(*fModel, 2, memoryviewer::ValueColumn), QStringLiteral("2.5"));
    QCOMPARE(text(*fModel, 4, memoryviewer::ValueColumn), QStringLiteral("4.5"));
}

void ModelTest::showsANameAnnouncedTwiceInTwoRows() {
    fKeys->add({key(1, "A"), key(2, "A"), key(3, "A/B")});
    fKeys->add({key(4, "A")});
    QCOMPARE(fModel->rowCount(), 3);
    QCOMPARE(fModel->keyCount(), 4);
    fKeys->change({change(1, 1), change(2, 2), change(4, 4)});
    for (const std::uint32_t id : {1U, 2U, 4U}) {
        QCOMPARE(text(*fModel, id, memoryviewer::ValueColumn), QString::number(id));
    }
    fKeys->remove({1, 2, 3, 4});
    QCOMPARE(fModel->rowCount(), 0);
}

void ModelTest::namesEmptySegments() {
    fKeys->add({key(1, "/A"), key(2, "B//C"), key(3, "")});
    QCOMPARE(paths(*fModel),
             QStringList({"(no name)=3", "(no name)/A=1", "B", "B/(no name)", "B/(no name)/C=2"}));
}

void ModelTest::boundsTheDepth() {
    std::string name;
    for (int i = 0; i < 100000; ++i) {
        name += "a/";
    }
    fKeys->add({key(1, name)});
    int depth = 0;
    for (QModelIndex at = fModel->indexOfKey(1); at.isValid(); at = at.parent()) {
        ++depth;
    }
    QCOMPARE(depth, memoryviewer::a_maxDepth);
    QCOMPARE(text(*fModel, 1, memoryviewer::NameColumn).size(), MemoryNode::a_maxNameLength + 1);
}

void ModelTest::showsDeclaredTypeUntilTheFirstValue() {
    fKeys->add({key(1, "A", KVValue::Type::Int)});
    QCOMPARE(text(*fModel, 1, memoryviewer::TypeColumn), QStringLiteral("int"));
    QCOMPARE(text(*fModel, 1, memoryviewer::ValueColumn), QString());
    fKeys->change({change(1, "x")});
    QCOMPARE(text(*fModel, 1, memoryviewer::TypeColumn), QStringLiteral("string"));
}

void ModelTest::showsNewValues() {
    fKeys->add({key(1, "A/B")});
    fKeys->change({change(1, 0.5)});
    QCOMPARE(text(*fModel, 1, memoryviewer::ValueColumn), QStringLiteral("0.5"));
    fKeys->change({change(1, KVValue(KVValue::List{KVValue(1), KVValue(2)}))});
    QCOMPARE(text(*fModel, 1, memoryviewer::ValueColumn), QStringLiteral("[1, 2]"));
    QCOMPARE(text(*fModel, 1, memoryviewer::TypeColumn), QStringLiteral("list"));
}

void ModelTest::alignsNumbersAndTextsApart() {
    fKeys->add({key(1, "A"), key(2, "B", KVValue::Type::String), key(3, "C", KVValue::Type::Bool)});
    const auto alignment = [&](std::uint32_t id, int column) {
        return fModel->indexOfKey(id, column).data(Qt::TextAlignmentRole).toInt() &
               Qt::AlignHorizontal_Mask;
    };
    QCOMPARE(alignment(1, memoryviewer::ValueColumn), int(Qt::AlignRight));
    QCOMPARE(alignment(2, memoryviewer::ValueColumn), int(Qt::AlignLeft));
    QCOMPARE(alignment(3, memoryviewer::ValueColumn), int(Qt::AlignRight));
    QCOMPARE(alignment(1, memoryviewer::NameColumn), int(Qt::AlignLeft));
    QCOMPARE(alignment(1, memoryviewer::RateColumn), int(Qt::AlignRight));
    QCOMPARE(alignment(1, memoryviewer::AgeColumn), int(Qt::AlignLeft));
}

void ModelTest::signalsOnlyRowsThatChanged() {
    fKeys->add({key(1, "A/1"), key(2, "A/2"), key(3, "A/3"), key(4, "B")});
    fKeys->change({change(1, 1.0), change(2, 2.0), change(3, 3.0), change(4, 4.0)});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({change(2, 2.5)});
    QCOMPARE(ranges(changed), QStringList({"A: 1-1, columns 1-1"}));
}

void ModelTest::mergesChangedRowsIntoRuns() {
    std::vector<KVKeyInfo> keys;
    std::vector<MergedChange> first;
    for (std::uint32_t id = 0; id < 8; ++id) {
        keys.push_back(key(id, "A/" + std::to_string(id)));
        first.push_back(change(id, 0.0));
    }
    keys.push_back(key(20, "B/0"));
    first.push_back(change(20, 0.0));
    fKeys->add(keys);
    fKeys->change(first);
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({change(5, 1.0), change(20, 1.0), change(1, 1.0), change(0, 1.0), change(2, 1.0),
                   change(6, 1.0)});
    QCOMPARE(ranges(changed),
             QStringList({"A: 0-2, columns 1-1", "A: 5-6, columns 1-1", "B: 0-0, columns 1-1"}));
}

void ModelTest::signalsAChangedType() {
    fKeys->add({key(1, "A")});
    fKeys->change({change(1, 1.0)});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({change(1, "text")});
    QCOMPARE(ranges(changed), QStringList({": 0-0, columns 1-3"}));
}

void ModelTest::signalsNothingForAnEqualValue() {
    fKeys->add({key(1, "A")});
    fKeys->change({change(1, 1.0)});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({change(1, 1.0)});
    QCOMPARE(changed.size(), 0);
}

void ModelTest::passesOverUnknownKeys() {
    fKeys->add({key(1, "A")});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->change({change(99, 1.0)});
    fKeys->remove({98});
    QCOMPARE(changed.size(), 0);
    QCOMPARE(paths(*fModel), QStringList({"A=1"}));
}

void ModelTest::removesKeysAndEmptyBranches() {
    fKeys->add({key(1, "A/B/C"), key(2, "A/B/D"), key(3, "A/E"), key(4, "F")});
    fKeys->remove({1});
    QCOMPARE(paths(*fModel), QStringList({"A", "A/B", "A/B/D=2", "A/E=3", "F=4"}));
    fKeys->remove({2});
    QCOMPARE(paths(*fModel), QStringList({"A", "A/E=3", "F=4"}));
    fKeys->remove({3, 3});
    QCOMPARE(paths(*fModel), QStringList({"F=4"}));
    QCOMPARE(fModel->keyCount(), 1);
}

void ModelTest::keepsABranchWhoseKeyIsRemoved() {
    fKeys->add({key(1, "A"), key(2, "A/B")});
    fKeys->change({change(1, 1.0)});
    QSignalSpy changed(fModel.get(), &QAbstractItemModel::dataChanged);
    fKeys->remove({1});
    QCOMPARE(paths(*fModel), QStringList({"A", "A/B=2"}));
    QCOMPARE(ranges(changed), QStringList({": 0-0, columns 1-5"}));
    QCOMPARE(fModel->index(0, memoryviewer::ValueColumn).data().toString(), QString());
}

void ModelTest::keepsAKeyWhoseBranchIsRemoved() {
    fKeys->add({key(1, "A"), key(2, "A/B")});
    fKeys->remove({2});
    QCOMPARE(paths(*fModel), QStringList({"A=1"}));
    fKeys->remove({1});
    QCOMPARE(fModel->rowCount(), 0);
}

void ModelTest::removesManyKeysInRuns() {
    std::vector<KVKeyInfo> keys;
    std::vector<std::uint32_t> ids;
    for (std::uint32_t id = 0; id < 1000; ++id) {
        keys.push_back(key(id, "Group/" + std::to_string(id)));
        if (id < 400 || id >= 500) {
            ids.push_back(id);
        }
    }
    fKeys->add(keys);
    QSignalSpy removed(fModel.get(), &QAbstractItemModel::rowsRemoved);
    fKeys->remove(ids);
    QCOMPARE(removed.size(), 2);
    QCOMPARE(fModel->keyCount(), 100);
    QCOMPARE(fModel->indexOfKey(400).row(), 0);
    QCOMPARE(fModel->indexOfKey(499).row(), 99);
}

void ModelTest::takesARemovedNameBackUnderANewIdentifier() {
    fKeys->add({key(1, "A/B"), key(2, "A/C")});
    fKeys->change({change(1, 1.0)});
    fKeys->remove({1});
    fKeys->add({key(3, "A/B")});
    QCOMPARE(paths(*fModel), QStringList({"A", "A/B=3", "A/C=2"}));
    QCOMPARE(text(*fModel, 3, memoryviewer::ValueColumn), QString());
}

void ModelTest::neverResets() {
    int upheavals = 0;
    connect(fModel.get(), &QAbstractItemModel::modelReset, this, [&] { ++upheavals; });
    connect(fModel.get(), &QAbstractItemModel::layoutChanged, this, [&] { ++upheavals; });
    fKeys->add({key(1, "A/B"), key(2, "A")});
    fKeys->change({change(1, 1.0)});
    fKeys->add({key(3, "A/C"), key(4, "0")});
    fKeys->remove({1, 2, 3, 4});
    QCOMPARE(upheavals, 0);
}

void ModelTest::showsRobotTextsAsPlainText() {
    KVKeyInfo hostile = key(1, "<img src=x>\n");
    hostile.fUnit = "<b>\x1b";
    hostile.fDescription = "<script>\r";
    fKeys->add({hostile});
    fKeys->change({change(1, "<h1>big</h1>\n")});
    QCOMPARE(text(*fModel, 1, memoryviewer::NameColumn), QStringLiteral(R"(<img src=x>\n)"));
    QCOMPARE(text(*fModel, 1, memoryviewer::ValueColumn), QStringLiteral(R"(<h1>big</h1>\n)"));
    QCOMPARE(text(*fModel, 1, memoryviewer::UnitColumn), QStringLiteral(R"(<b>\x1b)"));

    const QString toolTip = fModel->indexOfKey(1).data(Qt::ToolTipRole).toString();
    for (const char* escaped : {"&lt;img src=x&gt;", "&lt;b&gt;", "&lt;script&gt;", "&lt;h1&gt;"}) {
        QVERIFY2(toolTip.contains(QLatin1String(escaped)), qPrintable(toolTip));
    }
    QVERIFY(Qt::mightBeRichText(toolTip));
    for (const char* raw : {"<img", "<script", "<h1"}) {
        QVERIFY2(!toolTip.contains(QLatin1String(raw)), qPrintable(toolTip));
    }
}

void ModelTest::tellsTheRangeOfAKeyThatCanBeEdited() {
    KVKeyInfo volume = key(1, "Volume");
    volume.fUnit = "%";
    volume.fRange = KVRange{0, 100};
    KVKeyInfo free = key(2, "Free");
    volume.fWritable = free.fWritable = true;
    fKeys->add({volume, free});
    fKeys->change({change(1, 60), change(2, 60)});
    const auto toolTip = [this](std::uint32_t id) {
        return fModel->indexOfKey(id).data(Qt::ToolTipRole).toString();
    };
    QVERIFY2(toolTip(1).contains(QLatin1String("<br/>Accepts: 0 to 100 %<br/>")),
             qPrintable(toolTip(1)));
    QVERIFY2(!toolTip(2).contains(QLatin1String("Accepts")), qPrintable(toolTip(2)));
}

void ModelTest::survivesAnyOrderOfChanges() {
    std::mt19937 random(4711);
    const auto below = [&random](std::uint32_t limit) {
        return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random);
    };
    std::map<std::uint32_t, std::string> present;
    std::uint32_t nextId = 1;
    for (int round = 0; round < 120; ++round) {
        std::vector<std::uint32_t> removed;
        for (const auto& [id, name] : present) {
            if (below(4) == 0) {
                removed.push_back(id);
            }
        }
        std::shuffle(removed.begin(), removed.end(), random);
        std::vector<KVKeyInfo> added;
        for (std::uint32_t count = below(12); count > 0; --count) {
            std::string name = std::to_string(below(4));
            for (std::uint32_t depth = below(4); depth > 0; --depth) {
                name += "/" + std::to_string(below(4));
            }
            added.push_back(key(nextId++, name));
        }
        std::vector<MergedChange> changes;
        changes.reserve(present.size());
        for (const auto& [id, name] : present) {
            changes.push_back(change(id, static_cast<int>(below(3))));
        }
        fKeys->change(changes);
        fKeys->remove(removed);
        fKeys->add(added);

        for (const std::uint32_t id : removed) {
            present.erase(id);
        }
        for (const KVKeyInfo& info : added) {
            present[info.fId] = info.fName;
        }
        QCOMPARE(fModel->keyCount(), static_cast<int>(present.size()));
        for (const auto& [id, name] : present) {
            QStringList segments;
            for (QModelIndex at = fModel->indexOfKey(id); at.isValid(); at = at.parent()) {
                segments.prepend(at.data().toString());
            }
            QCOMPARE(segments.join(QLatin1Char('/')), QString::fromStdString(name));
        }
    }
    std::vector<std::uint32_t> rest;
    rest.reserve(present.size());
    for (const auto& [id, name] : present) {
        rest.push_back(id);
    }
    fKeys->remove(rest);
    QCOMPARE(fModel->rowCount(), 0);
}

OBVISTA_QTEST_MAIN(ModelTest)
#include "model_test.moc"
