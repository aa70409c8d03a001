// SPDX-License-Identifier: MIT
// A small tool inside the test program: a handle on every locator, dragged by its position.
#pragma once

#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/ToolHost.h>

#include <string>
#include <vector>

namespace support {

/// What all tools of one maker did and are to do.
struct ToyLog {
    std::vector<std::string> calls; ///< in order, and emptied by `take`
    bool evaluateFails = false;
    std::string disabled; ///< why the tool can't be used

    std::string take()
    {
        std::string text;
        for (const std::string& one : calls)
            text += (text.empty() ? "" : " ") + one;
        calls.clear();
        return text;
    }
};

class ToyTool final : public refhost::Tool {
public:
    explicit ToyTool(ToyLog& log) : m_Log(log) { m_Log.calls.emplace_back("make"); }

    refhost::Enabled enabled() override
    {
        return m_Log.disabled.empty() ? refhost::Enabled{} : refhost::Enabled::no(m_Log.disabled);
    }
    refhost::Result reset() override
    {
        for (double& value : m_Values)
            value = 0;
        return {};
    }
    const std::vector<refhost::ToolAttribute>& attributes() const override { return m_Attributes; }
    refhost::ResultOf<double> number(int index) override
    {
        return {m_Values[static_cast<std::size_t>(index)], {}};
    }
    refhost::Result setNumber(int index, double value) override
    {
        m_Values[static_cast<std::size_t>(index)] = value;
        return {};
    }
    refhost::Result initialise(const refhost::ToolEvent& event) override
    {
        m_Log.calls.emplace_back("initialise");
        m_Items = event.scene->itemsOfType(event.scene->host().locatorType());
        for (refhost::Item* item : m_Items) {
            if (auto made = event.scene->addTransformItem(*item, refhost::TransformKind::Position);
                !made.ok())
                return made.result();
        }
        return {};
    }
    refhost::Result draw(const refhost::ToolEvent& event, refhost::Recorder& recorder) override
    {
        for (std::size_t i = 0; i < m_Items.size(); ++i) {
            refhost::Matrix34 place;
            refhost::Evaluation::of(*event.scene)
                .matrix(*m_Items[i]->channel("wposMatrix"), event.time, place);
            refhost::DrawElement disc;
            disc.kind = refhost::DrawKind::Disc;
            recorder.setPart(static_cast<std::uint32_t>(i));
            recorder.push(place);
            disc.radius = 8 * recorder.pixelSize();
            recorder.shape(disc);
            recorder.pop();
        }
        return {};
    }
    refhost::Result hitTest(const refhost::ToolEvent& event, refhost::Recorder& recorder) override
    {
        m_Log.calls.emplace_back("hitTest");
        return draw(event, recorder);
    }
    refhost::Result buttonDown(const refhost::ToolEvent& event, refhost::AdjustTool& adjust) override
    {
        m_Log.calls.push_back("down" + std::to_string(event.mode));
        m_Dragged = nullptr;
        m_Moves = false;
        if (event.part < 0)
            return {};
        m_Dragged = m_Items[static_cast<std::size_t>(event.part)];
        if (event.mode == 21)
            adjust.requestEvaluation();
        refhost::Matrix34 place;
        refhost::Evaluation::of(*event.scene).matrix(*m_Dragged->channel("wposMatrix"), event.time, place);
        m_From = place.offset;
        event.translation->setStart(m_From);
        const refhost::Vector3 along = event.translation->viewDirection();
        event.translation->setPlane({-along[0], -along[1], -along[2]}, m_From);
        m_Locks = event.mode == 21;
        return {};
    }
    refhost::Result move(const refhost::ToolEvent& event, refhost::AdjustTool& adjust) override
    {
        m_Log.calls.emplace_back("move");
        const refhost::Vector3 to = event.translation->newPosition(m_From);
        for (int a = 0; a < 3; ++a) {
            if (auto set = adjust.setNumber(a, to[static_cast<std::size_t>(a)]); !set.ok())
                return set;
        }
        m_Moves = m_Dragged != nullptr;
        return {};
    }
    refhost::Result buttonUp(const refhost::ToolEvent&, refhost::AdjustTool& adjust) override
    {
        m_Log.calls.emplace_back("up");
        adjust.endDrag();
        return {};
    }
    refhost::Result evaluate(const refhost::ToolEvent& event) override
    {
        m_Log.calls.emplace_back("evaluate");
        if (m_Dragged && m_Locks)
            return event.scene->setTag(*m_Dragged, refhost::tagCode('T', 'O', 'Y', 'L'), "on");
        for (std::size_t a = 0; m_Moves && a < 3; ++a) {
            refhost::Channel& channel = *m_Dragged->transformItem(refhost::TransformKind::Position)
                                             ->channel(std::string("pos.") + "XYZ"[a]);
            if (auto wrote = event.scene->writeNumber(channel, refhost::Action::Edit, event.time, m_Values[a],
                                                      refhost::WriteMode::Key);
                !wrote.ok())
                return wrote;
        }
        return m_Log.evaluateFails ? refhost::Result::failure("the toy broke") : refhost::Result{};
    }
    void dropped() override { m_Log.calls.emplace_back("dropped"); }

private:
    ToyLog& m_Log;
    std::vector<refhost::ToolAttribute> m_Attributes = {{"x"}, {"y"}, {"z"}, {"count", true}};
    double m_Values[4] = {};
    std::vector<refhost::Item*> m_Items;
    refhost::Item* m_Dragged = nullptr;
    refhost::Vector3 m_From{};
    bool m_Moves = false, m_Locks = false;
};

class ToyMaker final : public refhost::ToolMaker {
public:
    explicit ToyMaker(ToyLog& log) : m_Log(log) { }
    const std::string& name() const override { return m_Name; }
    refhost::ResultOf<std::unique_ptr<refhost::Tool>> make() override
    {
        return {std::make_unique<ToyTool>(m_Log), {}};
    }

private:
    ToyLog& m_Log;
    std::string m_Name = "toy";
};

} // namespace support
