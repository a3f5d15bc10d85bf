#ifndef OBVISTA_DESKTOP_BROWSEROBOTS_DIALOG_H
#define OBVISTA_DESKTOP_BROWSEROBOTS_DIALOG_H

#include <bonjour/bonjour_profile.h>

#include <QDialog>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QPair>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class QCheckBox;
class QLineEdit;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

namespace KD {

/**
 * The modal dialog in which the user chooses the robot, or the computer, to connect to: from the
 * list of discovered ones, or by a fixed address and port.
 *
 * The caller creates it, runs exec(), calls getIPandPort() if it was accepted, and destroys it.
 * While it exists, a timer updates the list from the discovery map once a second.
 *
 * GUI thread only. Operations that resolve a host name or call a robot block it, as documented
 * below.
 *
 * The source is in three files: the choice of a connection in browserobots_dialog.cpp, the list of
 * robots in browserobots_dialog_list.cpp, the actions on a robot in
 * browserobots_dialog_actions.cpp.
 */
class BrowseRobotsDialog : public QDialog {
    Q_OBJECT

  public:
    static constexpr int a_favouriteColumn = 0;  ///< star, toggled by a click
    static constexpr int a_typeColumn = 1;       ///< icon for the kind of the entry
    static constexpr int a_nameColumn = 2;       ///< host name as announced
    static constexpr int a_portColumn = 3;       ///< middleware port, decimal, or empty
    static constexpr int a_IPColumn = 4;         ///< IPv4 address, or empty until resolved
    static constexpr int a_InfoColumn = 5;       ///< code of the row kind; has no header, so hidden
    static constexpr int a_timeOutProxy = 2;     ///< seconds, for every remote call
    static const QSize a_icon_size;

    static const QString a_computer_image;
    static const QString a_robot_off_image;
    static const QString a_robot_on_image;
    static const QString a_favourite_on_image;
    static const QString a_favourite_off_image;
    static const QString a_favourites_preferences;

    /**
     * @param parent the window over which the dialog is modal
     * @param imageFolder prefix of the relative path of every icon, used as it is
     * @param clipboardText text for "Send clipboard"; the action is not offered if it is empty
     */
    BrowseRobotsDialog(QWidget* parent, const QString& imageFolder, const QString& clipboardText);
    ~BrowseRobotsDialog() override;

    /**
     * Returns the chosen address (or host name) and port.
     *
     * @return false, with both arguments unchanged, if the selection cannot be connected to
     */
    bool getIPandPort(QString& ip, int& port);

    /** Returns the chosen robot's short name, or its address if it has none. */
    QString getName() const;

    /**
     * Resolves a host name. Blocks with a busy cursor until the system's resolver has answered, for
     * five seconds at most.
     *
     * @return the first IPv4 address, or an empty string if there is none or no answer
     */
    QString lookupName(const QString& host);

    /**
     * Returns the row of one middleware.
     *
     * @param port the middleware's port, or -1 for the row of a host without middleware
     * @return null if there is no such row
     */
    QTreeWidgetItem* hasRobaxi(const QString& hostName, int port);

    /** Updates the favourite icon of a row; null is ignored. */
    void updateFavouriteIcon(QTreeWidgetItem* item, bool favourite);

  Q_SIGNALS:
    void useFixedPort(bool);
    void setFixedPort(QString);
    void useFixedIP(bool);
    void setFixedIP(QString);
    void changePortState(bool);

  public Q_SLOTS:
    /**
     * Resolves the selected row's host name again, blocking, and uses the new address.
     *
     * @return true if there is a new address: exactly one row is selected, its name resolves, and
     *         the address differs from the chosen one
     */
    bool refreshIP();
    /**
     * Checks and saves the choice and accepts the dialog; otherwise reports the problem and stays
     * open.
     */
    void onOk();
    /** Updates the list from the discovery map once. */
    void updateRobotList();
    void onItemClicked(QTreeWidgetItem* item, int column);
    void onItemDoubleClicked(QTreeWidgetItem* item, int column);
    void onItemSelectionChanged();
    void onUseFixedPort(bool);
    void onUseFixedIP(bool);
    void onViewWebPage();
    void onTestLEDs();
    void onSendClipboardContents();

  protected:
    void contextMenuEvent(QContextMenuEvent*) override;

  private:
    using EntryKey = QPair<QString, int>;  // host name and port, -1 without middleware

    /** Kind of a row; stored as a number in a_InfoColumn. */
    enum RowKind { ComputerKind = 0, NoMiddlewareKind = 1, RobotKind = 2 };

    void xShowError(const QString& text);
    void xShowNoRobaxi();
    QTreeWidgetItem* xSelectedRow() const;

    void xRefreshProfile(const KV::BonjourProfile& profile, const QStringList& favouriteNames,
                         QList<EntryKey>& seenEntries);
    QTreeWidgetItem* xRefreshRow(const QString& hostName, int port, const QString& ip,
                                 const QStringList& favouriteNames);
    QTreeWidgetItem* xNewRow(const QString& hostName, int port, const QString& ip) const;
    void xShowMiddleware(QTreeWidgetItem* row, const KV::BonjourProfile& profile) const;
    void xShowNoMiddleware(QTreeWidgetItem* row) const;
    static void xShowIP(QTreeWidgetItem* row, const QString& ip);
    QIcon xProfileIcon(const KV::BonjourProfile& profile, const QString& fileIcon) const;
    void xPlaceRow(QTreeWidgetItem* row, const QStringList& favouriteNames);
    static EntryKey xKeyOf(const QTreeWidgetItem& row);
    void xRemoveVanishedRows(const QList<EntryKey>& seenEntries);
    void xDetachRow(int index);
    void xFitColumns();
    QSize xInitialSize();

    QTreeWidget* fRobotTree;
    QTimer* fRefreshTimer;
    QString fImageFolder;
    QString fClipboardText;
    QString fIP;
    int fPort;
    QString fName;
    QLineEdit* fPortEdit;
    QLineEdit* fIPEdit;
    QCheckBox* fUseIPCheck;
    QHash<EntryKey, QTreeWidgetItem*> fRows;  // all rows of the tree; keys never change
    // A caller up the stack may still use a row that an update removes from the tree, so such rows
    // live as long as the dialog.
    std::vector<std::unique_ptr<QTreeWidgetItem>> fDetachedRows;
};

}  // namespace KD

#endif
