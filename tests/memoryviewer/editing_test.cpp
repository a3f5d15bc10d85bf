#include "robot_window.h"

#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QToolTip>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <held_key.h>
#include <memory>

using namespace obvista_test;

namespace {

constexpr char a_setting[] = "Joint/HeadYaw/Stiffness";
/** A writable key whose value changes by itself while the head looks around. */
constexpr char a_moving[] = "Joint/HeadYaw/Target";

}  // namespace

/** Tests editing in the viewer's window, with the answers of a robot. */
class EditingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void isNotTouchedByValuesThatComeMeanwhile();
    void writesWhenTheFieldIsLeft();
    void showsWhatIsBeingWritten();
    void showsTheRobotsReasonAndTheValueBefore();
    void undoesTheLastWrite();
    void undoesOneWriteForAHeldKey();
    void readsNumbersWithAPointInEveryLocale_data();
    void readsNumbersWithAPointInEveryLocale();
    void choosesBools();
    void saysThatALostRobotTakesNothing();
    void copiesNameValueAndRow_data();
    void copiesNameValueAndRow();
    void copiesAndEditsInTheWatchList();
    void marksWhatCanBeWritten();

  private:
    QLineEdit* xOpenField(const char* key);
    void xEnter(const char* key, const QString& text);
    /** Returns true if the cell of a value is tinted with a colour. */
    bool xIsTinted(const char* key, Qt::GlobalColor colour);

    std::unique_ptr<RobotWindow> fWindow;
};

void EditingTest::init() {
    QSettings().clear();
    fWindow = std::make_unique<RobotWindow>();
    QVERIFY(fWindow->open());
}

void EditingTest::cleanup() {
    fWindow.reset();
    QLocale::setDefault(QLocale::c());
}

QLineEdit* EditingTest::xOpenField(const char* key) {
    if (!waitFor([&] { return !fWindow->value(key).isEmpty(); })) {
        return nullptr;
    }
    fWindow->choose(key);
    QTest::keyClick(fWindow->tree(), Qt::Key_F2);
    return fWindow->tree()->viewport()->findChild<QLineEdit*>(QStringLiteral("valueEditor"));
}

void EditingTest::xEnter(const char* key, const QString& text) {
    QLineEdit* field = xOpenField(key);
    QVERIFY(field != nullptr);
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
}

bool EditingTest::xIsTinted(const char* key, Qt::GlobalColor colour) {
    fWindow->tree()->clearSelection();
    const QRect cell = fWindow->tree()->visualRect(fWindow->cell(key));
    const QImage picture = fWindow->tree()->viewport()->grab().toImage();
    const QColor pixel = picture.pixelColor(cell.left() + 2, cell.center().y());
    const int other = std::max(colour == Qt::red ? pixel.green() : pixel.red(), pixel.blue());
    return (colour == Qt::red ? pixel.red() : pixel.green()) > other + 10;
}

void EditingTest::isNotTouchedByValuesThatComeMeanwhile() {
    fWindow->setRate(50);
    QLineEdit* field = xOpenField(a_moving);
    QVERIFY(field != nullptr);
    QTest::keyClicks(field, QStringLiteral("0.5"));
    QTest::keyClick(field, Qt::Key_Left);
    const int cursor = field->cursorPosition();
    const QModelIndex cell = fWindow->cell(a_moving);
    int changes = 0;
    QString before = cell.data().toString();
    connect(cell.model(), &QAbstractItemModel::dataChanged, field, [&] {
        const QString now = cell.data().toString();
        changes += now != before ? 1 : 0;
        before = now;
    });
    QTRY_VERIFY(changes >= 20);
    QCOMPARE(field->text(), QStringLiteral("0.5"));
    QCOMPARE(field->cursorPosition(), cursor);
    QVERIFY(field->hasFocus());
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fWindow->value(a_moving), QStringLiteral("0.5"));
}

void EditingTest::writesWhenTheFieldIsLeft() {
    QLineEdit* field = xOpenField(a_setting);
    QVERIFY(field != nullptr);
    QTest::keyClicks(field, QStringLiteral("0.375"));
    QTest::mouseClick(fWindow->find<QLineEdit>("memoryFilter"), Qt::LeftButton);
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.375"));
}

