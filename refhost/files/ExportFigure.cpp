// SPDX-License-Identifier: MIT
// A property counts as driven where the evaluated pose isn't what its own channels say.
#include "files/ExportFigure.h"

#include "files/GltfImport.h"
#include "files/ImportFault.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace refhost {
namespace {

// What a solver in single precision may be off: a thousandth of a degree, and as little of the figure's size.
constexpr double kSameRadians = 2e-5;
constexpr double kSameShare = 1e-5;

double angleBetween(const std::array<double, 4>& a, const std::array<double, 4>& b)
{
    double same = 0, other = 0;
    for (std::size_t c = 0; c < 4; ++c) {
        same += (a[c] - b[c]) * (a[c] - b[c]);
        other += (a[c] + b[c]) * (a[c] + b[c]);
    }
    return 4 * std::asin(std::min(1.0, std::sqrt(std::min(same, other)) / 2));
}

double distanceBetween(const Vector3& a, const Vector3& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// By formats::GltfPath; a size of 1 stands for scales.
bool same(const LocalPart& a, const LocalPart& b, std::size_t property, double size)
{
    if (property == 1)
        return angleBetween(a.rotation, b.rotation) <= kSameRadians;
    return property == 0 ? distanceBetween(a.translation, b.translation) <= kSameShare * size
                         : distanceBetween(a.scale, b.scale) <= kSameShare;
}

/// What a channel says over time, to the bit.
bool sameCourse(const Channel* a, const Channel* b, double none)
{
    const auto keys = [](const Channel* channel) -> const std::vector<Key>& {
        static const std::vector<Key> kNone;
        return channel ? channel->keys(Layer::Anim).keys() : kNone;
    };
    if (keys(a) != keys(b))
        return false;
    const auto still = [&](const Channel* channel) {
        if (!channel)
            return none;
        for (const Layer layer : {Layer::Anim, Layer::Setup})
            if (const LayerValues* own = channel->values(layer); own && own->number)
                return *own->number;
        return none;
    };
    return !keys(a).empty() || still(a) == still(b);
}

bool sameChannels(const Item& a, const Item& b, std::size_t property)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!sameCourse(vectorChannel(a, property, axis), vectorChannel(b, property, axis),
                        property == 2 ? 1 : 0))
            return false;
    if (property != 1)
        return true;
    const auto order = [](const Item& item) {
        const Item* rotation = item.transformItem(TransformKind::Rotation);
        return rotation ? rotation->channel("order") : nullptr;
    };
    return sameCourse(order(a), order(b), 0);
}

Decomposition decompositionOf(const LocalPart& part)
{
    return {part.translation, matrixFromQuaternion(part.rotation), part.scale};
}

/// The pose of a world below another one, as worldParts puts it together.
LocalPart below(const WorldParts& above, const WorldParts& world)
{
    LocalPart out;
    Matrix34 back;
    out.translation = invert(worldMatrix(above), back) ? transformPoint(back, world.position.offset)
                                                       : world.position.offset;
    out.rotation = quaternionFromMatrix(transposed(above.rotation.linear) * world.rotation.linear);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const int a = static_cast<int>(axis);
        const double scale = above.scale.linear[a][a];
        out.scale[axis] = scale != 0 ? world.scale.linear[a][a] / scale : world.scale.linear[a][a];
    }
    return out;
}

} // namespace

Channel* vectorChannel(const Item& item, std::size_t property, std::size_t axis)
{
    const Item* transform = item.transformItem(kKinds[property]);
    return transform ? transform->channel(std::string(kVectors[property]) + "XYZ"[axis]) : nullptr;
}

LocalPart spokenPart(const Item& item, double time)
{
    LocalParts parts;
    Vector3* vectors[] = {&parts.position, &parts.rotation, &parts.scale};
    for (std::size_t property = 0; property < 3; ++property)
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (const Channel* channel = vectorChannel(item, property, axis))
                (*vectors[property])[axis] = channel->number(Layer::Anim, time);
    if (const Item* rotation = item.transformItem(TransformKind::Rotation))
        parts.order = rotation->channel("order")->integer(Layer::Anim, time);
    return {parts.position, quaternionFromMatrix(matrixFromEuler(parts.rotation, parts.order)), parts.scale};
}

ExportFigure::ExportFigure(Scene& scene, const MotionSource& source) : m_Scene(scene), m_Source(source) { }

ExportFigure::~ExportFigure() = default;

ResultOf<std::unique_ptr<ExportFigure>> ExportFigure::open(Scene& scene, const MotionSource& source)
{
    std::unique_ptr<ExportFigure> figure(new ExportFigure(scene, source));
    if (Result done = figure->read(); !done.ok())
        return ResultOf<std::unique_ptr<ExportFigure>>::failure("the imported file '" + source.fileName
                                                                + "' that the scene keeps can't be read: "
                                                                + done.message);
    return {std::move(figure), {}};
}

