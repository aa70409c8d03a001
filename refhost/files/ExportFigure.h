// SPDX-License-Identifier: MIT
// An imported figure beside a fresh import of its file: what was edited, what is driven, and where it stands.
#pragma once

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "refhost/MotionImport.h"
#include "refhost/Scene.h"
#include "refhost/Transforms.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace refhost {

/// Transform in the parent's space.
struct LocalPart {
    Vector3 translation{};
    std::array<double, 4> rotation{0, 0, 0, 1}; ///< x, y, z, w
    Vector3 scale{1, 1, 1};
};

/// By formats::GltfPath.
inline constexpr TransformKind kKinds[] = {TransformKind::Position, TransformKind::Rotation,
                                           TransformKind::Scale};
inline constexpr const char* kVectors[] = {"pos.", "rot.", "scl."};

/// The channel of an axis, 0 to 2; null where the item has no such transform item.
Channel* vectorChannel(const Item& item, std::size_t property, std::size_t axis);
/// What the item's own channels say at a time, without evaluation.
LocalPart spokenPart(const Item& item, double time);

enum class PropertyState : std::uint8_t {
    Kept, ///< as the file has it
    Keyed, ///< its own channels say something else
    Driven, ///< something else moves it
};

/// A joint of the file.
struct ExportJoint {
    Item* item = nullptr; ///< null when it is gone
    Item* fresh = nullptr; ///< in the fresh import; null for what wasn't imported
    int parent = -1;
    bool fixed = false; ///< the file can't hold a pose of it: others stand below where the file has it
    std::array<PropertyState, 3> states{}; ///< by formats::GltfPath
    bool kept() const { return states == std::array<PropertyState, 3>{}; }
};

class ExportFigure {
public:
    ~ExportFigure();

    /// Reads the file again and pairs its joints with their items.
    static ResultOf<std::unique_ptr<ExportFigure>> open(Scene& scene, const MotionSource& source);

    const MotionSource& source() const { return m_Source; }
    const formats::BvhMotion& bvh() const { return *m_Bvh; }
    const formats::Gltf& gltf() const { return *m_Gltf; }
    const std::vector<ExportJoint>& joints() const { return m_Joints; } ///< as in the file
    std::size_t missingCount() const;

    /// Evaluates the scene at rising times and finds the state of every property.
    void evaluate(const std::vector<double>& times);
    /// The evaluated pose at one of those times.
    const LocalPart& part(std::size_t time, std::size_t joint) const
    {
        return m_Parts[time * m_Joints.size() + joint];
    }

    ExportFigure(const ExportFigure&) = delete;
    ExportFigure& operator=(const ExportFigure&) = delete;

private:
    ExportFigure(Scene& scene, const MotionSource& source);
    Result read();
    void pair(const std::vector<Item*>& fresh);
    void evaluateAt(double time);
    void judge(const std::vector<double>& times);
    WorldParts evaluatedWorld(const Item& item, double time) const;

    Scene& m_Scene;
    const MotionSource& m_Source;
    std::optional<formats::BvhMotion> m_Bvh;
    std::optional<formats::Gltf> m_Gltf;
    std::unique_ptr<Scene> m_Fresh;
    std::vector<ExportJoint> m_Joints;
    std::vector<std::size_t> m_Order; // parents first
    std::vector<LocalPart> m_Parts; // time by time
};

} // namespace refhost
