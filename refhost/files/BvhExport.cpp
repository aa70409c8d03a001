// SPDX-License-Identifier: MIT
// Rows of channels from evaluated poses; where nothing was edited, the numbers of the file.
#include "files/BvhExport.h"

#include "formats/FigureMotion.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

class Exporter {
public:
    Exporter(const ExportFigure& figure, const std::vector<double>& times, MotionExport& done)
        : m_Figure(figure), m_Times(times), m_Done(done)
    {
    }

    BvhExport run(double frameSeconds, bool anyPose)
    {
        const formats::BvhMotion& source = m_Figure.bvh();
        m_Out.motion = anyPose ? formats::withAllChannels(source) : source;
        m_Out.motion.frameTime = frameSeconds; // its text stays as long as it says the same
        formats::resizeFrames(m_Out.motion, m_Times.size());
        m_Out.options.exact.resize(m_Out.motion.values.size());
        for (std::size_t frame = 0; frame < m_Times.size(); ++frame) {
            for (const formats::PoseLoss& loss : formats::setLocalPose(m_Out.motion, frame, localPose(frame)))
                note(frame, loss);
            if (!anyPose)
                takeOver(frame);
        }
        return std::move(m_Out);
    }

private:
    std::vector<formats::LocalPose> localPose(std::size_t frame) const
    {
        std::vector<formats::LocalPose> pose;
        for (std::size_t i = 0; i < m_Figure.joints().size(); ++i)
            pose.push_back({m_Figure.part(frame, i).translation, m_Figure.part(frame, i).rotation});
        return pose;
    }

    /// The frame of the file at a time; past its end the last one is held. Nothing between two frames.
    std::optional<std::size_t> sourceFrame(double time) const
    {
        const formats::BvhMotion& source = m_Figure.bvh();
        const double frame = std::round(time / source.frameTime);
        if (source.frameCount == 0 || !(frame >= 0))
            return std::nullopt;
        const double last = static_cast<double>(source.frameCount - 1);
        if (frame <= last && !sameTime(frame * source.frameTime, time))
            return std::nullopt;
        return static_cast<std::size_t>(std::min(frame, last));
    }

    /// Of a joint that nothing drives, and whose channels say at this time what the file says.
    bool isTheFiles(const ExportJoint& joint, double time) const
    {
        if (!joint.item || joint.kept())
            return true;
        if (std::find(joint.states.begin(), joint.states.end(), PropertyState::Driven) != joint.states.end())
            return false;
        const LocalPart here = spokenPart(*joint.item, time), file = spokenPart(*joint.fresh, time);
        return here.translation == file.translation && here.rotation == file.rotation;
    }

    void takeOver(std::size_t frame)
    {
        const formats::BvhMotion& source = m_Figure.bvh();
        const std::optional<std::size_t> from = sourceFrame(m_Times[frame]);
        for (std::size_t i = 0; from && i < source.joints.size(); ++i) {
            if (!isTheFiles(m_Figure.joints()[i], m_Times[frame]))
                continue;
            for (std::size_t c = 0; c < source.joints[i].channels.size(); ++c) {
                const std::size_t column = source.joints[i].firstChannel + c;
                const std::size_t place = frame * source.channelCount + column;
                m_Out.motion.values[place] = source.values[*from * source.channelCount + column];
                m_Out.options.exact[place] = true;
            }
        }
    }

    void note(std::size_t frame, const formats::PoseLoss& loss)
    {
        ++m_Done.lossCount;
        // Degrees and lengths do not compare; a loss in both ways is rare enough to go by either.
        if (loss.rotationDegrees <= m_WorstDegrees && loss.translation <= m_WorstLength)
            return;
        m_WorstDegrees = std::max(m_WorstDegrees, loss.rotationDegrees);
        m_WorstLength = std::max(m_WorstLength, loss.translation);
        m_Done.worstLoss = "frame " + std::to_string(frame + 1) + ", joint '"
            + m_Figure.bvh().joints[loss.joint].name + "': its channels miss the pose by "
            + std::to_string(loss.rotationDegrees) + " degrees and " + std::to_string(loss.translation)
            + " units";
    }

    const ExportFigure& m_Figure;
    const std::vector<double>& m_Times;
    MotionExport& m_Done;
    BvhExport m_Out;
    double m_WorstDegrees = 0, m_WorstLength = 0;
};

} // namespace

BvhExport exportBvh(const ExportFigure& figure, const std::vector<double>& times, double frameSeconds,
                    bool anyPose, MotionExport& done)
{
    return Exporter(figure, times, done).run(frameSeconds, anyPose);
}

} // namespace refhost
