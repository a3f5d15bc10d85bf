#include "video/room.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace robot {

namespace {

constexpr double a_turn = 2 * 3.14159265358979323846;

// The middle of the room is the centre of the walk.
constexpr double a_halfLength = 4;
constexpr double a_halfWidth = 3.5;
constexpr double a_height = 2.7;
constexpr double a_tile = 0.5;

constexpr Colour a_lightTile{196, 178, 148};
constexpr Colour a_darkTile{158, 136, 106};
constexpr Colour a_ceiling{226, 228, 224};
constexpr Colour a_wood{150, 104, 62};
constexpr Colour a_frame{240, 240, 236};
constexpr Colour a_sky{150, 196, 232};
constexpr Colour a_hill{112, 158, 96};
constexpr Colour a_clockFace{250, 250, 245};
constexpr Colour a_hand{40, 40, 48};
constexpr Colour a_orange{232, 122, 36};

/** Returns the light at a place: less of it far from the middle of the room. */
double lightAt(const Vector& place) {
    return 1.08 - 0.012 * (place.fX * place.fX + place.fY * place.fY);
}

/** One of the four walls: directions along it, up, and into the room. */
struct Wall {
    Vector fMiddle;  // of its lower edge
    Vector fAlong;   // to the right as seen from inside
    double fHalf;
    Colour fColour;

    /** @param along,up metres from the middle of the lower edge */
    Vector at(double along, double up) const { return fMiddle + along * fAlong + Vector{0, 0, up}; }
};

const std::array<Wall, 4> a_walls{{
    {{a_halfLength, 0, 0}, {0, -1, 0}, a_halfWidth, {122, 164, 176}},
    {{0, a_halfWidth, 0}, {1, 0, 0}, a_halfLength, {206, 190, 150}},
    {{-a_halfLength, 0, 0}, {0, 1, 0}, a_halfWidth, {176, 138, 128}},
    {{0, -a_halfWidth, 0}, {-1, 0, 0}, a_halfLength, {150, 172, 132}},
}};

/** A rectangle on a wall. */
void drawOnWall(Projector& projector, const Wall& wall, double left, double right, double bottom,
                double top, const Colour& colour) {
    projector.drawPolygon(
        {wall.at(left, bottom), wall.at(right, bottom), wall.at(right, top), wall.at(left, top)},
        colour);
}

void drawFloor(Projector& projector) {
    const auto columns = static_cast<int>(2 * a_halfLength / a_tile);
    const auto rows = static_cast<int>(2 * a_halfWidth / a_tile);
    for (int i = 0; i < columns * rows; ++i) {
        const int column = i % columns;
        const int row = i / columns;
        const double x = column * a_tile - a_halfLength;
        const double y = row * a_tile - a_halfWidth;
        const bool light = (column + row) % 2 == 0;
        projector.drawPolygon(
            {{x, y, 0}, {x + a_tile, y, 0}, {x + a_tile, y + a_tile, 0}, {x, y + a_tile, 0}},
            lit(light ? a_lightTile : a_darkTile, lightAt({x, y, 0})));
    }
}

void drawCeiling(Projector& projector) {
    projector.drawPolygon({{a_halfLength, a_halfWidth, a_height},
                           {-a_halfLength, a_halfWidth, a_height},
                           {-a_halfLength, -a_halfWidth, a_height},
                           {a_halfLength, -a_halfWidth, a_height}},
                          a_ceiling);
}

void drawWall(Projector& projector, const Wall& wall) {
    constexpr double panel = 0.5;
    constexpr double skirting = 0.1;
    const auto panels = static_cast<int>(2 * wall.fHalf / panel);
    for (int i = 0; i < panels; ++i) {
        const double left = i * panel - wall.fHalf;
        const Vector middle = wall.at(left + panel / 2, 0);
        drawOnWall(projector, wall, left, left + panel, 0, a_height,
                   lit(wall.fColour, lightAt(middle)));
    }
    drawOnWall(projector, wall, -wall.fHalf, wall.fHalf, 0, skirting, lit(a_wood, 0.8));
}

void drawWindow(Projector& projector, const Wall& wall, double left, double right) {
    constexpr double bottom = 0.9;
    constexpr double top = 2.2;
    constexpr double rim = 0.06;
    const double middle = (left + right) / 2;
    drawOnWall(projector, wall, left - rim, right + rim, bottom - rim, top + rim, a_frame);
    drawOnWall(projector, wall, left, right, bottom, top, a_sky);
    drawOnWall(projector, wall, left, right, bottom, bottom + 0.35, a_hill);
    drawOnWall(projector, wall, middle - rim / 2, middle + rim / 2, bottom, top, a_frame);
}

void drawDoor(Projector& projector, const Wall& wall, double left) {
    drawOnWall(projector, wall, left - 0.06, left + 0.96, 0, 2.1, a_frame);
    drawOnWall(projector, wall, left, left + 0.9, 0, 2.04, a_wood);
    drawOnWall(projector, wall, left + 0.75, left + 0.83, 0.98, 1.06, {214, 190, 90});
}

void drawStripes(Projector& projector, const Wall& wall, double left) {
    constexpr std::array<Colour, 5> colours{
        {{204, 60, 52}, {232, 178, 48}, {64, 142, 90}, {52, 104, 180}, {112, 70, 142}}};
    drawOnWall(projector, wall, left - 0.05, left + 1.05, 1.05, 1.95, a_hand);
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const double from = left + 0.2 * static_cast<double>(i);
        drawOnWall(projector, wall, from, from + 0.2, 1.1, 1.9, colours[i]);
    }
}

