#include "viewer_driver.h"

#include <QAbstractItemModel>
#include <QClipboard>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTextDocument>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <array>
#include <memory>
#include <robot_process.h>

using namespace obvista_test;

namespace {

/** A cut text ends with an ellipsis. */
constexpr int a_longestValue = 1000 + 1;
constexpr int a_longestName = 200 + 1;
constexpr int a_longestUnit = 40 + 1;
/** Name, description, value and unit, each with its description in the tool tip. */
constexpr int a_longestTip = 4 * a_longestValue;
/** Milliseconds that a user does not perceive as a hanging window. */
constexpr qint64 a_longestHold = 1000;
/** Milliseconds: the robot needs some seconds to cycle through its changes. */
constexpr int a_patience = 60000;

/** Returns true if no character of the text is invisible or moves neighbouring text. */
bool isPlain(const QString& text) {
    return std::none_of(text.begin(), text.end(), [](QChar character) {
        return character.category() == QChar::Other_Control ||
               character.category() == QChar::Other_Format ||
               character.category() == QChar::Separator_Line ||
               character.category() == QChar::Separator_Paragraph;
    });
}

/** Measures the longest event-loop stall in milliseconds. */
class LongestHold {
  public:
    LongestHold() {
        QObject::connect(&fTimer, &QTimer::timeout,
                         [this] { fLongest = std::max(fLongest, fSinceLook.restart()); });
        fSinceLook.start();
        fTimer.start(10);
    }

    qint64 milliseconds() const { return std::max(fLongest, fSinceLook.elapsed()); }

  private:
    QTimer fTimer;
    QElapsedTimer fSinceLook;
    qint64 fLongest = 0;
};

}  // namespace

/** Tests a robot that sends everything that the protocol allows. */
class HostileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void showsEveryCellAsABoundedPlainLine();
    void showsMarkupAsItIsWritten();
    void escapesWhatCannotBeSeenOrTurnsTheLine();
    void showsTheBeginningOfALongText();
    void saysInToolTipsWhatTheRobotWrote();
    void showsNumbersThatAreNone();
    void followsATypeThatChanges();
    void filtersByTypesThatChange();
    void filtersByNamesWithMarkup();
    void sortsWhatCannotBeCompared();
    void plotsWhatIsNotAlwaysANumber();
    void copiesEachRowAsOneLine();
    void keepsAWatchedKeyThatVanishes();
    void watchesNamesThatAreNoText();
    void answersWhileLongTextsCome();

  private:
    QString xValue(const char* path) const { return valueOf(fViewer, path); }
    QString xCell(const char* path, const char* title) const {
        return cellOf(fViewer, path, title);
    }
    QString xTipOf(const char* path) const;
    void xWatch(const char* path);
    QString xWatched(int row, int column) const;
    /** Calls `use` with every index below `parent`, in every column. */
    template <typename Use>
    void xForEachCell(const QModelIndex& parent, Use use) const;

    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QWidget* fViewer = nullptr;
};

/** All tests use one robot, which needs some seconds to cycle through its values. */
void HostileTest::initTestCase() {
    fRobot = std::make_unique<RobotProcess>(RobotProcess::Settings{{"--hostile"}});
}

void HostileTest::init() {
    QSettings().clear();
    fDriver = std::make_unique<ViewerDriver>();
    fViewer = fDriver->createWidget(fRobot->port());
    fDriver->dock(fViewer);
    QVERIFY(waitForActive(&fDriver->window()));
    QTRY_VERIFY(indexOf(fViewer, "Hostile/Text").isValid());
    typeFilter(fViewer, QStringLiteral("Hostile/"));
    QTRY_COMPARE(treeOf(fViewer)->model()->rowCount(), 1);
}

/** Qt leaks the animation of a clear button that is destroyed while it fades. */
void HostileTest::cleanup() {
    const auto* clear = filterOf(fViewer)->findChild<QToolButton*>();
    const auto isFading = [clear] {
        const double opacity = clear->property("opacity").toDouble();
        return opacity > 0 && opacity < 1;
    };
    QTRY_VERIFY(!isFading());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    fDriver.reset();
}

template <typename Use>
void HostileTest::xForEachCell(const QModelIndex& parent, Use use) const {
    const QAbstractItemModel* model = treeOf(fViewer)->model();
    for (int row = 0; row < model->rowCount(parent); ++row) {
        for (int column = 0; column < model->columnCount(parent); ++column) {
            use(model->index(row, column, parent));
        }
        xForEachCell(model->index(row, 0, parent), use);
    }
}

