// SPDX-License-Identifier: MIT
// A character made of nothing but bones, written as a GLB, with a solid body where it is to be seen.
#include "gltf/GltfSkeletonWriter.h"

#include "formats/GltfWriter.h"
#include "gltf/BoneBody.h"
#include "gltf/ClipWriter.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace formats {

namespace {

constexpr int kUnsignedShort = 5123;
constexpr std::size_t kMostBones = 65535; // what vertices can name

std::string bonePlace(std::size_t index) { return "bones[" + std::to_string(index) + "]"; }

void check(const std::vector<GltfBone>& bones)
{
    if (bones.empty())
        refuse("bones", "are none; a character needs one at least");
    if (bones.size() > kMostBones)
        refuse("bones", "are " + std::to_string(bones.size()) + "; 65,535 can be written");
    for (std::size_t i = 0; i < bones.size(); ++i) {
        const auto& [translation, rotation, scale] = bones[i].rest;
        bool finite = true;
        double square = 0;
        for (std::size_t c = 0; c < 3; ++c)
            finite = finite && std::isfinite(translation[c]) && std::isfinite(scale[c]);
        for (const double c : rotation)
            square += c * c;
        if (!finite || !(std::abs(square - 1) < 1e-3))
            refuse(bonePlace(i) + ".rest", "is no transform; the figure is broken");
        if (bones[i].parent < -1 || bones[i].parent >= static_cast<int>(i))
            refuse(bonePlace(i) + ".parent",
                   "is " + std::to_string(bones[i].parent) + "; parents must come first");
    }
}

Json nodeOf(const GltfBone& bone)
{
    Json node = {{"name", bone.name}};
    const GltfTransform none;
    if (bone.rest.translation != none.translation)
        node["translation"] = bone.rest.translation;
    if (bone.rest.rotation != none.rotation)
        node["rotation"] = bone.rest.rotation;
    if (bone.rest.scale != none.scale)
        node["scale"] = bone.rest.scale;
    return node;
}

class SkeletonWriter {
public:
    explicit SkeletonWriter(const std::vector<GltfBone>& bones) : m_Bones(bones) { }

    std::string write(const GltfClip& clip, const GltfSkeletonOptions& options)
    {
        m_Roots = addBones(m_Glb, m_Bones);
        if (options.body)
            addBody();
        addScene(m_Glb, m_Roots);
        addClip(m_Glb, clip, m_Bones.size());
        return m_Glb.finish();
    }

private:
    std::vector<GltfMatrix> restWorld() const
    {
        std::vector<GltfMatrix> world;
        for (const GltfBone& bone : m_Bones) {
            const GltfMatrix local = localMatrix(bone.rest);
            world.push_back(bone.parent < 0 ? local
                                            : multiply(world[static_cast<std::size_t>(bone.parent)], local));
        }
        return world;
    }

    std::string freeName(const std::string& wanted) const
    {
        std::set<std::string> taken;
        for (const GltfBone& bone : m_Bones)
            taken.insert(bone.name);
        std::string name = wanted;
        for (std::size_t suffix = 2; taken.contains(name); ++suffix)
            name = wanted + "_" + std::to_string(suffix);
        return name;
    }

    void addBody()
    {
        const std::vector<GltfMatrix> world = restWorld();
        const std::size_t skin = addSkin(world);
        const std::size_t mesh = addMesh(bodyOfBones(m_Bones, world));
        // Joints of a skin need a root in common.
        if (m_Roots.size() > 1)
            m_Roots = {m_Glb.add("nodes", {{"name", freeName("Skeleton")}, {"children", m_Roots}})};
        m_Roots.push_back(m_Glb.add("nodes", {{"name", freeName("Body")}, {"mesh", mesh}, {"skin", skin}}));
    }

