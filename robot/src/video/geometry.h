#ifndef OBVISTA_ROBOT_VIDEO_GEOMETRY_H
#define OBVISTA_ROBOT_VIDEO_GEOMETRY_H

#include <cmath>

namespace robot {

/** A position or a direction in metres: x forward, y to the left, z up. */
struct Vector {
    double fX = 0;
    double fY = 0;
    double fZ = 0;
};

inline Vector operator+(const Vector& a, const Vector& b) {
    return {a.fX + b.fX, a.fY + b.fY, a.fZ + b.fZ};
}

inline Vector operator-(const Vector& a, const Vector& b) {
    return {a.fX - b.fX, a.fY - b.fY, a.fZ - b.fZ};
}

inline Vector operator*(double factor, const Vector& a) {
    return {factor * a.fX, factor * a.fY, factor * a.fZ};
}

inline double dot(const Vector& a, const Vector& b) {
    return a.fX * b.fX + a.fY * b.fY + a.fZ * b.fZ;
}

inline double length(const Vector& a) {
    return std::sqrt(dot(a, a));
}

/** The directions of a body's axes. */
struct Axes {
    Vector fForward{1, 0, 0};
    Vector fLeft{0, 1, 0};
    Vector fUp{0, 0, 1};

    /** Converts a vector from these axes to the outer ones. */
    Vector outside(const Vector& a) const { return a.fX * fForward + a.fY * fLeft + a.fZ * fUp; }
    /** Converts a vector from the outer axes to these. */
    Vector inside(const Vector& a) const { return {dot(a, fForward), dot(a, fLeft), dot(a, fUp)}; }

    /** Returns them rotated about their own forward axis, rad: the left side goes up. */
    Axes rolled(double angle) const {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        return {fForward, c * fLeft + s * fUp, c * fUp - s * fLeft};
    }
    /** Returns them rotated about their own left axis, rad: positive looks down. */
    Axes pitched(double angle) const {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        return {c * fForward - s * fUp, fLeft, c * fUp + s * fForward};
    }
    /** Returns them rotated about their own up axis, rad: positive looks to the left. */
    Axes yawed(double angle) const {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        return {c * fForward + s * fLeft, c * fLeft - s * fForward, fUp};
    }
};

}  // namespace robot

#endif
