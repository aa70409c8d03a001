// SPDX-License-Identifier: MIT
// What the border to modules keeps of one scene; it hangs on the scene and goes with it.
#pragma once

#include "module/PackageInstances.h"
#include "refhost/Scene.h"

#include <memory>

namespace refhost {

class HostBinding;
class SlotMatrices;

/// Hears of a scene's changes, and of its end, for the binding. Only the thread that uses the scene uses
/// this.
class SceneWatch final : public SceneListener {
public:
    SceneWatch(Scene& scene, HostBinding& binding);
    ~SceneWatch() override;

    Scene& scene() const { return m_Scene; }
    SceneInstances& instances() { return m_Instances; }
    const std::shared_ptr<SlotMatrices>& matrices() const { return m_Matrices; }
    /// The binding goes.
    void forget() { m_Binding = nullptr; }

    void beforeChange(Scene&, const Change& change) override;
    void afterChange(Scene&, const Change& change) override;
    void afterStep(Scene&) override;

private:
    Scene& m_Scene;
    HostBinding* m_Binding;
    SceneInstances m_Instances;
    std::shared_ptr<SlotMatrices> m_Matrices; // nodes may outlast this
};

} // namespace refhost
