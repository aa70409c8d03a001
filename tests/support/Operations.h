// SPDX-License-Identifier: MIT
// The engine's public operations by name, called with arguments from anywhere.
#pragma once

#include <sinew/IKSolver.h>

#include <map>
#include <string>
#include <vector>

namespace support {

/// Where the arguments of a call come from, one after the other.
class Arguments {
public:
    virtual ~Arguments() = default;
    virtual bool flag() = 0;
    virtual float number() = 0;
    virtual std::uint32_t count() = 0; ///< an index, an axis, a depth
    virtual const float* numbers() = 0; ///< at least 16 of them or null; valid until the call is over
    virtual Sinew::IKSegment* bone() = 0;
};

/// What an operation returns, as numbers.
using Values = std::vector<double>;
template <class Face>
using Operation = Values (*)(Face&, Arguments&);
template <class Face>
using Operations = std::map<std::string, Operation<Face>>;

/// All operations of a face but those that make, remove or link something, solve, or take a client's pointer.
extern const Operations<Sinew::IKSolver> kSolverOperations;
extern const Operations<Sinew::IKSegment> kBoneOperations;
extern const Operations<Sinew::IKTask> kTaskOperations;
extern const Operations<Sinew::IKPositionTask> kPositionOperations;
extern const Operations<Sinew::IKOrientationTask> kOrientationOperations;
extern const Operations<Sinew::IKBalanceTask> kBalanceOperations;

/// A task by its faces.
struct AnyTask {
    Sinew::IKTask* task = nullptr;
    Sinew::IKPositionTask* position = nullptr;
    Sinew::IKOrientationTask* orientation = nullptr;
    Sinew::IKBalanceTask* balance = nullptr;

    AnyTask() = default;
    AnyTask(Sinew::IKPositionTask* t) : task(t), position(t) { }
    AnyTask(Sinew::IKOrientationTask* t) : task(t), orientation(t) { }
    AnyTask(Sinew::IKBalanceTask* t) : task(t), balance(t) { }
};

inline Values flatten(bool v) { return {v ? 1.0 : 0.0}; }
inline Values flatten(float v) { return {static_cast<double>(v)}; }
inline Values flatten(std::uint32_t v) { return {static_cast<double>(v)}; }
inline Values flatten(const Sinew::SinewVector& v) { return {v.x(), v.y(), v.z()}; }
inline Values flatten(const Sinew::SinewQuaternion& q) { return {q.x(), q.y(), q.z(), q.w()}; }

} // namespace support
