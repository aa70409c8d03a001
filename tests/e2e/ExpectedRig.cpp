// SPDX-License-Identifier: MIT
// The expected pose of a rig, step by step.
#include "e2e/ExpectedRig.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace e2e {
namespace {

constexpr const char* kLetters[] = {"X", "Y", "Z"};
constexpr double kDegreesPerRadian = 57.29577951308232;
/// A matrix with a smaller determinant counts as one without inverse.
constexpr double kSmallestDeterminant = 1e-5;

using Quaternion = std::array<float, 4>; // x, y, z, w

/// From the trace where that is above 0, else from the largest diagonal element; all in floats.
Quaternion quaternionOf(const Matrix33& rotation)
{
    float m[3][3];
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            m[r][c] = static_cast<float>(rotation[r][c]);
    }
    const float trace = m[0][0] + m[1][1] + m[2][2];
    if (trace > 0.0f) {
        const float s = std::sqrt(trace + 1.0f), f = 0.5f / s;
        return {(m[2][1] - m[1][2]) * f, (m[0][2] - m[2][0]) * f, (m[1][0] - m[0][1]) * f, s * 0.5f};
    }
    std::size_t i = m[1][1] > m[0][0] ? 1 : 0;
    if (m[2][2] > m[i][i])
        i = 2;
    const std::size_t j = (i + 1) % 3, k = (j + 1) % 3;
    const float s = std::sqrt(m[i][i] - m[j][j] - m[k][k] + 1.0f), f = 0.5f / s;
    Quaternion q{};
    q[i] = s * 0.5f;
    q[j] = (m[i][j] + m[j][i]) * f;
    q[k] = (m[i][k] + m[k][i]) * f;
    q[3] = (m[k][j] - m[j][k]) * f;
    return q;
}

/// The quaternion is taken as it is, of whatever length.
Matrix33 matrixOf(const Quaternion& q)
{
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

Matrix33 slerp(const Matrix33& from, const Matrix33& to, double t)
{
    const Quaternion a = quaternionOf(from), b = quaternionOf(to);
    double d = 0, sign = 1, wa = 1 - t, wb = t;
    for (std::size_t i = 0; i < 4; ++i)
        d += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    if (d < 0) {
        d = -d;
        sign = -1;
    }
    if (1 - d > 1e-6) {
        const double angle = std::acos(d);
        wa = std::sin((1 - t) * angle) / std::sin(angle);
        wb = std::sin(t * angle) / std::sin(angle);
    }
    Quaternion q{};
    for (std::size_t i = 0; i < 4; ++i)
        q[i] = static_cast<float>(a[i] * wa + sign * b[i] * wb);
    return matrixOf(q);
}

Matrix33 turnAbout(std::size_t axis, double angle)
{
    Matrix33 m;
    const std::size_t i = (axis + 1) % 3, j = (axis + 2) % 3;
    m.m[i][i] = m.m[j][j] = std::cos(angle);
    m.m[i][j] = -std::sin(angle);
    m.m[j][i] = std::sin(angle);
    return m;
}

Matrix34 inverseOr(const Matrix34& m, const Matrix34& otherwise)
{
    Matrix34 out = otherwise;
    if (std::abs(determinant(m.linear)) > kSmallestDeterminant)
        (void)refhost::invert(m, out);
    return out;
}

Matrix33 columnsOf(const Vector3& x, const Vector3& y, const Vector3& z)
{
    return {{{x[0], y[0], z[0]}, {x[1], y[1], z[1]}, {x[2], y[2], z[2]}}};
}

} // namespace

ExpectedRig::ExpectedRig(RigScene& scene, Item& root)
    : m_Scene(scene), m_Root(root), m_SolverItem(scene.solver(root))
{
    walk(root);
    for (std::size_t i = 0; i < m_Bones.size(); ++i)
        m_Descriptors[i].name = m_Bones[i].item->uniqueName().c_str();
    m_Solver->setBones(m_Descriptors.data(), static_cast<std::uint32_t>(m_Descriptors.size()));
    for (const Bone& bone : m_Bones) {
        Task task{.item = bone.item};
        const char* name = bone.item->uniqueName().c_str();
        if (bone.item->hasPackage("ik.positionTask"))
            task.position = m_Solver->addPositionTask(name, 0);
        if (bone.item->hasPackage("ik.orientationTask"))
            task.orientation = m_Solver->addOrientationTask(name, 0);
        if (task.position || task.orientation)
            m_Tasks.push_back(task);
    }
}

void ExpectedRig::walk(Item& item)
{
    addBone(item);
    for (Item* child : m_Scene.scene().graph("ikRefs").forward(item))
        walk(*child);
}

