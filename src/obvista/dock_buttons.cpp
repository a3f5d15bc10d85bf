#include "dock_buttons.h"

#include <QAbstractButton>
#include <QDockWidget>
#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionToolButton>

namespace obvista {

namespace {

const char a_closeButton[] = "qt_dockwidget_closebutton";
const char a_floatButton[] = "qt_dockwidget_floatbutton";

/** The size of the signs, and of the small icons beside which they have it. */
constexpr int a_signSize = 10;
constexpr int a_smallIconSize = 16;
constexpr double a_crossWidth = 1.6;

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

void drawCross(QPainter& painter) {
    painter.drawLine(QPointF(1.5, 1.5), QPointF(8.5, 8.5));
    painter.drawLine(QPointF(1.5, 8.5), QPointF(8.5, 1.5));
}

/** Draws a window in front of another one. */
void drawWindows(QPainter& painter) {
    painter.drawPolyline(QPolygonF({{3.5, 3.5}, {3.5, 1.5}, {8.5, 1.5}, {8.5, 6.5}, {6.5, 6.5}}));
    painter.drawRect(QRectF(1.5, 3.5, 5, 5));
    painter.drawLine(QPointF(1.5, 4.5), QPointF(6.5, 4.5));
}

/** Draws the frame that appears under the mouse, as Qt does for these buttons. */
void drawFrame(QPainter& painter, const QAbstractButton& button) {
    const QStyle* style = button.style();
    if (style->styleHint(QStyle::SH_DockWidget_ButtonsHaveFrame, nullptr, &button) == 0) {
        return;
    }
    QStyleOptionToolButton option;
    option.initFrom(&button);
    option.state |= QStyle::State_AutoRaise;
    if (button.isDown()) {
        option.state |= QStyle::State_Sunken;
    } else if (button.isEnabled() && button.underMouse()) {
        option.state |= QStyle::State_Raised;
    }
    style->drawPrimitive(QStyle::PE_PanelButtonTool, &option, &painter, &button);
}

void drawSign(QPainter& painter, const QAbstractButton& button) {
    const double scale =
        double(button.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &button)) /
        a_smallIconSize;
    const int size = qRound(a_signSize * scale);
    QRect area(0, 0, size, size);
    area.moveCenter(button.rect().center());
    const bool isCross = button.objectName() == QLatin1String(a_closeButton);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(area.topLeft());
    painter.scale(scale, scale);
    painter.setPen(QPen(button.palette().color(QPalette::WindowText), isCross ? a_crossWidth : 1,
                        Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    if (isCross) {
        drawCross(painter);
    } else {
        drawWindows(painter);
    }
}

/** Draws without an icon: sharp in every resolution, and in the palette of the moment. */
class DarkButtonPainter : public QObject {
  public:
    using QObject::QObject;

    bool eventFilter(QObject* object, QEvent* event) override {
        auto* button = qobject_cast<QAbstractButton*>(object);
        if (event->type() != QEvent::Paint || button == nullptr || !isDark(button->palette())) {
            return false;
        }
        QPainter painter(button);
        drawFrame(painter, *button);
        drawSign(painter, *button);
        return true;
    }
};

}  // namespace

void keepButtonsVisible(QDockWidget* dock) {
    auto* buttonPainter = new DarkButtonPainter(dock);
    for (const char* name : {a_closeButton, a_floatButton}) {
        if (auto* button = dock->findChild<QAbstractButton*>(QLatin1String(name))) {
            button->installEventFilter(buttonPainter);
        }
    }
}

}  // namespace obvista
