// SPDX-License-Identifier: MIT
// Which changes of a scene the border to modules has to hear of.
#include "module/SceneWatch.h"

#include "module/EvaluationObjects.h"
#include "module/HostBinding.h"

namespace refhost {

SceneWatch::SceneWatch(Scene& scene, HostBinding& binding)
    : m_Scene(scene), m_Binding(&binding), m_Matrices(std::make_shared<SlotMatrices>(binding))
{
    scene.addListener(*this);
    binding.addWatch(*this);
}

SceneWatch::~SceneWatch()
{
    m_Scene.removeListener(*this);
    if (!m_Binding)
        return;
    m_Binding->instances().removeFrom(*this);
    m_Matrices->dispose();
    m_Binding->sceneGone(m_Scene);
    m_Binding->removeWatch(*this);
}

void SceneWatch::beforeChange(Scene&, const Change& change)
{
    if (!m_Binding)
        return;
    if (change.kind == ChangeKind::ItemRemoved)
        m_Binding->instances().removeFrom(*this, *change.item);
    else if (change.kind == ChangeKind::PackageRemoved)
        m_Binding->instances().removeFrom(*this, *change.item, change.name);
}

void SceneWatch::afterChange(Scene&, const Change& change)
{
    if (!m_Binding)
        return;
    switch (change.kind) {
    case ChangeKind::ItemAdded:
        m_Binding->instances().expect(*this, *change.item);
        m_Binding->sceneChanged(m_Scene);
        break;
    case ChangeKind::PackageAdded:
        m_Binding->instances().expect(*this, *change.item);
        break;
    case ChangeKind::ItemRemoved:
        m_Binding->itemGone(*change.item);
        m_Binding->sceneChanged(m_Scene);
        break;
    case ChangeKind::Loaded:
        m_Binding->instances().makeExpected(*this);
        break;
    default:
        break;
    }
}

void SceneWatch::afterStep(Scene&)
{
    if (m_Binding)
        m_Binding->instances().makeExpected(*this);
}

} // namespace refhost
