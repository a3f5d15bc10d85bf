#ifndef OBVISTA_MEMORYVIEWER_FRAME_PACER_H
#define OBVISTA_MEMORYVIEWER_FRAME_PACER_H

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;

namespace memoryviewer {

/**
 * Schedules the frames of a widget: none while it is not visible, at most 25 a second for new
 * values, and more during user interaction.
 */
class FramePacer : public QObject {
    Q_OBJECT

  public:
    enum class Pace { Data, Hand };

    /** @param widget the widget to draw; must outlive the pacer */
    explicit FramePacer(QWidget* widget);

    /** Requests a frame, which follows soon, or as soon as the widget is visible. */
    void schedule(Pace pace);
    bool canBeSeen() const;

  Q_SIGNALS:
    /** Emitted when a frame must be drawn now. Requests made during the slot count as drawn. */
    void frameDue();
    /** Emitted several times a second while the widget is visible, for changes by time. */
    void idle();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void xOnFrame();
    void xOnIdle();

    QWidget* fWidget;
    QTimer fFrameTimer;
    QTimer fIdleTimer;
    QElapsedTimer fSinceFrame;
    bool fIsStale = true;
};

}  // namespace memoryviewer

#endif
