#ifndef OBVISTA_MEMORYVIEWER_CURVE_SHAPE_H
#define OBVISTA_MEMORYVIEWER_CURVE_SHAPE_H

namespace memoryviewer {

/** How a curve goes from point to point. */
enum class CurveShape {
    Line,  ///< straight; for floating-point numbers
    Steps  ///< each value holds until the next one; for integers and bools
};

}  // namespace memoryviewer

#endif
