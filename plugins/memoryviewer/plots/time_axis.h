#ifndef OBVISTA_MEMORYVIEWER_TIME_AXIS_H
#define OBVISTA_MEMORYVIEWER_TIME_AXIS_H

#include <QObject>

#include <optional>

namespace memoryviewer {

/**
 * The time span shown by all plots of a panel, and the time of the cursor.
 *
 * It follows the newest point until the user moves it. All times are in microseconds by the robot's
 * clock. The span is always between 100 us and 100 years.
 */
class TimeAxis : public QObject {
    Q_OBJECT

  public:
    explicit TimeAxis(QObject* parent = nullptr) : QObject(parent) {}

    double left() const { return fRight - fSpan; }
    double right() const { return fRight; }
    double span() const { return fSpan; }
    /** Returns the newest known time. */
    double now() const { return fNow; }
    bool isFollowing() const { return fIsFollowing; }
    std::optional<double> cursor() const { return fCursor; }

    /** Sets the newest time; the axis moves there if it follows. */
    void setNow(double time);
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

  private:
    void xSet(double right, double span);

    double fRight = 0;
    double fSpan = 30e6;
    double fNow = 0;
    bool fIsFollowing = true;
    std::optional<double> fCursor;
};

}  // namespace memoryviewer

#endif
