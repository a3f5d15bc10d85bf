#include "wait_cursor.h"

#include <QApplication>

namespace KD {

WaitCursor::WaitCursor() {
    QApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
}

WaitCursor::~WaitCursor() {
    restoreCursor();
}

void WaitCursor::restoreCursor() {
    QApplication::restoreOverrideCursor();
}

}  // namespace KD
