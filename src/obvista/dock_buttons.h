#ifndef OBVISTA_DOCK_BUTTONS_H
#define OBVISTA_DOCK_BUTTONS_H

class QDockWidget;

namespace obvista {

/**
 * Keeps the float and close buttons of a dock visible on dark palettes, on which they are drawn in
 * the colour of text: the icons of some styles are black. On light palettes they look as the style
 * draws them. Palettes may change while the dock exists.
 */
void keepButtonsVisible(QDockWidget* dock);

}  // namespace obvista

#endif
