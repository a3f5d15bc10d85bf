#ifndef OBVISTA_ROBOT_WEB_ICON_H
#define OBVISTA_ROBOT_WEB_ICON_H

#include "trouble_names.h"

#include <cstdint>
#include <string>

namespace robot {

/** Faults of the icon that a robot serves. */
enum class IconTrouble {
    None,
    Hang,     ///< the request is accepted and never answered
    Trickle,  ///< the answer is sent at one byte a second
    Missing,  ///< the answer is 404
    Huge,     ///< the answer is 64 MiB long
    Broken    ///< the answer is not a picture, though it begins like one
};

const TroubleNames<IconTrouble>& iconTroubles();

/** Returns a broken icon: the first bytes of a picture, then something else. */
std::string brokenPicture(const std::string& picture);

/** Size of the oversized icon in bytes. */
constexpr std::uint64_t a_hugeIconSize = 64ULL * 1024 * 1024;

}  // namespace robot

#endif
