// The list of robots: rows, their kinds, favourites, and hosts that come and go.

#include "announced.h"
#include "browserobots_dialog.h"
#include "qt_test_main.h"
#include "robot_picture.h"

#include <QBuffer>
#include <QCheckBox>
#include <QDataStream>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtEndian>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <held_key.h>
#include <new>
#include <string>

using KD::BrowseRobotsDialog;
using obvista_test::Announced;

namespace {

const QString a_favouritesKey = QStringLiteral("Preferences/favouritesRobots");

QByteArray png(const QSize& size, const QColor& color) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

/** Returns an ICO with one picture, whose entry claims 64 x 64 pixels. */
QByteArray iconFile(const QByteArray& png) {
    constexpr quint32 sizeOfHead = 22;
    constexpr quint16 icon = 1;
    constexpr quint16 count = 1;
    constexpr quint8 size = 64;
    constexpr quint8 none = 0;
    constexpr quint16 planes = 1;
    constexpr quint16 bits = 32;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << quint16{0} << icon << count << size << size << none << none << planes << bits
           << static_cast<quint32>(png.size()) << sizeOfHead;
    return bytes + png;
}

void setIcon(const boost::shared_ptr<KV::BonjourProfile>& profile, const QByteArray& bytes) {
    KVValue bitmap;
    bitmap.SetBinary(bytes.constData(), bytes.size());
    profile->setBitmapBinary(bitmap);
}

QColor colorOf(const QIcon& icon) {
    const QImage image = icon.pixmap(60, 60).toImage();
    return image.isNull() ? QColor() : image.pixelColor(image.rect().center());
}

/** Size in bytes of the largest block of memory allocated since it was set to 0. */
std::atomic<std::size_t> largestBlock{0};

}  // namespace

