// SPDX-License-Identifier: MIT
// Nodes to locators: the rest pose as plain values in `setup`, an animation's tracks as keys in `anim`.
#include "files/GltfImport.h"

#include "files/BoneNames.h"
#include "files/GltfMeshes.h"
#include "files/ImportFault.h"
#include "files/RotationCurve.h"
#include "formats/RoleJoints.h"
#include "refhost/Host.h"

#include <cmath>

namespace refhost {
namespace {

std::size_t at(int node) { return static_cast<std::size_t>(node); }

Interpolation interpolationOf(formats::GltfInterpolation interpolation)
{
    switch (interpolation) {
    case formats::GltfInterpolation::Step:
        return Interpolation::Step;
    case formats::GltfInterpolation::CubicSpline:
        return Interpolation::Cubic;
    default:
        return Interpolation::Linear;
    }
}

class GltfImporter {
public:
    GltfImporter(Scene& scene, const formats::Gltf& gltf, const MotionImportOptions& options)
        : m_Scene(scene), m_Gltf(gltf), m_Options(options), m_Rest(formats::restPose(gltf))
    {
    }

    MotionImport run()
    {
        if (m_Gltf.nodes.empty())
            throw ImportFault{"the file has no nodes"};
        if (const std::size_t count = m_Gltf.animations.size();
            m_Options.motion && m_Options.animation > 0 && m_Options.animation >= count)
            throw ImportFault{"there is no animation " + std::to_string(m_Options.animation)
                              + "; the file has " + std::to_string(count) + ", counted from 0"};
        checkLevels();
        m_Out.items.resize(m_Gltf.nodes.size());
        for (const int index : m_Gltf.order)
            node(index);
        if (m_Options.motion)
            motion();
        for (const formats::GltfNote& note : m_Gltf.notes)
            m_Out.warnings.push_back(note.place.empty() ? note.text : note.place + ": " + note.text);
        nameBones();
        if (m_Options.meshes)
            importMeshes(m_Scene, m_Gltf, m_Out.items);
        return std::move(m_Out);
    }

private:
    void checkLevels() const
    {
        std::vector<int> levels(m_Gltf.nodes.size());
        for (const int index : m_Gltf.order) {
            const int parent = m_Gltf.nodes[at(index)].parent;
            levels[at(index)] = parent < 0 ? 1 : levels[at(parent)] + 1;
            if (levels[at(index)] > kMaximumImportLevels)
                throw ImportFault{"nodes[" + std::to_string(index) + "]: nodes stand more than "
                                  + std::to_string(kMaximumImportLevels)
                                  + " levels deep; make the hierarchy flatter"};
        }
    }

    void node(int index)
    {
        const formats::GltfNode& node = m_Gltf.nodes[at(index)];
        std::string name = node.name;
        std::replace(name.begin(), name.end(), '\0', '_');
        Item* parent = node.parent < 0 ? nullptr : m_Out.items[at(node.parent)];
        Item& item =
            *require(m_Scene.createItem(m_Scene.host().locatorType(), name, CreateOptions{.parent = parent}));
        m_Out.items[at(index)] = &item;
        if (!parent)
            m_Out.roots.push_back(&item);
        ++m_Out.jointCount;
        const formats::GltfTransform& rest = m_Rest[at(index)];
        const formats::GltfTransform& own = node.transform;
        setVector(item, TransformKind::Position, "pos.", rest.translation, own.translation, {0, 0, 0});
        setVector(item, TransformKind::Scale, "scl.", rest.scale, own.scale, {1, 1, 1});
        rotationChannels(item, index);
    }

    Channel& channelOf(Item& item, TransformKind kind, const char* vector, std::size_t axis)
    {
        Item& transform = *require(m_Scene.addTransformItem(item, kind));
        Channel* channel = transform.channel(std::string(vector) + "XYZ"[axis]);
        if (!channel)
            throw ImportFault{"the host's transform items have no channel " + std::string(vector)};
        return *channel;
    }

    void write(Channel& channel, Action action, double value)
    {
        require(m_Scene.writeNumber(channel, action, 0, value, WriteMode::Plain));
    }

    /// The rest value into `setup`, and into `anim` what the node itself says where that differs.
    void setVector(Item& item, TransformKind kind, const char* name, const std::array<double, 3>& rest,
                   const std::array<double, 3>& own, const std::array<double, 3>& none)
    {
        if (rest == none && own == none)
            return;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Channel& channel = channelOf(item, kind, name, axis);
            if (rest[axis] != none[axis])
                write(channel, Action::Setup, rest[axis]);
            if (m_Options.motion && own[axis] != rest[axis])
                write(channel, Action::Anim, own[axis]);
        }
    }

