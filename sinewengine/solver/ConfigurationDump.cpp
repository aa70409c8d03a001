// SPDX-License-Identifier: MIT
// The solver's whole set-up as text, for a person to read when a rig misbehaves.
#include "solver/IKSolverState.h"

#include <fstream>
#include <locale>

namespace Sinew {

namespace {

constexpr const char* kSeparator = "----------------------------------------------------";

/// Lines of a label and its values, one blank between values, in the streams' default formats. A path that
/// can't be opened leaves the stream failed and nothing is written.
class Report {
public:
    Report(const char* path, std::ios::openmode mode)
    {
        m_Stream.imbue(std::locale::classic());
        if (path)
            m_Stream.open(path, mode);
    }
    template <class First, class... Rest>
    void line(const char* label, First first, Rest... rest)
    {
        m_Stream << label << first;
        ((m_Stream << ' ' << rest), ...);
        m_Stream << std::endl;
    }
    void three(const char* label, const float* values) { line(label, values[0], values[1], values[2]); }
    void line(const char* label, SinewVector v) { line(label, v.x(), v.y(), v.z()); }
    void three(const char* label, const bool* flags) { line(label, flags[0], flags[1], flags[2]); }
    void range(const char* label, const float* pair)
    {
        m_Stream << label << pair[0] << " max=" << pair[1] << std::endl;
    }
    void text(const char* text) { m_Stream << text << std::endl; }

private:
    std::ofstream m_Stream;
};

} // namespace

// The separators between the blocks and the headings "[Bone ...]" and "[Task ...]" belong to the header's
// stream, which is closed by then: they never reach the file. Readers tell blocks apart by their first lines.
void IKSolverState::dumpConfiguration(const char* path) const
try {
    {
        Report report(path, std::ios::out | std::ios::trunc);
        report.line("Number of Bones=", m_SegmentCount);
        report.line("Number of Tasks=", static_cast<std::int32_t>(m_Tasks.count()) + (m_BalanceTask ? 1 : 0));
        report.line("Solution Tolerance=", m_Tolerance);
        report.line("Translate Root=", m_TranslateRoot);
        report.line("Root Translation Weight=", m_RootTranslationWeight);
        report.line("Root Target Translation=", m_RootTargetTranslation);
        const bool translates = m_RootBone && m_RootBone->isTranslational();
        const bool freedoms[3] = {translates && m_RootBone->isDofActive(3),
                                  translates && m_RootBone->isDofActive(4),
                                  translates && m_RootBone->isDofActive(5)};
        report.three("Root Translation DOF=", freedoms);
        report.line("Enable Root Target Translation=", m_EnableRootTarget);
        report.line("Moments Weight=", m_MomentsWeight);
        report.line("Total Figure Mass=", m_TotalMass);
        report.line("Use default ZMP=", m_UseDefaultZmp);
        report.line("ZMP=", m_Zmp);
        report.line("Rescale tasks=", m_RescaleTasks);
        report.line("Limits gain=", m_LimitsGain / m_RetargetGainUnit); // the retargeting unit, on purpose
        report.line("Solver retargetting gain=", m_RetargetGain / m_RetargetGainUnit);
        report.line("Solver task precision=", m_TaskPrecision / m_PrecisionUnit);
        report.line("Secondary task weight=", m_SecondaryTaskWeight / m_SecondaryWeightUnit);
        report.line("Secondary Task Precision=", 0.2f / m_SecondaryPrecision);
        report.line("P coefficient=", m_PCoefficient);
        report.text("");
        report.text(kSeparator);
        report.text(kSeparator);
    }
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].dump(path);
    if (m_BalanceTask)
        m_BalanceTask->dump(path);
    for (Task* task : m_Tasks)
        task->dump(path);
} catch (...) {
    // Streams may run out of memory; nothing may leave the engine.
}

void Segment::dump(const char* path) const
{
    Report report(path, std::ios::out | std::ios::app);
    report.line("Name=", getName());
    report.line("Parent Name=", m_Parent ? m_Parent->getName() : "None");
    report.line("Rest Translation=", m_RestTranslation);
    report.line("Rest Orientation=", m_RestOrientation.x(), m_RestOrientation.y(), m_RestOrientation.z(),
                m_RestOrientation.w());
    report.line("Active=", m_Active);
    report.three("Active DOF=", m_ActiveDof);
    report.three("Active translation DOF=", m_ActiveDof + 3);
    report.line("Translational=", m_Translational);
    report.three("Weight=", m_Weight);
    report.three("Stretch weight=", m_Weight + 3);
    report.line("Mass=", m_Mass);
    report.line("Max Velocity=", m_MaxVelocity);
    report.line("Enable retargetting=", m_Retargeting);
    report.line("Retargeting gaint=", m_RetargetingGain);
    report.line("Enable limits=", m_LimitsEnabled);
    report.line("Enable stretch limits=", m_StretchLimitsEnabled);
    report.line("Limits gain=", m_LimitsGain);
    report.line("Enforce limits=", m_EnforceLimits);
    report.line("Enforce stretch limits=", m_EnforceStretchLimits ? 1 : 0);
    report.range("Limits x min=", m_Limits);
    report.range("Limits y min=", m_Limits + 2);
    report.range("Limits z min=", m_Limits + 4);
    report.range("Limits roll min=", m_Limits + 6);
    for (int i = 0; i < 6; i += 2)
        report.range("Stretch limits min=", m_StretchLimits + i);
    report.text(kSeparator);
}

void Task::dump(const char* path)
{
    Report report(path, std::ios::out | std::ios::app);
    report.line("Bone attached to=", m_Segment ? m_Segment->getName() : "");
    report.line("Task type=", isPositionTask() ? "Position" : "Orientation");
    if (isPositionTask()) {
        report.line("Force task=", isForceTask());
        report.line("Balance Task=", isBalanceTask());
        report.line("Pole Vector=", asPositionTask()->getPoleVector());
    }
    report.line("Active=", m_Active);
    report.three("Active DOF=", m_ActiveDof);
    report.line("Depth=", m_Depth);
    report.three("Weight=", m_AxisWeight);
    report.three("Precision=", m_AxisPrecision);
}

} // namespace Sinew