void ExpectedRig::addBone(Item& item)
{
    const bool known =
        std::any_of(m_Bones.begin(), m_Bones.end(), [&](const Bone& bone) { return bone.item == &item; });
    if (known || !item.hasPackage("ik.package"))
        return;
    const auto rest = [&](const char* name) {
        Vector3 out;
        for (std::size_t i = 0; i < 3; ++i) {
            const Channel& channel = RigScene::channel(item, name + std::string(".") + kLetters[i]);
            out[i] = channel.number(m_Scene.scene().layer(refhost::Action::Edit), 0);
        }
        return out;
    };
    Sinew::BoneDescriptor bone;
    const std::vector<Item*>& parents = m_Scene.scene().graph("ikRefs").reverse(item);
    if (!parents.empty() && !parents[0]->hasPackage("ikFullBody"))
        bone.parent_name = parents[0]->uniqueName().c_str();
    bone.projection_axis = 2;
    const Vector3 position = rest("ikRestPos");
    for (std::size_t i = 0; i < 3; ++i)
        bone.rest_translation[i] = std::abs(position[i]) < 1e-7 ? 0.0f : static_cast<float>(position[i]);
    const Quaternion q =
        quaternionOf(columnsOf(rest("ikRestXAxis"), rest("ikRestYAxis"), rest("ikRestZAxis")));
    const float wxyz[] = {q[3], q[0], q[1], q[2]};
    std::copy(wxyz, wxyz + 4, bone.rest_orientation);
    m_Descriptors.push_back(bone);
    m_Bones.emplace_back().item = &item;
}

void ExpectedRig::evaluate()
{
    m_ParentWorld = m_ParentWorldInverse = {};
    m_ParentRotation = m_ParentRotationInverse = {};
    if (const Item* parent = m_Root.parent()) {
        m_ParentRotation = m_Scene.matrix(*parent, "wrotMatrix").linear;
        const Matrix33 scale = m_Scene.matrix(*parent, "wsclMatrix").linear;
        m_ParentWorld.linear = m_ParentRotation;
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c)
                m_ParentWorld.linear.m[r][c] *= scale.m[c][c];
        }
        m_ParentWorld.offset = m_Scene.matrix(*parent, "wposMatrix").offset;
        m_ParentWorldInverse = inverseOr(m_ParentWorld, m_ParentWorld);
        m_ParentRotationInverse = inverseOr({m_ParentRotation, {}}, {m_ParentRotation, {}}).linear;
    }
    configureBones();
    configureTasks();
    solve();

    Sinew::IKSegment* root = nullptr;
    for (std::uint32_t i = 0; i < m_Solver->boneCount() && !root; ++i)
        root = m_Solver->bone(i)->getParent() ? nullptr : m_Solver->bone(i);
    placeAnimated(root);
    const auto toWorld = [&](const Matrix34& m) {
        return Matrix34{m_ParentRotation * m.linear, (m_ParentWorld * m).offset};
    };
    for (std::uint32_t i = 0; i < m_Bones.size(); ++i) {
        Sinew::IKSegment& bone = *m_Solver->bone(i);
        m_Bones[i].fk = toWorld(m_Bones[i].fk);
        Matrix34 solved;
        for (std::uint32_t r = 0; r < 3; ++r) {
            solved.offset[r] = bone.getGlobalTranslation()[r];
            for (std::uint32_t c = 0; c < 3; ++c)
                solved.linear.m[r][c] = bone.getGlobalMatrix()[r][c];
        }
        m_Bones[i].ik = toWorld(solved);
    }
    double amount = std::clamp(number(m_SolverItem, "iksIKFKBlend"), 0.0, 1.0);
    if (m_Scene.scene().isInSetupMode() && !flag(m_SolverItem, "iksEnabled"))
        amount = 0;
    blend(root, amount);
}

