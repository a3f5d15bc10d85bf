// The size of the robot browser and of its columns with different fonts.

#include "announced.h"
#include "browserobots_dialog.h"
#include "qt_test_main.h"

#include <QApplication>
#include <QHeaderView>
#include <QScrollBar>
#include <QTreeWidget>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <string>

using KD::BrowseRobotsDialog;

class SizeTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { fFont = QApplication::font(); }
    void init();
    void cleanup();

    void opensLargeEnoughForItsRows_data() { addFonts(); }
    void opensLargeEnoughForItsRows();
    void showsNamesAtItsSmallestSize_data() { addFonts(); }
    void showsNamesAtItsSmallestSize();

  private:
    static void addFonts();
    /** Returns the width of a column that can be seen. */
    int seen(int column) const;

    QFont fFont;
    std::unique_ptr<obvista_test::Announced> fAnnounced;
    std::unique_ptr<BrowseRobotsDialog> fDialog;
    const QTreeWidget* fList = nullptr;
};

void SizeTest::addFonts() {
    QTest::addColumn<int>("resolution");
    for (const int resolution : {96, 120, 168}) {
        QTest::addRow("QT_FONT_DPI=%d", resolution) << resolution;
    }
}

void SizeTest::init() {
    QFETCH(int, resolution);
    QFont font = fFont;
    font.setPointSizeF(fFont.pointSizeF() * resolution / 96);
    QApplication::setFont(font);
    fAnnounced = std::make_unique<obvista_test::Announced>();
    for (int i = 10; i < 16; ++i) {
        fAnnounced->robot("robot" + std::to_string(i) + ".local", 65535, "255.255.255.255");
    }
    fDialog = std::make_unique<BrowseRobotsDialog>(nullptr, QString(), QString());
    fList = fDialog->findChild<QTreeWidget*>();
    fDialog->show();
    QVERIFY(obvista_test::waitForExposed(fDialog.get()));
}

void SizeTest::cleanup() {
    fDialog.reset();
    fAnnounced.reset();
    QApplication::setFont(fFont);
}

int SizeTest::seen(int column) const {
    const int left = fList->header()->sectionViewportPosition(column);
    return std::min(left + fList->columnWidth(column), fList->viewport()->width()) - left;
}

void SizeTest::opensLargeEnoughForItsRows() {
    QCOMPARE(fList->horizontalScrollBar()->maximum(), 0);
    QCOMPARE(fList->verticalScrollBar()->maximum(), 0);
    for (const int column : {BrowseRobotsDialog::a_nameColumn, BrowseRobotsDialog::a_portColumn,
                             BrowseRobotsDialog::a_IPColumn}) {
        const int text =
            fList->fontMetrics().horizontalAdvance(fList->topLevelItem(0)->text(column));
        QVERIFY2(seen(column) >= text, qPrintable(fList->headerItem()->text(column)));
    }
}

void SizeTest::showsNamesAtItsSmallestSize() {
    const QSize smallest(750, 480);
    QCOMPARE(fDialog->minimumSize(), smallest);
    fDialog->resize(smallest);
    QTRY_COMPARE(fDialog->size(), smallest);
    const int column = BrowseRobotsDialog::a_nameColumn;
    const int text = fList->fontMetrics().horizontalAdvance(fList->topLevelItem(0)->text(column));
    QTRY_VERIFY2(seen(column) >= text,
                 qPrintable(QStringLiteral("%1 of %2").arg(seen(column)).arg(text)));
}

OBVISTA_QTEST_MAIN(SizeTest)
#include "size_test.moc"
