#include <obvista/viewer/widget_seen.h>

#include <QWidget>
#include <QWindow>

namespace obvista {

bool isSeen(const QWidget& widget) {
    const QWidget* top = widget.window();
    const QWindow* window = top->windowHandle();
    // For Qt a dock in a background tab is visible, but lies outside of its window.
    return widget.isVisible() && !top->isMinimized() && window != nullptr && window->isExposed() &&
           !widget.visibleRegion().isEmpty();
}

}  // namespace obvista