    const formats::GltfTrack* rotationTrack(int node) const
    {
        if (!m_Options.motion || m_Options.animation >= m_Gltf.animations.size())
            return nullptr;
        for (const formats::GltfTrack& track : m_Gltf.animations[m_Options.animation].tracks)
            if (track.node == node && track.path == formats::GltfPath::Rotation)
                return &track;
        return nullptr;
    }

    void rotationChannels(Item& item, int node)
    {
        const formats::GltfTrack* track = rotationTrack(node);
        const auto& rest = m_Rest[at(node)].rotation;
        const auto& own = m_Gltf.nodes[at(node)].transform.rotation;
        constexpr std::array<double, 4> kNone{0, 0, 0, 1};
        if (!track && rest == kNone && own == kNone)
            return;
        RotationCurve curve;
        if (track)
            curve = curveOf(*track);
        Item& rotation = *require(m_Scene.addTransformItem(item, TransformKind::Rotation));
        if (curve.order != 0)
            write(*rotation.channel("order"), Action::Setup, curve.order);
        const Vector3 angles = eulerFromMatrix(matrixFromQuaternion(rest), curve.order);
        const Vector3 ownAngles = eulerFromMatrix(matrixFromQuaternion(own), curve.order);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Channel& channel = channelOf(item, TransformKind::Rotation, "rot.", axis);
            if (angles[axis] != 0)
                write(channel, Action::Setup, angles[axis]);
            if (track)
                setKeys(channel, curve.keys[axis]);
            else if (m_Options.motion && own != rest)
                write(channel, Action::Anim, ownAngles[axis]);
        }
    }

    static RotationCurve curveOf(const formats::GltfTrack& track)
    {
        return rotationCurve(
            track.times, [&](double time) { return formats::sampleTrack(track, time); },
            track.interpolation == formats::GltfInterpolation::Step);
    }

    void motion()
    {
        if (m_Options.animation >= m_Gltf.animations.size())
            return;
        const formats::GltfAnimation& animation = m_Gltf.animations[m_Options.animation];
        for (const formats::GltfTrack& track : animation.tracks)
            if (track.path != formats::GltfPath::Rotation)
                vectorKeys(track);
        m_Out.frameSeconds = formats::frameStep(animation);
        m_Out.startSeconds = animation.start;
        m_Out.frameCount =
            static_cast<std::size_t>(std::lround((animation.end - animation.start) / m_Out.frameSeconds)) + 1;
    }

    void vectorKeys(const formats::GltfTrack& track)
    {
        const bool position = track.path == formats::GltfPath::Translation;
        const bool cubic = track.interpolation == formats::GltfInterpolation::CubicSpline;
        Item& item = *m_Out.items[at(track.node)];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::vector<Key> keys(track.times.size());
            for (std::size_t i = 0; i < keys.size(); ++i) {
                const double* values = track.values.data() + i * (cubic ? 9 : 3);
                keys[i].time = track.times[i];
                keys[i].number = values[axis + (cubic ? 3 : 0)];
                keys[i].inSlope = cubic ? values[axis] : 0;
                keys[i].outSlope = cubic ? values[axis + 6] : 0;
                keys[i].interpolation = interpolationOf(track.interpolation);
            }
            setKeys(channelOf(item, position ? TransformKind::Position : TransformKind::Scale,
                              position ? "pos." : "scl.", axis),
                    keys);
        }
    }

    void setKeys(Channel& channel, const std::vector<Key>& keys)
    {
        m_Out.keyCount += keys.size();
        require(m_Scene.setKeys(channel, Action::Anim, keys));
    }

    void nameBones() { m_Out.humanoid = setBoneNames(m_Scene, formats::roleJoints(m_Gltf), m_Out.items); }

    Scene& m_Scene;
    const formats::Gltf& m_Gltf;
    const MotionImportOptions& m_Options;
    const formats::GltfPose m_Rest;
    MotionImport m_Out;
};

} // namespace

MotionImport importGltf(Scene& scene, const formats::Gltf& gltf, const MotionImportOptions& options)
{
    return GltfImporter(scene, gltf, options).run();
}

} // namespace refhost
