#include <obvista/viewer/link_state.h>

#include <QCoreApplication>

namespace obvista {

QString endText(LinkState state) {
    switch (state) {
        case LinkState::Connected:
            break;
        case LinkState::Interrupted:
        case LinkState::Lost:
            return QCoreApplication::translate("obvista::LinkState", "The robot is lost.");
        case LinkState::Closed:
            return QCoreApplication::translate("obvista::LinkState", "The connection is closed.");
    }
    return {};
}

}  // namespace obvista