void drawClock(Projector& projector, const Wall& wall, double along, double time) {
    const Vector middle = wall.at(along, 2.05);
    std::vector<Vector> rim;
    std::vector<Vector> face;
    constexpr int corners = 24;
    const auto onFace = [&](double turn, double radius) {
        return middle + radius * std::sin(turn) * wall.fAlong +
               Vector{0, 0, radius * std::cos(turn)};
    };
    for (int i = 0; i < corners; ++i) {
        rim.push_back(onFace(a_turn * i / corners, 0.3));
        face.push_back(onFace(a_turn * i / corners, 0.26));
    }
    projector.drawPolygon(rim, a_hand);
    projector.drawPolygon(face, a_clockFace);
    projector.drawRod(middle, onFace(a_turn * time / 3600, 0.16), 0.016, a_hand);
    projector.drawRod(middle, onFace(a_turn * time / 60, 0.24), 0.008, {200, 40, 40});
}

/** A box parallel to the axes of the room. */
struct Box {
    Vector fLow;
    Vector fHigh;
    Colour fColour;

    Vector middle() const { return 0.5 * (fLow + fHigh); }
};

void drawBox(Projector& projector, const Box& box) {
    const Vector& eye = projector.place();
    const auto [x0, y0, z0] = box.fLow;
    const auto [x1, y1, z1] = box.fHigh;
    const double x = eye.fX < x0 ? x0 : x1;
    if (eye.fX < x0 || eye.fX > x1) {
        projector.drawPolygon({{x, y0, z0}, {x, y1, z0}, {x, y1, z1}, {x, y0, z1}},
                              lit(box.fColour, 0.8));
    }
    const double y = eye.fY < y0 ? y0 : y1;
    if (eye.fY < y0 || eye.fY > y1) {
        projector.drawPolygon({{x0, y, z0}, {x1, y, z0}, {x1, y, z1}, {x0, y, z1}},
                              lit(box.fColour, 0.92));
    }
    if (eye.fZ > z1) {
        projector.drawPolygon({{x0, y0, z1}, {x1, y0, z1}, {x1, y1, z1}, {x0, y1, z1}},
                              lit(box.fColour, 1.12));
    }
}

/** All are outside the circle on which the robot walks. */
const std::array<Box, 9> a_furniture{{
    {{2.5, 1.2, 0}, {3.3, 2.6, 0.72}, a_wood},
    {{2.75, 1.5, 0.72}, {2.95, 1.7, 0.95}, {200, 58, 54}},
    {{2.7, 2.05, 0.72}, {3.0, 2.35, 0.86}, {58, 112, 190}},
    {{3.4, -2.8, 0}, {3.9, -1.6, 1.7}, {216, 208, 190}},
    {{-3.2, -2.9, 0}, {-2.3, -2.2, 0.45}, {84, 98, 140}},
    {{-3.2, -3.1, 0}, {-2.3, -2.9, 0.95}, {76, 88, 128}},
    {{-2.6, 2.4, 0}, {-2.1, 2.9, 0.5}, {92, 148, 88}},
    {{-2.5, 2.5, 0.5}, {-2.2, 2.8, 0.8}, {224, 170, 60}},
    {{0.2, -3.2, 0}, {0.8, -2.7, 0.6}, {170, 92, 120}},
}};

void drawFurniture(Projector& projector) {
    std::array<const Box*, a_furniture.size()> order{};
    std::transform(a_furniture.begin(), a_furniture.end(), order.begin(),
                   [](const Box& box) { return &box; });
    std::sort(order.begin(), order.end(), [&projector](const Box* a, const Box* b) {
        return length(a->middle() - projector.place()) > length(b->middle() - projector.place());
    });
    for (const Box* box : order) {
        drawBox(projector, *box);
    }
}

/** It bounces in the middle of the room. */
void drawBouncingBall(Projector& projector, double time) {
    constexpr double radius = 0.12;
    const double bounce = std::fabs(std::sin(a_turn * time / 2.4));
    constexpr int corners = 16;
    std::vector<Vector> shadow;
    for (int i = 0; i < corners; ++i) {
        const double turn = a_turn * i / corners;
        shadow.push_back({radius * std::cos(turn), radius * std::sin(turn), 0});
    }
    projector.drawPolygon(shadow, lit(a_darkTile, 0.6));
    projector.drawBall({0, 0, radius + 0.6 * bounce}, radius, a_orange);
}

}  // namespace

void drawRoom(Projector& projector, double time) {
    drawCeiling(projector);
    for (const Wall& wall : a_walls) {
        drawWall(projector, wall);
    }
    drawFloor(projector);
    drawWindow(projector, a_walls[0], -1.2, 0.6);
    drawClock(projector, a_walls[0], 1.6, time);
    drawStripes(projector, a_walls[1], -2);
    drawDoor(projector, a_walls[1], 1.2);
    drawDoor(projector, a_walls[2], -2.6);
    drawStripes(projector, a_walls[2], 0.6);
    drawWindow(projector, a_walls[3], -2.6, -0.8);
    drawClock(projector, a_walls[3], 1.2, time);
    drawFurniture(projector);
    drawBouncingBall(projector, time);
}

}  // namespace robot
