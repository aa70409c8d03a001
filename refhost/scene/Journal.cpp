// SPDX-License-Identifier: MIT
// Steps of edits: opening, closing, taking back and doing again.
#include "refhost/Journal.h"

#include "refhost/Scene.h"

#include <algorithm>

namespace refhost {
namespace {

// Set while edits run, so that a listener cannot edit; also when an edit throws.
struct Applying {
    explicit Applying(bool& flag) : m_Flag(flag) { m_Flag = true; }
    ~Applying() { m_Flag = false; }
    Applying(const Applying&) = delete;
    Applying& operator=(const Applying&) = delete;
    bool& m_Flag;
};

constexpr const char* kBusy = "The scene is telling its listeners about a change; change it afterwards.";

} // namespace

Result Journal::begin(std::string_view label)
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (m_LoadDepth > 0)
        return Result::failure("The scene is being loaded; begin a step afterwards.");
    if (m_Starts.empty())
        m_Open.label = label;
    m_Starts.push_back(m_Open.edits.size());
    stopMerging();
    return {};
}

Result Journal::commit()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (m_Starts.empty())
        return Result::failure("No step is open; begin one before committing it.");
    stopMerging();
    m_Starts.pop_back();
    if (!m_Starts.empty())
        return {};
    const bool changes = hasChangedSince(0);
    StepRecord step = std::exchange(m_Open, {});
    if (changes) {
        for (const auto& edit : step.edits)
            step.changesDocument = step.changesDocument || edit->changesDocument();
        step.serial = step.changesDocument ? ++m_LastSerial : documentState();
        if (step.changesDocument)
            m_Undone.clear();
        m_Done.push_back(std::move(step));
        if (m_StepLimit > 0 && m_Done.size() > m_StepLimit) {
            m_BaseState = m_Done.front().serial;
            m_Done.erase(m_Done.begin());
        }
    }
    m_Scene.notifyStep();
    return {};
}

Result Journal::rollback()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (m_Starts.empty())
        return Result::failure("No step is open; there is nothing to roll back.");
    revertTo(m_Starts.back());
    m_Starts.pop_back();
    if (m_Starts.empty()) {
        m_Open = {};
        m_Scene.notifyStep();
    }
    return {};
}

std::size_t Journal::mark()
{
    stopMerging();
    return m_Open.edits.size();
}

Result Journal::rollbackTo(std::size_t mark)
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (m_Starts.empty())
        return Result::failure("No step is open; there is nothing to roll back.");
    if (mark < m_Starts.back() || mark > m_Open.edits.size())
        return Result::failure("This mark is not inside the open step.");
    revertTo(mark);
    return {};
}

bool Journal::hasChangedSince(std::size_t mark) const
{
    return mark < m_Open.edits.size()
        && !std::all_of(m_Open.edits.begin() + static_cast<std::ptrdiff_t>(mark), m_Open.edits.end(),
                        [](const auto& edit) { return edit->cameBack(); });
}

// Clearing costs the size that the map once had, so a large one is thrown away instead.
void Journal::stopMerging()
{
    constexpr std::size_t kLargeBucketCount = 1024;
    if (m_Mergeable.empty())
        return;
    if (m_Mergeable.bucket_count() > kLargeBucketCount)
        m_Mergeable = {};
    else
        m_Mergeable.clear();
}

void Journal::revertTo(std::size_t count)
{
    stopMerging();
    const Applying applying(m_Applying);
    while (m_Open.edits.size() > count) {
        m_Open.edits.back()->undo(m_Scene, ChangeCause::Rollback);
        m_Open.edits.pop_back();
    }
}

Result Journal::allowsEdit() const
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (m_Starts.empty() && m_LoadDepth == 0)
        return Result::failure("The scene can be changed only inside a step; begin one first.");
    return {};
}

Result Journal::perform(std::unique_ptr<Edit> edit)
{
    if (Result allowed = allowsEdit(); !allowed.ok())
        return allowed;
    {
        const Applying applying(m_Applying);
        edit->redo(m_Scene, ChangeCause::Edit);
    }
    if (m_LoadDepth > 0)
        return {};
    const void* key = edit->mergeKey();
    if (!key) {
        stopMerging();
    } else {
        Edit*& earlier = m_Mergeable[key];
        if (earlier && earlier->absorb(*edit))
            return {};
        earlier = edit.get();
    }
    m_Open.edits.push_back(std::move(edit));
    return {};
}

Result Journal::undo()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (isOpen())
        return Result::failure("A step is open; finish it before undoing.");
    if (m_Done.empty())
        return Result::failure("There is nothing to undo.");
    m_Undone.push_back(std::move(m_Done.back()));
    m_Done.pop_back();
    {
        const Applying applying(m_Applying);
        auto& edits = m_Undone.back().edits;
        for (auto edit = edits.rbegin(); edit != edits.rend(); ++edit)
            (*edit)->undo(m_Scene, ChangeCause::Undo);
    }
    m_Scene.notifyStep();
    return {};
}

Result Journal::redo()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (isOpen())
        return Result::failure("A step is open; finish it before redoing.");
    if (m_Undone.empty())
        return Result::failure("There is nothing to redo.");
    // A step that only selects may have come in between; it does not count as a state of its own.
    StepRecord& step = m_Undone.back();
    if (!step.changesDocument)
        step.serial = documentState();
    m_Done.push_back(std::move(step));
    m_Undone.pop_back();
    {
        const Applying applying(m_Applying);
        for (const auto& edit : m_Done.back().edits)
            edit->redo(m_Scene, ChangeCause::Redo);
    }
    m_Scene.notifyStep();
    return {};
}

std::string Journal::undoLabel() const { return m_Done.empty() ? std::string() : m_Done.back().label; }

std::string Journal::redoLabel() const { return m_Undone.empty() ? std::string() : m_Undone.back().label; }

Result Journal::clear()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (isOpen())
        return Result::failure("A step is open; finish it before the list of steps is cleared.");
    m_BaseState = documentState();
    m_Done.clear();
    m_Undone.clear();
    return {};
}

void Journal::setStepLimit(std::size_t limit)
{
    m_StepLimit = limit;
    if (limit == 0 || m_Done.size() <= limit)
        return;
    const auto keep = m_Done.end() - static_cast<std::ptrdiff_t>(limit);
    m_BaseState = (keep - 1)->serial;
    m_Done.erase(m_Done.begin(), keep);
}

std::uint64_t Journal::documentState() const { return m_Done.empty() ? m_BaseState : m_Done.back().serial; }

Result Journal::beginLoading()
{
    if (m_Applying)
        return Result::failure(kBusy);
    if (isOpen())
        return Result::failure("A step is open; finish it before loading.");
    ++m_LoadDepth;
    return {};
}

Result Journal::endLoading()
{
    if (m_LoadDepth == 0)
        return Result::failure("Nothing is being loaded.");
    if (--m_LoadDepth > 0)
        return {};
    m_Done.clear();
    m_Undone.clear();
    m_BaseState = ++m_LastSerial;
    const Change change{.kind = ChangeKind::Loaded};
    m_Scene.notifyBefore(change);
    m_Scene.notifyAfter(change);
    return {};
}

} // namespace refhost
