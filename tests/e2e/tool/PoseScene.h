// SPDX-License-Identifier: MIT
// A figure that is posed with the tool `ik.pose`, by gestures in a view.
#pragma once

#include "e2e/commands/CommandScene.h"

#include <refhost/DrawingList.h>
#include <refhost/ToolHost.h>

namespace e2e {

using refhost::DrawElement;
using refhost::DrawKind;

/// A scene that the tool works in by gestures. Each has to work; `gesture` is one of the host's names.
class GestureScene : public CommandScene {
public:
    refhost::ToolHost& tool() { return refhost::ToolHost::of(host); }
    Vector3 place(std::string_view name) { return matrix(item(name), "wposMatrix").offset; }
    Matrix33 rotation(std::string_view name) { return matrix(item(name), "wrotMatrix").linear; }
    /// Turn of a joint from one world rotation to the one that is shown; degrees.
    double turnDegrees(std::string_view name, const Matrix33& from);

    void press(std::string_view joint, const char* gesture) { pressAt(place(joint), gesture); }
    void pressAt(const Vector3& world, const char* gesture);
    /// To where a world position is seen.
    void moveTo(const Vector3& world);
    void moveBy(int dx, int dy);
    void release();
    /// From the joint's handle by a displacement in the world, in so many moves.
    void drag(std::string_view joint, const Vector3& by, const char* gesture = "move", int moves = 4);
    void click(std::string_view joint, const char* gesture);
    void clickNothing(const char* gesture);

    bool isLocked(std::string_view name) { return tag(name, "PSTL") == "ikLock"; }
    std::size_t undoCount() { return scene().journal().undoCount(); }
    /// What the tool and the items draw.
    std::vector<DrawElement> handles();
    std::vector<DrawElement> drawn();

private:
    int m_X = 0, m_Y = 0;
};

/// A hierarchy of locators without a rig, 1.75 high and seen from the front: `Hips` with `Spine`, `Chest`,
/// `Neck`, `Head`, and on either side `Arm`, `ForeArm`, `Hand` and `UpLeg`, `Leg`, `Foot`, named as
/// `LeftHand`. The tool is in use and `Hips` is selected; the scene is out of setup mode. Figure and view are
/// `size` times as large.
class PoseScene : public GestureScene {
public:
    explicit PoseScene(double size = 1);

    /// Joints of the figure in order of the hierarchy.
    std::vector<Item*> figure();

    static constexpr double kHeight = 1.75;
};

double distance(const Vector3& a, const Vector3& b);
Vector3 operator+(const Vector3& a, const Vector3& b);
Vector3 operator-(const Vector3& a, const Vector3& b);
/// Largest turn of a joint between two poses; degrees.
double largestTurnDegrees(const std::vector<Matrix34>& a, const std::vector<Matrix34>& b);

} // namespace e2e
