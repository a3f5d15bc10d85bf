#include "browserobots_dialog.h"

#include "error_dialog.h"
#include "wait_cursor.h"

#include <base/lookups.h>
#include <bonjour/bonjour_discovery.h>

#include <QAbstractSocket>
#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHostInfo>
#include <QIntValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QShortcut>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <chrono>
#include <limits>
#include <optional>

namespace KD {

namespace {

const QString a_defaultIPKey = QStringLiteral("BrowseRobotsDialog::defaultIP");
const QString a_defaultPortKey = QStringLiteral("BrowseRobotsDialog::defaultPort");
const QString a_defaultUsePortKey = QStringLiteral("BrowseRobotsDialog::defaultUsePort");
const QString a_defaultUseIPKey = QStringLiteral("BrowseRobotsDialog::defaultUseIP");

constexpr int a_refreshInterval = 1000;  // ms
constexpr std::chrono::seconds a_longestLookUp(5);

/**
 * Looks a host name up as QHostInfo::fromName() does, but gives up after a time: the system's
 * resolver waits without end for an Avahi daemon that does not answer.
 */
QHostInfo lookUpHost(const QString& hostName) {
    const auto ask = [hostName] { return QHostInfo::fromName(hostName); };
    const auto end = std::chrono::steady_clock::now() + a_longestLookUp;
    if (const std::optional<QHostInfo> answer = base::answerInTime(end, ask)) {
        return *answer;
    }
    QHostInfo failure;
    failure.setHostName(hostName);
    failure.setError(QHostInfo::UnknownError);
    return failure;
}

}  // namespace

const QSize BrowseRobotsDialog::a_icon_size(60, 60);

const QString BrowseRobotsDialog::a_computer_image = QStringLiteral("images/bonjour/computer.png");
const QString BrowseRobotsDialog::a_robot_off_image =
    QStringLiteral("images/bonjour/robot_off.png");
const QString BrowseRobotsDialog::a_robot_on_image = QStringLiteral("images/bonjour/robot_on.png");
const QString BrowseRobotsDialog::a_favourite_on_image =
    QStringLiteral("images/bonjour/star_on.png");
const QString BrowseRobotsDialog::a_favourite_off_image =
    QStringLiteral("images/bonjour/star_off.png");
const QString BrowseRobotsDialog::a_favourites_preferences =
    QStringLiteral("Preferences/favouritesRobots");

BrowseRobotsDialog::BrowseRobotsDialog(QWidget* parent, const QString& imageFolder,
                                       const QString& clipboardText)
    : QDialog(parent),
      fRobotTree(nullptr),
      fRefreshTimer(nullptr),
      fImageFolder(imageFolder),
      fClipboardText(clipboardText),
      fIP(QLatin1String("")),
      fPort(0),
      fPortEdit(nullptr),
      fIPEdit(nullptr),
      fUseIPCheck(nullptr) {
    setWindowTitle(tr("Browse robots"));
    setMinimumSize(750, 480);

    auto* mainLayout = new QVBoxLayout(this);
    auto* topLayout = new QHBoxLayout;
    auto* connectButton = new QPushButton(tr("Connect to"));
    fRobotTree = new QTreeWidget;
    fRobotTree->setIconSize(a_icon_size);
    fRobotTree->setHeaderLabels({QString(), QStringLiteral("Type"), QStringLiteral("Name"),
                                 QStringLiteral("Port"), QStringLiteral("IP")});
    fRobotTree->headerItem()->setData(a_favouriteColumn, Qt::AccessibleTextRole, tr("Favourite"));
    fRobotTree->setAttribute(Qt::WA_MouseTracking);
    fRobotTree->setRootIsDecorated(false);
    auto* cancelButton = new QPushButton(tr("Cancel"));

    connect(cancelButton, SIGNAL(clicked()), this, SLOT(reject()));
    connect(connectButton, SIGNAL(clicked()), this, SLOT(onOk()));
    connect(fRobotTree, SIGNAL(itemClicked(QTreeWidgetItem*, int)), this,
            SLOT(onItemClicked(QTreeWidgetItem*, int)));
    connect(fRobotTree, SIGNAL(itemDoubleClicked(QTreeWidgetItem*, int)), this,
            SLOT(onItemDoubleClicked(QTreeWidgetItem*, int)));
    connect(fRobotTree, SIGNAL(itemSelectionChanged()), this, SLOT(onItemSelectionChanged()));

    auto* buttonLayout = new QHBoxLayout;
    buttonLayout->addStretch(1);
    buttonLayout->addWidget(cancelButton, 0);
    buttonLayout->addWidget(connectButton, 0);

    auto* optionsLayout = new QVBoxLayout;
    auto* usePortCheck = new QCheckBox(tr("Use fixed port"));
    fPortEdit = new QLineEdit;
    fPortEdit->setValidator(new QIntValidator(0, std::numeric_limits<int>::max(), fPortEdit));
    usePortCheck->setToolTip(tr("If you do not want to use the port returned by Bonjour"));
    fUseIPCheck = new QCheckBox(tr("Use fixed IP/hostname"));
    fIPEdit = new QLineEdit;
    // The tool tip of the address box is on the port box, where users expect it; the address box
    // has none.
    usePortCheck->setToolTip(
        tr("If you want to connect to a robot that does not appear in the list"));

    connect(fUseIPCheck, SIGNAL(toggled(bool)), this, SLOT(onUseFixedIP(bool)));
    connect(this, SIGNAL(useFixedIP(bool)), fIPEdit, SLOT(setEnabled(bool)));
    connect(this, SIGNAL(setFixedIP(QString)), fIPEdit, SLOT(setText(QString)));
    connect(usePortCheck, SIGNAL(toggled(bool)), this, SLOT(onUseFixedPort(bool)));
    connect(this, SIGNAL(useFixedPort(bool)), fPortEdit, SLOT(setEnabled(bool)));
    connect(this, SIGNAL(setFixedPort(QString)), fPortEdit, SLOT(setText(QString)));
    connect(this, SIGNAL(changePortState(bool)), usePortCheck, SLOT(setChecked(bool)));
    connect(this, SIGNAL(useFixedIP(bool)), usePortCheck, SLOT(setDisabled(bool)));

    // Restored after the connections are made, so that a saved fixed address checks and disables
    // the port box as a click would.
    const QSettings settings;
    Q_EMIT setFixedIP(settings.value(a_defaultIPKey, QStringLiteral("127.0.0.1")).toString());
    Q_EMIT setFixedPort(QString::number(
        settings.value(a_defaultPortKey, KV::BonjourDiscovery::fDefaultRobaxiPort).toInt()));
    usePortCheck->setChecked(settings.value(a_defaultUsePortKey, false).toBool());
    fPortEdit->setEnabled(settings.value(a_defaultUsePortKey, false).toBool());
    fUseIPCheck->setChecked(settings.value(a_defaultUseIPKey, false).toBool());
    fIPEdit->setEnabled(settings.value(a_defaultUseIPKey, false).toBool());

    auto* optionsGrid = new QGridLayout;
    optionsGrid->addWidget(usePortCheck, 0, 0);
    optionsGrid->addWidget(fPortEdit, 0, 1);
    optionsGrid->addWidget(fUseIPCheck, 1, 0);
    optionsGrid->addWidget(fIPEdit, 1, 1);
    optionsLayout->addLayout(optionsGrid);
    optionsLayout->addStretch(0);
    topLayout->addWidget(fRobotTree, 50);
    topLayout->addLayout(optionsLayout);
    mainLayout->addLayout(topLayout);
    mainLayout->addLayout(buttonLayout);

    fRobotTree->setAccessibleName(tr("Robots"));
    fRobotTree->setAccessibleDescription(
        tr("Ctrl+D makes the selected robot a favourite, or no longer one."));
    fPortEdit->setAccessibleName(usePortCheck->text());
    fIPEdit->setAccessibleName(fUseIPCheck->text());
    connectButton->setDefault(true);
    auto* favouriteKeys = new QShortcut(QKeySequence(QStringLiteral("Ctrl+D")), this);
    favouriteKeys->setAutoRepeat(false);
    connect(favouriteKeys, &QShortcut::activated, this,
            [this] { onItemClicked(xSelectedRow(), a_favouriteColumn); });
    resize(xInitialSize());

    fRefreshTimer = new QTimer(this);
    fRefreshTimer->setInterval(a_refreshInterval);
    connect(fRefreshTimer, SIGNAL(timeout()), this, SLOT(updateRobotList()));
    updateRobotList();
    fRefreshTimer->start();
}

BrowseRobotsDialog::~BrowseRobotsDialog() = default;

bool BrowseRobotsDialog::getIPandPort(QString& ip, int& port) {
    if (fIP.isEmpty() || fPort == 0) {
        return false;
    }
    ip = fIP;
    port = fPort;
    return true;
}

QString BrowseRobotsDialog::getName() const {
    return fName.isEmpty() ? fIP : fName;
}

QString BrowseRobotsDialog::lookupName(const QString& host) {
    const WaitCursor waitCursor;
    const QHostInfo info = lookUpHost(host);
    if (info.error() != QHostInfo::NoError) {
        return QLatin1String("");
    }
    const QList<QHostAddress> addresses = info.addresses();
    for (const QHostAddress& address : addresses) {
        if (address.protocol() != QAbstractSocket::IPv6Protocol) {
            return address.toString();
        }
    }
    return QLatin1String("");
}

void BrowseRobotsDialog::onOk() {
    QSettings settings;
    // Both "use" flags are saved even if a later check fails: they are the user's settings.
    settings.setValue(a_defaultUseIPKey, fIPEdit->isEnabled());
    if (fIPEdit->isEnabled()) {
        fIP = fIPEdit->text();
        fName = QLatin1String("");
        if (fIP.isEmpty()) {
            xShowError(tr("Please enter a correct hostname"));
            return;
        }
        settings.setValue(a_defaultIPKey, fIP);
    } else if (fIP.isEmpty()) {
        xShowError(tr("Please select a robot from the list"));
        return;
    }

    settings.setValue(a_defaultUsePortKey, fPortEdit->isEnabled());
    if (fPortEdit->isEnabled()) {
        fPort = fPortEdit->text().toInt();
        if (fPort == 0) {
            xShowError(tr("Please enter a valid port"));
            return;
        }
        settings.setValue(a_defaultPortKey, fPort);
    } else if (fPort == 0) {
        xShowNoRobaxi();
        return;
    }
    accept();
}

void BrowseRobotsDialog::onItemDoubleClicked(QTreeWidgetItem* /*item*/, int /*column*/) {
    // The first click of a double click has selected the row and set the port.
    if (fPort == 0) {
        xShowNoRobaxi();
        return;
    }
    accept();
}

void BrowseRobotsDialog::onItemSelectionChanged() {
    QTreeWidgetItem* row = xSelectedRow();
    if (row == nullptr) {
        fIP = QLatin1String("");
        fPort = 0;
        return;
    }
    fUseIPCheck->setChecked(false);
    const QString hostName = row->text(a_nameColumn);
    fName = hostName.section(QLatin1Char('.'), 0, 0);
    fIP = row->text(a_IPColumn);
    if (fIP.isEmpty()) {
        fIP = lookupName(hostName);
        xShowIP(row, fIP);
    }
    if (fIP.isEmpty()) {
        fIP = hostName;
    }
    fPort = row->text(a_portColumn).toInt();
}

void BrowseRobotsDialog::onUseFixedPort(bool on) {
    Q_EMIT useFixedPort(on);
}

void BrowseRobotsDialog::onUseFixedIP(bool on) {
    if (!on) {
        Q_EMIT useFixedIP(false);
        return;
    }
    fRobotTree->clearSelection();
    Q_EMIT useFixedIP(true);
    Q_EMIT changePortState(true);
}

void BrowseRobotsDialog::xShowError(const QString& text) {
    ErrorDialog dialog(tr("Error"), text, this, QMessageBox::NoButton);
    dialog.displayDialog();
}

void BrowseRobotsDialog::xShowNoRobaxi() {
    xShowError(
        tr("Robaxi is not running on this robot.\nPlease select another robot, or try to force the "
           "port."));
}

QTreeWidgetItem* BrowseRobotsDialog::xSelectedRow() const {
    const QList<QTreeWidgetItem*> rows = fRobotTree->selectedItems();
    return rows.size() == 1 ? rows.first() : nullptr;
}

}  // namespace KD
