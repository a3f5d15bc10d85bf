#ifndef OBVISTA_CAMERAVIEWER_YUV_CONVERSION_H
#define OBVISTA_CAMERAVIEWER_YUV_CONVERSION_H

#include <QRgb>

#include <cstddef>

namespace cameraviewer {

/**
 * Converts a row of YUV 4:2:2 (Y0 Cb Y1 Cr for two pixels) to QImage::Format_RGB32, by BT.601 with
 * Y from 16 to 235, in whole numbers:
 *
 *     y = 298 * (Y - 16),  b = Cb - 128,  r = Cr - 128
 *     red   = (y           + 409 * r + 128) / 256
 *     green = (y - 100 * b - 208 * r + 128) / 256
 *     blue  = (y + 516 * b           + 128) / 256
 *
 * each rounded down and then limited to 0 to 255. Both pixels of a pair have the colour of the
 * pair. The result differs by at most 1 from BT.601 in real numbers.
 *
 * @param pixels an even number; source has two bytes for each
 */
void convertYuv422Row(const unsigned char* source, QRgb* target, std::size_t pixels);

}  // namespace cameraviewer

#endif