// Replaces those of the C++ library, which the middleware's values use too.
void* operator new(std::size_t size) {
    largestBlock = std::max(largestBlock.load(), size);
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

class ListTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() {
        // One colour for each picture, so that a test can identify it.
        QVERIFY(fMedia.isValid());
        QDir(fMedia.path()).mkpath("images/bonjour");
        drawPicture(BrowseRobotsDialog::a_robot_on_image, Qt::green);
        drawPicture(BrowseRobotsDialog::a_robot_off_image, Qt::red);
        drawPicture(BrowseRobotsDialog::a_computer_image, Qt::blue);
        drawPicture(BrowseRobotsDialog::a_favourite_on_image, Qt::yellow);
        drawPicture(BrowseRobotsDialog::a_favourite_off_image, Qt::gray);
    }

    void init() { QSettings().clear(); }

    void robotWithMiddleware() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList{"robot1.local|9559|10.0.0.1|2"});
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::green));
        QCOMPARE(typeToolTip(*dialog, 0),
                 "This is a robot with a running Robaxi. Right click to make its face LEDs blink");
        QCOMPARE(row(*dialog, 0)->toolTip(BrowseRobotsDialog::a_favouriteColumn),
                 "Clicking on this column will make this robot one of your favorites. Favourite "
                 "robots appear on the top.");
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::gray));
    }

    void tellsScreenReadersWhatThePicturesShow() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        announced.computer("robot2.local", 9559, "10.0.0.2");
        announced.robotWithoutMiddleware("robot3.local", "10.0.0.3");
        QSettings().setValue(a_favouritesKey, QStringList{"robot1.local"});
        auto dialog = makeDialog();
        const auto texts = [&dialog](int column) {
            QStringList result;
            for (int i = 0; i < 3; ++i) {
                result += row(*dialog, i)->data(column, Qt::AccessibleTextRole).toString();
            }
            return result;
        };
        QCOMPARE(texts(BrowseRobotsDialog::a_favouriteColumn),
                 (QStringList{"Favourite", "No favourite", "No favourite"}));
        QCOMPARE(texts(BrowseRobotsDialog::a_typeColumn),
                 (QStringList{"Robot", "Computer", "Robot without Robaxi"}));
        QCOMPARE(tree(*dialog)->model()->headerData(BrowseRobotsDialog::a_favouriteColumn,
                                                    Qt::Horizontal, Qt::AccessibleTextRole),
                 QVariant("Favourite"));
        clickStar(*dialog, 0);
        QCOMPARE(texts(BrowseRobotsDialog::a_favouriteColumn).first(), "No favourite");
    }

    void favouriteByKeyboard() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        dialog->show();
        QVERIFY(obvista_test::waitForActive(dialog.get()));
        QTest::keyClick(tree(*dialog), Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(QSettings().value(a_favouritesKey).toStringList(), QStringList());
        row(*dialog, 0)->setSelected(true);
        obvista_test::holdKey(Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(QSettings().value(a_favouritesKey).toStringList(), QStringList{"robot1.local"});
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::yellow));
        QTest::keyClick(tree(*dialog), Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(QSettings().value(a_favouritesKey).toStringList(), QStringList());
    }

    void computerWithMiddleware() {
        Announced announced;
        announced.computer("computer1.local", 9559, "10.0.0.2");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList{"computer1.local|9559|10.0.0.2|0"});
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::blue));
        QCOMPARE(typeToolTip(*dialog, 0), "This Robaxi is running on a computer.");
    }

    void robotWithoutMiddleware() {
        Announced announced;
        announced.robotWithoutMiddleware("robot1.local", "10.0.0.1");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList{"robot1.local||10.0.0.1|1"});
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::red));
        QCOMPARE(typeToolTip(*dialog, 0), "This robot does not have a running Robaxi.");
    }

    void hostThatAnnouncesNothingKnownIsARobotWithoutMiddleware() {
        Announced announced;
        announced.set("other.local", {{"_other._tcp", 1}}, "10.0.0.3");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList{"other.local||10.0.0.3|1"});
    }

    void serviceTypesAreComparedToTheLetter() {
        Announced announced;
        announced.set("other.local", {{"_ROBAXI._tcp", 1}, {"_robaxi._tcp ", 2}}, "");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList{"other.local|||1"});
    }

    void twoMiddlewaresOnOneHostAreTwoRowsWithOneFavourite() {
        Announced announced;
        announced.set("robot1.local",
                      {{"_robax._tcp", 80}, {"_robaxi._tcp", 9559}, {"_robaxi._tcp", 9560}},
                      "10.0.0.1");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog),
                 QStringList({"robot1.local|9559|10.0.0.1|2", "robot1.local|9560|10.0.0.1|2"}));
        QCOMPARE(dialog->hasRobaxi("robot1.local", 9560), row(*dialog, 1));
        QCOMPARE(dialog->hasRobaxi("robot1.local", 9561), nullptr);
        QCOMPARE(dialog->hasRobaxi("robot1.local", -1), nullptr);
        QCOMPARE(dialog->hasRobaxi("ROBOT1.local", 9560), nullptr);
        clickStar(*dialog, 1);
        QCOMPARE(favourites(), QStringList{"robot1.local"});
        QCOMPARE(starColor(*dialog, 1), QColor(Qt::yellow));
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::gray));
        dialog->updateRobotList();
        QCOMPARE(rowTexts(*dialog).size(), 2);
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::gray));
    }

    void starIsToggledAndRemembered() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        clickStar(*dialog, 0);
        QCOMPARE(favourites(), QStringList{"robot1.local"});
        clickStar(*dialog, 0);
        QCOMPARE(favourites(), QStringList());
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::gray));
        clickStar(*dialog, 0);
        QCOMPARE(favourites(), QStringList{"robot1.local"});
        dialog->onItemClicked(row(*dialog, 0), BrowseRobotsDialog::a_nameColumn);
        dialog->onItemClicked(nullptr, BrowseRobotsDialog::a_favouriteColumn);
        QCOMPARE(favourites(), QStringList{"robot1.local"});
    }

    void removingAFavouriteRemovesEveryOccurrence() {
        QSettings().setValue(a_favouritesKey, QStringList{"robot1.local", "b", "robot1.local"});
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        clickStar(*dialog, 0);
        QCOMPARE(favourites(), QStringList{"b"});
    }

    void favouritesEnterAtTheTopTheLatestFirst() {
        QSettings().setValue(a_favouritesKey, QStringList{"b.local", "d.local"});
        Announced announced;
        for (const char* host : {"a.local", "b.local", "c.local", "d.local"}) {
            announced.robot(host, 9559, "");
        }
        auto dialog = makeDialog();
        QCOMPARE(names(*dialog), QStringList({"d.local", "b.local", "a.local", "c.local"}));
        QCOMPARE(starColor(*dialog, 0), QColor(Qt::yellow));
        QCOMPARE(starColor(*dialog, 2), QColor(Qt::gray));
    }

    void favouritesAreComparedWithCase() {
        QSettings().setValue(a_favouritesKey, QStringList{"B.local"});
        Announced announced;
        announced.robot("a.local", 9559, "10.0.0.1");
        announced.robot("b.local", 9559, "10.0.0.2");
        auto dialog = makeDialog();
        QCOMPARE(names(*dialog), QStringList({"a.local", "b.local"}));
    }

    void favouriteThatAppearsWhileNothingIsSelectedIsSelected() {
        QSettings().setValue(a_favouritesKey, QStringList{"b.local", "c.local"});
        Announced announced;
        announced.robot("a.local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        QString ip;
        int port = 0;
        QVERIFY(!dialog->getIPandPort(ip, port));
        announced.robot("b.local", 9560, "10.0.0.2");
        dialog->updateRobotList();
        QVERIFY(dialog->getIPandPort(ip, port));
        QCOMPARE(ip, "10.0.0.2");
        QCOMPARE(port, 9560);
        QCOMPARE(dialog->getName(), "b");
        announced.robot("c.local", 9561, "10.0.0.3");
        dialog->updateRobotList();
        QCOMPARE(names(*dialog), QStringList({"c.local", "b.local", "a.local"}));
        QVERIFY(dialog->getIPandPort(ip, port));
        QCOMPARE(ip, "10.0.0.2");
    }

    void rowKeepsItsPlaceWhenItBecomesAFavourite() {
        Announced announced;
        announced.robot("a.local", 9559, "10.0.0.1");
        announced.robot("b.local", 9559, "10.0.0.2");
        auto dialog = makeDialog();
        clickStar(*dialog, 1);
        dialog->updateRobotList();
        QCOMPARE(names(*dialog), QStringList({"a.local", "b.local"}));
    }

    void addressIsCopiedWhenItIsResolvedOrChanges() {
        Announced announced;
        announced.robot("a.local", 9559, "");
        announced.robotWithoutMiddleware("b.local", "");
        auto dialog = makeDialog();
        QCOMPARE(rowTexts(*dialog), QStringList({"a.local|9559||2", "b.local|||1"}));
        announced.robot("a.local", 9559, "10.0.0.1");
        announced.robotWithoutMiddleware("b.local", "10.0.0.2");
        dialog->updateRobotList();
        QCOMPARE(rowTexts(*dialog),
                 QStringList({"a.local|9559|10.0.0.1|2", "b.local||10.0.0.2|1"}));
    }

    void timerRefreshesTheListOnceASecond() {
        Announced announced;
        auto dialog = makeDialog();
        const auto* timer = dialog->findChild<QTimer*>();
        QCOMPARE(timer->interval(), 1000);
        QVERIFY(timer->isActive());
        announced.robot("a.local", 9559, "10.0.0.1");
        QTRY_COMPARE_WITH_TIMEOUT(names(*dialog), QStringList{"a.local"}, 15000);
    }

    void middlewareThatStartsReplacesTheRow() {
        Announced announced;
        announced.robotWithoutMiddleware("a.local", "10.0.0.1");
        announced.robot("b.local", 9559, "10.0.0.2");
        auto dialog = makeDialog();
        announced.robot("a.local", 9559, "10.0.0.1");
        dialog->updateRobotList();
        QCOMPARE(rowTexts(*dialog),
                 QStringList({"b.local|9559|10.0.0.2|2", "a.local|9559|10.0.0.1|2"}));
    }

    void neighboursThatVanishTogetherLeaveOneAfterTheOther() {
        Announced announced;
        for (const char* host : {"a.local", "b.local", "c.local", "d.local"}) {
            announced.robot(host, 9559, "");
        }
        auto dialog = makeDialog();
        announced.withdraw("b.local");
        announced.withdraw("c.local");
        dialog->updateRobotList();
        QCOMPARE(names(*dialog), QStringList({"a.local", "c.local", "d.local"}));
        dialog->updateRobotList();
        QCOMPARE(names(*dialog), QStringList({"a.local", "d.local"}));
    }

    void selectionSurvivesARefresh() {
        Announced announced;
        announced.robot("a.local", 9559, "10.0.0.1");
        announced.robot("b.local", 9559, "10.0.0.2");
        auto dialog = makeDialog();
        tree(*dialog)->setCurrentItem(row(*dialog, 1));
        announced.withdraw("a.local");
        dialog->updateRobotList();
        QVERIFY(row(*dialog, 0)->isSelected());
        QString ip;
        int port = 0;
        QVERIFY(dialog->getIPandPort(ip, port));
        QCOMPARE(ip, "10.0.0.2");
    }

    // Ctrl and a click on another row select the first one again, and leave the other one current.
    void currentRowThatVanishesLeavesTheSelectedOneChosen() {
        Announced announced;
        for (const char* host : {"a.local", "b.local", "c.local"}) {
            announced.robot(host, 9559, "10.0.0.1");
        }
        auto dialog = makeDialog();
        QTreeWidgetItem* const chosen = row(*dialog, 0);
        tree(*dialog)->setCurrentItem(chosen);
        tree(*dialog)->setCurrentItem(row(*dialog, 1), 0, QItemSelectionModel::NoUpdate);
        QSignalSpy changes(tree(*dialog), &QTreeWidget::itemSelectionChanged);
        announced.withdraw("b.local");
        dialog->updateRobotList();
        QCOMPARE(tree(*dialog)->selectedItems(), QList<QTreeWidgetItem*>{chosen});
        QCOMPARE(changes.count(), 0);
        QString ip;
        int port = 0;
        QVERIFY(dialog->getIPandPort(ip, port));
        QCOMPARE(dialog->getName(), "a");
    }

    // When the current row is removed, a tree selects its neighbour. Connecting would then reach a
    // robot that the user did not choose.
    void selectedRowThatVanishesLeavesNothingChosen() {
        Announced announced;
        for (const char* host : {"a.local", "b.local", "c.local"}) {
            announced.robot(host, 9559, "10.0.0.1");
        }
        auto dialog = makeDialog();
        tree(*dialog)->setCurrentItem(row(*dialog, 1));
        announced.withdraw("b.local");
        dialog->updateRobotList();
        QVERIFY(tree(*dialog)->selectedItems().isEmpty());
        QString ip("untouched");
        int port = 7;
        QVERIFY(!dialog->getIPandPort(ip, port));
        QCOMPARE(ip, "untouched");
        QCOMPARE(port, 7);
    }

    void currentRowThatVanishesDoesNotEndTheFixedAddress() {
        Announced announced;
        for (const char* host : {"a.local", "b.local"}) {
            announced.robot(host, 9559, "10.0.0.1");
        }
        auto dialog = makeDialog();
        tree(*dialog)->setCurrentItem(row(*dialog, 0));
        dialog->findChildren<QCheckBox*>().at(1)->click();
        announced.withdraw("a.local");
        dialog->updateRobotList();
        QVERIFY(tree(*dialog)->selectedItems().isEmpty());
        QVERIFY(dialog->findChildren<QCheckBox*>().at(1)->isChecked());
    }

    void emptyMapEmptiesTheListOverSeveralPasses() {
        auto dialog = [this] {
            Announced announced;
            for (const char* host : {"a.local", "b.local", "c.local", "d.local"}) {
                announced.robot(host, 9559, "");
            }
            return makeDialog();
        }();
        for (const int left : {2, 1, 0}) {
            dialog->updateRobotList();
            QCOMPARE(names(*dialog).size(), left);
        }
    }

    void robotsOwnPictureIsShownOnRobotsAndComputers() {
        Announced announced;
        setIcon(announced.robot("a.local", 9559, ""), png({64, 64}, Qt::magenta));
        setIcon(announced.computer("b.local", 9559, ""), png({64, 64}, Qt::cyan));
        setIcon(announced.robotWithoutMiddleware("c.local", ""), png({64, 64}, Qt::magenta));
        auto dialog = makeDialog();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::magenta));
        QCOMPARE(typeColor(*dialog, 1), QColor(Qt::cyan));
        QCOMPARE(typeColor(*dialog, 2), QColor(Qt::red));
    }

    void pictureThatArrivesLaterIsShown() {
        Announced announced;
        const auto profile = announced.robot("a.local", 9559, "");
        auto dialog = makeDialog();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::green));
        setIcon(profile, png({64, 64}, Qt::magenta));
        dialog->updateRobotList();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::magenta));
    }

    void pictureThatCannotBeUsedFallsBackToTheFile_data() {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray good = png({64, 64}, Qt::magenta);
        QTest::newRow("one byte") << QByteArray("x");
        QTest::newRow("text") << QByteArray("<html>not found</html>");
        QTest::newRow("truncated header") << good.left(20);
        QTest::newRow("too wide") << png({KD::a_largestRobotPicture + 1, 1}, Qt::magenta);
        QTest::newRow("too high") << png({1, KD::a_largestRobotPicture + 1}, Qt::magenta);
        QTest::newRow("20,000 x 20,000") << enormousPng();
        QTest::newRow("too large in an icon file")
            << iconFile(png({KD::a_largestRobotPicture + 1, 1}, Qt::magenta));
        QTest::newRow("too large a screen of a GIF") << QByteArray::fromHex(
            "47494638396102600200800000ff00ffff00ff2c0000000002000200000202845100");
        QTest::newRow("drawing") << QByteArray(
            "<svg xmlns='http://www.w3.org/2000/svg' width='64' height='64'>"
            "<rect width='64' height='64' fill='magenta'/></svg>");
    }

    void pictureThatCannotBeUsedFallsBackToTheFile() {
        QFETCH(QByteArray, bytes);
        Announced announced;
        setIcon(announced.robot("a.local", 9559, ""), bytes);
        auto dialog = makeDialog();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::green));
    }

    void pictureInAnIconFileIsShown() {
        Announced announced;
        setIcon(announced.robot("a.local", 9559, ""), iconFile(png({64, 64}, Qt::magenta)));
        auto dialog = makeDialog();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::magenta));
    }

    /** A picture of the largest body that is downloaded; it would be copied at every update. */
    void refusedBytesAreNotCopied() {
        constexpr int bytes = 4 * 1024 * 1024;
        Announced announced;
        setIcon(announced.robot("robot1.local", 9559, "10.0.0.1"), QByteArray(bytes, 'x'));
        auto dialog = makeDialog();
        largestBlock = 0;
        dialog->updateRobotList();
        QVERIFY(largestBlock > 0);
        QVERIFY2(largestBlock < bytes, std::to_string(largestBlock).c_str());
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::green));
    }

    void largestAllowedPictureIsShown() {
        Announced announced;
        setIcon(announced.robot("a.local", 9559, ""),
                png({KD::a_largestRobotPicture, KD::a_largestRobotPicture}, Qt::magenta));
        auto dialog = makeDialog();
        QCOMPARE(typeColor(*dialog, 0), QColor(Qt::magenta));
    }

    void hostileHostNamesAreShownAsTheyAre_data() {
        QTest::addColumn<QString>("host");
        QTest::newRow("markup") << "<b>bold</b><img src=x>.local";
        QTest::newRow("quotes") << "it's \"quoted\" & more.local";
        QTest::newRow("255 bytes") << QString(255, 'r');
        QTest::newRow("none") << "";
    }

    void hostileHostNamesAreShownAsTheyAre() {
        QFETCH(QString, host);
        Announced announced;
        announced.robot(host.toStdString(), 9559, "10.0.0.1");
        auto dialog = makeDialog();
        QCOMPARE(names(*dialog), QStringList{host});
        clickStar(*dialog, 0);
        QCOMPARE(favourites(), QStringList{host});
        row(*dialog, 0)->setSelected(true);
        dialog->updateRobotList();
        QCOMPARE(names(*dialog), QStringList{host});
    }

    void columnsFitTheirContents() {
        Announced announced;
        announced.robot(std::string(100, 'w') + ".local", 9559, "10.0.0.1");
        auto dialog = makeDialog();
        const QTreeWidget* list = tree(*dialog);
        const int textWidth = list->fontMetrics().horizontalAdvance(
            row(*dialog, 0)->text(BrowseRobotsDialog::a_nameColumn));
        QVERIFY(list->columnWidth(BrowseRobotsDialog::a_nameColumn) >= textWidth);
    }

  private:
    std::unique_ptr<BrowseRobotsDialog> makeDialog() const {
        return std::make_unique<BrowseRobotsDialog>(nullptr, fMedia.path() + "/", QString());
    }

    void drawPicture(const QString& path, const QColor& color) const {
        QImage image(60, 60, QImage::Format_RGB32);
        image.fill(color);
        QVERIFY(image.save(fMedia.filePath(path)));
    }

    // 400 million pixels, of which only the header and the first rows exist.
    static QByteArray enormousPng() {
        QByteArray bytes = png({64, 64}, Qt::magenta);
        qToBigEndian<quint32>(20000, bytes.data() + 16);
        qToBigEndian<quint32>(20000, bytes.data() + 20);
        return bytes;
    }

    static QTreeWidget* tree(const BrowseRobotsDialog& dialog) {
        return dialog.findChild<QTreeWidget*>();
    }

    static QTreeWidgetItem* row(const BrowseRobotsDialog& dialog, int index) {
        return tree(dialog)->topLevelItem(index);
    }

    static QStringList names(const BrowseRobotsDialog& dialog) {
        QStringList result;
        for (int i = 0; i < tree(dialog)->topLevelItemCount(); ++i) {
            result += row(dialog, i)->text(BrowseRobotsDialog::a_nameColumn);
        }
        return result;
    }

    /** Returns name, port, address and kind of each row. */
    static QStringList rowTexts(const BrowseRobotsDialog& dialog) {
        QStringList result;
        for (int i = 0; i < tree(dialog)->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* item = row(dialog, i);
            result += QStringList{item->text(BrowseRobotsDialog::a_nameColumn),
                                  item->text(BrowseRobotsDialog::a_portColumn),
                                  item->text(BrowseRobotsDialog::a_IPColumn),
                                  item->text(BrowseRobotsDialog::a_InfoColumn)}
                          .join('|');
        }
        return result;
    }

    static void clickStar(BrowseRobotsDialog& dialog, int index) {
        dialog.onItemClicked(row(dialog, index), BrowseRobotsDialog::a_favouriteColumn);
    }

    static QColor typeColor(const BrowseRobotsDialog& dialog, int index) {
        return colorOf(row(dialog, index)->icon(BrowseRobotsDialog::a_typeColumn));
    }

    static QColor starColor(const BrowseRobotsDialog& dialog, int index) {
        return colorOf(row(dialog, index)->icon(BrowseRobotsDialog::a_favouriteColumn));
    }

    static QString typeToolTip(const BrowseRobotsDialog& dialog, int index) {
        return row(dialog, index)->toolTip(BrowseRobotsDialog::a_typeColumn);
    }

    static QStringList favourites() {
        QSettings settings;
        settings.sync();
        return settings.value(a_favouritesKey).toStringList();
    }

    QTemporaryDir fMedia;
};

OBVISTA_QTEST_MAIN(ListTest)
#include "list_test.moc"