/** Returns the tool tip of the value. */
QString HostileTest::xTipOf(const char* path) const {
    QTreeView* tree = treeOf(fViewer);
    const QModelIndex index = indexOf(fViewer, path);
    tree->scrollTo(index);
    const QPoint at = tree->visualRect(index.sibling(index.row(), 1)).center();
    QHelpEvent help(QEvent::ToolTip, at, tree->viewport()->mapToGlobal(at));
    QApplication::sendEvent(tree->viewport(), &help);
    QTextDocument document;
    document.setHtml(QToolTip::text());
    const QString text = document.toPlainText();
    QToolTip::hideText();
    return text;
}

void HostileTest::xWatch(const char* path) {
    choose(fViewer, path);
    QTest::keyClick(treeOf(fViewer), Qt::Key_D, Qt::ControlModifier);
}

QString HostileTest::xWatched(int row, int column) const {
    return watchOf(fViewer)->model()->index(row, column).data().toString();
}

void HostileTest::showsEveryCellAsABoundedPlainLine() {
    int values = 0;
    treeOf(fViewer)->expandAll();
    const auto check = [&](const QModelIndex& index) {
        const QString text = index.data().toString();
        const std::array<int, 3> longest{a_longestName, a_longestValue, a_longestUnit};
        const auto column = static_cast<std::size_t>(index.column());
        QVERIFY2(isPlain(text), qPrintable(text));
        QVERIFY2(text.size() <= (column < longest.size() ? longest.at(column) : 12),
                 qPrintable(text));
        values += column == 1 && !text.isEmpty() ? 1 : 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT((values = 0, xForEachCell({}, check), values >= 20), a_patience);
}

void HostileTest::showsMarkupAsItIsWritten() {
    QTRY_VERIFY(xValue("Hostile/Text/Markup").startsWith(QLatin1String("<h1>")));
    QVERIFY(xValue("Hostile/Text/Markup")
                .endsWith(QLatin1String("</h1><img src=\"file:///etc/hostname\">&amp;<table>")));
    QCOMPARE(xCell("Hostile/Text/Markup", "Unit"), QStringLiteral("<s>m</s>"));
    QTRY_VERIFY(!xValue("Hostile/Name/<b>bold</b> &lt;").isEmpty());
}

void HostileTest::escapesWhatCannotBeSeenOrTurnsTheLine() {
    QTRY_VERIFY(xValue("Hostile/Text/Control")
                    .startsWith(QLatin1String("\\x1b[2J\\x07\\r\\n\\t\\x00\\x7f")));
    QCOMPARE(xCell("Hostile/Text/Control", "Unit"), QStringLiteral("a\\nb"));
    QTRY_VERIFY(xValue("Hostile/Text/Direction")
                    .startsWith(QLatin1String("\\u{202e}left to right\\u{202c} \\u{200f}")));
    QTRY_VERIFY(xValue("Hostile/Text/Lines").startsWith(QLatin1String("\\n\\n\\n")));
    QVERIFY(indexOf(fViewer, R"(Hostile/Name/\u{202e}backwards)").isValid());
    QVERIFY(indexOf(fViewer, R"(Hostile/Name/line\nbreak\ttab\x1b[31m)").isValid());
}

void HostileTest::showsTheBeginningOfALongText() {
    QTRY_COMPARE_WITH_TIMEOUT(xValue("Hostile/Text/Long").size(), a_longestValue, a_patience);
    const QString text = xValue("Hostile/Text/Long");
    QVERIFY(text.endsWith(QChar(0x2026)));
    QCOMPARE(text.count(text.at(0)), a_longestValue - 1);
}

void HostileTest::saysInToolTipsWhatTheRobotWrote() {
    QTRY_VERIFY(!xValue("Hostile/Text/Markup").isEmpty());
    const QString tip = xTipOf("Hostile/Text/Markup");
    QVERIFY2(tip.startsWith(QLatin1String("Hostile/Text/Markup\n<b>Text/Markup</b>\\n\\x1b[31m")),
             qPrintable(tip));
    QVERIFY2(tip.contains(QLatin1String("<img src=\"file:///etc/hostname\">&amp;<table> <s>m</s>")),
             qPrintable(tip));

    QTRY_VERIFY(!xValue("Hostile/Name/<b>bold</b> &lt;").isEmpty());
    QVERIFY2(xTipOf("Hostile/Name/<b>bold</b> &lt;")
                 .startsWith(QLatin1String("Hostile/Name/<b>bold</b> &lt;\n")),
             qPrintable(tip));

    QTRY_VERIFY_WITH_TIMEOUT(!xValue("Hostile/Text/Long").isEmpty(), a_patience);
    const int length = xTipOf("Hostile/Text/Long").size();
    QVERIFY2(length > 0 && length <= a_longestTip, qPrintable(QString::number(length)));
}

void HostileTest::showsNumbersThatAreNone() {
    for (const char* text : {"NaN", "inf", "-inf", "1.79769e+308", "0.1"}) {
        QTRY_COMPARE_WITH_TIMEOUT(xValue("Hostile/Number/EndOfRange"), QLatin1String(text),
                                  a_patience);
    }
    QCOMPARE(xValue("Hostile/Number/NotANumber"), QStringLiteral("NaN"));
    QTRY_COMPARE(xValue("Hostile/Number/WholeEnds"), QStringLiteral("-9223372036854775808"));
    QTRY_COMPARE(xValue("Hostile/Number/WholeEnds"), QStringLiteral("9223372036854775807"));
}

void HostileTest::followsATypeThatChanges() {
    QTRY_VERIFY(!xCell("Hostile/Type", "Type").isEmpty());
    for (const char* type : {"bool", "int", "float", "string", "binary", "list", "map"}) {
        QTRY_COMPARE_WITH_TIMEOUT(xCell("Hostile/Type", "Type"), QLatin1String(type), a_patience);
    }
    QTRY_COMPARE_WITH_TIMEOUT(xValue("Hostile/Type"), QStringLiteral("<b>text</b>"), a_patience);
    QTRY_COMPARE_WITH_TIMEOUT(xValue("Hostile/Type"), QStringLiteral("[1, \"two\", 3.5]"),
                              a_patience);
}

void HostileTest::filtersByTypesThatChange() {
    typeFilter(fViewer, QStringLiteral("type:list Hostile/Type changed:60"));
    QTRY_VERIFY_WITH_TIMEOUT(indexOf(fViewer, "Hostile/Type").isValid(), a_patience);
    QTRY_VERIFY_WITH_TIMEOUT(!indexOf(fViewer, "Hostile/Type").isValid(), a_patience);
}

void HostileTest::filtersByNamesWithMarkup() {
    typeFilter(fViewer, QStringLiteral("<b>bold"));
    QTRY_VERIFY(indexOf(fViewer, "Hostile/Name/<b>bold</b> &lt;").isValid());
    QTRY_VERIFY(!indexOf(fViewer, "Hostile/Text").isValid());
    typeFilter(fViewer, QStringLiteral("<h1>nowhere"));
    QTRY_VERIFY2(messageOf(fViewer).contains(QLatin1String("\"<h1>nowhere\"")),
                 qPrintable(messageOf(fViewer)));
}

void HostileTest::sortsWhatCannotBeCompared() {
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    QTreeView* tree = treeOf(fViewer);
    const QAbstractItemModel* model = tree->model();
    for (int column = 0; column < model->columnCount(); ++column) {
        for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
            tree->sortByColumn(column, order);
            QTRY_VERIFY(!changed.isEmpty());
            QVERIFY(model->rowCount() >= 20);
        }
    }
    tree->sortByColumn(1, Qt::AscendingOrder);
    const auto rowOf = [model](const char* name) {
        const auto found = model->match(model->index(0, 0), Qt::DisplayRole, QLatin1String(name), 1,
                                        Qt::MatchExactly);
        return found.isEmpty() ? -1 : found.first().row();
    };
    QTRY_VERIFY_WITH_TIMEOUT(
        rowOf("Hostile/Number/<h1>loud") < rowOf("Hostile/Number/NotANumber") &&
            rowOf("Hostile/Number/NotANumber") < rowOf("Hostile/Text/Markup"),
        a_patience);
}

