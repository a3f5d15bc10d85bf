#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/value_text.h>

#include <QLabel>
#include <QLocale>
#include <QtTest>
#include <qt_test_main.h>

#include <array>
#include <binary_value.h>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

using obvista::clockText;
using obvista::countText;
using obvista::exactValueText;
using obvista::plainText;
using obvista::pluralOf;
using obvista::sizeText;
using obvista::valueText;
using obvista_test::binaryValue;

Q_DECLARE_METATYPE(KVValue)

namespace {

KVValue nestedList(int depth) {
    KVValue value(1);
    for (int i = 0; i < depth; ++i) {
        value = KVValue(KVValue::List{value});
    }
    return value;
}

}  // namespace

class ValueTextTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsEachType_data();
    void showsEachType();
    void showsNumbersWithAPointInEveryLocale();
    void groupsTheDigitsOfCounts();
    void showsDurationsAsAClock();
    void showsSizesInDecimalUnits();
    void exactTextTellsNeighboursApart();
    void showsMarkupAsItStands();
    void makesControlCharactersVisible();
    void makesCharactersThatChangeDirectionVisible();
    void escapesWhatQtCallsInvisible();
    void keepsOtherScriptsAndPictures();
    void replacesBytesThatAreNotUtf8();
    void boundsTheLength();
    void doesNotSplitACharacterAtTheBound();
    void isNotSlowedDownByAHugeText();
    void boundsListsInLengthAndDepth();
    void keepsAUnitBesideItsNumber_data();
    void keepsAUnitBesideItsNumber();
};

void ValueTextTest::showsEachType_data() {
    QTest::addColumn<KVValue>("value");
    QTest::addColumn<QString>("text");
    const double infinity = std::numeric_limits<double>::infinity();
    const KVValue::List list{KVValue(1), KVValue(2.5), KVValue("a \"b\" \\"), KVValue()};
    const KVValue::Map map{{"b", KVValue(true)}, {"a", KVValue(KVValue::List{})}};

    QTest::newRow("nothing") << KVValue() << QString();
    QTest::newRow("true") << KVValue(true) << "true";
    QTest::newRow("false") << KVValue(false) << "false";
    QTest::newRow("int") << KVValue(-42) << "-42";
    QTest::newRow("largest int") << KVValue(std::numeric_limits<std::int64_t>::max())
                                 << "9223372036854775807";
    QTest::newRow("whole float") << KVValue(3.0) << "3";
    QTest::newRow("float") << KVValue(-0.25) << "-0.25";
    QTest::newRow("single precision") << KVValue(0.1F) << "0.1";
    QTest::newRow("long float") << KVValue(3.14159265358979) << "3.14159";
    QTest::newRow("small float") << KVValue(1.5e-7) << "1.5e-07";
    QTest::newRow("float above a million") << KVValue(1234567.25) << "1234567";
    QTest::newRow("float just below a million") << KVValue(999999.7) << "999999.7";
    QTest::newRow("float of 15 digits") << KVValue(123456789012345.0) << "123456789012345";
    QTest::newRow("large float") << KVValue(1.5e300) << "1.5e+300";
    QTest::newRow("not a number") << KVValue(std::nan("")) << "NaN";
    QTest::newRow("infinity") << KVValue(infinity) << "inf";
    QTest::newRow("minus infinity") << KVValue(-infinity) << "-inf";
    QTest::newRow("string") << KVValue("standing") << "standing";
    QTest::newRow("list") << KVValue(list) << R"([1, 2.5, "a \"b\" \\", nothing])";
    QTest::newRow("map") << KVValue(map) << R"({"a": [], "b": true})";
    QTest::newRow("no bytes") << binaryValue("") << "0 bytes";
    QTest::newRow("one byte") << binaryValue("\x0f") << "1 byte: 0f";
    QTest::newRow("bytes") << binaryValue(std::string("\x00\xff\x10", 3)) << "3 bytes: 00 ff 10";
    QTest::newRow("many bytes")
        << binaryValue(std::string(1000, 'a'))
        << QStringLiteral("1000 bytes: 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 \u2026");
}

