#ifndef OBVISTA_VIEWER_SPEED_TEXT_H
#define OBVISTA_VIEWER_SPEED_TEXT_H

#include <QString>

namespace obvista {

/** Returns the speed of a replay, for instance "0.5×". */
inline QString speedText(double speed) {
    return QStringLiteral("%1\u00D7").arg(speed);
}

}  // namespace obvista

#endif
