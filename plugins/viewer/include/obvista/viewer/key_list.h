#ifndef OBVISTA_VIEWER_KEY_LIST_H
#define OBVISTA_VIEWER_KEY_LIST_H

#include <QDialog>
#include <QKeySequence>
#include <QString>

#include <vector>

class QAction;

namespace viewer {

/** One or more keys of the keyboard and their effect. */
struct KeyHelp {
    QString fKeys;
    QString fEffect;
};

/** The keys of one part of a viewer. */
struct KeyGroup {
    QString fTitle;
    std::vector<KeyHelp> fKeys;
};

/** A key sequence as the user reads it. */
QString keyText(const QKeySequence& keys);
/** Those of the actions that have shortcuts. */
KeyGroup keysOf(const QString& title, const QList<QAction*>& actions);

/** The list of a viewer's keys that F1 opens. */
class KeyList : public QDialog {
    Q_OBJECT

  public:
    KeyList(const QString& title, const std::vector<KeyGroup>& groups, QWidget* parent);
};

}  // namespace viewer

#endif