void ValueTextTest::showsEachType() {
    QFETCH(KVValue, value);
    QFETCH(QString, text);
    QCOMPARE(valueText(value), text);
}

void ValueTextTest::showsNumbersWithAPointInEveryLocale() {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const QString text = valueText(KVValue(KVValue::List{KVValue(1234.5), KVValue(1000000)}));
    const QString exact = exactValueText(KVValue(1234.5));
    QLocale::setDefault(before);
    QCOMPARE(text, QStringLiteral("[1234.5, 1000000]"));
    QCOMPARE(exact, QStringLiteral("1234.5"));
}

void ValueTextTest::groupsTheDigitsOfCounts() {
    QCOMPARE(countText(0), QStringLiteral("0"));
    QCOMPARE(countText(999), QStringLiteral("999"));
    QCOMPARE(countText(1000), QStringLiteral("1\u202F000"));
    QCOMPARE(countText(1234567), QStringLiteral("1\u202F234\u202F567"));
    QCOMPARE(pluralOf(1), 1);
    QCOMPARE(pluralOf(1ULL << 40U), std::numeric_limits<int>::max());
}

void ValueTextTest::showsDurationsAsAClock() {
    QCOMPARE(clockText(0), QStringLiteral("0:00"));
    QCOMPARE(clockText(7), QStringLiteral("0:07"));
    QCOMPARE(clockText(59 * 60 + 59), QStringLiteral("59:59"));
    QCOMPARE(clockText(60 * 60), QStringLiteral("1:00:00"));
    QCOMPARE(clockText(25 * 60 * 60 + 2 * 60 + 3), QStringLiteral("25:02:03"));
}

void ValueTextTest::showsSizesInDecimalUnits() {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QCOMPARE(sizeText(0), QStringLiteral("0 bytes"));
    QCOMPARE(sizeText(1536), QStringLiteral("1.5 kB"));
    QCOMPARE(sizeText(2'500'000), QStringLiteral("2.5 MB"));
    QLocale::setDefault(before);
}

void ValueTextTest::exactTextTellsNeighboursApart() {
    const double value = 0.1;
    const double next = std::nextafter(value, 1.0);
    QCOMPARE(valueText(KVValue(value)), valueText(KVValue(next)));
    QVERIFY(exactValueText(KVValue(value)) != exactValueText(KVValue(next)));
    QCOMPARE(exactValueText(KVValue(next)).toDouble(), next);
}

void ValueTextTest::showsMarkupAsItStands() {
    const std::string markup = "<b>bold</b> &amp; <img src='file:///etc/passwd'>";
    QCOMPARE(plainText(markup), QString::fromStdString(markup));
}

void ValueTextTest::makesControlCharactersVisible() {
    QCOMPARE(plainText(std::string("a\nb\tc\0d\x7f", 8)), QStringLiteral(R"(a\nb\tc\x00d\x7f)"));
    QCOMPARE(plainText("\r\x1b[31m"), QStringLiteral(R"(\r\x1b[31m)"));
    QCOMPARE(plainText("\u0085\u2028"), QStringLiteral(R"(\x85\u{2028})"));
    QCOMPARE(plainText("a\\nb"), QStringLiteral(R"(a\\nb)"));
}

void ValueTextTest::makesCharactersThatChangeDirectionVisible() {
    QCOMPARE(plainText("gpj\u202Etxt.exe"), QStringLiteral(R"(gpj\u{202e}txt.exe)"));
    QCOMPARE(plainText("a\u200Bb\U000E0041"), QStringLiteral(R"(a\u{200b}b\u{e0041})"));
}

void ValueTextTest::escapesWhatQtCallsInvisible() {
    // Arabic, Syriac and Kaithi signs that enclose the following digits, and the joiners.
    const QSet<uint> shown{0x600, 0x601, 0x602,   0x603,   0x604,  0x605, 0x6dd,
                           0x70f, 0x8e2, 0x110bd, 0x110cd, 0x200c, 0x200d};
    for (uint code = 0; code <= QChar::LastValidCodePoint; ++code) {
        const QChar::Category category = QChar::category(code);
        if (category == QChar::Other_Surrogate || code == '\\') {
            continue;
        }
        const bool isInvisible =
            category == QChar::Other_Control || category == QChar::Other_Format ||
            category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
        const std::array<uint, 2> codes{'a', code};  // a byte order mark must not be the first
        const QString text = QString::fromUcs4(codes.data(), 2);
        const bool isEscaped = plainText(text.toStdString()) != text;
        QVERIFY2(isEscaped == (isInvisible && !shown.contains(code)),
                 qPrintable(QString::number(code, 16)));
    }
}

