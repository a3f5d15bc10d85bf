#include "web/icon.h"

namespace robot {

const TroubleNames<IconTrouble>& iconTroubles() {
    static const TroubleNames<IconTrouble> names{
        {"ok", IconTrouble::None},         {"hang", IconTrouble::Hang},
        {"trickle", IconTrouble::Trickle}, {"404", IconTrouble::Missing},
        {"huge", IconTrouble::Huge},       {"broken", IconTrouble::Broken},
    };
    return names;
}

std::string brokenPicture(const std::string& picture) {
    constexpr std::size_t head = 8;  // the signature of a PNG
    return picture.substr(0, head) + "this is no picture";
}

}  // namespace robot
