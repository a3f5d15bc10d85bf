#ifndef OBVISTA_VIEWER_KEY_LIST_H
#define OBVISTA_VIEWER_KEY_LIST_H

#include <obvista/viewer/key_help.h>

#include <QDialog>

namespace obvista {

/** The list of a viewer's keys, opened by F1. */
class KeyList : public QDialog {
    Q_OBJECT

  public:
    KeyList(const QString& title, const std::vector<KeyGroup>& groups, QWidget* parent);
};

}  // namespace obvista

#endif
