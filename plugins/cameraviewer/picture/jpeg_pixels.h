#ifndef OBVISTA_CAMERAVIEWER_JPEG_PIXELS_H
#define OBVISTA_CAMERAVIEWER_JPEG_PIXELS_H

#include <QtGlobal>

#include <turbojpeg.h>

namespace cameraviewer {

/** QImage::Format_RGB32 in the JPEG library's words. */
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
constexpr int a_jpegRgb32 = TJPF_BGRX;
#else
constexpr int a_jpegRgb32 = TJPF_XRGB;
#endif

}  // namespace cameraviewer

#endif
