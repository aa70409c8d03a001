// SPDX-License-Identifier: MIT
// The evaluated motion of an imported hierarchy back into the channels of its file.
#include "files/GltfExport.h"
#include "formats/Bvh.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "refhost/MotionImport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>
#include <variant>

namespace refhost {
namespace {

constexpr formats::OffsetRule kRules[] = {formats::OffsetRule::Guess, formats::OffsetRule::Replace,
                                          formats::OffsetRule::Add};

struct Found {
    const MotionSource* source = nullptr;
    Item* root = nullptr;
};

/// Whether the item and the imported hierarchy have to do with each other.
bool belongs(const Item& item, const Found& found)
{
    return &item == found.root || found.root->isBelow(item)
        || std::find(found.source->items.begin(), found.source->items.end(), item.id())
        != found.source->items.end();
}

ResultOf<Found> findSource(const Scene& scene, const Item* root)
{
    using Answer = ResultOf<Found>;
    Answer answer;
    for (Item* item : scene.items()) {
        const auto data = item->data().find(kMotionSourceKind);
        const Found found{dynamic_cast<const MotionSource*>(data.get()), item};
        if (!found.source || (root && !belongs(*root, found)))
            continue;
        if (answer.value.source)
            return Answer::failure("'" + answer.value.root->label() + "' and '" + item->label()
                                   + "' both come from motion files; say which root is to be exported.");
        answer.value = found;
    }
    if (!answer.value.source)
        return Answer::failure(
            root ? "'" + root->label() + "' has nothing to do with an imported motion file."
                 : "The scene has no imported motion file to write into; import one first.");
    return answer;
}

class Exporter {
public:
    Exporter(Scene& scene, const MotionSource& source, formats::BvhMotion& motion)
        : m_Evaluation(Evaluation::of(scene)),
          m_Motion(motion),
          m_Original(motion),
          m_Joints(motion.joints.size())
    {
        for (std::size_t i = 0; i < m_Joints.size(); ++i) {
            Item* item = i < source.items.size() && source.items[i] ? scene.find(source.items[i]) : nullptr;
            if (item) {
                m_Joints[i].position = item->channel("wposMatrix");
                m_Joints[i].rotation = item->channel("wrotMatrix");
            }
            m_Out.missingJointCount += !m_Joints[i].isThere() && !motion.joints[i].endSite;
        }
    }

    MotionExport run()
    {
        m_Out.frameCount = m_Motion.frameCount;
        for (std::size_t frame = 0; frame < m_Motion.frameCount; ++frame) {
            const std::vector<formats::PoseLoss> losses =
                formats::setLocalPose(m_Motion, frame, localPose(frame));
            m_Out.lossCount += losses.size();
            for (const formats::PoseLoss& loss : losses)
                keepWorst(frame, loss);
        }
        return std::move(m_Out);
    }

private:
    struct Joint {
        Channel* position = nullptr;
        Channel* rotation = nullptr;

        bool isThere() const { return position && rotation; }
    };

    std::vector<formats::LocalPose> localPose(std::size_t frame)
    {
        const double time = static_cast<double>(frame) * m_Motion.frameTime;
        std::vector<formats::LocalPose> pose = formats::localPose(m_Original, frame);
        std::vector<Matrix34> world(pose.size());
        for (std::size_t i = 0; i < pose.size(); ++i) {
            const int parent = m_Motion.joints[i].parent;
            const Matrix34 above = parent < 0 ? Matrix34{} : world[static_cast<std::size_t>(parent)];
            const std::optional<Matrix34> found = evaluated(m_Joints[i], time);
            if (!found) {
                world[i] = above * Matrix34{matrixFromQuaternion(pose[i].rotation), pose[i].translation};
                continue;
            }
            world[i] = *found;
            const Matrix33 back = transposed(above.linear);
            const Vector3 step = {world[i].offset[0] - above.offset[0], world[i].offset[1] - above.offset[1],
                                  world[i].offset[2] - above.offset[2]};
            pose[i].translation = back * step;
            pose[i].rotation = quaternionFromMatrix(back * world[i].linear);
        }
        return pose;
    }

    std::optional<Matrix34> evaluated(const Joint& joint, double time)
    {
        Matrix34 position, rotation;
        if (!joint.isThere() || !m_Evaluation.matrix(*joint.position, time, position)
            || !m_Evaluation.matrix(*joint.rotation, time, rotation))
            return std::nullopt;
        return Matrix34{rotation.linear, position.offset};
    }

    void keepWorst(std::size_t frame, const formats::PoseLoss& loss)
    {
        // Degrees and lengths do not compare; a loss in both ways is rare enough to go by either.
        if (loss.rotationDegrees <= m_WorstDegrees && loss.translation <= m_WorstLength)
            return;
        m_WorstDegrees = std::max(m_WorstDegrees, loss.rotationDegrees);
        m_WorstLength = std::max(m_WorstLength, loss.translation);
        m_Out.worstLoss = "frame " + std::to_string(frame + 1) + ", joint '"
            + m_Motion.joints[loss.joint].name + "': its channels miss the pose by "
            + std::to_string(loss.rotationDegrees) + " degrees and " + std::to_string(loss.translation)
            + " units";
    }

    Evaluation& m_Evaluation;
    formats::BvhMotion& m_Motion;
    const formats::BvhMotion m_Original; // for joints that are gone
    std::vector<Joint> m_Joints;
    MotionExport m_Out;
    double m_WorstDegrees = 0, m_WorstLength = 0;
};

} // namespace

ResultOf<MotionExport> exportMotionText(Scene& scene, std::string& out, const MotionExportOptions& options)
{
    using Answer = ResultOf<MotionExport>;
    const ResultOf<Found> found = findSource(scene, options.root);
    if (!found.ok())
        return Answer::failure(found.message);
    const MotionSource& source = *found.value.source;
    if (source.gltf)
        return exportGltf(scene, source, out);
    formats::BvhReadResult read =
        formats::readBvh(source.text, formats::BvhReadOptions{kRules[static_cast<int>(source.offsets)]});
    if (const auto* error = std::get_if<formats::BvhError>(&read))
        return Answer::failure("the imported file '" + source.fileName
                               + "' that the scene keeps can't be read: line " + std::to_string(error->line)
                               + ": " + error->reason);
    auto& motion = std::get<formats::BvhMotion>(read);
    MotionExport done = Exporter(scene, source, motion).run();
    out = formats::writeBvh(motion);
    return {std::move(done), {}};
}

ResultOf<MotionExport> exportMotion(Scene& scene, const std::string& path, const MotionExportOptions& options)
{
    const ResultOf<Found> found = findSource(scene, options.root);
    if (found.ok() && found.value.source->gltf != path.ends_with(".glb"))
        return ResultOf<MotionExport>::failure(
            "'" + found.value.source->fileName
            + "' was imported, so the motion goes into a file that ends in "
            + (found.value.source->gltf ? ".glb." : ".bvh."));
    std::string text;
    ResultOf<MotionExport> answer = exportMotionText(scene, text, options);
    if (!answer.ok())
        return answer;
    if (const auto failure = formats::writeFileAtomically(path, text))
        return ResultOf<MotionExport>::failure(*failure);
    return answer;
}

} // namespace refhost
