#include "editing/value_delegate.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QToolTip>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>
#include <vector>

using namespace memoryviewer;

namespace {

/** Values as in a model of the viewer, and a record of the entered ones. */
class Values : public ValueSource {
  public:
    std::optional<KVValue> editableValue(const QModelIndex& index) const override {
        return fIsReadOnly ? std::nullopt
                           : std::optional<KVValue>(fValues[std::size_t(index.row())]);
    }
    void enter(const QModelIndex& index, const KVValue& before, const KVValue& value) override {
        fEntered.push_back({index.row(), before, value});
    }
    ValueLook look(const QModelIndex& index) const override {
        return index.row() == 0 ? ValueLook{fMark, fWritten} : ValueLook();
    }

    struct Entered {
        int fRow;
        KVValue fBefore;
        KVValue fValue;
    };
    std::vector<KVValue> fValues{KVValue(0.5), KVValue(true), KVValue(KVValue::List{1})};
    std::vector<Entered> fEntered;
    ValueMark fMark = ValueMark::None;
    std::optional<QString> fWritten;
    bool fIsReadOnly = false;
};

}  // namespace

class ValueDelegateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void writesOnEnter();
    void writesWhenTheFieldIsLeft();
    void givesUpOnEscape();
    void writesNothingThatIsUnchanged();
    void isNotTouchedByLiveUpdates();
    void staysOpenWithASentenceWhenItIsNoValue();
    void givesUpWhatIsNoValueWhenItIsLeft();
    void offersAChoiceOfBools();
    void opensNoFieldForWhatCannotBeWritten();
    void showsMarks_data();
    void showsMarks();
    void saysWhatBecameOfAWrite();

  private:
    QLineEdit* xOpen(int row = 0);
    QColor xColourOf(int row);
    QString xShownText();

    Values fValues;
    std::unique_ptr<QStandardItemModel> fModel;
    std::unique_ptr<QTreeView> fView;
    ValueDelegate* fDelegate = nullptr;
};

void ValueDelegateTest::init() {
    fValues = Values();
    fView = std::make_unique<QTreeView>();
    fModel = std::make_unique<QStandardItemModel>(3, 1);
    fModel->setData(fModel->index(0, 0), QStringLiteral("0.5"));
    fView->setModel(fModel.get());
    fView->setEditTriggers(QAbstractItemView::EditKeyPressed);
    fDelegate = new ValueDelegate(&fValues, fView.get());
    fView->setItemDelegate(fDelegate);
    fView->show();
    QVERIFY(obvista_test::waitForActive(fView.get()));
}

QLineEdit* ValueDelegateTest::xOpen(int row) {
    fView->setFocus();
    fView->setCurrentIndex(fModel->index(row, 0));
    QTest::keyClick(fView.get(), Qt::Key_F2);
    return fView->findChild<QLineEdit*>(QStringLiteral("valueEditor"));
}

QColor ValueDelegateTest::xColourOf(int row) {
    const QRect cell = fView->visualRect(fModel->index(row, 0));
    return fView->viewport()->grab().toImage().pixelColor(cell.right() - 2, cell.center().y());
}

/** Returns the text painted in the first row. */
QString ValueDelegateTest::xShownText() {
    class Painted : public ValueDelegate {
      public:
        using ValueDelegate::initStyleOption;
        using ValueDelegate::ValueDelegate;
    };
    QStyleOptionViewItem option;
    Painted(&fValues).initStyleOption(&option, fModel->index(0, 0));
    return option.text;
}

