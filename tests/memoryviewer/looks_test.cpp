#include "memory_robot.h"
#include "model/key_cells.h"
#include "viewer_driver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDockWidget>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>
#include <QSettings>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <contrast.h>
#include <cut_texts.h>
#include <memory>

using namespace memoryviewer;
using namespace obvista_test;

namespace {

constexpr char a_number[] = "Joint/HeadYaw/Position";
constexpr int a_valueColumn = 1;
constexpr int a_typeColumn = 3;
constexpr int a_ageColumn = 5;

}  // namespace

/** Tests the window on light and dark palettes, with different font sizes. */
class LooksTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void cellsCanBeRead();
    void marksStandOutAndCanBeRead();
    void saysWhatIsMissingReadably();
    void whatIsWrongCanBeRead();
    void plotsCanBeRead();
    void cutsNoTextOff();
    void showsValuesInNarrowDocks();
    void cutsNoNamesWhileOtherColumnsHaveRoom();
    void keepsValuesNearNamesInWideDocks();
    void fillsWideDocks();
    void givesLongValuesTheRoomOfWideDocks();
    void keepsTheFilterWideEnoughForWords();
    void givesTheWatchListTheRoomOfItsRows();
    void fitsItsColumnsToAnotherFont();
    void keepsWidthsThatWereChosen();
    void plotsInALowWindow();
    void cutsNoAgeOff();

    void cellsCanBeRead_data() { xAddLooks(); }
    void marksStandOutAndCanBeRead_data() { xAddLooks(); }
    void saysWhatIsMissingReadably_data() { xAddLooks(); }
    void whatIsWrongCanBeRead_data() { xAddLooks(); }
    void plotsCanBeRead_data() { xAddLooks(); }
    void cutsNoTextOff_data() { xAddLooks(); }
    void showsValuesInNarrowDocks_data() { xAddLooks(); }
    void plotsInALowWindow_data() { xAddScales(); }
    void cutsNoAgeOff_data() { xAddScales(); }

  private:
    static void xAddLooks();
    static void xAddScales();
    void xOpen();
    void xChoose(const char* path);
    void xPlot();
    QRect xCell(int column);
    void xSetWidth(int width);
    QRect xSection(int column) const;
    void xDragBorder(int column, int by);
    int xRoomOfNames() const;
    Colours xColoursOfCell(int column) { return coloursIn(xTree()->viewport(), xCell(column)); }
    QWidget* xCanvas() const;
    QModelIndex xRow() const { return indexOf(fViewer, a_number); }
    QTreeView* xTree() const { return treeOf(fViewer); }
    template <class Widget>
    Widget* xPart(const char* name) const {
        return fViewer->findChild<Widget*>(QLatin1String(name));
    }

    QPalette fPalette;
    QFont fFont;
    std::unique_ptr<MemoryRobot> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void LooksTest::initTestCase() {
    fPalette = QApplication::palette();
    fFont = QApplication::font();
}

void LooksTest::init() {
    QSettings().clear();
    fRobot = std::make_unique<MemoryRobot>();
    fRobot->set(a_number, 0.25);
    fRobot->set("Robot/Mode", std::string("walking"));
    xOpen();
}

void LooksTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
    QApplication::setPalette(fPalette);
    QApplication::setFont(fFont);
}

void LooksTest::xAddLooks() {
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<double>("scale");
    for (const bool isDark : {false, true}) {
        for (const double scale : {1.0, 2.0}) {
            QTest::addRow("%s, %g %%", isDark ? "dark" : "light", 100 * scale) << isDark << scale;
        }
    }
}

void LooksTest::xAddScales() {
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<double>("scale");
    for (const int resolution : {96, 120, 168}) {
        QTest::addRow("QT_FONT_DPI=%d", resolution) << false << resolution / 96.0;
    }
}

/** The font size is set before the start; palettes change while programs run. */
void LooksTest::xOpen() {
    const bool hasLooks = QTest::currentDataTag() != nullptr;
    QFont font = fFont;
    if (hasLooks) {
        QFETCH(double, scale);
        font.setPointSizeF(fFont.pointSizeF() * scale);
    }
    QApplication::setFont(font);
    fDriver = std::make_unique<ViewerDriver>();
    fViewer = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    QVERIFY(waitForActive(&fDriver->window()));
    QTRY_VERIFY(indexOf(fViewer, "Robot/Mode").isValid());
    if (hasLooks) {
        QFETCH(bool, isDark);
        QApplication::setPalette(isDark ? darkPalette() : fPalette);
    }
    QTRY_COMPARE(valueOf(fViewer, "Robot/Mode"), QStringLiteral("walking"));
}