Result ExportFigure::read()
{
    MotionImportOptions options{.animation = m_Source.animation, .meshes = false};
    m_Fresh = m_Scene.host().makeScene(m_Source.fileName);
    Step step(m_Fresh->journal(), "import");
    ResultOf<MotionImport> imported;
    if (m_Source.gltf) {
        formats::GltfReadResult read = formats::readGltf(m_Source.text);
        if (const auto* error = std::get_if<formats::GltfError>(&read))
            return Result::failure(error->place + ": " + error->reason);
        m_Gltf = std::get<formats::Gltf>(std::move(read));
        imported = importMotion(*m_Fresh, *m_Gltf, options);
    } else {
        formats::BvhReadResult read = formats::readBvh(m_Source.text, {offsetRule(m_Source.offsets)});
        if (const auto* error = std::get_if<formats::BvhError>(&read))
            return Result::failure("line " + std::to_string(error->line) + ": " + error->reason);
        m_Bvh = std::get<formats::BvhMotion>(std::move(read));
        imported = importMotion(*m_Fresh, *m_Bvh, options);
    }
    if (!imported.ok())
        return imported.result();
    pair(imported.value.items);
    return step.commit();
}

void ExportFigure::pair(const std::vector<Item*>& fresh)
{
    m_Joints.resize(fresh.size());
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        ExportJoint& joint = m_Joints[i];
        joint.fresh = fresh[i];
        if (i < m_Source.items.size() && m_Source.items[i])
            joint.item = m_Scene.find(m_Source.items[i]);
        joint.parent = m_Gltf ? m_Gltf->nodes[i].parent : m_Bvh->joints[i].parent;
        if (m_Gltf) {
            const formats::GltfNode& node = m_Gltf->nodes[i];
            joint.fixed = node.sheared || (node.mesh >= 0 && node.skin >= 0);
        }
    }
    m_Order.resize(fresh.size());
    std::iota(m_Order.begin(), m_Order.end(), std::size_t{0});
    if (m_Gltf)
        std::copy(m_Gltf->order.begin(), m_Gltf->order.end(), m_Order.begin());
}

std::size_t ExportFigure::missingCount() const
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < m_Joints.size(); ++i)
        count += !m_Joints[i].item && (m_Gltf || !m_Bvh->joints[i].endSite);
    return count;
}

WorldParts ExportFigure::evaluatedWorld(const Item& item, double time) const
{
    Evaluation& evaluation = Evaluation::of(m_Scene);
    WorldParts world;
    evaluation.matrix(*item.channel("wposMatrix"), time, world.position);
    evaluation.matrix(*item.channel("wrotMatrix"), time, world.rotation);
    evaluation.matrix(*item.channel("wsclMatrix"), time, world.scale);
    return world;
}

/// Poses are those below the joint that the file has above, as it will be written, whatever the scene has.
void ExportFigure::evaluateAt(double time)
{
    std::vector<WorldParts> world(m_Joints.size());
    const std::size_t first = m_Parts.size();
    m_Parts.resize(first + m_Joints.size());
    for (const std::size_t i : m_Order) {
        const ExportJoint& joint = m_Joints[i];
        const WorldParts* above = joint.parent < 0 ? nullptr : &world[static_cast<std::size_t>(joint.parent)];
        LocalPart& part = m_Parts[first + i];
        WorldParts here;
        if (joint.item)
            here = evaluatedWorld(*joint.item, time);
        if (m_Bvh)
            here.scale = {}; // a file without scales has them in the translations
        if (joint.item)
            part = below(above ? *above : WorldParts{}, here);
        if (joint.item && !joint.fixed) {
            world[i] = here;
            continue;
        }
        const LocalPart own = joint.fresh ? spokenPart(*joint.fresh, time) : LocalPart{};
        if (!joint.item)
            part = own;
        world[i] = worldParts(decompositionOf(own), above);
    }
}

void ExportFigure::judge(const std::vector<double>& times)
{
    double size = 0;
    for (const ExportJoint& joint : m_Joints)
        if (joint.fresh)
            size = std::max(size, distanceBetween(spokenPart(*joint.fresh, 0).translation, {}));
    std::vector<std::array<bool, 3>> driven(m_Joints.size()), moved(m_Joints.size());
    for (std::size_t t = 0; t < times.size(); ++t)
        for (std::size_t i = 0; i < m_Joints.size(); ++i) {
            const ExportJoint& joint = m_Joints[i];
            if (!joint.item || !joint.fresh)
                continue;
            const LocalPart spoken = spokenPart(*joint.item, times[t]);
            const LocalPart file = spokenPart(*joint.fresh, times[t]);
            for (std::size_t property = 0; property < 3; ++property) {
                driven[i][property] = driven[i][property] || !same(part(t, i), spoken, property, size);
                moved[i][property] = moved[i][property] || !same(part(t, i), file, property, size);
            }
        }
    for (std::size_t i = 0; i < m_Joints.size(); ++i) {
        ExportJoint& joint = m_Joints[i];
        for (std::size_t property = 0; joint.item && joint.fresh && property < 3; ++property)
            joint.states[property] = driven[i][property]
                ? (moved[i][property] ? PropertyState::Driven : PropertyState::Kept)
                : (sameChannels(*joint.item, *joint.fresh, property) ? PropertyState::Kept
                                                                     : PropertyState::Keyed);
    }
}

void ExportFigure::evaluate(const std::vector<double>& times)
{
    m_Parts.clear();
    m_Parts.reserve(times.size() * m_Joints.size());
    for (const double time : times)
        evaluateAt(time);
    judge(times);
}

} // namespace refhost
