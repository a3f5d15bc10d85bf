// The list of robots, updated from the discovery map once a second, and the favourites.

#include "browserobots_dialog.h"
#include "robot_picture.h"

#include <bonjour/bonjour_discovery.h>
#include <robaxi/kv_mutex.h>
#include <robaxi/kv_value.h>

#include <QHeaderView>
#include <QImage>
#include <QItemSelectionModel>
#include <QLayout>
#include <QPixmap>
#include <QScreen>
#include <QScrollBar>
#include <QSettings>
#include <QTreeWidget>

namespace KD {

namespace {

constexpr int a_noMiddleware = -1;  // port of a row without middleware

QString portText(int port) {
    return port == a_noMiddleware ? QString() : QString::number(port);
}

QImage pictureOf(const KVValue& bitmap) {
    return readRobotPicture(
        QByteArray::fromRawData(static_cast<const char*>(bitmap.GetBinary()), bitmap.getSize()));
}

}  // namespace

void BrowseRobotsDialog::updateRobotList() {
    const QSettings settings;
    const QStringList favouriteNames = settings.value(a_favourites_preferences).toStringList();
    const KVCriticalSectionRead mapLock(KV::BonjourDiscovery::fRobaxsMapMutex);

    QList<EntryKey> seenEntries;
    for (const auto& entry : KV::BonjourDiscovery::getMap()) {
        xRefreshProfile(*entry.second, favouriteNames, seenEntries);
    }
    xRemoveVanishedRows(seenEntries);

    xFitColumns();
    update();
}

void BrowseRobotsDialog::onItemClicked(QTreeWidgetItem* item, int column) {
    if (column != a_favouriteColumn || item == nullptr) {
        return;
    }
    const QString hostName = item->text(a_nameColumn);
    QSettings settings;
    QStringList favouriteNames = settings.value(a_favourites_preferences).toStringList();
    const bool favourite = !favouriteNames.contains(hostName);
    updateFavouriteIcon(item, favourite);
    if (favourite) {
        favouriteNames.append(hostName);
    } else {
        favouriteNames.removeAll(hostName);
    }
    settings.setValue(a_favourites_preferences, favouriteNames);
}

void BrowseRobotsDialog::updateFavouriteIcon(QTreeWidgetItem* item, bool favourite) {
    if (item == nullptr) {
        return;
    }
    const QString& image = favourite ? a_favourite_on_image : a_favourite_off_image;
    item->setIcon(a_favouriteColumn, QIcon(fImageFolder + image));
    item->setData(a_favouriteColumn, Qt::AccessibleTextRole,
                  favourite ? tr("Favourite") : tr("No favourite"));
}

QTreeWidgetItem* BrowseRobotsDialog::hasRobaxi(const QString& hostName, int port) {
    return fRows.value(EntryKey(hostName, port));
}

BrowseRobotsDialog::EntryKey BrowseRobotsDialog::xKeyOf(const QTreeWidgetItem& row) {
    const QString port = row.text(a_portColumn);
    return EntryKey(row.text(a_nameColumn), port.isEmpty() ? a_noMiddleware : port.toInt());
}

void BrowseRobotsDialog::xRefreshProfile(const KV::BonjourProfile& profile,
                                         const QStringList& favouriteNames,
                                         QList<EntryKey>& seenEntries) {
    const QString hostName = QString::fromLatin1(profile.fHostName.c_str());
    const QString ip = QString::fromLatin1(profile.fIP.c_str());
    bool hasMiddleware = false;
    for (const KV::BonjourService& service : profile.fServices) {
        if (service.fType != KV::BonjourDiscovery::fRobaxiServiceType) {
            continue;
        }
        hasMiddleware = true;
        seenEntries.append(EntryKey(hostName, service.fPort));
        // Set on every update: the icon may have been downloaded since the last one, and the host
        // may have become a robot.
        xShowMiddleware(xRefreshRow(hostName, service.fPort, ip, favouriteNames), profile);
    }
    if (!hasMiddleware) {
        seenEntries.append(EntryKey(hostName, a_noMiddleware));
        xRefreshRow(hostName, a_noMiddleware, ip, favouriteNames);
    }
}

QTreeWidgetItem* BrowseRobotsDialog::xRefreshRow(const QString& hostName, int port,
                                                 const QString& ip,
                                                 const QStringList& favouriteNames) {
    if (QTreeWidgetItem* row = hasRobaxi(hostName, port)) {
        xShowIP(row, ip);
        return row;
    }
    QTreeWidgetItem* row = xNewRow(hostName, port, ip);
    xPlaceRow(row, favouriteNames);
    return row;
}

QTreeWidgetItem* BrowseRobotsDialog::xNewRow(const QString& hostName, int port,
                                             const QString& ip) const {
    auto* row = new QTreeWidgetItem;
    row->setText(a_nameColumn, hostName);
    row->setText(a_portColumn, portText(port));
    xShowIP(row, ip);
    row->setToolTip(a_favouriteColumn,
                    tr("Clicking on this column will make this robot one of your favorites. "
                       "Favourite robots appear on the top."));
    if (port == a_noMiddleware) {
        xShowNoMiddleware(row);
    }
    return row;
}

void BrowseRobotsDialog::xShowMiddleware(QTreeWidgetItem* row,
                                         const KV::BonjourProfile& profile) const {
    const bool isRobot = profile.hasService(KV::BonjourDiscovery::fRobaxServiceType);
    row->setIcon(a_typeColumn,
                 xProfileIcon(profile, isRobot ? a_robot_on_image : a_computer_image));
    row->setToolTip(
        a_typeColumn,
        isRobot
            ? tr("This is a robot with a running Robaxi. Right click to make its face LEDs blink")
            : tr("This Robaxi is running on a computer."));
    row->setData(a_typeColumn, Qt::AccessibleTextRole, isRobot ? tr("Robot") : tr("Computer"));
    row->setText(a_InfoColumn, QString::number(isRobot ? RobotKind : ComputerKind));
}

void BrowseRobotsDialog::xShowNoMiddleware(QTreeWidgetItem* row) const {
    row->setIcon(a_typeColumn, QIcon(fImageFolder + a_robot_off_image));
    row->setToolTip(a_typeColumn, tr("This robot does not have a running Robaxi."));
    row->setData(a_typeColumn, Qt::AccessibleTextRole, tr("Robot without Robaxi"));
    //: in the column "Port"
    row->setData(a_portColumn, Qt::AccessibleTextRole, tr("No port"));
    row->setText(a_InfoColumn, QString::number(NoMiddlewareKind));
}

void BrowseRobotsDialog::xShowIP(QTreeWidgetItem* row, const QString& ip) {
    row->setText(a_IPColumn, ip);
    //: in the column "IP": the address is still being looked up
    row->setData(a_IPColumn, Qt::AccessibleTextRole, ip.isEmpty() ? tr("No IP yet") : ip);
}

QIcon BrowseRobotsDialog::xProfileIcon(const KV::BonjourProfile& profile,
                                       const QString& fileIcon) const {
    // Larger bytes are refused, and copying them at every update would take most of its time.
    if (profile.hasBitmapBinary() && profile.bitmapSize() <= a_mostRobotPictureBytes) {
        const KVCriticalSectionRead profileLock(profile.fMutex);
        const QImage image = pictureOf(profile.getBitmapBinary());
        if (!image.isNull()) {
            return QIcon(QPixmap::fromImage(image));
        }
    }
    return QIcon(fImageFolder + fileIcon);
}

void BrowseRobotsDialog::xPlaceRow(QTreeWidgetItem* row, const QStringList& favouriteNames) {
    const bool favourite = favouriteNames.contains(row->text(a_nameColumn));
    updateFavouriteIcon(row, favourite);
    fRows.insert(xKeyOf(*row), row);
    if (!favourite) {
        fRobotTree->addTopLevelItem(row);
        return;
    }
    fRobotTree->insertTopLevelItem(0, row);
    if (fRobotTree->selectedItems().isEmpty()) {
        row->setSelected(true);
    }
}

void BrowseRobotsDialog::xRemoveVanishedRows(const QList<EntryKey>& seenEntries) {
    // The row that follows a removed one is checked in the next update only, so that neighbours
    // that disappear together are removed one after the other.
    for (int index = 0; index < fRobotTree->topLevelItemCount(); ++index) {
        if (!seenEntries.contains(xKeyOf(*fRobotTree->topLevelItem(index)))) {
            xDetachRow(index);
        }
    }
}

void BrowseRobotsDialog::xFitColumns() {
    for (const int column : {a_favouriteColumn, a_nameColumn, a_portColumn, a_IPColumn}) {
        fRobotTree->resizeColumnToContents(column);
    }
}

/** Returns the size that shows some typical rows completely, limited by the screen. */
QSize BrowseRobotsDialog::xInitialSize() {
    constexpr int rowCount = 6;
    QSize listSize;
    {
        QTreeWidgetItem sample(fRobotTree,
                               {QString(), QString(), QStringLiteral("robot12.local"),
                                QStringLiteral("65535"), QStringLiteral("255.255.255.255")});
        sample.setIcon(a_favouriteColumn, QIcon(QPixmap(a_icon_size)));
        xFitColumns();
        // The section of the last column is stretched.
        const QAbstractItemView* const view = fRobotTree;
        listSize = QSize(
            fRobotTree->header()->sectionPosition(a_IPColumn) + view->sizeHintForColumn(a_IPColumn),
            fRobotTree->header()->sizeHint().height() +
                rowCount * fRobotTree->visualItemRect(&sample).height());
    }
    const int scrollBar = fRobotTree->verticalScrollBar()->sizeHint().width();
    const int frame = 2 * fRobotTree->frameWidth();
    listSize += QSize(scrollBar + frame, frame);
    // In a narrow window the fields for a fixed address get less room, so that names are visible.
    fRobotTree->setMinimumWidth(fRobotTree->header()->sectionPosition(a_portColumn) + scrollBar +
                                frame);
    return (layout()->sizeHint() - fRobotTree->sizeHint() + listSize)
        .boundedTo(screen()->availableSize())
        .expandedTo(minimumSize());
}

void BrowseRobotsDialog::xDetachRow(int index) {
    // When its current row is removed, a tree makes a neighbour the current row and selects it, and
    // "Connect to" would reach another robot than the chosen one.
    const QTreeWidgetItem* const row = fRobotTree->topLevelItem(index);
    if (row->isSelected()) {
        fRobotTree->selectionModel()->clear();
    } else if (row == fRobotTree->currentItem()) {
        fRobotTree->selectionModel()->clearCurrentIndex();
    }
    fDetachedRows.emplace_back(fRobotTree->takeTopLevelItem(index));
    fRows.remove(xKeyOf(*fDetachedRows.back()));
}

}  // namespace KD
