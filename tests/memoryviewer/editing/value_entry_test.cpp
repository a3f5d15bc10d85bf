#include "editing/value_entry.h"

#include <QLocale>
#include <QtTest>
#include <qt_test_main.h>

#include <cmath>
#include <limits>

using namespace memoryviewer;

Q_DECLARE_METATYPE(KVValue)
Q_DECLARE_METATYPE(KVValue::Type)

class ValueEntryTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void readsValues_data();
    void readsValues();
    void refusesWhatIsNoValue_data();
    void refusesWhatIsNoValue();
    void readsWhatItWrites();
};

/** Sets a locale with a decimal comma. */
void ValueEntryTest::init() {
    QLocale::setDefault(QLocale(QLocale::German));
}

void ValueEntryTest::readsValues_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<KVValue>("value");
    QTest::newRow("float") << "-0.5" << KVValue(-0.5);
    QTest::newRow("float with blanks") << "  2.25 " << KVValue(2.25);
    QTest::newRow("exponent") << "1e-3" << KVValue(1e-3);
    QTest::newRow("whole float") << "3" << KVValue(3.0);
    QTest::newRow("not a number") << "NaN" << KVValue(std::nan(""));
    QTest::newRow("infinity") << "-inf" << KVValue(-std::numeric_limits<double>::infinity());
    QTest::newRow("int") << "-12" << KVValue(-12);
    QTest::newRow("largest int") << "9223372036854775807"
                                 << KVValue(std::numeric_limits<std::int64_t>::max());
    QTest::newRow("true") << "True" << KVValue(true);
    QTest::newRow("false") << "0" << KVValue(false);
    QTest::newRow("text") << " a, \"b\" " << KVValue(" a, \"b\" ");
    QTest::newRow("no text") << "" << KVValue("");
}

void ValueEntryTest::readsValues() {
    QFETCH(QString, text);
    QFETCH(KVValue, value);
    const Entry entry = readEntry(text, value.type());
    QVERIFY(entry.fValue.has_value());
    QVERIFY(*entry.fValue == value);
    QCOMPARE(entry.fProblem, QString());
}

void ValueEntryTest::refusesWhatIsNoValue_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<KVValue::Type>("type");
    QTest::addColumn<QString>("problem");
    const QString comma = QStringLiteral("Write numbers with a decimal point and without commas.");
    const QString number = QStringLiteral("Enter a number, for instance -0.5 or 1e-3.");
    const QString whole = QStringLiteral("Enter a whole number, for instance -12.");
    using Type = KVValue::Type;
    QTest::newRow("decimal comma") << "0,5" << Type::Float << comma;
    QTest::newRow("thousands") << "1,000" << Type::Float << comma;
    QTest::newRow("thousands of an int") << "1,000" << Type::Int << comma;
    QTest::newRow("nothing") << "" << Type::Float << number;
    QTest::newRow("a word") << "much" << Type::Float << number;
    QTest::newRow("two points") << "1.000.000" << Type::Float << number;
    QTest::newRow("too large a float") << "1e999" << Type::Float << "The number is too large.";
    QTest::newRow("no whole number") << "1.5" << Type::Int << whole;
    QTest::newRow("nothing for an int") << " " << Type::Int << whole;
    QTest::newRow("too large an int") << "9223372036854775808" << Type::Int
                                      << "The number is too large: a whole number has 64 bits.";
    QTest::newRow("no bool") << "yes" << Type::Bool << "Enter true or false.";
    QTest::newRow("a list") << "[1]" << Type::List << "Values of this type cannot be entered.";
}

void ValueEntryTest::refusesWhatIsNoValue() {
    QFETCH(QString, text);
    QFETCH(KVValue::Type, type);
    QFETCH(QString, problem);
    const Entry entry = readEntry(text, type);
    QVERIFY(!entry.fValue.has_value());
    QCOMPARE(entry.fProblem, problem);
}

void ValueEntryTest::readsWhatItWrites() {
    for (const KVValue& value :
         {KVValue(0.1), KVValue(1.0 / 3), KVValue(-1e300), KVValue(5e-324), KVValue(42),
          KVValue(true), KVValue("text \\ with \x1b and \xC3\xA4")}) {
        QVERIFY(isEnterable(value.type()));
        QVERIFY(*readEntry(entryText(value), value.type()).fValue == value);
    }
    QVERIFY(!isEnterable(KVValue::Type::Map));
    QVERIFY(!isEnterable(KVValue::Type::Nothing));
}

OBVISTA_QTEST_MAIN(ValueEntryTest)
#include "value_entry_test.moc"
