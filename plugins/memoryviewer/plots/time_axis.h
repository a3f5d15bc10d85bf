#ifndef OBVISTA_MEMORYVIEWER_TIME_AXIS_H
#define OBVISTA_MEMORYVIEWER_TIME_AXIS_H

#include <QObject>

#include <optional>

namespace memoryviewer {

/**
 * The span of time that all plots of a panel show, and the time at which the cursor stands.
 *
 * It follows the newest point until something moves it; all in microseconds by the robot's clock.
 * Whatever is asked of it, the span stays between 100 us and 100 years.
 */
class TimeAxis : public QObject {
    Q_OBJECT

  public:
    explicit TimeAxis(QObject* parent = nullptr) : QObject(parent) {}

    double left() const { return fRight - fSpan; }
    double right() const { return fRight; }
    double span() const { return fSpan; }
    /** The newest time known. */
    double now() const { return fNow; }
    bool isFollowing() const { return fIsFollowing; }
    std::optional<double> cursor() const { return fCursor; }

    /** Tells the newest time; the axis goes there when it follows. */
    void setNow(double time);
    void setFollowing(bool isFollowing);
    /** Shows a span of time, and follows no longer. */
    void show(double left, double right);
    /** Shows another length of time; what follows keeps following. */
    void setSpan(double span);
    /** Moves by a share of the span, later when positive, and follows no longer. */
    void pan(double share);
    /**
     * Multiplies the span with a factor, so that `anchor` stays where it is. What follows keeps
     * following, and its right end stays.
     */
    void zoom(double factor, double anchor);

    void setCursor(std::optional<double> time);

  Q_SIGNALS:
    /** The axis shows another span. */
    void changed();
    /** It follows from now on, or no longer. */
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
