#ifndef OBVISTA_VIEWER_VIEWER_EXPORT_H
#define OBVISTA_VIEWER_VIEWER_EXPORT_H

/** Marks the public symbols of libOBVISTA_VIEWER; all others are hidden. */
#define OBVISTA_VIEWER_EXPORT __attribute__((visibility("default")))

#endif
