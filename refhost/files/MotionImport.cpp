// SPDX-License-Identifier: MIT
// A motion file into locators: hierarchy and rest pose, then the course of every channel as keys.
#include "refhost/MotionImport.h"

#include "files/BoneNames.h"
#include "files/GltfImport.h"
#include "files/ImportFault.h"
#include "files/SceneFileParts.h"
#include "formats/FileKind.h"
#include "formats/GltfWriter.h"
#include "formats/RoleJoints.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>
#include <variant>

namespace refhost {
namespace {

constexpr double kRadians = std::numbers::pi / 180;

std::string lineText(std::size_t line, const std::string& text)
{
    return line == 0 ? text : "line " + std::to_string(line) + ": " + text;
}

std::optional<int> rotationAxis(formats::BvhChannel channel)
{
    if (channel < formats::BvhChannel::RotationX)
        return std::nullopt;
    return static_cast<int>(channel) - static_cast<int>(formats::BvhChannel::RotationX);
}

/// In the file, R = R(first) R(second) R(third) acts on columns, so the last channel turns first; axes
/// without a channel stay at 0 and may stand anywhere.
int rotationOrderOf(const formats::BvhJoint& joint)
{
    std::vector<int> axes;
    bool has[3] = {};
    for (auto channel = joint.channels.rbegin(); channel != joint.channels.rend(); ++channel) {
        if (const std::optional<int> axis = rotationAxis(*channel)) {
            axes.push_back(*axis);
            has[*axis] = true;
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (!has[axis])
            axes.push_back(axis);
    }
    for (int i = 0; i < kRotationOrderCount; ++i) {
        const RotationOrder& order = kRotationOrders[i];
        if (order.first == axes[0] && order.second == axes[1] && order.third == axes[2])
            return i;
    }
    return 0;
}

class Importer {
public:
    Importer(Scene& scene, const formats::BvhMotion& motion, const MotionImportOptions& options)
        : m_Scene(scene), m_Motion(motion), m_Options(options)
    {
    }

    MotionImport run()
    {
        if (m_Options.motion)
            checkTimes();
        checkLevels();
        m_Items.resize(m_Motion.joints.size());
        for (std::size_t i = 0; i < m_Items.size(); ++i)
            joint(i);
        m_Out.frameCount = m_Options.motion ? m_Motion.frameCount : 0;
        m_Out.frameSeconds = m_Motion.frameTime;
        for (const formats::BvhWarning& warning : m_Motion.warnings)
            m_Out.warnings.push_back(lineText(warning.line, warning.text));
        m_Out.humanoid = setBoneNames(m_Scene, formats::roleJoints(m_Motion), m_Items);
        m_Out.items = std::move(m_Items);
        return std::move(m_Out);
    }

private:
    void checkTimes() const
    {
        if (m_Motion.frameCount < 2)
            return;
        const double last = static_cast<double>(m_Motion.frameCount - 1) * m_Motion.frameTime;
        if (!(m_Motion.frameTime > kSameTimeSeconds))
            throw ImportFault{
                "the frame time of " + m_Motion.frameTimeText
                + " seconds is so short that frames can't be told apart; correct 'Frame Time:'"};
        if (!(last <= kMaximumTimeSeconds))
            throw ImportFault{"the last frame would stand at " + std::to_string(last)
                              + " seconds, later than a scene goes; correct 'Frame Time:'"};
    }

    // The reader stops at as many joints, but an End Site may stand below the last.
    void checkLevels() const
    {
        std::vector<int> levels(m_Motion.joints.size());
        for (std::size_t i = 0; i < levels.size(); ++i) {
            const formats::BvhJoint& joint = m_Motion.joints[i];
            levels[i] = joint.parent < 0 ? 1 : levels[static_cast<std::size_t>(joint.parent)] + 1;
            if (levels[i] > kMaximumImportLevels && (m_Options.endSites || !joint.endSite))
                throw ImportFault{lineText(joint.line,
                                           "joints stand more than " + std::to_string(kMaximumImportLevels)
                                               + " levels deep; make the hierarchy flatter")};
        }
        if (levels.empty())
            throw ImportFault{"the file has no joints"};
    }

    void joint(std::size_t index)
    {
        const formats::BvhJoint& joint = m_Motion.joints[index];
        if (joint.endSite && !m_Options.endSites)
            return;
        Item* parent = joint.parent < 0 ? nullptr : m_Items[static_cast<std::size_t>(joint.parent)];
        std::string name = joint.name;
        if (joint.endSite)
            name = (joint.parent < 0 ? std::string()
                                     : m_Motion.joints[static_cast<std::size_t>(joint.parent)].name)
                + "_end";
        std::replace(name.begin(), name.end(), '\0', '_');
        Item& item =
            *require(m_Scene.createItem(m_Scene.host().locatorType(), name, CreateOptions{.parent = parent}));
        m_Items[index] = &item;
        if (!parent)
            m_Out.roots.push_back(&item);
        ++(joint.endSite ? m_Out.endSiteCount : m_Out.jointCount);

        Item& position = *require(m_Scene.addTransformItem(item, TransformKind::Position));
        for (int axis = 0; axis < 3; ++axis) {
            if (const double offset = joint.offset[static_cast<std::size_t>(axis)]; offset != 0)
                require(m_Scene.writeNumber(*channelOf(position, "pos.", axis), Action::Setup, 0, offset,
                                            WriteMode::Plain));
        }
        Item* rotation = nullptr;
        for (std::size_t c = 0; c < joint.channels.size(); ++c) {
            const std::optional<int> axis = rotationAxis(joint.channels[c]);
            if (!axis) {
                const int along = static_cast<int>(joint.channels[c]);
                const double zero = joint.addsOffset ? joint.offset[static_cast<std::size_t>(along)] : 0;
                keys(*channelOf(position, "pos.", along), joint.firstChannel + c, zero, false);
                continue;
            }
            if (!rotation)
                rotation = &rotationItem(item, joint);
            keys(*channelOf(*rotation, "rot.", *axis), joint.firstChannel + c, 0, true);
        }
    }

    Item& rotationItem(Item& item, const formats::BvhJoint& joint)
    {
        Item& rotation = *require(m_Scene.addTransformItem(item, TransformKind::Rotation));
        if (const int order = rotationOrderOf(joint); order != 0)
            require(
                m_Scene.writeNumber(*rotation.channel("order"), Action::Setup, 0, order, WriteMode::Plain));
        return rotation;
    }

    static Channel* channelOf(const Item& item, const char* vector, int axis)
    {
        return item.channel(std::string(vector) + "XYZ"[axis]);
    }

    void keys(Channel& channel, std::size_t column, double zero, bool isAngle)
    {
        if (column >= m_Motion.channelCount || m_Motion.frameCount == 0 || !m_Options.motion)
            return;
        std::vector<Key> keys(m_Motion.frameCount);
        double former = 0;
        for (std::size_t frame = 0; frame < keys.size(); ++frame) {
            double value = m_Motion.values[frame * m_Motion.channelCount + column];
            if (isAngle) {
                // Degrees still: whole turns are exact here. What is too large to have a direction stays.
                if (const double turns = std::round((value - former) / 360);
                    frame > 0 && std::abs(value) < 1e9)
                    value -= turns * 360;
                former = value;
                value *= kRadians;
            }
            keys[frame].time = static_cast<double>(frame) * m_Motion.frameTime;
            keys[frame].number = zero + value;
        }
        m_Out.keyCount += keys.size();
        require(m_Scene.setKeys(channel, Action::Anim, keys));
    }

    Scene& m_Scene;
    const formats::BvhMotion& m_Motion;
    const MotionImportOptions& m_Options;
    std::vector<Item*> m_Items; // by joint; null for those that are left out
    MotionImport m_Out;
};

} // namespace

namespace {

/// Runs an import as one step; `make` throws ImportFault.
template <class Make>
ResultOf<MotionImport> importInStep(Scene& scene, const std::string& fileName, Make&& make)
{
    using Answer = ResultOf<MotionImport>;
    if (Result allowed = scene.journal().allowsEdit(); !allowed.ok())
        return Answer::failure(std::move(allowed.message));
    Step step(scene.journal(), "import " + fileName);
    if (!step.isOpen())
        return Answer::failure("Motion can't be imported while the scene is being loaded.");
    try {
        MotionImport done = make();
        if (Result committed = step.commit(); !committed.ok())
            return Answer::failure(std::move(committed.message));
        return {std::move(done), {}};
    } catch (const ImportFault& fault) {
        return Answer::failure(fault.text);
    }
}

/// The first root keeps the file, so that the scene can be moved and exported later.
void keepSource(Scene& scene, const MotionImport& done, MotionSource source)
{
    if (!isStorableText(source.fileName))
        source.fileName = "unnamed";
    for (const Item* item : done.items)
        source.items.push_back(item ? item->id() : 0);
    require(scene.setData(*done.roots.front(), kMotionSourceKind,
                          std::make_shared<MotionSource>(std::move(source))));
}

ResultOf<MotionImport> importGltfFile(Scene& scene, std::string_view bytes, const std::string& path,
                                      const MotionImportOptions& options)
{
    using Answer = ResultOf<MotionImport>;
    if (Result allowed = scene.journal().allowsEdit(); !allowed.ok())
        return Answer::failure(std::move(allowed.message));
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    const formats::GltfReadResult result = formats::readGltf(bytes, folder.empty() ? "." : folder.string());
    if (const auto* error = std::get_if<formats::GltfError>(&result))
        return Answer::failure(error->place.empty() ? error->reason : error->place + ": " + error->reason);
    const auto& gltf = std::get<formats::Gltf>(result);
    formats::GltfWriteResult whole = std::string(bytes);
    if (!bytes.starts_with("glTF"))
        whole = formats::writeGlb(gltf, {});
    if (const auto* error = std::get_if<formats::GltfError>(&whole))
        return Answer::failure(error->place + ": " + error->reason);
    return importInStep(scene, path, [&] {
        MotionImport done = importGltf(scene, gltf, options);
        MotionSource source;
        source.fileName = std::filesystem::path(path).filename().string();
        source.text = std::get<std::string>(std::move(whole));
        source.gltf = true;
        source.animation = options.animation;
        keepSource(scene, done, std::move(source));
        return done;
    });
}

} // namespace

formats::OffsetRule offsetRule(OffsetReading reading)
{
    constexpr formats::OffsetRule kRules[] = {formats::OffsetRule::Guess, formats::OffsetRule::Replace,
                                              formats::OffsetRule::Add};
    return kRules[static_cast<int>(reading)];
}

ResultOf<MotionImport> importMotion(Scene& scene, const std::string& path, const MotionImportOptions& options)
{
    const std::variant<std::string, formats::FileError> text = formats::readWholeFile(path);
    if (const auto* error = std::get_if<formats::FileError>(&text))
        return ResultOf<MotionImport>::failure(error->reason);
    const std::string& bytes = std::get<std::string>(text);
    ResultOf<MotionImport> answer = formats::isGltf(bytes)
        ? importGltfFile(scene, bytes, path, options)
        : importMotionText(scene, bytes, std::filesystem::path(path).filename().string(), options);
    if (!answer.ok())
        answer.message = path + ": " + answer.message;
    return answer;
}

ResultOf<MotionImport> importMotion(Scene& scene, const formats::BvhMotion& motion,
                                    const MotionImportOptions& options)
{
    return importInStep(scene, "motion", [&] { return Importer(scene, motion, options).run(); });
}

ResultOf<MotionImport> importMotion(Scene& scene, const formats::Gltf& gltf,
                                    const MotionImportOptions& options)
{
    return importInStep(scene, "motion", [&] { return importGltf(scene, gltf, options); });
}

ResultOf<MotionImport> importMotionText(Scene& scene, std::string_view text, const std::string& fileName,
                                        const MotionImportOptions& options)
{
    using Answer = ResultOf<MotionImport>;
    if (Result allowed = scene.journal().allowsEdit(); !allowed.ok())
        return Answer::failure(std::move(allowed.message));
    const formats::BvhReadResult result = formats::readBvh(text, {offsetRule(options.offsets)});
    if (const auto* error = std::get_if<formats::BvhError>(&result))
        return Answer::failure(lineText(error->line, error->reason));
    return importInStep(scene, fileName, [&] {
        MotionImport done = Importer(scene, std::get<formats::BvhMotion>(result), options).run();
        MotionSource source;
        source.fileName = fileName;
        source.text = text;
        source.offsets = options.offsets;
        keepSource(scene, done, std::move(source));
        return done;
    });
}

} // namespace refhost
