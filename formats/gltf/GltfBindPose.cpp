// SPDX-License-Identifier: MIT
// The rest pose of skins whose inverse bind matrices disagree with the transforms of their joints.
#include "gltf/GltfReader.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace formats {

namespace {

// A file may hold a frame of its motion in the nodes; exporters' rounding stays far below these.
constexpr double kNearPosition = 1e-3; // of the extent of the joints
constexpr double kNearAxis = 2e-3; // of the length of an axis: 0.1 degrees

double extentOf(const std::vector<GltfMatrix>& world, const std::vector<int>& joints)
{
    double extent = 0;
    for (std::size_t a = 12; a < 15; ++a) {
        double low = INFINITY;
        double high = -INFINITY;
        for (const int joint : joints) {
            low = std::min(low, world[static_cast<std::size_t>(joint)][a]);
            high = std::max(high, world[static_cast<std::size_t>(joint)][a]);
        }
        extent = std::max(extent, high - low);
    }
    return extent;
}

bool near(const GltfMatrix& a, const GltfMatrix& b, double extent)
{
    double apart = 0;
    for (std::size_t i = 12; i < 15; ++i)
        apart = std::max(apart, std::abs(a[i] - b[i]));
    bool axes = true;
    for (std::size_t c = 0; c < 12; c += 4) {
        const double size = std::hypot(a[c], a[c + 1], a[c + 2]);
        for (std::size_t i = c; i < c + 3; ++i)
            axes = axes && std::abs(a[i] - b[i]) <= kNearAxis * size;
    }
    return axes && apart <= kNearPosition * extent; // what is not a number is not near
}

/// Where the bind matrices put each joint in the world: the skin is moved as a whole to where the node
/// transforms have its topmost joint, so that only its shape is taken from them.
std::vector<GltfMatrix> bindWorld(const Gltf& gltf, const GltfSkin& skin,
                                  const std::vector<GltfMatrix>& world)
{
    std::size_t top = 0;
    for (const int index : gltf.order) {
        const auto joint = std::find(skin.joints.begin(), skin.joints.end(), index);
        if (joint != skin.joints.end()) {
            top = static_cast<std::size_t>(joint - skin.joints.begin());
            break;
        }
    }
    const GltfMatrix whole =
        multiply(world[static_cast<std::size_t>(skin.joints[top])], skin.inverseBind[top]);
    std::vector<GltfMatrix> bind;
    for (const GltfMatrix& inverseBind : skin.inverseBind)
        bind.push_back(multiply(whole, inverse(inverseBind)));
    return bind;
}

bool hasInverse(const GltfMatrix& matrix)
{
    const GltfMatrix product = multiply(matrix, inverse(matrix));
    for (std::size_t i = 0; i < product.size(); ++i)
        if (!(std::abs(product[i] - kGltfIdentity[i]) < 1e-6))
            return false;
    return true;
}

/// Bind matrices that cannot be turned round, or that put all joints into one place, say nothing of a pose.
bool meansPose(const GltfSkin& skin, const std::vector<GltfMatrix>& bind, double extent)
{
    if (!std::all_of(skin.inverseBind.begin(), skin.inverseBind.end(), hasInverse))
        return false;
    double apart = 0;
    for (const GltfMatrix& place : bind)
        apart = std::max(
            apart, std::hypot(place[12] - bind[0][12], place[13] - bind[0][13], place[14] - bind[0][14]));
    return apart > kNearPosition * extent;
}

void settleSkin(Gltf& gltf, std::size_t skinIndex, std::vector<bool>& settled)
{
    const GltfSkin& skin = gltf.skins[skinIndex];
    const std::vector<GltfMatrix> world = worldMatrices(gltf, restPose(gltf));
    const double extent = extentOf(world, skin.joints);
    const std::vector<GltfMatrix> bind = bindWorld(gltf, skin, world);
    if (extent > 0 && !meansPose(skin, bind, extent)) {
        gltf.notes.push_back(
            {"skins[" + std::to_string(skinIndex) + "]",
             "has inverse bind matrices that give no pose; the rest pose is that of the nodes"});
        return;
    }
    std::map<int, std::size_t> jointOfNode;
    std::size_t apart = 0;
    for (std::size_t j = 0; j < skin.joints.size(); ++j) {
        jointOfNode[skin.joints[j]] = j;
        apart += !near(world[static_cast<std::size_t>(skin.joints[j])], bind[j], extent);
    }
    if (apart == 0)
        return;

    const std::string place = "skins[" + std::to_string(skinIndex) + "]";
    const std::string counted =
        std::to_string(apart) + " of " + std::to_string(skin.joints.size()) + " joints";
    const GltfPose before = restPose(gltf);
    std::vector<GltfMatrix> rest = world;
    bool moved = true;
    for (const int index : gltf.order) {
        const auto i = static_cast<std::size_t>(index);
        GltfNode& node = gltf.nodes[i];
        const GltfMatrix parent =
            node.parent < 0 ? kGltfIdentity : rest[static_cast<std::size_t>(node.parent)];
        const auto joint = jointOfNode.find(index);
        const bool wanted = joint != jointOfNode.end() && !settled[i];
        if (wanted)
            node.rest = decompose(multiply(inverse(parent), bind[joint->second]));
        rest[i] = multiply(parent, node.sheared ? node.matrix : localMatrix(node.rest));
        // Shear, and scales of 0, are more than a joint can say.
        moved = moved && (!wanted || near(rest[i], bind[joint->second], extent));
    }
    if (!moved) {
        for (std::size_t i = 0; i < before.size(); ++i)
            gltf.nodes[i].rest = before[i];
        gltf.notes.push_back({place,
                              counted
                                  + " rest elsewhere by the inverse bind matrices, in a pose that "
                                    "transforms of nodes cannot say; the rest pose is that of the nodes"});
        return;
    }
    for (const int joint : skin.joints)
        settled[static_cast<std::size_t>(joint)] = true;
    gltf.notes.push_back({place,
                          counted
                              + " rest elsewhere by the inverse bind matrices than by the nodes; the rest "
                                "pose is that of the bind matrices"});
}

} // namespace

void settleRestPose(Gltf& gltf)
{
    std::vector<bool> settled(gltf.nodes.size());
    constexpr std::size_t kMostWork = 2'000'000; // every skin walks all nodes
    const auto bound = std::count_if(gltf.skins.begin(), gltf.skins.end(),
                                     [](const GltfSkin& skin) { return skin.hasInverseBind; });
    if (static_cast<std::size_t>(bound) * gltf.nodes.size() > kMostWork) {
        gltf.notes.push_back(
            {"skins", "are too many to compare the rest pose with their inverse bind matrices"});
        return;
    }
    // Skins that share joints, as those of one character do, come out the same: the first one settles them.
    for (std::size_t i = 0; i < gltf.skins.size(); ++i) {
        const std::vector<int>& joints = gltf.skins[i].joints;
        if (gltf.skins[i].hasInverseBind && std::any_of(joints.begin(), joints.end(), [&](int joint) {
                return !settled[static_cast<std::size_t>(joint)];
            }))
            settleSkin(gltf, i, settled);
    }
}

} // namespace formats