void ValueDelegateTest::writesOnEnter() {
    QLineEdit* field = xOpen();
    QVERIFY(field != nullptr);
    QCOMPARE(field->text(), QStringLiteral("0.5"));
    QCOMPARE(field->selectedText(), field->text());
    QTest::keyClicks(field, QStringLiteral("-1.25"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fValues.fEntered.size(), std::size_t(1));
    QVERIFY(fValues.fEntered[0].fBefore == KVValue(0.5));
    QVERIFY(fValues.fEntered[0].fValue == KVValue(-1.25));
    QTRY_VERIFY(fView->findChild<QLineEdit*>() == nullptr);
}

void ValueDelegateTest::writesWhenTheFieldIsLeft() {
    QTest::keyClicks(xOpen(), QStringLiteral("2"));
    fView->setFocus();
    QTRY_COMPARE(fValues.fEntered.size(), std::size_t(1));
    QVERIFY(fValues.fEntered[0].fValue == KVValue(2.0));
}

void ValueDelegateTest::givesUpOnEscape() {
    QLineEdit* field = xOpen();
    QTest::keyClicks(field, QStringLiteral("2"));
    QTest::keyClick(field, Qt::Key_Escape);
    QTRY_VERIFY(fView->findChild<QLineEdit*>() == nullptr);
    QVERIFY(fValues.fEntered.empty());
}

void ValueDelegateTest::writesNothingThatIsUnchanged() {
    QTest::keyClick(xOpen(), Qt::Key_Return);
    QTRY_VERIFY(fView->findChild<QLineEdit*>() == nullptr);
    QVERIFY(fValues.fEntered.empty());
}

void ValueDelegateTest::isNotTouchedByLiveUpdates() {
    QLineEdit* field = xOpen();
    QTest::keyClicks(field, QStringLiteral("7"));
    fValues.fValues[0] = KVValue(99.0);
    fModel->setData(fModel->index(0, 0), QStringLiteral("99"));
    QCOMPARE(field->text(), QStringLiteral("7"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fValues.fEntered.size(), std::size_t(1));
    QVERIFY(fValues.fEntered[0].fBefore == KVValue(0.5));
}

void ValueDelegateTest::staysOpenWithASentenceWhenItIsNoValue() {
    QLineEdit* field = xOpen();
    QTest::keyClicks(field, QStringLiteral("0,7"));
    QTest::keyClick(field, Qt::Key_Return);
    QVERIFY(field->isVisible());
    QVERIFY(QToolTip::text().contains(QStringLiteral("decimal point")));
    QVERIFY(field->accessibleDescription().contains(QStringLiteral("decimal point")));
    QVERIFY(fValues.fEntered.empty());
    field->clear();
    QTest::keyClicks(field, QStringLiteral("0.7"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fValues.fEntered.size(), std::size_t(1));
}

void ValueDelegateTest::givesUpWhatIsNoValueWhenItIsLeft() {
    QSignalSpy refused(fDelegate, &ValueDelegate::entryRefused);
    QTest::keyClicks(xOpen(), QStringLiteral("much"));
    fView->setFocus();
    QTRY_COMPARE(refused.size(), 1);
    QVERIFY(fValues.fEntered.empty());
}

void ValueDelegateTest::offersAChoiceOfBools() {
    xOpen(1);
    auto* choice = fView->findChild<QComboBox*>(QStringLiteral("valueEditor"));
    QVERIFY(choice != nullptr);
    QCOMPARE(choice->currentText(), QStringLiteral("true"));
    QTest::keyClick(choice, Qt::Key_Up);
    QTest::keyClick(choice, Qt::Key_Return);
    QTRY_COMPARE(fValues.fEntered.size(), std::size_t(1));
    QVERIFY(fValues.fEntered[0].fValue == KVValue(false));
}

void ValueDelegateTest::opensNoFieldForWhatCannotBeWritten() {
    QVERIFY(xOpen(2) == nullptr);
    fValues.fIsReadOnly = true;
    QVERIFY(xOpen(0) == nullptr);
}

void ValueDelegateTest::showsMarks_data() {
    QTest::addColumn<int>("chosenRow");
    QTest::newRow("chosen") << 0;
    QTest::newRow("not chosen") << 2;
}

void ValueDelegateTest::showsMarks() {
    QFETCH(int, chosenRow);
    fView->setCurrentIndex(fModel->index(chosenRow, 0));
    const QColor plain = xColourOf(0);
    for (const ValueMark mark : {ValueMark::Changed, ValueMark::Accepted, ValueMark::Refused}) {
        fValues.fMark = mark;
        QVERIFY(xColourOf(0) != plain);
    }
    fValues.fMark = ValueMark::None;
    QCOMPARE(xColourOf(0), plain);
}

void ValueDelegateTest::saysWhatBecameOfAWrite() {
    QCOMPARE(xShownText(), QStringLiteral("0.5"));
    fValues.fWritten = QStringLiteral("0.75");
    fValues.fMark = ValueMark::Pending;
    QCOMPARE(xShownText(), QString::fromUtf8("0.75 (being written\u2026)"));
    fValues.fMark = ValueMark::Accepted;
    QCOMPARE(xShownText(), QStringLiteral("0.75 (written)"));
    fValues.fWritten.reset();
    fValues.fMark = ValueMark::Refused;
    QCOMPARE(xShownText(), QStringLiteral("0.5 (not written)"));
}

OBVISTA_QTEST_MAIN(ValueDelegateTest)
#include "value_delegate_test.moc"
