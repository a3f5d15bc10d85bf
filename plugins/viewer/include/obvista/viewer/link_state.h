#ifndef OBVISTA_VIEWER_LINK_STATE_H
#define OBVISTA_VIEWER_LINK_STATE_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

namespace obvista {

/** The state of a viewer's link. The first end is kept. */
enum class LinkState {
    Connected,
    Lost,   ///< the robot is gone
    Closed  ///< this side has closed the link
};

/** Why nothing comes any more, as a sentence for the user; empty while the link is connected. */
OBVISTA_VIEWER_EXPORT QString endText(LinkState state);

}  // namespace obvista

#endif
