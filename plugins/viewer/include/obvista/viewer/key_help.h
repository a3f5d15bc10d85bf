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
    QString fEffect;  ///< Their effect, translated
};

/** The keys of one part of a viewer. */
struct KeyGroup {
    QString fTitle;              ///< Translated heading of the group
    std::vector<KeyHelp> fKeys;  ///< In the order of the list
};

/** Returns a key sequence in the notation of the user's language and desktop. */
OBVISTA_VIEWER_EXPORT QString keyText(const QKeySequence& keys);

/** Returns a group of those actions that have shortcuts, with all of them; an action's text without
 *  its "&" is the effect. @param title translated */
OBVISTA_VIEWER_EXPORT KeyGroup keysOf(const QString& title, const QList<QAction*>& actions);

}  // namespace obvista

#endif
