#include "model/filter_expression.h"

#include <QtTest>
#include <qt_test_main.h>

using namespace memoryviewer;

namespace {

constexpr std::int64_t a_now = 1'000'000'000;

MemoryKey key(const std::string& name, const KVValue& value = KVValue(1.5)) {
    MemoryKey result;
    result.fInfo.fName = name;
    result.fValue = value;
    result.fTime = a_now - 10'000'000;
    return result;
}

bool passes(const char* filter, const std::string& name) {
    return FilterExpression(QString::fromUtf8(filter)).matches(key(name), a_now);
}

}  // namespace

class FilterExpressionTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void letsEverythingPassWhenEmpty();
    void wantsEveryWord();
    void takesWordsInQuotesTogether();
    void negatesATerm();
    void looksForARegularExpression();
    void saysWhatIsWrongWithARegularExpression();
    void tellsTypesApart();
    void saysWhichTypesThereAre();
    void knowsWhatHasChanged();
    void saysThatSecondsAreANumber();
    void leavesAFaultyTermOut();
};

void FilterExpressionTest::letsEverythingPassWhenEmpty() {
    QVERIFY(FilterExpression().isEmpty());
    QVERIFY(FilterExpression(QStringLiteral("  ")).isEmpty());
    QVERIFY(passes("", "Joint/HeadYaw"));
}

void FilterExpressionTest::wantsEveryWord() {
    QVERIFY(passes("head pos", "Joint/HeadYaw/Position"));
    QVERIFY(passes("POS HEAD", "Joint/HeadYaw/Position"));
    QVERIFY(!passes("head knee", "Joint/HeadYaw/Position"));
}

void FilterExpressionTest::takesWordsInQuotesTogether() {
    QVERIFY(passes("\"left arm\"", "the left arm"));
    QVERIFY(!passes("\"left arm\"", "arm on the left"));
}

void FilterExpressionTest::negatesATerm() {
    QVERIFY(passes("joint -yaw", "Joint/HeadPitch"));
    QVERIFY(!passes("joint -yaw", "Joint/HeadYaw"));
    QVERIFY(!passes("-re:^Joint", "Joint/HeadYaw"));
    QVERIFY(passes("-", "a-b"));
    QVERIFY(!passes("-", "ab"));
}

void FilterExpressionTest::looksForARegularExpression() {
    QVERIFY(passes("re:joint\\d+$", "Arm/Joint12"));
    QVERIFY(!passes("re:^Joint", "Arm/Joint12"));
    QVERIFY(passes("re:", "anything"));
}

void FilterExpressionTest::saysWhatIsWrongWithARegularExpression() {
    const FilterExpression filter(QStringLiteral("re:(ab"));
    QVERIFY(filter.fault().contains(QStringLiteral("\"(ab\"")));
    QVERIFY(FilterExpression(QStringLiteral("re:(ab)")).fault().isEmpty());
}

void FilterExpressionTest::tellsTypesApart() {
    const FilterExpression filter(QStringLiteral("type:float"));
    QVERIFY(filter.matches(key("a", KVValue(1.5)), a_now));
    QVERIFY(!filter.matches(key("a", KVValue(1)), a_now));
    QVERIFY(FilterExpression(QStringLiteral("type:S")).matches(key("a", KVValue("x")), a_now));
}

void FilterExpressionTest::saysWhichTypesThereAre() {
    const FilterExpression filter(QStringLiteral("type:double"));
    QVERIFY(filter.fault().contains(QStringLiteral("float")));
}

void FilterExpressionTest::knowsWhatHasChanged() {
    MemoryKey changed = key("a");
    QVERIFY(!FilterExpression(QStringLiteral("changed:30")).matches(changed, a_now));
    changed.fHasChanged = true;
    QVERIFY(FilterExpression(QStringLiteral("changed:30")).matches(changed, a_now));
    QVERIFY(!FilterExpression(QStringLiteral("changed:")).matches(changed, a_now));
    QVERIFY(FilterExpression(QStringLiteral("-changed:")).matches(changed, a_now));
    QVERIFY(FilterExpression(QStringLiteral("changed:")).isLive());
    QVERIFY(!FilterExpression(QStringLiteral("type:int changed")).isLive());
}

void FilterExpressionTest::saysThatSecondsAreANumber() {
    for (const char* text : {"changed:soon", "changed:0", "changed:-1", "changed:1,5"}) {
        const FilterExpression filter(QString::fromLatin1(text));
        QVERIFY2(!filter.fault().isEmpty(), text);
        QVERIFY(!filter.isLive());
    }
    QVERIFY(FilterExpression(QStringLiteral("changed:1.5")).fault().isEmpty());
}

void FilterExpressionTest::leavesAFaultyTermOut() {
    QVERIFY(passes("head re:(", "Head"));
    QVERIFY(!passes("head re:(", "Knee"));
}

OBVISTA_QTEST_MAIN(FilterExpressionTest)
#include "filter_expression_test.moc"