void ExpectedRig::configureBones()
{
    const bool anyRetargeting = std::any_of(
        m_Bones.begin(), m_Bones.end(), [&](const Bone& bone) { return flag(*bone.item, "ikjRetargeting"); });
    for (std::uint32_t i = 0; i < m_Bones.size(); ++i) {
        Item& item = *m_Bones[i].item;
        Sinew::IKSegment& bone = *m_Solver->bone(i);
        const auto axes = [&](const char* before, const char* after) {
            std::array<double, 3> out{};
            for (std::size_t k = 0; k < 3; ++k)
                out[k] = number(item, before + std::string(kLetters[k]) + after);
            return out;
        };
        bone.setActive(flag(item, "ikjActive"), false);
        const Matrix34 local = m_Scene.matrix(item, "localMatrix");
        Matrix33 turn = local.linear;
        for (std::size_t c = 0; c < 3; ++c) {
            const double length = std::hypot(turn.m[0][c], turn.m[1][c], turn.m[2][c]);
            for (std::size_t r = 0; r < 3 && length > 0; ++r)
                turn.m[r][c] /= length;
        }
        const bool retargeting = flag(item, "ikjRetargeting");
        bone.setRetargeting(retargeting, true);
        if (retargeting)
            turn = turn
                * columnsOf(vector(item, "ikjTargetOffsetX"), vector(item, "ikjTargetOffsetY"),
                            vector(item, "ikjTargetOffsetZ"));
        const Quaternion q = quaternionOf(turn);
        if (retargeting)
            bone.setTargetOrientation(q[0], q[1], q[2], q[3]);
        if (!anyRetargeting) {
            bone.setRestOrientation(q[0], q[1], q[2], q[3]);
            bone.setRestTranslation(static_cast<float>(local.offset[0]), static_cast<float>(local.offset[1]),
                                    static_cast<float>(local.offset[2]));
        }
        const auto turns = axes("ikAxis", "RotEnable"), moves = axes("ikAxis", "PosEnable");
        bone.setActiveDof(turns[0] != 0, turns[1] != 0, turns[2] != 0, true);
        bone.setActiveDof(moves[0] != 0, moves[1] != 0, moves[2] != 0, false);
        for (std::uint32_t k = 0; k < 3; ++k) {
            bone.setWeight(k, static_cast<float>(axes("ikAxis", "RotWeight")[k]));
            bone.setWeight(k + 3, static_cast<float>(axes("ikAxis", "PosWeight")[k]));
        }
        bone.setHoldOrientation(false);
        configureLimits(item, bone);
        bone.setMaxVelocity(static_cast<float>(number(item, "ikjMaxVelocity")) / 100.0f);
    }
}

void ExpectedRig::configureLimits(Item& item, Sinew::IKSegment& bone)
{
    if (!flag(item, "ikjEnableLimits")) {
        bone.enableLimits(false);
        bone.enableStretchLimits(false);
        return;
    }
    Sinew::EulerLimits limits;
    const auto channel = [](std::size_t axis, const char* rest) {
        return "ikAxis" + std::string(kLetters[axis]) + rest;
    };
    for (std::size_t k = 0; k < 3; ++k) {
        const bool on = flag(item, channel(k, "Limits"));
        limits.range[2 * k] =
            on ? static_cast<float>(number(item, channel(k, "Min")) * kDegreesPerRadian) : 0;
        limits.range[2 * k + 1] =
            on ? static_cast<float>(number(item, channel(k, "Max")) * kDegreesPerRadian) : 359;
    }
    limits.axis = static_cast<std::uint32_t>(m_Scene.integer(item, "ikjLimitsAxis"));
    bone.setEulerLimits(limits, true);
    bone.enforceLimits(flag(item, "ikjEnforceLimits"));
    bone.setRotationAxis(limits.axis, nullptr);
    bone.enableLimits(true);
    bool anyOn = false;
    for (std::uint32_t k = 0; k < 3; ++k) {
        const double low = number(item, channel(k, "MinTrans")), high = number(item, channel(k, "MaxTrans"));
        if (!flag(item, channel(k, "LimitsTrans")) || high <= low)
            continue;
        bone.setStretchLimit(k, static_cast<float>(low), static_cast<float>(high));
        anyOn = true;
    }
    if (anyOn) {
        bone.enableStretchLimits(true);
        bone.enforceStretchLimits(true);
        bone.setStretchGain(0);
    }
}

Matrix34 ExpectedRig::goal(Item& item, bool position)
{
    const std::string kind = position ? "ikpt" : "ikot";
    Channel& channel = RigScene::channel(item, kind + "Matrix");
    Matrix34 out;
    if (!m_Scene.scene().channelGraph().reverse(channel).empty())
        return m_Scene.matrix(item, channel.name().c_str());
    if (!flag(item, kind + "Enable")) {
        channel.matrix(m_Scene.scene().evaluatedLayer(), m_Scene.host.time(), out);
        return out;
    }
    const int index = m_Scene.integer(item, kind + "LinkIndex");
    if (index >= 1) {
        Item& source =
            *m_Scene.scene().graph("ikTasks").forward(item).at(static_cast<std::size_t>(index) - 1);
        out = m_Scene.matrix(source, position ? "wposMatrix" : "wrotMatrix");
        if (position)
            out.linear = {};
    } else if (position) {
        out.offset = vector(item, "ikptPos");
    } else {
        const Vector3 angles = vector(item, "ikotRot");
        out.linear = turnAbout(2, angles[2]) * turnAbout(1, angles[1]) * turnAbout(0, angles[0]);
    }
    return out;
}