void LooksTest::xChoose(const char* path) {
    const QModelIndex index = indexOf(fViewer, path);
    QVERIFY2(index.isValid(), path);
    xTree()->setFocus();
    xTree()->scrollTo(index);
    xTree()->setCurrentIndex(index);
}

void LooksTest::xPlot() {
    xChoose(a_number);
    QTest::keyClick(xTree(), Qt::Key_P, Qt::ControlModifier);
    QTRY_VERIFY(xPart<QWidget>("plot") != nullptr && xPart<QWidget>("plot")->isVisible());
}

/** Scrolls the number's cell onto the screen and returns its rectangle. */
QRect LooksTest::xCell(int column) {
    const QModelIndex index = indexOf(fViewer, a_number);
    xTree()->scrollTo(index);
    return xTree()->visualRect(index.sibling(index.row(), column));
}

/** The class in the plugin's library is not that of this program. */
QWidget* LooksTest::xCanvas() const {
    const auto parts = xPart<QWidget>("plot")->findChildren<QWidget*>();
    const auto canvas = std::find_if(parts.cbegin(), parts.cend(), [](const QWidget* part) {
        return part->inherits("memoryviewer::PlotCanvas");
    });
    return canvas == parts.cend() ? nullptr : *canvas;
}

void LooksTest::cellsCanBeRead() {
    QTRY_COMPARE(valueOf(fViewer, a_number), QStringLiteral("0.25"));
    for (const int column : {a_valueColumn, a_typeColumn}) {
        QVERIFY(xColoursOfCell(column).fContrast >= a_textContrast);
    }
    xChoose(a_number);
    for (const int column : {a_valueColumn, a_typeColumn}) {
        QVERIFY(xColoursOfCell(column).fContrast >= a_lineContrast);
    }
}

void LooksTest::marksStandOutAndCanBeRead() {
    const QModelIndex index = indexOf(fViewer, a_number);
    const QModelIndex value = index.sibling(index.row(), a_valueColumn);
    QTRY_COMPARE(valueOf(fViewer, a_number), QStringLiteral("0.25"));
    for (const bool isChosen : {false, true}) {
        xChoose(isChosen ? a_number : "Robot/Mode");
        QTRY_VERIFY(!value.data(MarkedRole).toBool());
        const Colours plain = xColoursOfCell(a_valueColumn);
        fRobot->set(a_number, isChosen ? 8.25 : 4.25);
        QTRY_VERIFY(value.data(MarkedRole).toBool());
        const Colours marked = xColoursOfCell(a_valueColumn);
        QVERIFY(marked.fBackground != plain.fBackground);
        QVERIFY(contrast(marked.fBackground, plain.fBackground) > 1.15);
        QVERIFY(marked.fContrast >= a_textContrast);
    }
}

void LooksTest::saysWhatIsMissingReadably() {
    auto* watch = xPart<QTreeView>("memoryWatch");
    QVERIFY(coloursIn(watch->viewport()).fContrast >= a_textContrast);  // the hint
    xChoose("Robot/Mode");
    QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    QTRY_COMPARE(watch->model()->rowCount(), 1);
    fRobot->remove("Robot/Mode");
    const QModelIndex value = watch->model()->index(0, a_valueColumn);
    QTRY_COMPARE(value.data().toString(), QStringLiteral("not there"));
    for (const QModelIndex& index : {value, value.siblingAtColumn(0)}) {
        const Colours colours = coloursIn(watch->viewport(), watch->visualRect(index));
        QVERIFY(colours.fContrast >= a_textContrast);
    }
}

void LooksTest::whatIsWrongCanBeRead() {
    auto* filter = xPart<QLineEdit>("memoryFilter");
    filter->setText(QStringLiteral("re:("));
    QTRY_VERIFY(!noticeOf(fViewer).isEmpty());
    const int inside = filter->height() / 4;
    const QRect text(2 * inside, inside, filter->width() / 2, 2 * inside);
    QVERIFY(coloursIn(filter, text).fContrast >= a_textContrast);
    QVERIFY(coloursIn(xPart<QLabel>("viewerBanner")).fContrast >= a_textContrast);
    QVERIFY(coloursIn(xPart<QLabel>("memoryStatus")).fContrast >= a_textContrast);
    filter->setText(QStringLiteral("nosuchkey"));
    QTRY_VERIFY(!messageOf(fViewer).isEmpty());
    QVERIFY(coloursIn(xPart<QLabel>("memoryMessage")).fContrast >= a_textContrast);
}

