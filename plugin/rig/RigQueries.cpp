// SPDX-License-Identifier: MIT
// Small questions about rigs.
#include "rig/RigQueries.h"

#include "host/CZxEvaluation.h"
#include "host/CZxLocator.h"

#include <glue/EulerAngles.h>

#include <cmath>
#include <cstring>
#include <string>

using Sinew::Matrix4d;

bool IsInRig(const CZxUser_ItemGraph& ikRefs, const CZxUser_Item& item)
{
    return ikRefs.forwardCount(item) != 0 || ikRefs.reverseCount(item) != 0;
}

namespace {

CZxUser_Item SolverChild(const CZxUser_Item& item, uint32_t solverType)
{
    for (uint32_t i = 0, count = item.childCount(); i < count; ++i)
        if (CZxUser_Item child = item.child(i); child.isType(solverType))
            return child;
    return {};
}

CZxUser_Item FeedingLocator(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& joint,
                            const char* package, const char* matrix, uint32_t locatorType)
{
    if (!joint.hasPackage(package))
        return {};
    const int32_t channel = joint.channel(matrix);
    if (channel < 0)
        return {};
    CZxUser_Item source = chanLinks.source(joint, channel);
    return source.isType(locatorType) ? source : CZxUser_Item();
}

/// The world transform as a row-vector matrix.
Matrix4d WorldMatrix(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
{
    WorldTransform world{};
    if (!ReadWorldTransform(read, item, world))
        throw kZxFailure;
    Matrix4d matrix;
    matrix.set3x3(&world.rotation[0][0]);
    matrix.setTranslation(world.position[0], world.position[1], world.position[2]);
    return matrix;
}

} // namespace

bool HasSolverChild(const CZxUser_Item& item, uint32_t solverType)
{
    return static_cast<bool>(SolverChild(item, solverType));
}

CZxUser_Item FindSolverForItem(const CZxUser_Item& item, uint32_t solverType)
{
    for (CZxUser_Item current = item;;) {
        if (CZxUser_Item solver = SolverChild(current, solverType))
            return solver;
        current = current.parent();
        if (!current || !current.hasPackage("locator"))
            return {};
    }
}

CZxUser_Item FindLinkedGoal(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& joint,
                            uint32_t locatorType)
{
    if (CZxUser_Item goal = FeedingLocator(chanLinks, joint, "ik.positionTask", "ikptMatrix", locatorType))
        return goal;
    return FeedingLocator(chanLinks, joint, "ik.orientationTask", "ikotMatrix", locatorType);
}

bool MatrixToEuler(const double (&m)[3][3], uint32_t order, double* out)
{
    const auto& [i, j, k] = kEulerAxes[order < 6 ? order : 0];
    eulerAngles(m, static_cast<int>(i), static_cast<int>(j), static_cast<int>(k), out);
    return true;
}

bool ReadWorldTransform(const CZxUser_ChannelRead& read, const CZxUser_Item& item, WorldTransform& out)
{
    return succeeded(CZxUser_Locator(item).worldTransform(read, &out.rotation[0][0], &out.position[0]));
}

Matrix4d RelativeTransform(const CZxUser_ChannelRead& read, const CZxUser_Item& item,
                           const CZxUser_Item& base)
{
    Matrix4d inverse = WorldMatrix(read, base);
    inverse.invert();
    return product(WorldMatrix(read, item), inverse);
}

void BlockToEuler(const Matrix4d& matrix, uint32_t order, double* out)
{
    double host[3][3];
    matrix.get3x3(&host[0][0]);
    MatrixToEuler(host, order, out);
}

void WriteVector(const CZxUser_ChannelWrite& write, const CZxUser_Item& item, const char* name,
                 const double* xyz)
{
    for (uint32_t a = 0; a < 3; ++a)
        write.number(item, item.channel((std::string(name) + '.' + "XYZ"[a]).c_str()), xyz[a]);
}

void CreateVectorKeys(const CZxUser_ChannelWrite& write, const CZxUser_Item& item, const char* name,
                      const double* xyz)
{
    for (uint32_t a = 0; a < 3; ++a)
        write.createKey(item, item.channel((std::string(name) + '.' + "XYZ"[a]).c_str()), xyz[a]);
}

void CaptureRestPose(const CZxUser_ChannelRead& read, const CZxUser_ChannelWrite& write,
                     const CZxUser_Item& item, bool addPackages)
{
    if (addPackages) {
        item.addPackage("ik.package");
        item.addPackage("ik.joint");
    }
    CZxUser_Matrix local;
    ZxObject* value = nullptr;
    const int32_t channel = item.channel("localMatrix");
    if (channel < 0)
        return;
    check(read.call<&ZxChannelReadTable::value>(item, channel, &value));
    local.adopt(value);
    double m[3][3], offset[3];
    check(local.get3x3(&m[0][0]));
    check(local.getOffset(offset));
    WriteVector(write, item, "ikRestPos", offset);
    constexpr const char* kAxes[3] = {"ikRestXAxis", "ikRestYAxis", "ikRestZAxis"};
    for (uint32_t c = 0; c < 3; ++c) {
        if (item.channel((std::string(kAxes[c]) + ".X").c_str()) < 0)
            continue;
        double axis[3] = {m[0][c], m[1][c], m[2][c]};
        const double squares = axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2];
        if (squares > 0) {
            const double scale = 1 / std::sqrt(squares);
            for (uint32_t r = 0; r < 3; ++r)
                m[r][c] = axis[r] *= scale;
        }
        WriteVector(write, item, kAxes[c], axis);
    }
    CZxUser_Item rotation;
    if (failed(CZxUser_Locator(item).transformItem(TransformKind::Rotation, &rotation)))
        return;
    int32_t order = 0;
    const int32_t orderChannel = rotation.channel("order");
    if (orderChannel < 0 || failed(read.integer(rotation, orderChannel, &order)))
        order = 0;
    write.integer(item, item.channel("ikRotOrder"), order);
    double angles[3];
    MatrixToEuler(m, static_cast<uint32_t>(order), angles);
    WriteVector(write, item, "ikRestRot", angles);
}
