// SPDX-License-Identifier: MIT
// Pairs two figures role by role.
#include "formats/RolePairs.h"

#include <algorithm>

namespace formats {

namespace {

bool isBody(Role role)
{
    return role != Role::None && role != Role::Root && role != Role::Twist && role != Role::End
        && role != Role::Face;
}

/// Place of step i of `steps` in a chain of `count` joints, both ends included.
std::size_t spread(std::size_t i, std::size_t steps, std::size_t count)
{
    return (i * (count - 1) + (steps - 1) / 2) / (steps - 1);
}

class Pairing {
public:
    Pairing(const HumanoidRoles& source, const HumanoidRoles& target)
        : m_Source(source), m_Target(target), m_Used(source.joints.size()), m_Met(target.joints.size())
    {
    }

    RolePairing run()
    {
        for (int role = 0; role < kRoleCount; ++role)
            for (const Side side : {Side::Middle, Side::Left, Side::Right})
                if (isBody(static_cast<Role>(role)))
                    match(static_cast<Role>(role), side);
        for (std::size_t i = 0; i < m_Used.size(); ++i)
            if (!m_Used[i] && isBody(m_Source.joints[i].role))
                m_Out.sourceLeft.push_back(static_cast<int>(i));
        for (std::size_t i = 0; i < m_Met.size(); ++i)
            if (!m_Met[i] && isBody(m_Target.joints[i].role))
                m_Out.targetLeft.push_back(static_cast<int>(i));
        return std::move(m_Out);
    }

private:
    void match(Role role, Side side)
    {
        const std::vector<int> from = m_Source.chain(role, side), to = m_Target.chain(role, side);
        if (from.empty() || to.empty())
            return;
        if (role != Role::Spine && role != Role::Neck) {
            for (const int target : to)
                for (const int source : from)
                    if (place(m_Source, source) == place(m_Target, target) && !m_Used[at(source)]) {
                        add(source, target);
                        break;
                    }
            return;
        }
        const std::size_t steps = std::min(from.size(), to.size());
        if (steps == 1) {
            // The last of the spine carries the shoulders, the first of the neck leads away from them.
            add(role == Role::Spine ? from.back() : from.front(),
                role == Role::Spine ? to.back() : to.front());
            return;
        }
        for (std::size_t i = 0; i < steps; ++i)
            add(from[spread(i, steps, from.size())], to[spread(i, steps, to.size())]);
    }

    static std::size_t at(int joint) { return static_cast<std::size_t>(joint); }
    static int place(const HumanoidRoles& roles, int joint) { return roles.joints[at(joint)].index; }

    void add(int source, int target)
    {
        m_Used[at(source)] = m_Met[at(target)] = true;
        m_Out.pairs.push_back({source, target, m_Target.joints[at(target)]});
    }

    const HumanoidRoles& m_Source;
    const HumanoidRoles& m_Target;
    std::vector<bool> m_Used, m_Met;
    RolePairing m_Out;
};

} // namespace

RolePairing pairByRoles(const HumanoidRoles& source, const HumanoidRoles& target)
{
    return Pairing(source, target).run();
}

} // namespace formats
