// SPDX-License-Identifier: MIT
// Evaluated values: what nodes, channel links and transforms make of a scene's actions.
#pragma once

#include "refhost/Change.h"
#include "refhost/Modifier.h"
#include "refhost/Transforms.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace refhost {

class Channel;
class EvalGraph;
class Item;
class Scene;
struct SceneSnapshot;

/// Steps of one solve beyond which the user is told that it may take long.
inline constexpr std::int32_t kManySteps = 100000;

/// A view of the evaluated scene as it stood when it was taken, whatever is edited while it lives. Copies of
/// the pointer share it. It must go before its scene does, or answers nothing afterwards.
class EvaluatedRead {
public:
    ~EvaluatedRead();

    /// Seconds.
    double time() const { return m_Time; }
    /// False, and `out` untouched, when the item had no such number channel, and while a node runs.
    bool number(const Item& item, int channel, double& out);
    /// As `number`, truncated.
    bool integer(const Item& item, int channel, std::int32_t& out);
    /// The same for a matrix channel.
    bool matrix(const Item& item, int channel, Matrix34& out);
    /// Whether an edit has come between, so that this shows a copy of what was.
    bool isFrozen() const { return m_Snapshot != nullptr; }

    EvaluatedRead(const EvaluatedRead&) = delete;
    EvaluatedRead& operator=(const EvaluatedRead&) = delete;

private:
    friend class Evaluation;
    EvaluatedRead(class Evaluation& evaluation, EvalGraph& graph, double time);
    Channel* liveChannel(const Item& item, int channel) const;

    class Evaluation* m_Evaluation;
    EvalGraph* m_Graph;
    double m_Time;
    std::shared_ptr<const SceneSnapshot> m_Snapshot;
};

/// Evaluates one scene, by demand and no more than once for one state of it. A channel shows what the last
/// node that writes it wrote; else what its newest channel link brings; else what the actions say, or for
/// `localMatrix`, `wposMatrix`, `wrotMatrix`, `wsclMatrix`, `worldMatrix` what the transforms make of it.
/// Reads at a time other than the host's use nodes of their own.
class Evaluation final : public SceneListener, public ModifierListener {
public:
    static Evaluation& of(Scene& scene);

    /// Made by `of`.
    explicit Evaluation(Scene& scene);
    ~Evaluation() override;

    /// Value at a time in seconds; 0 for text and matrices.
    double number(Channel& channel, double timeSeconds);
    /// The same truncated; an unset channel gives the integer form of its default.
    std::int32_t integer(Channel& channel, double timeSeconds);
    /// False, and `out` untouched, for a channel that is no matrix.
    bool matrix(Channel& channel, double timeSeconds, Matrix34& out);
    /// Null for a channel that is no text; valid until the next edit.
    const std::string* text(Channel& channel, double timeSeconds);
    /// A view that outlasts edits; nodes that failed before try again for it. Null when the time is not
    /// finite.
    std::shared_ptr<EvaluatedRead> read(double timeSeconds);

    /// A figure of a node about its last evaluation at the current time; nothing when there is no such node
    /// or figure.
    std::optional<double> figure(const Item& item, std::string_view modifier, const char* name);

    /// Everything is computed again when it is asked for; nodes stay.
    void invalidate();
    /// Nodes of a modifier at the current time, made now if they are due.
    std::size_t nodeCount(std::string_view modifier);
    /// How often nodes were evaluated, and how often nodes of a modifier were made, at all times together.
    std::uint64_t evaluationCount() const { return m_EvaluationCount; }
    std::uint64_t makingCount(std::string_view modifier) const;

    void beforeChange(Scene& scene, const Change& change) override;
    void afterChange(Scene& scene, const Change& change) override;
    void modifierAdded(Modifier& modifier) override;
    void modifierRemoving(Modifier& modifier) override;

    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

private:
    friend class EvaluatedRead;
    friend class EvalGraph;

    EvalGraph& graphAt(double timeSeconds);
    void freeze(const EvalGraph* only);
    bool canEvaluate(const Channel& channel) const;
    void tellAbout(const EvalGraph& graph, const std::string& what, std::string problem);
    void tellCircle(const std::string& text);
    void tellLongSolve(std::uint64_t itemId, const std::string& label, std::int32_t steps);
    void countMaking(const Modifier& modifier);

    Scene& m_Scene;
    std::unique_ptr<EvalGraph> m_Now, m_Other;
    std::vector<EvaluatedRead*> m_Reads;
    std::vector<std::pair<std::string, std::uint64_t>> m_Makings;
    std::map<std::pair<std::string, const EvalGraph*>, std::string> m_Told; // what is wrong now
    std::set<std::string> m_ToldCircles;
    std::set<std::uint64_t> m_ToldLongSolves; // items
    std::uint64_t m_EvaluationCount = 0;
    int m_Busy = 0; // nodes being made or evaluated
};

} // namespace refhost
