#ifndef BONJOUR_BONJOUR_EXPORT_H
#define BONJOUR_BONJOUR_EXPORT_H

/** Marks what libbonjour offers; everything else in the library is hidden. */
#define BONJOUR_EXPORT __attribute__((visibility("default")))

#endif
