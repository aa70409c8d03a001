// SPDX-License-Identifier: MIT
// Writes local poses into the channels of a BVH motion.
#include "bvh/Channels.h"
#include "bvh/EulerAngles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace formats {

namespace {

constexpr double kSaidDegrees = 1e-3; // a rotation this near to the wanted one is said
constexpr double kSaidTranslation = 1e-5; // of the longest OFFSET
constexpr double kRounding = 1e-12; // of the translation itself

bool isFinite(const Vector& v) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

bool isFinite(const Quaternion& q)
{
    return std::isfinite(q[0]) && std::isfinite(q[1]) && std::isfinite(q[2]) && std::isfinite(q[3]);
}

/// Returns the angle to the wanted rotation that remains.
double setRotation(const BvhJoint& joint, const Quaternion& wanted, const double* near, double* row)
{
    EulerOrder order;
    std::array<std::size_t, 3> columns{};
    EulerDegrees nearAngles{};
    for (std::size_t c = 0; c < joint.channels.size() && order.count < 3; ++c) {
        if (!isRotation(joint.channels[c]))
            continue;
        const auto n = static_cast<std::size_t>(order.count++);
        order.axes[n] = axisOf(joint.channels[c]);
        columns[n] = joint.firstChannel + c;
        nearAngles[n] = near[columns[n]];
    }
    EulerDegrees angles = nearAngles;
    double remaining = 180;
    if (isFinite(wanted)) {
        const Quaternion unit = normalised(wanted);
        angles = nearestEuler(order, unit, nearAngles);
        remaining = order.count == 3 ? 0 : degreesBetween(composeEuler(order, angles), unit);
    }
    for (std::size_t n = 0; n < static_cast<std::size_t>(order.count); ++n)
        row[columns[n]] = angles[n];
    return remaining;
}

/// Returns the distance to the wanted translation that remains.
double setTranslation(const BvhJoint& joint, const Vector& wanted, const double* near, double* row)
{
    Vector said = joint.offset;
    for (std::size_t c = 0; c < joint.channels.size(); ++c) {
        if (isRotation(joint.channels[c]))
            continue;
        const std::size_t column = joint.firstChannel + c;
        const auto a = static_cast<std::size_t>(axisOf(joint.channels[c]));
        const double zero = joint.addsOffset ? joint.offset[a] : 0;
        row[column] = isFinite(wanted) ? wanted[a] - zero : near[column];
        said[a] = row[column] + zero;
    }
    if (!isFinite(wanted))
        return std::numeric_limits<double>::infinity();
    return std::hypot(said[0] - wanted[0], said[1] - wanted[1], said[2] - wanted[2]);
}

} // namespace

std::vector<PoseLoss> setLocalPose(BvhMotion& motion, std::size_t frame, const std::vector<LocalPose>& local)
{
    std::vector<PoseLoss> losses;
    if (frame >= motion.frameCount)
        return losses;
    motion.values.resize(motion.frameCount * motion.channelCount);
    double* row = motion.values.data() + frame * motion.channelCount;
    const double* near = frame == 0 ? row : row - motion.channelCount;
    double longest = 0;
    for (const BvhJoint& joint : motion.joints)
        longest = std::max(longest, std::hypot(joint.offset[0], joint.offset[1], joint.offset[2]));

    for (std::size_t i = 0; i < std::min(motion.joints.size(), local.size()); ++i) {
        const BvhJoint& joint = motion.joints[i];
        if (!channelsInRow(motion, joint))
            continue;
        PoseLoss loss{i, setTranslation(joint, local[i].translation, near, row), 0};
        const double degrees = setRotation(joint, local[i].rotation, near, row);
        if (!joint.endSite
            || !joint.channels.empty()) // nothing hangs below an End Site, so its turn is not seen
            loss.rotationDegrees = degrees;
        const Vector& wanted = local[i].translation;
        const double rounding = kRounding * std::hypot(wanted[0], wanted[1], wanted[2]);
        if (!(loss.translation <= kSaidTranslation * longest + rounding)
            || loss.rotationDegrees > kSaidDegrees)
            losses.push_back(loss);
    }
    return losses;
}

} // namespace formats
