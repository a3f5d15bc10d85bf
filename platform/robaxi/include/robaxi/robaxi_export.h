#ifndef ROBAXI_ROBAXI_EXPORT_H
#define ROBAXI_ROBAXI_EXPORT_H

/** Exports a symbol of librobaxi; all others are hidden. */
#define ROBAXI_EXPORT __attribute__((visibility("default")))

#endif
