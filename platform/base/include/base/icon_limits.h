#ifndef OBVISTA_BASE_ICON_LIMITS_H
#define OBVISTA_BASE_ICON_LIMITS_H

namespace base {

/**
 * @name Limits of a robot's icon, which docs/announcing.md states
 *
 * The GUI thread decodes each icon once a second, so those of formats whose decoders are slow are
 * smaller. A JPEG is measured without application segments and comments.
 */
///@{
constexpr int a_largestIconSide = 256;                   ///< pixels
constexpr int a_largestIcon = 512 * 1024;                ///< bytes, of all formats
constexpr int a_largestJpegIcon = 80 * 1024;             ///< bytes
constexpr int a_largestProgressiveJpegIcon = 52 * 1024;  ///< bytes; scans revisit coefficients
constexpr int a_largestTextIcon = 40 * 1024;             ///< bytes; PBM, PGM, PPM, XBM and XPM
///@}

}  // namespace base

#endif