void LooksTest::plotsCanBeRead() {
    xPlot();
    QVERIFY(xCanvas() != nullptr);
    int value = 0;
    QTRY_VERIFY((fRobot->set(a_number, 100.0 * (++value % 2)),
                 coloursIn(xCanvas()).fContrast >= a_lineContrast));
    int scales = 0;
    for (QWidget* part : xPart<QWidget>("plot")->findChildren<QWidget*>()) {
        if (part->inherits("QwtScaleWidget") && part->isVisible()) {
            QVERIFY(coloursIn(part).fContrast >= a_textContrast);
            ++scales;
        }
    }
    QCOMPARE(scales, 2);
    auto* legend = xPart<QTreeView>("plotLegend");
    const QModelIndex curve = legend->model()->index(0, 0, legend->model()->index(0, 0));
    QVERIFY(coloursIn(legend->viewport(), legend->visualRect(curve)).fContrast >= a_textContrast);
}

void LooksTest::cutsNoTextOff() {
    xPlot();
    QCOMPARE(cutTexts(*fViewer), QStringList());
    QVERIFY(xCell(a_valueColumn).height() >= xTree()->fontMetrics().height());
}

void LooksTest::xSetWidth(int width) {
    const int around = fDriver->window().width() - fViewer->width();
    fDriver->window().resize(width + around, 600);
    QTRY_COMPARE(fViewer->width(), std::max(width, fViewer->minimumSizeHint().width()));
}

/** Returns a column's rectangle in the tree, relative to the visible area. */
QRect LooksTest::xSection(int column) const {
    const QHeaderView* header = xTree()->header();
    return {header->sectionViewportPosition(column), 0, header->sectionSize(column), 1};
}

/** Drags the border behind a column. */
void LooksTest::xDragBorder(int column, int by) {
    QHeaderView* header = xTree()->header();
    const QPoint border(xSection(column).right(), header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, Qt::NoModifier, border);
    // For a move by QCursor no button is pressed.
    const QPoint end = border + QPoint(by, 0);
    QMouseEvent drag(QEvent::MouseMove, end, header->mapToGlobal(end), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(header->viewport(), &drag);
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, Qt::NoModifier, end);
}

/** Returns the width needed by the rows on the screen. */
int LooksTest::xRoomOfNames() const {
    return static_cast<const QAbstractItemView*>(xTree())->sizeHintForColumn(0);
}

void LooksTest::showsValuesInNarrowDocks() {
    fRobot->set("Battery/Temperature of the third cell", 31.5);
    QTRY_VERIFY(indexOf(fViewer, "Battery/Temperature of the third cell").isValid());
    xSetWidth(420);
    QTRY_VERIFY(xSection(a_valueColumn).right() < xTree()->viewport()->width());
    QVERIFY(xSection(a_valueColumn).width() >=
            xTree()->fontMetrics().horizontalAdvance(QStringLiteral("-0.00123457")));
    QCOMPARE(xTree()->horizontalScrollBar()->value(), 0);
    const QModelIndex branch = indexOf(fViewer, "Battery/Temperature of the third cell").parent();
    QVERIFY(xSection(0).right() >=
            xTree()->visualRect(branch).left() +
                xTree()->fontMetrics().horizontalAdvance(branch.data().toString()));
    // Columns that do not fit can be scrolled to, in the watch list too.
    auto* watch = xPart<QTreeView>("memoryWatch");
    QScrollBar* sideways = xTree()->horizontalScrollBar();
    QTRY_COMPARE(watch->horizontalScrollBar()->maximum(), sideways->maximum());
    sideways->setValue(sideways->maximum());
    QCOMPARE(watch->header()->offset(), xTree()->header()->offset());
}

