// The actions of the context menu: web page, LED test, address refresh, text for a behaviour
// editor.

#include "bonjour_listening_thread.h"
#include "browserobots_dialog.h"

#include <bonjour/bonjour_discovery.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_mutex.h>
#include <robaxi/kv_proxy.h>

#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QMenu>
#include <QMessageBox>
#include <QTreeWidget>
#include <QUrl>

namespace KD {

namespace {

/**
 * Returns the address of a robot's web page; invalid if the host name is. The host name comes from
 * the network: setting it as the host prevents it from adding a user, a port or a path, which a
 * concatenated text could.
 */
QUrl webPage(const QString& hostName) {
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(hostName);
    return url.host().isEmpty() ? QUrl() : url;
}

}  // namespace

void BrowseRobotsDialog::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    const QList<QTreeWidgetItem*> rows = fRobotTree->selectedItems();
    if (rows.isEmpty()) {
        return;
    }
    const bool single = rows.size() == 1;
    const bool onComputer = rows.first()->text(a_InfoColumn) == QString::number(ComputerKind);
    const bool hasPort = fPort != 0;

    QMenu menu(this);
    const auto addAction = [&](const QString& text, const char* slot, bool enabled) {
        menu.addAction(text, this, slot, QKeySequence())->setEnabled(enabled);
    };
    addAction(tr("View web page"), SLOT(onViewWebPage()), single && !onComputer);
    addAction(tr("Test LEDs"), SLOT(onTestLEDs()), single && !onComputer && hasPort);
    addAction(tr("Refresh IP"), SLOT(refreshIP()), single);
    if (!fClipboardText.isEmpty()) {
        addAction(tr("Send clipboard"), SLOT(onSendClipboardContents()),
                  single && onComputer && hasPort);
    }
    menu.exec(event->globalPos());
}

void BrowseRobotsDialog::onViewWebPage() {
    const QTreeWidgetItem* row = xSelectedRow();
    if (row == nullptr) {
        return;
    }
    const QUrl url = webPage(row->text(a_nameColumn));
    if (!url.isValid() || !QDesktopServices::openUrl(url)) {
        QMessageBox::warning(this, tr("Cannot access to web page"),
                             tr("Application was not able to open your default web browser."),
                             QMessageBox::Ok, QMessageBox::NoButton);
    }
}

void BrowseRobotsDialog::onTestLEDs() {
    try {
        KVProxy leds("KVLeds", fIP.toLatin1().toStdString(), fPort,
                     BonjourListeningThread::getLightBonjourBroker(), a_timeOutProxy, 0);
        leds.pCall<float>("rasta", 1.0F);
    } catch (const KVError&) {
        xShowError(tr("Could not test Leds on this robot."));
    }
}

void BrowseRobotsDialog::onSendClipboardContents() {
    if (fClipboardText.isEmpty()) {
        return;
    }
    try {
        KVProxy editor("KVBallamor", fIP.toLatin1().toStdString(), fPort,
                       BonjourListeningThread::getLightBonjourBroker(), a_timeOutProxy, 0);
        editor.callVoid<std::string>("sendClipboard", fClipboardText.toLatin1().toStdString());
    } catch (const KVError&) {
        xShowError(
            tr("Could not send clipboard to this robot : no Ballamor seems to be connected."));
    }
}

bool BrowseRobotsDialog::refreshIP() {
    const QTreeWidgetItem* row = xSelectedRow();
    if (row == nullptr) {
        return false;
    }
    const QString hostName = row->text(a_nameColumn);
    const QString newIP = lookupName(hostName);
    if (newIP.isEmpty() || newIP == fIP) {
        return false;
    }
    // The read lock is sufficient: all other code that writes addresses runs on this thread, and
    // the library's threads change the map under the write lock.
    const KVCriticalSectionRead mapLock(KV::BonjourDiscovery::fRobaxsMapMutex);
    for (const auto& entry : KV::BonjourDiscovery::getMap()) {
        KV::BonjourProfile& profile = *entry.second;
        if (QString::fromLatin1(profile.fHostName.c_str()) == hostName) {
            profile.fIP = newIP.toLatin1().toStdString();
            fIP = newIP;
            break;
        }
    }
    return true;
}

}  // namespace KD
