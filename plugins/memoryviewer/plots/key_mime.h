#ifndef OBVISTA_MEMORYVIEWER_KEY_MIME_H
#define OBVISTA_MEMORYVIEWER_KEY_MIME_H

#include <QStringList>

class QMimeData;

namespace memoryviewer {

/** The form in which names of keys are dragged inside the viewer. */
constexpr char a_keyMimeType[] = "application/x-obvista-keys";

/** Names of keys for a drag, as plain text too. The caller owns the result. */
QMimeData* keysToMime(const QStringList& names);

/** The names in what is dragged; none when it is something else. */
QStringList keysFromMime(const QMimeData* data);

}  // namespace memoryviewer

#endif
