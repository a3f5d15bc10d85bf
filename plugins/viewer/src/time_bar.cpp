#include "time_bar.h"

#include "speed_text.h"

#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/wrap_layout.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPolygonF>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace obvista {

namespace {

/** Places of the slider: finer than pixels. */
constexpr int a_places = 10000;
constexpr std::array<double, 9> a_speeds{0.1, 0.25, 0.5, 1, 2, 5, 10, 20, 50};
constexpr std::int64_t a_microsecondsPerMillisecond = 1000;
constexpr std::int64_t a_microsecondsPerSecond = 1000000;
constexpr std::int64_t a_secondsPerDay = 86400;
constexpr int a_longestFault = 500;

QDateTime dateTime(std::int64_t microseconds) {
    return QDateTime::fromMSecsSinceEpoch(microseconds / a_microsecondsPerMillisecond);
}

/** A triangle that points to the right, or to the left for a negative width. */
QPolygonF triangle(const QRectF& rect) {
    return {{rect.topLeft(), QPointF(rect.right(), rect.center().y()), rect.bottomLeft()}};
}

}  // namespace

/** A button with a symbol in the colour of its text, which dark palettes need. */
class SymbolButton : public QToolButton {
  public:
    enum class Symbol { Play, Pause, Back, Forward };

    SymbolButton(const char* objectName, Symbol symbol, const QString& text, QWidget* parent)
        : QToolButton(parent) {
        setObjectName(QLatin1String(objectName));
        setAutoRaise(true);
        setFocusPolicy(Qt::StrongFocus);
        showSymbol(symbol, text);
    }

    void showSymbol(Symbol symbol, const QString& text) {
        fSymbol = symbol;
        setToolTip(text);
        setAccessibleName(text);
        update();
    }

    QSize sizeHint() const override {
        const int side = fontMetrics().height() * 2;
        return {side, side};
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QToolButton::paintEvent(event);
        const double side = fontMetrics().ascent();
        QRectF rect(0, 0, side, side);
        rect.moveCenter(QRectF(this->rect()).center());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(QPalette::ButtonText));
        const double bar = side / 4;
        switch (fSymbol) {
            case Symbol::Play:
                painter.drawPolygon(triangle(rect));
                break;
            case Symbol::Pause:
                painter.drawRect(QRectF(rect.left(), rect.top(), bar * 1.4, side));
                painter.drawRect(QRectF(rect.right() - bar * 1.4, rect.top(), bar * 1.4, side));
                break;
            case Symbol::Forward:
                painter.drawRect(QRectF(rect.left(), rect.top(), bar, side));
                painter.drawPolygon(triangle(rect.adjusted(bar * 1.4, 0, 0, 0)));
                break;
            case Symbol::Back:
                painter.drawRect(QRectF(rect.right() - bar, rect.top(), bar, side));
                painter.drawPolygon(
                    triangle(QRectF(rect.right() - bar * 1.4, rect.top(), bar * 1.4 - side, side)));
                break;
        }
    }

  private:
    Symbol fSymbol = Symbol::Play;
};

TimeBar::TimeBar(QWidget* parent)
    : QWidget(parent),
      fSlider(new QSlider(Qt::Horizontal, this)),
      fBack(new SymbolButton("replayBack", SymbolButton::Symbol::Back, tr("Step back"), this)),
      fPlay(new SymbolButton("replayPlay", SymbolButton::Symbol::Play, tr("Play"), this)),
      fForward(new SymbolButton("replayForward", SymbolButton::Symbol::Forward, tr("Step forward"),
                                this)),
      fPosition(makeLabel("replayPosition", this)),
      fSpeed(new QComboBox(this)),
      fLoop(new QCheckBox(tr("L&oop"), this)),
      fFault(makeBanner("replayFault", this)) {
    setObjectName(QStringLiteral("timeBar"));
    fSlider->setObjectName(QStringLiteral("replaySlider"));
    fSlider->setRange(0, a_places);
    fSlider->setPageStep(a_places / 20);
    fSlider->setAccessibleName(tr("Time in the recording"));
    fSlider->installEventFilter(this);
    explain(*fSlider, tr("The part of the recording that the robot shows. Space plays and pauses, "
                         "the arrows step, Home and End go to its ends."));
    connect(fSlider, &QSlider::valueChanged, this, &TimeBar::xSeek);

    auto* controls = new QWidget(this);
    auto* row = new WrapLayout(controls);
    fBack->setAutoRepeat(true);
    fForward->setAutoRepeat(true);
    connect(fBack, &QToolButton::clicked, this, [this] { xStep(-1); });
    connect(fPlay, &QToolButton::clicked, this, &TimeBar::xTogglePlaying);
    connect(fForward, &QToolButton::clicked, this, [this] { xStep(1); });

    fSpeed->setObjectName(QStringLiteral("replaySpeed"));
    for (const double speed : a_speeds) {
        fSpeed->addItem(speedText(speed), speed);
    }
    //: of a replay
    nameByLabel(*fSpeed, tr("Speed"));
    fSpeed->setToolTip(tr("Recorded seconds per second"));
    connect(fSpeed, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { Q_EMIT wanted("setSpeed", {fSpeed->itemData(index).toDouble()}); });
    fLoop->setObjectName(QStringLiteral("replayLoop"));
    fLoop->setToolTip(tr("Begin again at the end"));
    connect(fLoop, &QCheckBox::clicked, this,
            [this](bool isOn) { Q_EMIT wanted("setLoop", {isOn}); });

    for (QWidget* control : {static_cast<QWidget*>(fBack), static_cast<QWidget*>(fPlay),
                             static_cast<QWidget*>(fForward), static_cast<QWidget*>(fPosition),
                             static_cast<QWidget*>(fSpeed), static_cast<QWidget*>(fLoop)}) {
        row->addWidget(control);
    }
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(fFault);
    column->addWidget(fSlider);
    column->addWidget(controls);
    fFault->hide();
    // The controls were made in another order than they stand in.
    QWidget* before = fSlider;
    for (QWidget* control : {static_cast<QWidget*>(fBack), static_cast<QWidget*>(fPlay),
                             static_cast<QWidget*>(fForward), static_cast<QWidget*>(fSpeed),
                             static_cast<QWidget*>(fLoop)}) {
        setTabOrder(before, control);
        before = control;
    }
}

