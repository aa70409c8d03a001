// SPDX-License-Identifier: MIT
// Tags and goals of an item, as text or as JSON.
#include "commands/ItemFacts.h"

#include "commands/CommandText.h"
#include "commands/Lookup.h"
#include "files/SceneFileParts.h"
#include "refhost/Commands.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "scene/ExactText.h"

#include <numbers>

namespace refhost {
namespace {

/// What the node of a solver item tells about its last run.
class SolveFigures {
public:
    SolveFigures(Host& host, const Item& solver)
        : m_Evaluation(Evaluation::of(solver.scene())), m_Solver(solver)
    {
        // Figures are those of the last run, and reading what the node writes makes it run for what the scene
        // is now.
        Matrix34 ignored;
        if (Channel* root = solver.parent() ? solver.parent()->channel("wposMatrix") : nullptr)
            (void)m_Evaluation.matrix(*root, host.time(), ignored);
        for (const auto& modifier : Modifiers::of(host).all()) {
            if (m_Evaluation.figure(solver, modifier->name(), "iterations"))
                m_Modifier = modifier->name();
        }
    }
    explicit operator bool() const { return !m_Modifier.empty(); }

    std::optional<double> operator()(const std::string& name) const
    {
        return m_Evaluation.figure(m_Solver, m_Modifier, name.c_str());
    }

private:
    Evaluation& m_Evaluation;
    const Item& m_Solver;
    std::string m_Modifier;
};

struct GoalDistance {
    const Item* joint;
    std::optional<double> distance, degrees;
};

std::vector<GoalDistance> goalDistances(const SolveFigures& figures, const Scene& scene)
{
    std::vector<GoalDistance> goals;
    for (const Item* item : scene.items()) {
        GoalDistance goal{item, figures("distance " + item->uniqueName()),
                          figures("angle " + item->uniqueName())};
        if (goal.degrees)
            *goal.degrees *= 180 / std::numbers::pi;
        if (goal.distance || goal.degrees)
            goals.push_back(goal);
    }
    return goals;
}

} // namespace

void printJson(const Invocation& invocation, const Json& json)
{
    invocation.print(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

Json tagsJson(const Item& item)
{
    Json tags = Json::object();
    for (const auto& [code, text] : item.tags().all())
        tags[tagKey(code)] = text;
    return tags;
}

std::string tagsText(const Item& item)
{
    std::string words;
    for (const auto& [code, text] : item.tags().all())
        words += " " + tagKey(code) + "=" + quotedWhereNeeded(text);
    return words;
}

void printTags(const Invocation& invocation, const Item& item, bool json)
{
    if (json) {
        printJson(invocation, {{"item", itemText(item)}, {"tags", tagsJson(item)}});
        return;
    }
    for (const auto& [code, text] : item.tags().all())
        invocation.print(tagKey(code) + " " + quotedWhereNeeded(text));
}

Result printGoals(const Invocation& invocation, const Item& item, bool json)
{
    Host& host = invocation.host();
    const SolveFigures figures(host, item);
    if (!figures)
        return Result::failure("'" + item.label()
                               + "' solves nothing: it is not the solver item of a rig with joints."
                                 " Name such an item, as in query item:FullBodyIK goals:true");
    const auto iterations = static_cast<std::int64_t>(figures("iterations").value_or(0));
    const bool diverged = figures("converged").value_or(1) == 0;
    Channel* bound = item.channel("iksSteps");
    const std::int64_t steps =
        bound ? Evaluation::of(item.scene()).integer(*bound, host.time()) : iterations + 1;
    const bool converged = !diverged && iterations < steps;
    const std::vector<GoalDistance> goals = goalDistances(figures, item.scene());
    if (json) {
        Json list = Json::array();
        for (const GoalDistance& goal : goals) {
            Json one = {{"joint", itemText(*goal.joint)}};
            if (goal.distance)
                one["distance"] = *goal.distance;
            if (goal.degrees)
                one["degrees"] = *goal.degrees;
            list.push_back(std::move(one));
        }
        printJson(invocation,
                  {{"item", itemText(item)},
                   {"iterations", iterations},
                   {"steps", steps},
                   {"converged", converged},
                   {"diverged", diverged},
                   {"goals", std::move(list)}});
        return {};
    }
    invocation.print("iterations " + std::to_string(iterations) + " of " + std::to_string(steps));
    invocation.print(converged      ? "converged yes"
                         : diverged ? "converged no: it diverged; a smaller iksTaskPull steadies it"
                                    : "converged no: its steps (iksSteps) ran out first");
    for (const GoalDistance& goal : goals) {
        const std::string joint = quotedWhereNeeded(itemText(*goal.joint));
        if (goal.distance)
            invocation.print(joint + " distance " + exactText(*goal.distance));
        if (goal.degrees)
            invocation.print(joint + " angle " + exactText(*goal.degrees) + "deg");
    }
    return {};
}

} // namespace refhost
