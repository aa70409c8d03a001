// SPDX-License-Identifier: MIT
// Reads the source's motion from the scene once, then writes what follows from it as keys.
#include "retarget/SourceBake.h"

#include "retarget/Vectors.h"

#include <refhost/Evaluation.h>
#include <refhost/Host.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace app {

namespace {

using formats::Role;
using formats::Side;
using refhost::Item;
using refhost::Matrix34;
using refhost::TransformKind;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

void expect(const refhost::Result& result)
{
    if (!result.ok())
        throw std::runtime_error("the source could not be prepared: " + result.message);
}

/// Points along a chain: the orientation of `from`, turned the shortest way so that the direction to `to` is
/// the one that it has.
struct Aim {
    std::size_t pair = 0;
    int from = 0, to = 0;
};

/// An arm that hangs from `trunk` in the place of its collar bone.
struct Arm {
    int trunk = 0, upperArm = 0;
};

class Baker {
public:
    Baker(refhost::Scene& scene, const RestFigure& rest, const std::vector<Item*>& items, const JointMap& map,
          const std::vector<double>& times)
        : m_Scene(scene), m_Rest(rest), m_Items(items), m_Map(map), m_Times(times)
    {
    }

    std::vector<Item*> run()
    {
        std::vector<Item*> drivers;
        for (const MapPair& pair : m_Map.pairs)
            drivers.push_back(m_Items[at(pair.source)]);
        findAims();
        findArms();
        if (m_Aims.empty() && m_Arms.empty())
            return drivers;
        evaluate();
        refhost::Step step(m_Scene.journal(), "prepare the source");
        for (std::size_t i = 0; i < m_Aims.size(); ++i)
            drivers[m_Aims[i].pair] = makeAim(m_Aims[i], m_AimKeys[i]);
        for (std::size_t i = 0; i < m_Arms.size(); ++i)
            hang(m_Arms[i], m_ArmKeys[i]);
        expect(step.commit());
        return drivers;
    }

private:
    const formats::RoleJoint& joint(int index) const { return m_Rest.file->joints[at(index)]; }
    bool isPaired(int index) const
    {
        return std::any_of(m_Map.pairs.begin(), m_Map.pairs.end(),
                           [&](const MapPair& pair) { return pair.source == index; });
    }

    void findAims()
    {
        for (std::size_t i = 0; i < m_Map.pairs.size(); ++i) {
            const MapPair& pair = m_Map.pairs[i];
            if (pair.role.role != Role::Spine && pair.role.role != Role::Neck)
                continue;
            const int next = nextPaired(pair.source);
            if (next >= 0 && joint(next).parent != pair.source
                && distance(m_Rest.joints[at(next)].position, m_Rest.joints[at(pair.source)].position) > 0)
                m_Aims.push_back({i, pair.source, next});
        }
    }
    /// The nearest paired joint of spine, neck or head below this one.
    int nextPaired(int source) const
    {
        int next = -1, nearest = 1 << 30;
        for (const MapPair& pair : m_Map.pairs) {
            const Role role = pair.role.role;
            if (role != Role::Spine && role != Role::Neck && role != Role::Head)
                continue;
            int levels = 0, above = pair.source;
            for (; above >= 0 && above != source; above = joint(above).parent)
                ++levels;
            if (above == source && levels > 0 && levels < nearest) {
                next = pair.source;
                nearest = levels;
            }
        }
        return next;
    }

    void findArms()
    {
        for (const MapPair& pair : m_Map.pairs) {
            if (pair.role.role != Role::UpperArm)
                continue;
            int trunk = joint(pair.source).parent;
            while (trunk >= 0 && !isPaired(trunk))
                trunk = joint(trunk).parent;
            if (trunk >= 0 && trunk != joint(pair.source).parent)
                m_Arms.push_back({trunk, pair.source});
        }
    }

    Matrix34 world(int index, double time)
    {
        Matrix34 position, rotation;
        refhost::Evaluation& evaluation = refhost::Evaluation::of(m_Scene);
        evaluation.matrix(*m_Items[at(index)]->channel("wposMatrix"), time, position);
        evaluation.matrix(*m_Items[at(index)]->channel("wrotMatrix"), time, rotation);
        return {rotation.linear, position.offset};
    }

