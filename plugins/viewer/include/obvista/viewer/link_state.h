#ifndef OBVISTA_VIEWER_LINK_STATE_H
#define OBVISTA_VIEWER_LINK_STATE_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

namespace obvista {

/** The state of a viewer's link. The last two are ends, of which the first is kept. */
enum class LinkState {
    Connected,
    Interrupted,  ///< the robot is lost, and the link tries to connect again
    Lost,         ///< the robot is gone
    Closed        ///< this side has closed the link
};

/** Returns the reason for which there is no connection as a sentence for users; empty while there
 * is one. */
OBVISTA_VIEWER_EXPORT QString endText(LinkState state);

}  // namespace obvista

#endif