void HostileTest::plotsWhatIsNotAlwaysANumber() {
    auto* legend = fViewer->findChild<QTreeView*>(QStringLiteral("plotLegend"));
    const auto isPlotted = [legend](const char* name) {
        const QAbstractItemModel* model = legend->model();
        return !model
                    ->match(model->index(0, 0), Qt::DisplayRole, QLatin1String(name), 1,
                            Qt::MatchContains | Qt::MatchRecursive)
                    .isEmpty();
    };
    for (const char* path : {"Hostile/Number/EndOfRange", "Hostile/Number/NotANumber",
                             "Hostile/Number/<h1>loud", "Hostile/Number/WholeEnds"}) {
        QTRY_VERIFY(!xValue(path).isEmpty());
        choose(fViewer, path);
        QTest::keyClick(treeOf(fViewer), Qt::Key_P, Qt::ControlModifier);
        QTRY_VERIFY2(legend->isVisible() && isPlotted(path), path);
    }
    const QString before = xValue("Hostile/Number/<h1>loud");
    QTRY_VERIFY(xValue("Hostile/Number/<h1>loud") != before);
}

void HostileTest::copiesEachRowAsOneLine() {
    QTRY_VERIFY_WITH_TIMEOUT(!xValue("Hostile/Text/Long").isEmpty(), a_patience);
    QTRY_VERIFY(!xValue("Hostile/Text/Lines").isEmpty());
    choose(fViewer, "Hostile");
    QTest::keyClick(treeOf(fViewer), Qt::Key_C, Qt::ControlModifier);
    const QStringList lines = QGuiApplication::clipboard()->text().split(QLatin1Char('\n'));
    QVERIFY2(lines.size() >= 20, qPrintable(QString::number(lines.size())));
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        QVERIFY2(fields.size() == 4 && fields.at(0).startsWith(QLatin1String("Hostile/")),
                 qPrintable(line.left(a_longestValue)));
        QVERIFY(std::all_of(fields.begin(), fields.end(), isPlain));
    }
}