    void evaluate()
    {
        m_AimKeys.resize(m_Aims.size());
        m_ArmKeys.resize(m_Arms.size());
        for (const double time : m_Times) {
            expect(m_Scene.host().setTime(time));
            for (std::size_t i = 0; i < m_Aims.size(); ++i) {
                const RestJoint& from = m_Rest.joints[at(m_Aims[i].from)];
                const Vector3 rest = minus(m_Rest.joints[at(m_Aims[i].to)].position, from.position);
                const Matrix34 here = world(m_Aims[i].from, time);
                const Vector3 way = minus(world(m_Aims[i].to, time).offset, here.offset);
                const Vector3 carried = here.linear * (refhost::transposed(from.rotation) * rest);
                m_AimKeys[i].push_back(shortestTurn(carried, way) * here.linear);
            }
            for (std::size_t i = 0; i < m_Arms.size(); ++i)
                m_ArmKeys[i].push_back(refhost::transposed(world(m_Arms[i].trunk, time).linear)
                                       * world(m_Arms[i].upperArm, time).linear);
        }
    }

    Item* makeAim(const Aim& aim, const std::vector<Matrix33>& rotations)
    {
        const auto made = m_Scene.createItem(m_Scene.host().locatorType(), joint(aim.from).name + "_chain");
        expect(made.result());
        setRotations(*made.value, rotations);
        setRest(*made.value, m_Rest.joints[at(aim.from)].rotation);
        return made.value;
    }

    void hang(const Arm& arm, const std::vector<Matrix33>& rotations)
    {
        Item& item = *m_Items[at(arm.upperArm)];
        const RestJoint &trunk = m_Rest.joints[at(arm.trunk)], &shoulder = m_Rest.joints[at(arm.upperArm)];
        const Matrix33 back = refhost::transposed(trunk.rotation);
        expect(m_Scene.setParent(item, m_Items[at(arm.trunk)]));
        const auto position = m_Scene.addTransformItem(item, TransformKind::Position);
        expect(position.result());
        // The trunk may carry a scale, which its rest positions have in them.
        Matrix34 above;
        refhost::Evaluation::of(m_Scene).matrix(*m_Items[at(arm.trunk)]->channel("wsclMatrix"), 0, above);
        const Vector3 place = back * minus(shoulder.position, trunk.position);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int a = static_cast<int>(axis);
            refhost::Channel& channel = *position.value->channel(std::string("pos.") + "XYZ"[axis]);
            expect(m_Scene.setKeys(channel, refhost::Action::Anim, {}));
            expect(m_Scene.writeNumber(channel, refhost::Action::Setup, 0, place[axis] / above.linear[a][a],
                                       refhost::WriteMode::Plain));
        }
        setRotations(item, rotations);
        setRest(item, back * shoulder.rotation);
    }

    refhost::Channel& rotationChannel(Item& item, std::size_t axis)
    {
        const auto rotation = m_Scene.addTransformItem(item, TransformKind::Rotation);
        expect(rotation.result());
        return *rotation.value->channel(std::string("rot.") + "XYZ"[axis]);
    }
    int orderOf(Item& item)
    {
        Item* rotation = item.transformItem(TransformKind::Rotation);
        return rotation ? rotation->channel("order")->integer(refhost::Layer::Setup, 0) : 0;
    }

    void setRotations(Item& item, const std::vector<Matrix33>& rotations)
    {
        std::array<std::vector<refhost::Key>, 3> keys;
        const int order = orderOf(item);
        for (std::size_t i = 0; i < rotations.size(); ++i) {
            const Vector3 angles = refhost::eulerFromMatrix(rotations[i], order);
            for (std::size_t axis = 0; axis < 3; ++axis)
                keys[axis].push_back({m_Times[i], angles[axis], 0, 0, refhost::Interpolation::Linear});
        }
        for (std::size_t axis = 0; axis < 3; ++axis)
            expect(m_Scene.setKeys(rotationChannel(item, axis), refhost::Action::Anim, keys[axis]));
    }
    void setRest(Item& item, const Matrix33& rotation)
    {
        const Vector3 angles = refhost::eulerFromMatrix(rotation, orderOf(item));
        for (std::size_t axis = 0; axis < 3; ++axis)
            expect(m_Scene.writeNumber(rotationChannel(item, axis), refhost::Action::Setup, 0, angles[axis],
                                       refhost::WriteMode::Plain));
    }

    refhost::Scene& m_Scene;
    const RestFigure& m_Rest;
    const std::vector<Item*>& m_Items;
    const JointMap& m_Map;
    const std::vector<double>& m_Times;
    std::vector<Aim> m_Aims;
    std::vector<Arm> m_Arms;
    std::vector<std::vector<Matrix33>> m_AimKeys, m_ArmKeys;
};

} // namespace

std::vector<Item*> bakeSkippedJoints(refhost::Scene& scene, const RestFigure& rest,
                                     const std::vector<Item*>& items, const JointMap& map,
                                     const std::vector<double>& times)
{
    return Baker(scene, rest, items, map, times).run();
}

} // namespace app