void LooksTest::cutsNoNamesWhileOtherColumnsHaveRoom() {
    fRobot->set("Battery/Temperature/Front", 31.5);
    QTRY_VERIFY(indexOf(fViewer, "Battery/Temperature/Front").isValid());
    xTree()->expandAll();
    for (const int width : {480, 520, 640}) {
        xSetWidth(width);
        QTRY_VERIFY(xSection(0).width() >= xRoomOfNames());
        QVERIFY(xSection(a_valueColumn).right() < xTree()->viewport()->width());
    }
}

void LooksTest::keepsValuesNearNamesInWideDocks() {
    xTree()->expandAll();
    xSetWidth(1200);
    QTRY_COMPARE(xSection(0).width(), xRoomOfNames());
    const auto* watch = xPart<QTreeView>("memoryWatch");
    QCOMPARE(watch->header()->sectionSize(0), xSection(0).width());
    // A new name gets the width that it needs.
    fRobot->set("Joint/LeftShoulderPitchOfTheRobot/Temperature", 30);
    QTRY_VERIFY(indexOf(fViewer, "Joint/LeftShoulderPitchOfTheRobot").isValid());
    QTRY_COMPARE(xSection(0).width(), xRoomOfNames());
}

void LooksTest::fillsWideDocks() {
    const auto isFull = [this](const char* list) {
        const auto* view = xPart<QTreeView>(list);
        return view->header()->length() == view->viewport()->width();
    };
    const auto isFilled = [&] { return isFull("memoryTree") && isFull("memoryWatch"); };
    xSetWidth(1200);
    QTRY_VERIFY(isFilled());
    const int value = xSection(a_valueColumn).width();
    xDragBorder(a_valueColumn, 60);
    QVERIFY(xSection(a_valueColumn).width() >= value + 50);
    QVERIFY(isFilled());
    // The border of the last column is that of the view.
    xDragBorder(a_ageColumn, -60);
    QVERIFY(isFilled());
    xTree()->header()->setSectionHidden(a_ageColumn, true);
    QTRY_VERIFY(isFilled());
    xTree()->header()->moveSection(0, a_ageColumn);
    QTRY_VERIFY(isFilled());
    // As narrow as before in a narrow dock.
    xTree()->header()->moveSection(a_ageColumn, 0);
    xTree()->header()->setSectionHidden(a_ageColumn, false);
    xSetWidth(420);
    QTRY_VERIFY(xSection(a_ageColumn).width() < 15 * xTree()->fontMetrics().averageCharWidth());
}

void LooksTest::givesLongValuesTheRoomOfWideDocks() {
    const std::string value = "walking to the charging station";
    xSetWidth(1200);
    fRobot->set("Robot/Mode", value);
    QTRY_COMPARE(valueOf(fViewer, "Robot/Mode"), QString::fromStdString(value));
    const QAbstractItemView* tree = xTree();
    QTRY_VERIFY(xSection(a_valueColumn).width() >= tree->sizeHintForColumn(a_valueColumn));
    QCOMPARE(xSection(0).width(), xRoomOfNames());
    // Columns do not move back and forth.
    const int width = xSection(a_valueColumn).width();
    fRobot->set("Robot/Mode", std::string("charging"));
    QTRY_COMPARE(valueOf(fViewer, "Robot/Mode"), QStringLiteral("charging"));
    QCOMPARE(xSection(a_valueColumn).width(), width);
    xSetWidth(480);
    QTRY_VERIFY(xSection(a_valueColumn).right() < xTree()->viewport()->width());
}

void LooksTest::keepsTheFilterWideEnoughForWords() {
    constexpr int characters = 16;
    const auto* filter = xPart<QLineEdit>("memoryFilter");
    const auto* pause = xPart<QAbstractButton>("memoryPause");
    const auto isBeside = [&] { return filter->y() < pause->geometry().bottom(); };
    xSetWidth(800);
    QTRY_VERIFY(isBeside());
    QFont font = fFont;
    font.setPointSizeF(1.75 * fFont.pointSizeF());
    QApplication::setFont(font);
    xSetWidth(420);
    QTRY_VERIFY(filter->geometry().bottom() < pause->y());
    QVERIFY(filter->width() >= characters * filter->fontMetrics().averageCharWidth());
    QVERIFY(pause->geometry().right() < fViewer->width());
}

