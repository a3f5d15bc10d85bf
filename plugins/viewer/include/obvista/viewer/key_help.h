#ifndef OBVISTA_VIEWER_KEY_HELP_H
#define OBVISTA_VIEWER_KEY_HELP_H

#include <obvista/viewer/viewer_export.h>

#include <QKeySequence>
#include <QList>
#include <QString>

#include <vector>

class QAction;

namespace obvista {

/** One or more keys and their effect. */
struct KeyHelp {
    QString fKeys;    ///< Keys, as keyText() writes them
    QString fEffect;  ///< What they do, as a translated text
};

/** The keys of one part of a viewer. */
struct KeyGroup {
    QString fTitle;              ///< Translated heading of the group
    std::vector<KeyHelp> fKeys;  ///< In the order in which they are listed
};

/** Returns a key sequence in the user's notation. */
OBVISTA_VIEWER_EXPORT QString keyText(const QKeySequence& keys);

/** The keys of those actions that have shortcuts; an action's text is the effect. */
OBVISTA_VIEWER_EXPORT KeyGroup keysOf(const QString& title, const QList<QAction*>& actions);

}  // namespace obvista

#endif
