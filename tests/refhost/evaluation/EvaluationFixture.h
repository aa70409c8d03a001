// SPDX-License-Identifier: MIT
// A scene with evaluation, and modifiers whose nodes are written in the test.
#pragma once

#include "HostFixture.h"

#include <refhost/Evaluation.h>
#include <refhost/NodeChannels.h>

#include <functional>

namespace support {

/// Nodes on items by name; each is a function that adds channels and gives back what the node does.
class TestModifier final : public refhost::Modifier {
public:
    using Evaluate = std::function<refhost::Result(refhost::NodeChannels&)>;
    using Setup = std::function<Evaluate(refhost::Item&, refhost::NodeChannels&)>;

    explicit TestModifier(std::string name) : m_Name(std::move(name)) { }

    const std::string& name() const override { return m_Name; }
    const std::vector<std::string>& typeList() const override { return types; }
    const std::vector<std::string>& graphList() const override { return graphs; }
    refhost::Result enumerate(refhost::Scene& scene, std::vector<refhost::ModifierTarget>& targets) override
    {
        for (const auto& [item, setup] : nodes) {
            if (refhost::Item* found = scene.findByUniqueName(item))
                targets.push_back({found, 0});
        }
        return {};
    }
    refhost::ResultOf<std::unique_ptr<refhost::ModifierNode>>
    allocate(const refhost::ModifierTarget& target, refhost::NodeChannels& channels) override
    {
        for (const auto& [item, setup] : nodes) {
            if (target.item->uniqueName() != item)
                continue;
            Evaluate evaluate = setup(*target.item, channels);
            if (!evaluate)
                return refhost::ResultOf<std::unique_ptr<refhost::ModifierNode>>::failure("no luck.");
            refhost::ResultOf<std::unique_ptr<refhost::ModifierNode>> made;
            made.value = std::make_unique<Node>(*this, std::move(evaluate));
            return made;
        }
        return {};
    }

    std::vector<std::string> types, graphs;
    std::vector<std::pair<std::string, Setup>> nodes;
    int runs = 0;
    int living = 0;

private:
    struct Node final : refhost::ModifierNode {
        Node(TestModifier& owner, Evaluate function) : modifier(owner), run(std::move(function))
        {
            ++owner.living;
        }
        ~Node() override { --modifier.living; }
        refhost::Result evaluate(refhost::NodeChannels& channels) override
        {
            ++modifier.runs;
            return run(channels);
        }
        std::optional<double> figure(const char* name) override
        {
            return std::string_view(name) == "runs" ? std::optional<double>(modifier.runs) : std::nullopt;
        }
        TestModifier& modifier;
        Evaluate run;
    };
    std::string m_Name;
};

class EvaluationFixture : public HostFixture {
protected:
    EvaluationFixture()
    {
        host.setMessageSink(
            [this](refhost::MessageLevel, std::string_view text) { messages.emplace_back(text); });
        begin();
    }

    std::shared_ptr<TestModifier> addModifier(const char* name)
    {
        auto modifier = std::make_shared<TestModifier>(name);
        refhost::Modifiers::of(host).add(modifier);
        return modifier;
    }
    refhost::Item& transform(refhost::Item& item, refhost::TransformKind kind)
    {
        return *scene.addTransformItem(item, kind).value;
    }
    void set(refhost::Item& item, const char* channel, double value)
    {
        const auto written = scene.writeNumber(*item.channel(channel), refhost::Action::Anim, 0, value,
                                               refhost::WriteMode::Plain);
        ASSERT_TRUE(written.ok()) << written.message;
    }
    void key(refhost::Item& item, const char* channel, double time, double value)
    {
        const auto written =
            scene.putKey(*item.channel(channel), refhost::Action::Anim, {.time = time, .number = value});
        ASSERT_TRUE(written.ok()) << written.message;
    }
    void place(refhost::Item& item, double x, double y = 0, double z = 0)
    {
        refhost::Item& position = transform(item, refhost::TransformKind::Position);
        set(position, "pos.X", x);
        set(position, "pos.Y", y);
        set(position, "pos.Z", z);
    }
    void link(refhost::Item& from, const char* fromChannel, refhost::Item& to, const char* toChannel)
    {
        const auto linked = scene.addLink(*from.channel(fromChannel), *to.channel(toChannel));
        ASSERT_TRUE(linked.ok()) << linked.message;
    }
    double number(refhost::Item& item, const char* channel, double time = 0)
    {
        return evaluation.number(*item.channel(channel), time);
    }
    refhost::Matrix34 matrix(refhost::Item& item, const char* channel, double time = 0)
    {
        refhost::Matrix34 out;
        EXPECT_TRUE(evaluation.matrix(*item.channel(channel), time, out));
        return out;
    }
    double worldX(refhost::Item& item, double time = 0)
    {
        return matrix(item, "worldMatrix", time).offset[0];
    }

    std::vector<std::string> messages;
    refhost::Evaluation& evaluation = refhost::Evaluation::of(scene);
};

} // namespace support
