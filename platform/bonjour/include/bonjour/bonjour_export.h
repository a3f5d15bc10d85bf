#ifndef BONJOUR_BONJOUR_EXPORT_H
#define BONJOUR_BONJOUR_EXPORT_H

/** Exports a symbol of libbonjour; all others are hidden. */
#define BONJOUR_EXPORT __attribute__((visibility("default")))

#endif
