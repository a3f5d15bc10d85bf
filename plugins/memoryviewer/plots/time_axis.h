#ifndef OBVISTA_MEMORYVIEWER_TIME_AXIS_H
#define OBVISTA_MEMORYVIEWER_TIME_AXIS_H

#include <QObject>

#include <optional>

namespace memoryviewer {

/** The times of a replay, in microseconds by the robot's clock. */
struct ReplayTimes {
    double fStart = 0;
    double fEnd = 0;
    double fPosition = 0;
};

/**
 * The time span shown by all plots of a panel, and the time of the cursor.
 *
 * It follows the newest point until the user moves it. For a replay it shows the whole recording
 * first, and follows the position. All times are in microseconds by the robot's
 * clock. The span is always between 100 us and 100 years.
 */
class TimeAxis : public QObject {
    Q_OBJECT

  public:
    explicit TimeAxis(QObject* parent = nullptr) : QObject(parent) {}

    double left() const { return fRight - fSpan; }
    double right() const { return fRight; }
    double span() const { return fSpan; }
    /** Returns the newest known time, or the position of a replay. */
    double now() const { return fNow; }
    /** Returns the time up to which the curves are known: that, or the end of a replay. */
    double knownUntil() const { return fReplay ? fReplay->fEnd : fNow; }
    /** Returns the times of a replay; nothing for other robots. */
    const std::optional<ReplayTimes>& replay() const { return fReplay; }
    bool isFollowing() const { return fIsFollowing; }
    std::optional<double> cursor() const { return fCursor; }

    /** Sets the newest time; the axis moves there if it follows. */
    void setNow(double time);
    /** Sets the times of a replay, which is whole in view when its span is first known. */
    void setReplay(const ReplayTimes& replay);
    /** The robot is not a replay any longer. */
    void endReplay();
    void setFollowing(bool isFollowing);
    /** Shows a time span, and stops following. */
    void show(double left, double right);
    /** Changes the length of the span; does not affect following. */
    void setSpan(double span);
    /** Moves by a share of the span, to later times if positive, and stops following. */
    void pan(double share);
    /**
     * Multiplies the span by a factor; `anchor` keeps its position. If the axis follows, it
     * continues to, and its right end keeps its position.
     */
    void zoom(double factor, double anchor);

    void setCursor(std::optional<double> time);

  Q_SIGNALS:
    /** Emitted when the span has changed. */
    void changed();
    /** Emitted when following starts or stops. */
    void followingChanged(bool isFollowing);
    void cursorMoved();
    /** Emitted when the times of the replay have changed, or it has ended. */
    void replayMoved();

  private:
    void xSet(double right, double span);

    double fRight = 0;
    double fSpan = 30e6;
    double fNow = 0;
    bool fIsFollowing = true;
    std::optional<double> fCursor;
    std::optional<ReplayTimes> fReplay;
};

}  // namespace memoryviewer

#endif
