#ifndef OBVISTA_MEMORYVIEWER_SAVE_ACTIONS_H
#define OBVISTA_MEMORYVIEWER_SAVE_ACTIONS_H

#include <QObject>

class QMenu;

namespace memoryviewer {

/** The ways to save what a plot shows, for all menus that offer them. */
class SaveActions : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;
    void addTo(QMenu& menu);

  Q_SIGNALS:
    void pictureRequested();
    void pointsRequested(bool onlyShown);
};

}  // namespace memoryviewer

#endif
