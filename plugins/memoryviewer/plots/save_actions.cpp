#include "plots/save_actions.h"

#include <QMenu>

namespace memoryviewer {

void SaveActions::addTo(QMenu& menu) {
    menu.addAction(tr("Save &picture (PNG)\u2026"), this, &SaveActions::pictureRequested);
    menu.addAction(tr("Save p&oints shown (CSV)\u2026"), this,
                   [this] { Q_EMIT pointsRequested(true); });
    menu.addAction(tr("Save all poin&ts (CSV)\u2026"), this,
                   [this] { Q_EMIT pointsRequested(false); });
}

}  // namespace memoryviewer
