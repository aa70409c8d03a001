// SPDX-License-Identifier: MIT
// Skins of a glTF file, and which nodes make up its skeleton.
#include "gltf/GltfReader.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace formats {

void GltfReader::readSkins()
{
    const std::size_t count = m_Root.countOf("skins");
    for (std::size_t i = 0; i < count; ++i)
        readSkin(element("skins", i));
}

void GltfReader::readSkin(const JsonView& view)
{
    GltfSkin skin;
    skin.name = view.textOr("name", "");
    if (const auto skeleton = view.find("skeleton"))
        skin.skeleton = static_cast<int>(skeleton->index(nodeCount(), "nodes"));
    const JsonView joints = view.at("joints");
    if (joints.size() == 0)
        refuse(joints.path(), "is empty; a skin has one joint at least");
    if (joints.size() > std::numeric_limits<std::uint16_t>::max())
        refuse(joints.path(), "are " + std::to_string(joints.size()) + "; vertices can name 65,535 at most");
    m_Accessors.spend(joints.path(), joints.size() * sizeof(GltfMatrix));
    m_ListedBy.resize(nodeCount());
    const std::size_t number = m_Gltf.skins.size() + 1; // 0 is no skin
    for (std::size_t j = 0; j < joints.size(); ++j) {
        const JsonView joint = joints[j];
        const std::size_t index = joint.index(nodeCount(), "nodes");
        if (m_ListedBy[index] == number)
            refuse(joint.path(), "lists node " + std::to_string(index) + " twice");
        m_ListedBy[index] = number;
        m_Gltf.nodes[index].joint = true;
        skin.joints.push_back(static_cast<int>(index));
    }
    skin.inverseBind.assign(skin.joints.size(), kGltfIdentity);
    if (const auto bind = view.find("inverseBindMatrices")) {
        const GltfAccessor& accessor = m_Accessors.named(*bind, "MAT4");
        if (accessor.component != GltfComponent::Float)
            refuse(bind->path(), "names " + accessor.path + ", whose matrices are not of floats");
        if (accessor.count < skin.joints.size())
            refuse(bind->path(),
                   "has " + std::to_string(accessor.count) + " matrices for "
                       + std::to_string(skin.joints.size()) + " joints");
        const std::vector<double> values = m_Accessors.doubles(accessor);
        skin.hasInverseBind = true;
        bool affine = true;
        for (std::size_t j = 0; j < skin.joints.size(); ++j) {
            GltfMatrix& m = skin.inverseBind[j];
            std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(j * 16), 16, m.begin());
            for (std::size_t c = 0; c < 4; ++c) {
                const double wanted = c == 3 ? 1 : 0;
                affine = affine && std::abs(m[c * 4 + 3] - wanted) <= 1e-4;
                m[c * 4 + 3] = wanted;
            }
        }
        if (!affine)
            note(bind->path(), "has matrices whose last row is not 0, 0, 0, 1; it is read as if it were");
    }
    m_Gltf.skins.push_back(std::move(skin));
}

void GltfReader::findSkeleton()
{
    // Joints of skins; or without any, humanoid bones; or else all that shows nothing of its own.
    std::vector<bool> member(nodeCount());
    for (std::size_t i = 0; i < nodeCount(); ++i)
        member[i] = m_Gltf.nodes[i].joint;
    for (const GltfHumanBone& bone : m_Gltf.humanBones)
        member[static_cast<std::size_t>(bone.node)] = true;
    const bool marked = std::find(member.begin(), member.end(), true) != member.end();
    if (!marked) {
        for (std::size_t i = 0; i < nodeCount(); ++i)
            member[i] = m_Gltf.nodes[i].mesh < 0 && !element("nodes", i).find("camera");
        if (std::find(member.begin(), member.end(), true) == member.end())
            member.assign(nodeCount(), true);
    }
    // Nodes between two members carry the motion on, so that they belong to it.
    std::vector<bool> above(nodeCount());
    std::vector<bool> below(nodeCount());
    for (const int index : m_Gltf.order) {
        const int parent = node(index).parent;
        if (parent >= 0)
            below[static_cast<std::size_t>(index)] =
                below[static_cast<std::size_t>(parent)] || member[static_cast<std::size_t>(parent)];
    }
    for (auto index = m_Gltf.order.rbegin(); index != m_Gltf.order.rend(); ++index) {
        const int parent = node(*index).parent;
        if (parent >= 0
            && (member[static_cast<std::size_t>(*index)] || above[static_cast<std::size_t>(*index)]))
            above[static_cast<std::size_t>(parent)] = true;
    }
    std::size_t between = 0;
    for (const int index : m_Gltf.order) {
        const auto i = static_cast<std::size_t>(index);
        const bool carries = above[i] && below[i] && !member[i];
        between += carries;
        if (member[i] || carries)
            m_Gltf.skeleton.push_back(index);
    }
    if (between > 0 && marked)
        note("nodes",
             std::to_string(between)
                 + (between == 1 ? " node stands between joints and is"
                                 : " nodes stand between joints and are")
                 + " part of the skeleton");
}

} // namespace formats
