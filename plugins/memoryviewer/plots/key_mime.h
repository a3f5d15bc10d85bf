#ifndef OBVISTA_MEMORYVIEWER_KEY_MIME_H
#define OBVISTA_MEMORYVIEWER_KEY_MIME_H

#include <QStringList>

class QMimeData;

namespace memoryviewer {

/** MIME type for dragging names of keys inside the viewer. */
constexpr char a_keyMimeType[] = "application/x-obvista-keys";

/** Returns names of keys for a drag, also as plain text. The caller owns the result. */
QMimeData* keysToMime(const QStringList& names);

/** Returns the names in dragged data; empty for other data. */
QStringList keysFromMime(const QMimeData* data);

}  // namespace memoryviewer

#endif
