// SPDX-License-Identifier: MIT
// Which node is which bone of a human, from the VRM extensions of a glTF file.
#include "bvh/BvhText.h"
#include "gltf/GltfReader.h"

#include <algorithm>

namespace formats {

namespace {

constexpr std::string_view kBones[] = {
    "hips",
    "spine",
    "chest",
    "upperChest",
    "neck",
    "head",
    "leftEye",
    "rightEye",
    "jaw",
    "leftUpperLeg",
    "leftLowerLeg",
    "leftFoot",
    "leftToes",
    "rightUpperLeg",
    "rightLowerLeg",
    "rightFoot",
    "rightToes",
    "leftShoulder",
    "leftUpperArm",
    "leftLowerArm",
    "leftHand",
    "rightShoulder",
    "rightUpperArm",
    "rightLowerArm",
    "rightHand",
    "leftThumbMetacarpal",
    "leftThumbProximal",
    "leftThumbDistal",
    "leftIndexProximal",
    "leftIndexIntermediate",
    "leftIndexDistal",
    "leftMiddleProximal",
    "leftMiddleIntermediate",
    "leftMiddleDistal",
    "leftRingProximal",
    "leftRingIntermediate",
    "leftRingDistal",
    "leftLittleProximal",
    "leftLittleIntermediate",
    "leftLittleDistal",
    "rightThumbMetacarpal",
    "rightThumbProximal",
    "rightThumbDistal",
    "rightIndexProximal",
    "rightIndexIntermediate",
    "rightIndexDistal",
    "rightMiddleProximal",
    "rightMiddleIntermediate",
    "rightMiddleDistal",
    "rightRingProximal",
    "rightRingIntermediate",
    "rightRingDistal",
    "rightLittleProximal",
    "rightLittleIntermediate",
    "rightLittleDistal",
};

/// VRM 0 calls the thumb's three bones proximal, intermediate and distal; VRM 1 metacarpal, proximal, distal.
std::string fromVrm0(const std::string& bone)
{
    for (const std::string side : {"left", "right"}) {
        if (bone == side + "ThumbProximal")
            return side + "ThumbMetacarpal";
        if (bone == side + "ThumbIntermediate")
            return side + "ThumbProximal";
    }
    return bone;
}

} // namespace

void GltfReader::addHumanBone(const std::string& bone, const JsonView& nodeView)
{
    const auto index = static_cast<int>(nodeView.index(nodeCount(), "nodes"));
    if (std::find(std::begin(kBones), std::end(kBones), bone) == std::end(kBones))
        return note(nodeView.path(), formats::quoted(bone) + " is no bone of a VRM human; left out");
    for (const GltfHumanBone& other : m_Gltf.humanBones)
        if (other.bone == bone || other.node == index)
            return note(nodeView.path(),
                        "node " + std::to_string(index) + " as " + formats::quoted(bone)
                            + " contradicts node " + std::to_string(other.node) + " as "
                            + formats::quoted(other.bone) + "; the first counts");
    m_Gltf.humanBones.push_back({bone, index});
}

/// VRM 1 and its animations: an object of bones with a node each.
void GltfReader::readHumanBones(const JsonView& bones)
{
    for (const auto& [bone, value] : bones.object().json().get_ref<const Json::object_t&>()) {
        // Programs that write VRM 1 leave bones without a node in as null, or as objects without a node.
        const JsonView view(value, bones.path() + "." + pathKey(bone));
        if (value.is_null())
            continue;
        if (const auto nodeView = view.find("node"))
            addHumanBone(bone, *nodeView);
    }
}

/// Of a VRM animation: the nodes that stand for expressions and for the gaze.
void GltfReader::readVrmControls(const JsonView& animation)
{
    if (const auto expressions = animation.find("expressions"))
        for (const char* kind : {"preset", "custom"})
            if (const auto list = expressions->find(kind))
                for (const auto& [name, value] : list->object().json().get_ref<const Json::object_t&>())
                    if (const JsonView view(value, list->path() + "." + pathKey(name)); !value.is_null())
                        if (const auto node = view.find("node"))
                            m_Gltf.expressions.push_back(static_cast<int>(node->index(nodeCount(), "nodes")));
    if (const auto lookAt = animation.find("lookAt"))
        if (const auto node = lookAt->find("node"))
            m_Gltf.lookAt = static_cast<int>(node->index(nodeCount(), "nodes"));
}

void GltfReader::readVrm()
{
    const auto extensions = m_Root.find("extensions");
    if (!extensions)
        return;
    struct Row {
        const char* extension;
        VrmKind kind;
    };
    constexpr Row kRows[] = {{"VRMC_vrm", VrmKind::Vrm1}, {"VRMC_vrm_animation", VrmKind::Animation}};
    for (const Row& row : kRows) {
        const auto vrm = extensions->find(row.extension);
        if (!vrm)
            continue;
        m_Gltf.vrm = row.kind;
        if (const auto humanoid = vrm->find("humanoid"))
            if (const auto bones = humanoid->find("humanBones"))
                readHumanBones(*bones);
        if (row.kind == VrmKind::Animation)
            readVrmControls(*vrm);
        return;
    }
    const auto vrm = extensions->find("VRM");
    if (!vrm)
        return;
    m_Gltf.vrm = VrmKind::Vrm0;
    const auto humanoid = vrm->find("humanoid");
    const auto bones = humanoid ? humanoid->find("humanBones") : std::nullopt;
    for (std::size_t i = 0; bones && i < bones->size(); ++i) {
        const JsonView bone = (*bones)[i];
        const JsonView nodeView = bone.at("node");
        // Some exporters write -1 for a bone that is not there.
        if (nodeView.json() != -1)
            addHumanBone(fromVrm0(bone.at("bone").text()), nodeView);
    }
}

} // namespace formats