    std::size_t addSkin(const std::vector<GltfMatrix>& world)
    {
        std::vector<float> inverseBind;
        Json joints = Json::array();
        for (std::size_t i = 0; i < world.size(); ++i) {
            const GltfMatrix back = inverse(world[i]);
            // Where there is no inverse, the product is not the identity.
            const GltfMatrix product = multiply(world[i], back);
            for (std::size_t c = 0; c < 16; ++c)
                if (!(std::abs(product[c] - kGltfIdentity[c]) < 1e-6))
                    refuse(bonePlace(i) + ".rest", "has a scale of 0, so that no body can be bound to it");
            inverseBind.insert(inverseBind.end(), back.begin(), back.end());
            joints.push_back(i);
        }
        const std::size_t matrices = m_Glb.addFloats(inverseBind, "MAT4", 16, false);
        return m_Glb.add("skins", {{"inverseBindMatrices", matrices}, {"joints", std::move(joints)}});
    }

    std::size_t addMesh(const BoneBody& body)
    {
        std::string joints;
        std::vector<float> weights;
        for (const std::uint16_t joint : body.joints) {
            joints += static_cast<char>(joint & 0xFF);
            joints += static_cast<char>(joint >> 8);
            joints.append(6, '\0');
            weights.insert(weights.end(), {1, 0, 0, 0});
        }
        const std::size_t position = m_Glb.addFloats(body.positions, "VEC3", 3, true, kVertexTarget);
        const std::size_t normal = m_Glb.addFloats(body.normals, "VEC3", 3, false, kVertexTarget);
        const std::size_t joint = m_Glb.add("accessors",
                                            {{"bufferView", m_Glb.addView(joints, kVertexTarget)},
                                             {"componentType", kUnsignedShort},
                                             {"count", body.joints.size()},
                                             {"type", "VEC4"}});
        const std::size_t weight = m_Glb.addFloats(weights, "VEC4", 4, false, kVertexTarget);
        const std::size_t material = m_Glb.add("materials",
                                               {{"name", "Bone"},
                                                {"pbrMetallicRoughness",
                                                 {{"baseColorFactor", {0.8, 0.75, 0.65, 1.0}},
                                                  {"metallicFactor", 0.0},
                                                  {"roughnessFactor", 0.8}}}});
        return m_Glb.add("meshes",
                         {{"name", "Body"},
                          {"primitives",
                           Json::array({{{"attributes",
                                          {{"POSITION", position},
                                           {"NORMAL", normal},
                                           {"JOINTS_0", joint},
                                           {"WEIGHTS_0", weight}}},
                                         {"material", material}}})}});
    }

    const std::vector<GltfBone>& m_Bones;
    std::vector<std::size_t> m_Roots; // of the scene
    GlbBuilder m_Glb;
};

} // namespace

std::vector<std::size_t> addBones(GlbBuilder& glb, const std::vector<GltfBone>& bones)
{
    check(bones);
    glb.json["asset"] = {{"version", "2.0"}, {"generator", "sinew"}};
    for (const GltfBone& bone : bones)
        glb.add("nodes", nodeOf(bone));
    std::vector<std::size_t> roots;
    for (std::size_t i = 0; i < bones.size(); ++i) {
        if (bones[i].parent < 0)
            roots.push_back(i);
        else
            glb.json["nodes"][static_cast<std::size_t>(bones[i].parent)]["children"].push_back(i);
    }
    return roots;
}

void addScene(GlbBuilder& glb, const std::vector<std::size_t>& roots)
{
    glb.json["scene"] = 0;
    glb.add("scenes", {{"nodes", roots}});
}

GltfWriteResult writeSkeletonGlb(const std::vector<GltfBone>& bones, const GltfClip& clip,
                                 const GltfSkeletonOptions& options)
{
    try {
        return SkeletonWriter(bones).write(clip, options);
    } catch (GltfRefusal& refusal) {
        return GltfError{std::move(refusal.place), std::move(refusal.reason)};
    }
}

} // namespace formats