void EditingTest::showsWhatIsBeingWritten() {
    QTRY_VERIFY(!fWindow->value(a_setting).isEmpty());
    const QString before = fWindow->value(a_setting);
    fWindow->robot().suspend();
    xEnter(a_setting, QStringLiteral("0.625"));
    // The robot does not answer, but the window responds.
    QVERIFY(!xIsTinted(a_setting, Qt::green));
    QCOMPARE(fWindow->value(a_setting), before);
    fWindow->robot().resume();
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.625"));
    QTRY_VERIFY(xIsTinted(a_setting, Qt::green));
    QTRY_VERIFY(!xIsTinted(a_setting, Qt::green));
}

void EditingTest::showsTheRobotsReasonAndTheValueBefore() {
    QTRY_VERIFY(!fWindow->value(a_setting).isEmpty());
    const QString before = fWindow->value(a_setting);
    xEnter(a_setting, QStringLiteral("7"));
    QTRY_VERIFY2(noticeOf(fWindow->viewer()).contains(QLatin1String("0 to 1")),
                 qPrintable(noticeOf(fWindow->viewer())));
    QVERIFY(noticeOf(fWindow->viewer())
                .startsWith(QLatin1String("Joint/HeadYaw/Stiffness keeps its value: ")));
    QCOMPARE(fWindow->value(a_setting), before);
    QVERIFY(xIsTinted(a_setting, Qt::red));
    QVERIFY(xOpenField("Battery/Cycles") == nullptr);  // not writable
}

void EditingTest::undoesTheLastWrite() {
    QTRY_VERIFY(!fWindow->value(a_setting).isEmpty());
    const QString before = fWindow->value(a_setting);
    xEnter(a_setting, QStringLiteral("0.25"));
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.25"));
    xEnter(a_setting, QStringLiteral("9"));
    QTRY_VERIFY(noticeOf(fWindow->viewer()).contains(QLatin1String("keeps its value")));
    // A refused write cannot be undone.
    fWindow->tree()->setFocus();
    QTest::keyClick(fWindow->tree(), Qt::Key_Z, Qt::ControlModifier);
    QTRY_COMPARE(fWindow->value(a_setting), before);
    QTest::keyClick(fWindow->tree(), Qt::Key_Z, Qt::ControlModifier);
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.25"));
}

void EditingTest::undoesOneWriteForAHeldKey() {
    QTRY_VERIFY(!fWindow->value(a_setting).isEmpty());
    const QString before = fWindow->value(a_setting);
    xEnter(a_setting, QStringLiteral("0.25"));
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.25"));
    fWindow->tree()->setFocus();
    QTest::keyPress(fWindow->tree(), Qt::Key_Z, Qt::ControlModifier);
    QTRY_COMPARE(fWindow->value(a_setting), before);
    repeatKey(Qt::Key_Z, Qt::ControlModifier);
    // Writes are carried out in order: an unwanted one would be before this one.
    xEnter("Audio/Volume", QStringLiteral("35"));
    QTRY_COMPARE(fWindow->value("Audio/Volume"), QStringLiteral("35"));
    QCOMPARE(fWindow->value(a_setting), before);
}

void EditingTest::readsNumbersWithAPointInEveryLocale_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany);
    QTest::newRow("French") << QLocale(QLocale::French, QLocale::France);
    QTest::newRow("Arabic") << QLocale(QLocale::Arabic, QLocale::Egypt);
}

