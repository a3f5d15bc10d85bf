#ifndef ROBAXI_ROBAXI_EXPORT_H
#define ROBAXI_ROBAXI_EXPORT_H

/** Marks what librobaxi offers; everything else in the library is hidden. */
#define ROBAXI_EXPORT __attribute__((visibility("default")))

#endif
