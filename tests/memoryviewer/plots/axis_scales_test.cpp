#include "plots/axis_scales.h"

#include <gtest/gtest.h>

#include <set>

using namespace memoryviewer;

namespace {

QList<double> ticksOf(const QwtScaleDiv& scale) {
    return scale.ticks(QwtScaleDiv::MajorTick);
}

}  // namespace

TEST(AxisScales, AValueAxisHasAtLeastTwoTicksWithDistinctLabels) {
    for (const double size : {1e-9, 0.007, 0.3, 1.0, 2.0002, 4.0001, 17.0, 1e6, 3e30}) {
        for (const double start : {-0.5, -0.13, 0.0, 0.26, 12.0}) {
            for (const int labels : {2, 3, 5, 12}) {
                const double low = start * size;
                const QwtScaleDiv scale = valueScale(low, low + size, labels);
                const QList<double> ticks = ticksOf(scale);
                ASSERT_GE(ticks.size(), 2) << low << ' ' << size << ' ' << labels;
                std::set<QString> texts;
                for (const double tick : ticks) {
                    EXPECT_GE(tick, low);
                    EXPECT_LE(tick, low + size);
                    texts.insert(numberText(tick, ticks.at(1) - ticks.at(0)));
                }
                EXPECT_EQ(texts.size(), static_cast<std::size_t>(ticks.size()));
            }
        }
    }
}

TEST(AxisScales, ALowPlotOfASmallSwingShowsBothSidesOfZero) {
    const ValueSpan span = roomFor({-0.13, 0.14});
    const QList<double> ticks = ticksOf(valueScale(span.fMinimum, span.fMaximum, 2));
    EXPECT_EQ(ticks, (QList<double>{-0.1, 0.0, 0.1}));
}

TEST(AxisScales, TicksAreNotMoreThanThereIsRoomFor) {
    for (const int labels : {3, 4, 7, 20}) {
        EXPECT_LE(ticksOf(valueScale(0, 1, labels)).size(), labels + 1);
    }
}