void HostileTest::keepsAWatchedKeyThatVanishes() {
    QTRY_VERIFY(indexOf(fViewer, "Hostile/Vanishing/1").isValid());
    xWatch("Hostile/Vanishing/1");
    QCOMPARE(xWatched(0, 0), QStringLiteral("Hostile/Vanishing/1"));
    for (int turn = 0; turn < 2; ++turn) {
        QTRY_COMPARE(xWatched(0, 1), QStringLiteral("not there"));
        QTRY_VERIFY(!indexOf(fViewer, "Hostile/Vanishing").isValid());
        QTRY_COMPARE(xWatched(0, 1), QStringLiteral("1"));
        QTRY_VERIFY(indexOf(fViewer, "Hostile/Vanishing/1").isValid());
    }
    QCOMPARE(watchOf(fViewer)->model()->rowCount(), 1);
}

void HostileTest::watchesNamesThatAreNoText() {
    constexpr std::array<const char*, 3> names{"Hostile/Name/\xef\xbf\xbd\xef\xbf\xbd",
                                               R"(Hostile/Name/\u{202e}backwards)",
                                               R"(Hostile/Name/line\nbreak\ttab\x1b[31m)"};
    for (const char* name : names) {
        QVERIFY2(indexOf(fViewer, name).isValid(), name);
        xWatch(name);
    }
    QCOMPARE(watchOf(fViewer)->model()->rowCount(), int(names.size()));
    for (int row = 0; row < int(names.size()); ++row) {
        QCOMPARE(xWatched(row, 0), QString::fromUtf8(names.at(static_cast<std::size_t>(row))));
        QTRY_VERIFY2(xWatched(row, 1).toInt() > 0, qPrintable(xWatched(row, 1)));
    }
}

void HostileTest::answersWhileLongTextsCome() {
    treeOf(fViewer)->expandAll();
    xWatch("Hostile/Text/Long");
    xWatch("Hostile/Shape/Wide");
    QTRY_VERIFY_WITH_TIMEOUT(!xWatched(0, 1).isEmpty(), a_patience);
    const QString before = xWatched(0, 1);
    const LongestHold hold;
    QString filter;
    QTRY_VERIFY_WITH_TIMEOUT((filter = filter.isEmpty() ? QStringLiteral("Hostile/ e") : QString(),
                              typeFilter(fViewer, filter), xWatched(0, 1) != before),
                             a_patience);
    QVERIFY2(hold.milliseconds() <= a_longestHold,
             qPrintable(QStringLiteral("held for %1 ms").arg(hold.milliseconds())));
}

OBVISTA_QTEST_MAIN(HostileTest)
#include "hostile_test.moc"
