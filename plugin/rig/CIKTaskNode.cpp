// SPDX-License-Identifier: MIT
// Computes the goal matrices of a task.
#include "rig/CIKTaskNode.h"

#include "rig/CIKTaskModifier.h"
#include "rig/RigMath.h"

#include <string>

using Sinew::Matrix4d;

void CIKTaskNode::allocate(const CZxUser_Item& joint, const CZxUser_Evaluation& evaluation)
{
    m_Evaluation = evaluation;
    const CZxUser_Scene scene = sceneOf(joint);
    const CZxUser_ChannelGraph chanLinks = scene.channelGraph("chanLinks");
    const CZxUser_ItemGraph ikTasks = scene.itemGraph("ikTasks");
    if (PositionNeedsNode(chanLinks, joint))
        addSide(m_Position, joint, ikTasks, "ikpt", "Pos", "wposMatrix");
    if (OrientationNeedsNode(chanLinks, joint))
        addSide(m_Orientation, joint, ikTasks, "ikot", "Rot", "wrotMatrix");
}

void CIKTaskNode::addSide(Side& side, const CZxUser_Item& joint, const CZxUser_ItemGraph& ikTasks,
                          const char* prefix, const char* vector, const char* linkMatrix)
{
    const auto add = [&](const std::string& name, uint32_t mode) {
        return static_cast<int32_t>(m_Evaluation.addChannel(joint, (prefix + name).c_str(), mode));
    };
    side.enable = add("Enable", kZxRead);
    side.x = add(std::string(vector) + ".X", kZxRead);
    side.y = add(std::string(vector) + ".Y", kZxRead);
    side.z = add(std::string(vector) + ".Z", kZxRead);
    side.matrix = add("Matrix", kZxWrite);
    side.linkIndex = add("LinkIndex", kZxRead);
    side.links.clear();
    for (uint32_t i = 0, count = ikTasks ? ikTasks.forwardCount(joint) : 0; i < count; ++i) {
        const CZxUser_Item linked = ikTasks.forward(joint, i);
        if (!linked)
            throw kZxFailure; // a list with a gap would move the later indices
        side.links.push_back(m_Evaluation.addChannel(linked, linkMatrix, kZxRead));
    }
}

zxresult CIKTaskNode::evaluate()
{
    CZxUser_Matrix position, orientation;
    if (m_Position.matrix >= 0)
        position = m_Evaluation.matrix(static_cast<uint32_t>(m_Position.matrix), true);
    if (m_Orientation.matrix >= 0)
        orientation = m_Evaluation.matrix(static_cast<uint32_t>(m_Orientation.matrix), true);
    if (isOn(m_Position))
        evaluatePosition(position);
    if (isOn(m_Orientation))
        evaluateOrientation(orientation);
    return kZxOk;
}

bool CIKTaskNode::isOn(const Side& side) const
{
    return side.enable >= 0 && m_Evaluation.isOn(static_cast<uint32_t>(side.enable));
}

CZxUser_Matrix CIKTaskNode::linkedMatrix(const Side& side) const
{
    int32_t k = 0;
    if (failed(m_Evaluation.readInteger(static_cast<uint32_t>(side.linkIndex), &k)) || k < 1)
        return {};
    if (static_cast<std::size_t>(k) > side.links.size())
        throw kZxOutOfRange;
    return m_Evaluation.matrix(side.links[static_cast<std::size_t>(k) - 1], false);
}

void CIKTaskNode::evaluatePosition(const CZxUser_Matrix& output) const
{
    Matrix4d goal;
    if (const CZxUser_Matrix linked = linkedMatrix(m_Position))
        linked.readTranslation(goal);
    else
        goal.setTranslation(component(m_Position.x), component(m_Position.y), component(m_Position.z));
    output.writeBlock(Matrix4d());
    output.writeTranslation(goal);
}

void CIKTaskNode::evaluateOrientation(const CZxUser_Matrix& output) const
{
    Matrix4d goal;
    if (const CZxUser_Matrix linked = linkedMatrix(m_Orientation)) {
        linked.readBlock(goal);
        linked.readTranslation(goal);
    } else {
        goal = product(
            product(AxisRotation(component(m_Orientation.x), 0), AxisRotation(component(m_Orientation.y), 1)),
            AxisRotation(component(m_Orientation.z), 2));
    }
    output.writeBlock(goal);
    output.writeTranslation(goal);
}