void LooksTest::givesTheWatchListTheRoomOfItsRows() {
    auto* watch = xPart<QTreeView>("memoryWatch");
    const int empty = watch->height();
    xChoose("Robot/Mode");
    QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    QTRY_COMPARE(watch->model()->rowCount(), 1);
    QCOMPARE(watch->height(), empty);
    for (int key = 0; key < 3; ++key) {
        const QString path = QStringLiteral("Robot/Part%1").arg(key);
        fRobot->set(path.toStdString(), key);
        QTRY_VERIFY(indexOf(fViewer, path).isValid());
        xChoose(qPrintable(path));
        QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    }
    QTRY_COMPARE(watch->model()->rowCount(), 4);
    QTRY_VERIFY(watch->height() >= 2 * empty);
}

void LooksTest::fitsItsColumnsToAnotherFont() {
    xSetWidth(1200);
    const int before = xSection(a_valueColumn).width();
    QFont font = fFont;
    font.setPointSizeF(1.5 * fFont.pointSizeF());
    QApplication::setFont(font);
    QTRY_VERIFY(xSection(a_valueColumn).width() > 1.3 * before);
    QTRY_COMPARE(xSection(0).width(), xRoomOfNames());
    QApplication::setFont(fFont);
    QTRY_COMPARE(xSection(a_valueColumn).width(), before);
}

void LooksTest::keepsWidthsThatWereChosen() {
    xSetWidth(1200);
    const int width = xSection(a_valueColumn).width();
    xDragBorder(a_valueColumn, 60);
    const int chosen = xSection(a_valueColumn).width();
    QVERIFY(chosen >= width + 50);
    xSetWidth(420);
    QTRY_VERIFY(xSection(a_valueColumn).right() < xTree()->viewport()->width());
    fDriver.reset();
    xOpen();
    xSetWidth(1200);
    QTRY_VERIFY(std::abs(xSection(a_valueColumn).width() - chosen) <= 1);
}

/** The order of opening a plot and resizing the window makes no difference. */
void LooksTest::plotsInALowWindow() {
    const auto seen = [this] { return xCanvas()->visibleRegion().boundingRect().size(); };
    const auto verify = [&] {
        QVERIFY(fDriver->window().minimumSizeHint().height() <= 600);
        QTRY_VERIFY2(
            seen().width() >= 320 && seen().height() >= 130,
            qPrintable(QStringLiteral("%1 x %2").arg(seen().width()).arg(seen().height())));
        QCOMPARE(seen(), xCanvas()->size());
        QVERIFY(xTree()->viewport()->height() >= 2 * xTree()->visualRect(xRow()).height());
    };
    xPlot();
    fDriver->window().resize(800, 600);
    QTRY_COMPARE(fDriver->window().size(), QSize(800, 600));
    verify();
    // With the plot restored before the window has its size.
    fDriver.reset();
    xOpen();
    fDriver->window().resize(800, 600);
    QTRY_VERIFY(xCanvas() != nullptr && xCanvas()->isVisible());
    verify();
    // The watch list returns with its first key.
    xChoose("Robot/Mode");
    QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    QTRY_VERIFY(xPart<QTreeView>("memoryWatch")->isVisible());
}

void LooksTest::cutsNoAgeOff() {
    constexpr qint64 second = 1'000'000;
    const std::vector<std::pair<qint64, QString>> ages{{11 * 60 + 5, QStringLiteral("11:")},
                                                       {59 * 60 + 5, QStringLiteral("59:")},
                                                       {50 * 3600, QStringLiteral("2.1 d")}};
    fDriver.reset();
    const qint64 now = 1000 * QDateTime::currentMSecsSinceEpoch();
    for (const auto& [age, text] : ages) {
        const std::string key = "Robot/" + text.toStdString();
        fRobot->set(key, 1);
        fRobot->set(key, 2, now - age * second);
    }
    xOpen();
    for (const auto& [age, text] : ages) {
        const QModelIndex index = indexOf(fViewer, "Robot/" + text);
        xTree()->scrollTo(index);
        const QModelIndex cell = index.sibling(index.row(), a_ageColumn);
        QTRY_VERIFY2(cell.data().toString().startsWith(text), qPrintable(cell.data().toString()));
        for (const int width : {420, 640, 1200}) {
            xSetWidth(width);
            const int needed =
                xTree()->itemDelegate()->sizeHint(QStyleOptionViewItem(), cell).width();
            QTRY_VERIFY2(xSection(a_ageColumn).width() >= needed,
                         qPrintable(cell.data().toString()));
        }
    }
}

OBVISTA_QTEST_MAIN(LooksTest)
#include "looks_test.moc"
