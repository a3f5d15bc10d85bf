#ifndef OBVISTA_ROBOT_BODY_ACTIVITY_H
#define OBVISTA_ROBOT_BODY_ACTIVITY_H

namespace robot {

/**
 * The humanoid's activities: it stands, walks for a while, gestures, and begins again.
 *
 * Times are seconds since the start of the run. Each activity fades in and out, so its weight is 0
 * to 1.
 */
class Activity {
  public:
    /** @param offset seconds by which the cycle is advanced at the start of the run */
    explicit Activity(double offset) : fOffset(offset) {}

    double walking(double time) const;
    double gesturing(double time) const;

    /** Returns the equivalent seconds of full walking since the start of the run. */
    double walkedTime(double time) const;

    /** Returns "standing", "walking" or "gesturing": the activity with the largest weight. */
    const char* name(double time) const;

  private:
    double fOffset;
};

}  // namespace robot

#endif
