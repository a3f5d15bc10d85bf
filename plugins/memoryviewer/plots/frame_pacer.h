#ifndef OBVISTA_MEMORYVIEWER_FRAME_PACER_H
#define OBVISTA_MEMORYVIEWER_FRAME_PACER_H

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;

namespace memoryviewer {

/**
 * Says when a widget is to draw its next frame: never while it cannot be seen, at most 25 times a
 * second for new values, and more often for a hand that moves it.
 */
class FramePacer : public QObject {
    Q_OBJECT

  public:
    enum class Pace { Data, Hand };

    /** @param widget whose frames they are; it must outlive the pacer */
    explicit FramePacer(QWidget* widget);

    /** What is drawn is old: a frame follows soon, or as soon as the widget can be seen. */
    void schedule(Pace pace);
    bool canBeSeen() const;

  Q_SIGNALS:
    /** Draw now. What is scheduled meanwhile is taken for drawn. */
    void frameDue();
    /** A few times a second while the widget can be seen, for what changes by itself. */
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