void ExpectedRig::configureTasks()
{
    for (const Task& task : m_Tasks) {
        Item& item = *task.item;
        Matrix34 world, offset;
        if (task.orientation) {
            world.linear = goal(item, false).linear;
            const Vector3 angles = vector(item, "ikotOffset");
            offset.linear = turnAbout(1, angles[1]) * turnAbout(0, angles[0]) * turnAbout(2, angles[2]);
        }
        if (task.position) {
            world.offset = goal(item, true).offset;
            world.offset = transformPoint(world, vector(item, "ikptOffset"));
        }
        world.linear = world.linear * offset.linear;
        const auto settings = [&](Sinew::IKTask& to, const std::string& kind) {
            to.setWeight(static_cast<float>(number(item, kind + "Weight")));
            to.setPrecision(static_cast<float>(number(item, kind + "Precision")));
            to.setDepth(static_cast<std::uint32_t>(m_Scene.integer(item, kind + "Length")));
            to.setLevel(0);
        };
        if (task.position) {
            const bool on = flag(item, "ikptEnable");
            task.position->setActive(on, false);
            if (on) {
                const Vector3 local = (m_ParentWorldInverse * world).offset;
                const double scale = number(m_SolverItem, "iksRetargetScale");
                task.position->setTarget(static_cast<float>(local[0] * scale),
                                         static_cast<float>(local[1] * scale),
                                         static_cast<float>(local[2] * scale));
                settings(*task.position, "ikpt");
                task.position->scaleTarget(static_cast<float>(number(item, "ikptScale")));
            }
        }
        if (task.orientation) {
            const bool on = flag(item, "ikotEnable");
            task.orientation->setActive(on, false);
            if (on) {
                const Quaternion q = quaternionOf(m_ParentRotationInverse * world.linear);
                task.orientation->setTarget(q[0], q[1], q[2], q[3]);
                settings(*task.orientation, "ikot");
            }
        }
    }
}

void ExpectedRig::solve()
{
    const auto value = [&](const char* name) { return number(m_SolverItem, name); };
    if (!flag(m_SolverItem, "iksSolveContinuous"))
        m_Solver->reset();
    m_Solver->setRetargetGain(static_cast<float>(value("iksRetargetGain")));
    m_Solver->setLimitsGain(static_cast<float>(value("iksLimitsGain")));
    if (flag(m_SolverItem, "iksUseTolerance"))
        m_Solver->setTolerance(static_cast<float>(value("iksTolerance") / 10000.0));
    const bool translate = flag(m_SolverItem, "iksTransRoot");
    m_Solver->setTranslateRoot(translate);
    if (translate)
        m_Solver->setRootTranslationWeight(static_cast<float>(value("iksTransRootWeight")));
    m_Solver->setPrecision(static_cast<float>(value("iksPrecision") * -1.0));
    m_Solver->setPCoefficient(static_cast<float>(value("iksTaskPull")));
    m_Solver->solve(static_cast<std::uint32_t>(m_Scene.integer(m_SolverItem, "iksSteps")));
    m_Solver->updateFigure();
}

void ExpectedRig::placeAnimated(Sinew::IKSegment* bone)
{
    // Siblings by a loop: a fan of joints is wide, a chain deep, and only the chain recurses.
    for (; bone; bone = bone->getNextSibling()) {
        Bone& own = m_Bones[bone->getIndex()];
        own.fk = m_Scene.matrix(*own.item, "localMatrix");
        if (const Sinew::IKSegment* parent = bone->getParent())
            own.fk = m_Bones[parent->getIndex()].fk * own.fk;
        placeAnimated(bone->getFirstChild());
    }
}

void ExpectedRig::blend(Sinew::IKSegment* bone, double amount)
{
    for (; bone; bone = bone->getNextSibling()) {
        Bone& own = m_Bones[bone->getIndex()];
        if (amount == 1.0) {
            own.out = own.ik;
        } else if (amount == 0.0) {
            own.out = own.fk;
        } else {
            own.out.linear = slerp(own.fk.linear, own.ik.linear, amount);
            if (const Sinew::IKSegment* parent = bone->getParent()) {
                const Bone& above = m_Bones[parent->getIndex()];
                own.out.offset = transformPoint(above.out, (inverseOr(above.fk, above.fk) * own.fk).offset);
            } else {
                for (std::size_t i = 0; i < 3; ++i)
                    own.out.offset[i] = own.fk.offset[i] + amount * (own.ik.offset[i] - own.fk.offset[i]);
            }
        }
        blend(bone->getFirstChild(), amount);
    }
}

std::vector<Item*> ExpectedRig::items() const
{
    std::vector<Item*> out;
    for (const Bone& bone : m_Bones)
        out.push_back(bone.item);
    return out;
}

std::vector<Matrix34> ExpectedRig::pose() const
{
    std::vector<Matrix34> out;
    for (const Bone& bone : m_Bones)
        out.push_back(bone.out);
    return out;
}

} // namespace e2e
