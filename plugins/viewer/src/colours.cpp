#include <obvista/viewer/colours.h>

namespace obvista {

namespace {

/** Enough contrast on dark desktops also for thin strokes, which are smoothed. */
constexpr double a_dimmedOpacity = 0.75;
constexpr int a_darkest = 128;
constexpr int a_otherShade = 135;  // per cent

}  // namespace

QColor dimmedText(const QPalette& palette) {
    QColor colour = palette.color(QPalette::Text);
    colour.setAlphaF(a_dimmedOpacity);
    return colour;
}

QColor faultText(const QPalette& palette) {
    const bool isDark = palette.color(QPalette::Base).lightness() < a_darkest;
    return isDark ? QColor(255, 140, 140) : QColor(170, 0, 0);
}

QColor markedHighlight(const QPalette& palette) {
    const QColor& highlight = palette.color(QPalette::Highlight);
    const bool isTextLight =
        palette.color(QPalette::HighlightedText).lightness() > highlight.lightness();
    return isTextLight ? highlight.darker(a_otherShade) : highlight.lighter(a_otherShade);
}

}  // namespace obvista
