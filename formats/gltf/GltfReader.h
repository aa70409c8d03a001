// SPDX-License-Identifier: MIT
// Builds the structs of a glTF file from its document; every part checks what it takes.
#pragma once

#include "gltf/GltfAccessors.h"

#include <array>
#include <set>
#include <string>
#include <vector>

namespace formats {

class GltfReader {
public:
    /// Throws GltfRefusal.
    GltfReader(std::string bytes, const std::string& folder);

    Gltf take() { return std::move(m_Gltf); }

private:
    // GltfReader.cpp
    void readNodes();
    void readNode(const JsonView& view, GltfNode& node);
    void readMatrix(const JsonView& view, GltfNode& node);
    void readTransform(const JsonView& view, GltfNode& node);
    void readChildren(const JsonView& view, int index);
    void orderNodes();
    [[noreturn]] void refuseCycle(std::size_t member) const;
    void readScenes();
    void nameNodes();
    void checkWorld() const;

    // GltfReaderSkins.cpp
    void readSkins();
    void readSkin(const JsonView& view);
    void findSkeleton();

    // GltfReaderMeshes.cpp
    void readMeshes();
    void readPrimitive(const JsonView& view, std::size_t mesh, std::size_t jointLimit);
    void readInfluences(const JsonView& attributes, std::span<const std::uint32_t> places,
                        std::size_t vertexCount, std::size_t jointLimit, GltfPrimitive& primitive);
    std::vector<std::size_t> jointLimits() const;

    // GltfReaderAnimations.cpp
    void readAnimations();
    void readAnimation(const JsonView& view);
    void readChannel(const JsonView& channel, const JsonView& samplers, GltfAnimation& animation);
    void readKeys(const JsonView& sampler, GltfTrack& track);

    // GltfReaderVrm.cpp
    void readVrm();
    void readVrmControls(const JsonView& animation);
    void readHumanBones(const JsonView& bones);
    void addHumanBone(const std::string& bone, const JsonView& node);

    /// The nth element of a top-level array.
    JsonView element(const char* array, std::size_t index) const { return m_Root.at(array)[index]; }
    std::size_t nodeCount() const { return m_Gltf.nodes.size(); }
    GltfNode& node(int index) { return m_Gltf.nodes[static_cast<std::size_t>(index)]; }
    const GltfNode& node(int index) const { return m_Gltf.nodes[static_cast<std::size_t>(index)]; }
    void note(std::string place, std::string text);

    Gltf m_Gltf;
    std::shared_ptr<GltfSource> m_Source;
    JsonView m_Root;
    GltfAccessors m_Accessors;
    std::vector<bool> m_HasMatrix; // by node
    std::vector<std::size_t> m_ListedBy; // by node: the last skin that lists it, from 1
};

/// Moves the rest pose of joints to where their inverse bind matrices say, skin by skin, where the nodes'
/// transforms disagree with them; says so in a note.
void settleRestPose(Gltf& gltf);

/// Adds notes about what is odd in the figure and its motion.
void noteOddities(Gltf& gltf);

} // namespace formats
