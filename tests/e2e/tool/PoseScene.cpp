// SPDX-License-Identifier: MIT
// Gestures on a figure.
#include "e2e/tool/PoseScene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace e2e {
namespace {

double turnDegreesBetween(const Matrix33& a, const Matrix33& b)
{
    const Matrix33 turn = transposed(a) * b;
    // The sine is exact for small angles, where the cosine is not.
    const double x = turn.m[2][1] - turn.m[1][2], y = turn.m[0][2] - turn.m[2][0],
                 z = turn.m[1][0] - turn.m[0][1];
    const double cosine = turn.m[0][0] + turn.m[1][1] + turn.m[2][2] - 1;
    return std::atan2(std::sqrt(x * x + y * y + z * z), cosine) * 180 / std::numbers::pi;
}

} // namespace

double distance(const Vector3& a, const Vector3& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}
Vector3 operator+(const Vector3& a, const Vector3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vector3 operator-(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

double largestTurnDegrees(const std::vector<Matrix34>& a, const std::vector<Matrix34>& b)
{
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, turnDegreesBetween(a[i].linear, b[i].linear));
    return largest;
}

PoseScene::PoseScene(double size)
{
    const auto place = [&](const Vector3& offset, const Vector3& degrees = {}) {
        return at({size * offset[0], size * offset[1], size * offset[2]}, degrees);
    };
    run("scene.setup on:false");
    Item& hips = locator("Hips", nullptr, place({0, 0.95, 0}));
    Item& spine = locator("Spine", &hips, place({0, 0.12, 0}, {4, 0, 0}));
    Item& chest = locator("Chest", &spine, place({0, 0.2, 0}, {-6, 0, 0}));
    Item& neck = locator("Neck", &chest, place({0, 0.25, 0}));
    locator("Head", &neck, place({0, 0.1, 0.02}));
    for (const double side : {1.0, -1.0}) {
        const std::string name = side > 0 ? "Left" : "Right";
        Item& arm =
            locator((name + "Arm").c_str(), &chest, place({side * 0.18, 0.2, 0}, {0, side * 8, side * -30}));
        Item& foreArm =
            locator((name + "ForeArm").c_str(), &arm, place({side * 0.28, 0, 0}, {0, side * -25, 0}));
        locator((name + "Hand").c_str(), &foreArm, place({side * 0.26, 0, 0}));
        Item& upLeg = locator((name + "UpLeg").c_str(), &hips, place({side * 0.1, -0.05, 0}, {-8, 0, 0}));
        Item& leg = locator((name + "Leg").c_str(), &upLeg, place({0, -0.42, 0}, {15, 0, 0}));
        locator((name + "Foot").c_str(), &leg, place({0, -0.4, 0}, {-7, 0, 0}));
    }
    tool().view().target = {0, 0.9 * size, 0};
    tool().view().size = 2.4 * size;
    run("select.set Hips");
    const refhost::Result used = tool().use("ik.pose");
    EXPECT_TRUE(used.ok()) << used.message;
}

std::vector<Item*> PoseScene::figure()
{
    std::vector<Item*> items;
    for (const char* name : {"Hips", "Spine", "Chest", "Neck", "Head", "LeftArm", "LeftForeArm", "LeftHand",
                             "RightArm", "RightForeArm", "RightHand", "LeftUpLeg", "LeftLeg", "LeftFoot",
                             "RightUpLeg", "RightLeg", "RightFoot"})
        items.push_back(&item(name));
    return items;
}

double GestureScene::turnDegrees(std::string_view name, const Matrix33& from)
{
    return turnDegreesBetween(from, rotation(name));
}

void GestureScene::pressAt(const Vector3& world, const char* gesture)
{
    refhost::Pixel pixel{};
    ASSERT_TRUE(tool().view().toScreen(world, pixel));
    m_X = static_cast<int>(std::lround(pixel[0]));
    m_Y = static_cast<int>(std::lround(pixel[1]));
    const refhost::Result result = tool().press(m_X, m_Y, *refhost::gestureByName(gesture));
    ASSERT_TRUE(result.ok()) << gesture << ": " << result.message;
}

void GestureScene::moveTo(const Vector3& world)
{
    refhost::Pixel pixel{};
    ASSERT_TRUE(tool().view().toScreen(world, pixel));
    moveBy(static_cast<int>(std::lround(pixel[0])) - m_X, static_cast<int>(std::lround(pixel[1])) - m_Y);
}

void GestureScene::moveBy(int dx, int dy)
{
    m_X += dx;
    m_Y += dy;
    const refhost::Result result = tool().move(m_X, m_Y);
    ASSERT_TRUE(result.ok()) << result.message;
}

void GestureScene::release()
{
    const refhost::Result result = tool().release(m_X, m_Y);
    ASSERT_TRUE(result.ok()) << result.message;
}

void GestureScene::drag(std::string_view joint, const Vector3& by, const char* gesture, int moves)
{
    const Vector3 from = place(joint);
    press(joint, gesture);
    for (int i = 1; i <= moves; ++i) {
        const double part = static_cast<double>(i) / moves;
        moveTo(from + Vector3{by[0] * part, by[1] * part, by[2] * part});
    }
    release();
}

void GestureScene::click(std::string_view joint, const char* gesture)
{
    press(joint, gesture);
    release();
}

void GestureScene::clickNothing(const char* gesture)
{
    pressAt({-1.4, 1.9, 0}, gesture);
    release();
}

std::vector<DrawElement> GestureScene::handles()
{
    refhost::DrawingList list;
    tool().draw(list);
    return list.elements;
}

std::vector<DrawElement> GestureScene::drawn()
{
    refhost::DrawingList list;
    refhost::recordItems(scene(), tool().view(), list);
    return list.elements;
}

} // namespace e2e
