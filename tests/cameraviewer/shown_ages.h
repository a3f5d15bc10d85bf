#ifndef OBVISTA_TESTS_CAMERAVIEWER_SHOWN_AGES_H
#define OBVISTA_TESTS_CAMERAVIEWER_SHOWN_AGES_H

#include <QObject>

#include <chrono>
#include <cstddef>
#include <deque>
#include <utility>

class QWidget;

namespace obvista_test {

/** Ages of the frames that a viewer has shown in the last seconds. */
class ShownAges : public QObject {
    Q_OBJECT

  public:
    ShownAges(QWidget* viewer, std::chrono::seconds period, std::size_t leastFrames);

    void clear();
    /** Returns the number of frames of the period. */
    std::size_t count() const { return fAges.size(); }
    /**
     * Returns an age in milliseconds that this part of the frames does not exceed; -1 until a
     * period is over, and for too few frames.
     */
    double ofPart(double part) const;

  private Q_SLOTS:
    void xOnShown(quint64 number, qint64 time);

  private:
    using Clock = std::chrono::steady_clock;

    const std::chrono::seconds fPeriod;
    const std::size_t fLeastFrames;
    Clock::time_point fSince = Clock::now();
    std::deque<std::pair<Clock::time_point, double>> fAges;
};

}  // namespace obvista_test

#endif