void EditingTest::readsNumbersWithAPointInEveryLocale() {
    QFETCH(QLocale, locale);
    QVERIFY(locale.toString(0.5) != QStringLiteral("0.5"));
    QLocale::setDefault(locale);
    QVERIFY(fWindow->open());
    QTRY_VERIFY(!fWindow->value(a_setting).isEmpty());
    const QString before = fWindow->value(a_setting);
    QLineEdit* field = xOpenField(a_setting);
    QVERIFY(field != nullptr);
    QTest::keyClicks(field, QStringLiteral("0,125"));
    QTest::keyClick(field, Qt::Key_Return);
    QVERIFY(field->isVisible());
    QVERIFY(QToolTip::text().contains(QLatin1String("decimal point")));
    QCOMPARE(fWindow->value(a_setting), before);
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("0.125"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.125"));
    QCOMPARE(xOpenField(a_setting)->text(), QStringLiteral("0.125"));
}

void EditingTest::choosesBools() {
    QTRY_COMPARE(fWindow->value("Motion/HeadIdle"), QStringLiteral("true"));
    fWindow->choose("Motion/HeadIdle");
    QTest::keyClick(fWindow->tree(), Qt::Key_F2);
    auto* choice =
        fWindow->tree()->viewport()->findChild<QComboBox*>(QStringLiteral("valueEditor"));
    QVERIFY(choice != nullptr);
    QTest::keyClick(choice, Qt::Key_Up);
    QTest::keyClick(choice, Qt::Key_Return);
    QTRY_COMPARE(fWindow->value("Motion/HeadIdle"), QStringLiteral("false"));
}

void EditingTest::saysThatALostRobotTakesNothing() {
    QLineEdit* field = xOpenField(a_setting);
    QVERIFY(field != nullptr);
    QTest::keyClicks(field, QStringLiteral("0.25"));
    fWindow->robot().kill();
    QTRY_VERIFY(statusOf(fWindow->viewer()).contains(QLatin1String("robot lost")));
    const QString before = fWindow->value(a_setting);
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_VERIFY(xIsTinted(a_setting, Qt::red));
    QCOMPARE(fWindow->value(a_setting), before);
}

void EditingTest::copiesNameValueAndRow_data() {
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("expected");
    QTest::newRow("name") << "Copy name"
                          << "Joint/HeadYaw/Stiffness";
    QTest::newRow("value") << "Copy value"
                           << "0.125";
    QTest::newRow("row") << "Copy row"
                         << "Joint/HeadYaw/Stiffness\t0.125\t\tfloat";
}

void EditingTest::copiesNameValueAndRow() {
    QFETCH(QString, entry);
    QFETCH(QString, expected);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    xEnter(a_setting, QStringLiteral("0.125"));
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.125"));
    fWindow->choose(a_setting);
    fWindow->chooseFromRowMenu(fWindow->tree(), entry);
    QTRY_COMPARE(QGuiApplication::clipboard()->text(), expected);
}

void EditingTest::copiesAndEditsInTheWatchList() {
    xEnter(a_setting, QStringLiteral("0.25"));
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.25"));
    fWindow->choose(a_setting);
    QTest::keyClick(fWindow->tree(), Qt::Key_D, Qt::ControlModifier);
    auto* watched = fWindow->find<QTreeView>("memoryWatch");
    QTRY_COMPARE(watched->model()->rowCount(), 1);
    watched->setFocus();
    watched->setCurrentIndex(watched->model()->index(0, 0));
    QTest::keyClick(watched, Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(QGuiApplication::clipboard()->text(),
                 QStringLiteral("Joint/HeadYaw/Stiffness\t0.25\t\tfloat"));
    fWindow->chooseFromRowMenu(watched, QStringLiteral("Copy value"));
    QTRY_COMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("0.25"));
    fWindow->chooseFromRowMenu(watched, QStringLiteral("Edit value"));
    QPointer<QLineEdit> field;
    QTRY_VERIFY((field = watched->viewport()->findChild<QLineEdit*>(
                     QStringLiteral("valueEditor"))) != nullptr &&
                field->hasFocus());
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("0.375"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(fWindow->value(a_setting), QStringLiteral("0.375"));
}

void EditingTest::marksWhatCanBeWritten() {
    for (const char* key : {"Joint/HeadYaw/Target", "Battery/Charge"}) {
        const bool isWritable = QLatin1String(key) != QLatin1String("Battery/Charge");
        QTRY_VERIFY(!fWindow->value(key).isEmpty());
        const QModelIndex cell = fWindow->cell(key);
        QCOMPARE(cell.data(Qt::AccessibleTextRole).toString(),
                 isWritable ? fWindow->value(key) + QStringLiteral(", writable") : QString());
        QCOMPARE(cell.data(Qt::ToolTipRole).toString().contains(QLatin1String("Writable")),
                 isWritable);
        // Numbers are right-aligned; the left side has only the highlight.
        for (const bool isChosen : {false, true}) {
            fWindow->tree()->clearSelection();
            if (isChosen) {
                fWindow->choose(key);
            }
            const QRect row = fWindow->tree()->visualRect(fWindow->cell(key));
            const QRect mark(row.left() + 2, row.top() + 2, row.height() - 4, row.height() - 4);
            const QImage picture = fWindow->tree()->viewport()->grab(mark).toImage();
            int marked = 0;
            for (int at = 0; at < picture.width() * picture.height(); ++at) {
                const QColor pixel = picture.pixelColor(at % picture.width(), at / picture.width());
                const int difference = pixel.lightness() - picture.pixelColor(0, 0).lightness();
                marked += std::abs(difference) > 40 ? 1 : 0;
            }
            QVERIFY2((marked > 10) == isWritable, key);
        }
    }
}

OBVISTA_QTEST_MAIN(EditingTest)
#include "editing_test.moc"