void ValueTextTest::keepsOtherScriptsAndPictures() {
    const char* text = "Übergröße °C 温度 \U0001F468\u200D\U0001F527";
    QCOMPARE(plainText(text), QString::fromUtf8(text));
}

void ValueTextTest::replacesBytesThatAreNotUtf8() {
    QCOMPARE(plainText("a\xff\xfe"
                       "b"),
             QString::fromUtf8("a\uFFFD\uFFFDb"));
}

void ValueTextTest::boundsTheLength() {
    const std::string exactlyFull(1000, 'x');
    QCOMPARE(plainText(exactlyFull), QString(1000, QLatin1Char('x')));
    QCOMPARE(plainText(exactlyFull + "y"), QString(1000, QLatin1Char('x')) + QChar(0x2026));
    QCOMPARE(plainText("abcdef", 3), QString::fromUtf8("abc\u2026"));
    QCOMPARE(valueText(KVValue(std::string(2000, 'x'))).size(), 1001);
}

void ValueTextTest::doesNotSplitACharacterAtTheBound() {
    QCOMPARE(plainText("ab\U0001F600", 3), QString::fromUtf8("ab\u2026"));
    QCOMPARE(plainText("ab\U0001F600", 4), QString::fromUtf8("ab\U0001F600"));
    // The examined bytes end inside a character, which must not count as invalid.
    std::string threeBytesEach;
    for (int i = 0; i < 100; ++i) {
        threeBytesEach += "温";
    }
    QVERIFY(!plainText("x" + threeBytesEach, 20).contains(QChar::ReplacementCharacter));
}

void ValueTextTest::isNotSlowedDownByAHugeText() {
    std::string huge;
    huge.resize(10'000'000, '\n');
    QCOMPARE(plainText(huge).size(), 1001);
    QCOMPARE(valueText(KVValue(KVValue::List(50, KVValue(huge)))).size(), 1001);
}

void ValueTextTest::boundsListsInLengthAndDepth() {
    QCOMPARE(valueText(KVValue(KVValue::List(100000, KVValue(7)))).size(), 1001);
    QCOMPARE(valueText(nestedList(8)), QStringLiteral("[[[[[[[[1]]]]]]]]"));
    QCOMPARE(valueText(nestedList(200)), QString::fromUtf8("[[[[[[[[[\u2026]]]]]]]]]"));
}

/** In the rows "_" is a no-break space. */
void ValueTextTest::keepsAUnitBesideItsNumber_data() {
    QTest::addColumn<QString>("shown");
    QTest::newRow("at the end") << "age 12_ms";
    QTest::newRow("of parts") << QStringLiteral("30.0_shown__\u00B7  457_kB/s__\u00B7  50_%");
    QTest::newRow("in a sentence") << "Lost 12_s ago; trying again";
    QTest::newRow("in Japanese") << QStringLiteral("5_\u79D2");
    QTest::newRow("words before numbers") << "R 200 G 100 B 50";
    QTest::newRow("numbers") << "12 34 56";
}

void ValueTextTest::keepsAUnitBesideItsNumber() {
    QFETCH(QString, shown);
    const QString text = QString(shown).replace(QLatin1Char('_'), QLatin1Char(' '));
    const std::unique_ptr<QLabel> lines(obvista::makeStatusLines("lines", nullptr));
    obvista::setStatus(*lines, text);
    QCOMPARE(lines->text(), shown.replace(QLatin1Char('_'), QChar(QChar::Nbsp)));
    QCOMPARE(lines->accessibleDescription(), text);
}

OBVISTA_QTEST_MAIN(ValueTextTest)
#include "value_text_test.moc"
