#ifndef OBVISTA_TESTS_SUPPORT_CONTRAST_H
#define OBVISTA_TESTS_SUPPORT_CONTRAST_H

#include <QColor>
#include <QPalette>
#include <QStringList>

class QImage;
class QRect;
class QWidget;

namespace obvista_test {

/** Minimum contrasts of the accessibility guidelines for texts, and for lines and the like. */
constexpr double a_textContrast = 4.5;
constexpr double a_lineContrast = 3;

/** Returns the contrast of two colours as the accessibility guidelines define it, from 1 to 21. */
double contrast(const QColor& one, const QColor& other);

struct Colours {
    QColor fBackground;    ///< the most frequent colour
    double fContrast = 1;  ///< of the most different colour
};

Colours coloursIn(const QImage& image);
Colours coloursIn(QWidget* widget, const QRect& area);
Colours coloursIn(QWidget* widget);

/**
 * Returns the texts of a window's visible and enabled labels, buttons, boxes, lines, column titles,
 * scales and rows that are not selected whose contrast is below that for texts, with the contrast.
 */
QStringList faintTexts(const QWidget& window);

QPalette darkPalette();
/** Returns white on black, with a yellow selection. */
QPalette highContrastPalette();

}  // namespace obvista_test

#endif
