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

/** Returns the reason of the end as a sentence for users; empty while the link is connected. */
OBVISTA_VIEWER_EXPORT QString endText(LinkState state);

}  // namespace obvista

#endif