KeyGroup TimeBar::keys() {
    return {tr("Time bar of a replay"),
            {{keyText(Qt::Key_Space), tr("play or pause")},
             {QStringLiteral("\u2190 \u2192"), tr("step to the previous or next change")},
             {QStringLiteral("%1, %2").arg(keyText(Qt::Key_PageUp), keyText(Qt::Key_PageDown)),
              tr("move forward or back by a twentieth of the recording")},
             {QStringLiteral("%1, %2").arg(keyText(Qt::Key_Home), keyText(Qt::Key_End)),
              tr("go to the start or end of the recording")}}};
}

bool TimeBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched != fSlider || event->type() != QEvent::KeyPress) {
        return QWidget::eventFilter(watched, event);
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() != Qt::NoModifier && key->modifiers() != Qt::KeypadModifier) {
        return false;
    }
    switch (key->key()) {
        case Qt::Key_Space:
            if (!key->isAutoRepeat()) {
                xTogglePlaying();
            }
            return true;
        case Qt::Key_Left:
        case Qt::Key_Down:
            xStep(-1);
            return true;
        case Qt::Key_Right:
        case Qt::Key_Up:
            xStep(1);
            return true;
        default:
            return false;
    }
}

void TimeBar::showState(const ReplayState& state) {
    fState = state;
    if (!fSlider->isSliderDown()) {
        const double span = std::max<double>(1, static_cast<double>(state.fEnd - state.fStart));
        const double share = static_cast<double>(state.fPosition - state.fStart) / span;
        const QSignalBlocker blocker(fSlider);
        fSlider->setValue(static_cast<int>(std::clamp(share, 0.0, 1.0) * a_places));
        xShowPosition();
    }
    const QString action = state.fIsPlaying ? tr("Pause") : tr("Play");
    if (fPlay->accessibleName() != action) {
        fPlay->showSymbol(
            state.fIsPlaying ? SymbolButton::Symbol::Pause : SymbolButton::Symbol::Play, action);
    }
    xShowSpeed(state.fSpeed);
    fLoop->setChecked(state.fLoop);
    fFault->setText(plainText(state.fFault, a_longestFault));
    fFault->setVisible(!state.fFault.empty());
}

/** Another program may have chosen a speed that is not in the list. */
void TimeBar::xShowSpeed(double speed) {
    int index = fSpeed->findData(speed);
    if (index < 0) {
        fSpeed->addItem(speedText(speed), speed);
        index = fSpeed->count() - 1;
    } else if (fSpeed->currentIndex() == index) {
        return;
    }
    fSpeed->setCurrentIndex(index);
    const auto usual = static_cast<int>(a_speeds.size());
    while (fSpeed->count() > usual && fSpeed->currentIndex() != fSpeed->count() - 1) {
        fSpeed->removeItem(fSpeed->count() - 1);
    }
    while (fSpeed->count() > usual + 1) {
        fSpeed->removeItem(usual);
    }
}

void TimeBar::xTogglePlaying() {
    Q_EMIT wanted(fState.fIsPlaying ? "pause" : "play", {});
}

void TimeBar::xStep(int count) {
    Q_EMIT wanted("step", {count, fCamera});
}

void TimeBar::xSeek(int place) {
    const std::int64_t time = xTimeAt(place);
    fState.fPosition = time;
    xShowPosition();
    Q_EMIT wanted("seek", {time});
}

std::int64_t TimeBar::xTimeAt(int place) const {
    const double share = static_cast<double>(place) / a_places;
    const double offset = static_cast<double>(fState.fEnd - fState.fStart) * share;
    return fState.fStart + static_cast<std::int64_t>(offset);
}

/** The time of the day, with the date if the recording is longer. */
QString TimeBar::xTimeText(std::int64_t time) const {
    const bool isLong = fState.fEnd - fState.fStart > a_secondsPerDay * a_microsecondsPerSecond;
    return dateTime(time).toString(isLong ? QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")
                                          : QStringLiteral("HH:mm:ss.zzz"));
}

void TimeBar::xShowPosition() {
    const QString text =
        //: a time of day, the time since the start of a recording, and its length
        tr("%1   %2 of %3")
            .arg(xTimeText(fState.fPosition),
                 clockText((fState.fPosition - fState.fStart) / a_microsecondsPerSecond),
                 clockText((fState.fEnd - fState.fStart) / a_microsecondsPerSecond));
    fPosition->setText(text);
    fPosition->setToolTip(
        dateTime(fState.fPosition).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz t")));
}

}  // namespace obvista
