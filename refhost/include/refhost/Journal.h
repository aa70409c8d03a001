// SPDX-License-Identifier: MIT
// The record of a scene's edits: steps that are undone and redone as one.
#pragma once

#include "refhost/Change.h"
#include "refhost/Result.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace refhost {

class Scene;

/// One primitive change. Both ways tell the scene's listeners before and after (Scene::notifyBefore,
/// notifyAfter). `redo` follows either nothing or an `undo`; the scene is then exactly as it was at the first
/// `redo`.
class Edit {
public:
    virtual ~Edit() = default;
    virtual void redo(Scene& scene, ChangeCause cause) = 0;
    virtual void undo(Scene& scene, ChangeCause cause) = 0;
    /// False for what is no part of the document: the selection, a reset.
    virtual bool changesDocument() const { return true; }
    /// Whether everything is again as it was before the edit, by what came later: undo would change nothing.
    virtual bool cameBack() const { return false; }
    /// A key under which later edits of the same thing can join this one; null for edits that stand alone.
    virtual const void* mergeKey() const { return nullptr; }
    /// Takes over the result of `later`, which has the same key and was made just now. False when it cannot.
    virtual bool absorb(Edit&) { return false; }
};

class Journal {
public:
    explicit Journal(Scene& scene) : m_Scene(scene) { }

    /// Opens a step; steps inside one join it. The label is what undo shows for the outermost step.
    Result begin(std::string_view label);
    /// Closes the innermost step. The outermost one becomes one entry of the undo list, unless nothing was
    /// changed, or all values came back to where they were.
    Result commit();
    /// Takes back what the innermost step did and closes it.
    Result rollback();
    bool isOpen() const { return !m_Starts.empty(); }
    std::size_t depth() const { return m_Starts.size(); }

    /// A place inside the open step, for rollbackTo.
    std::size_t mark();
    /// Takes back what was done in the open step since the mark. A mark from before the innermost step is
    /// refused.
    Result rollbackTo(std::size_t mark);
    /// Whether anything in the open step is other than it was at the mark.
    bool hasChangedSince(std::size_t mark) const;

    /// Makes the edit and records it. Refused outside a step, and from within a notification.
    Result perform(std::unique_ptr<Edit> edit);
    /// Why an edit would be refused now; empty when it would not. Called by Scene before an edit is prepared.
    Result allowsEdit() const;

    bool canUndo() const { return !isOpen() && !m_Done.empty(); }
    bool canRedo() const { return !isOpen() && !m_Undone.empty(); }
    /// The message says why when there is nothing to undo or a step is open.
    Result undo();
    Result redo();
    /// Label of the step that undo would take back; empty when there is none.
    std::string undoLabel() const;
    std::string redoLabel() const;
    std::size_t undoCount() const { return m_Done.size(); }
    std::size_t redoCount() const { return m_Undone.size(); }
    /// Forgets both lists; the document stays.
    Result clear();
    /// At most so many steps are kept; the oldest go first. 0 is no limit.
    void setStepLimit(std::size_t limit);

    /// Equal numbers mean an identical document: a saved state is remembered by it. Steps that only select do
    /// not count.
    std::uint64_t documentState() const;

    /// Inside a notification or an undo: every edit is refused now.
    bool isApplying() const { return m_Applying; }

    /// While loading, edits need no step and are not recorded. Nesting counts.
    bool isLoading() const { return m_LoadDepth > 0; }
    Result beginLoading();
    Result endLoading();

    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

private:
    struct StepRecord {
        std::string label;
        std::vector<std::unique_ptr<Edit>> edits;
        std::uint64_t serial = 0;
        bool changesDocument = false;
    };
    void revertTo(std::size_t count);
    void stopMerging();

    Scene& m_Scene;
    std::vector<StepRecord> m_Done, m_Undone;
    StepRecord m_Open;
    std::vector<std::size_t> m_Starts; // where each open step began in m_Open.edits
    std::unordered_map<const void*, Edit*> m_Mergeable; // edits since the last barrier
    std::size_t m_StepLimit = 0;
    std::uint64_t m_LastSerial = 0;
    std::uint64_t m_BaseState = 0; // the state below the oldest step
    int m_LoadDepth = 0;
    bool m_Applying = false;
};

/// A step for the length of a block: rolled back at its end unless committed.
class Step {
public:
    Step(Journal& journal, std::string_view label) : m_Journal(&journal)
    {
        if (!journal.begin(label).ok())
            m_Journal = nullptr;
    }
    ~Step()
    {
        if (m_Journal)
            (void)m_Journal->rollback();
    }
    /// Whether the step could be opened; edits are refused otherwise.
    bool isOpen() const { return m_Journal != nullptr; }
    Result commit()
    {
        Journal* journal = std::exchange(m_Journal, nullptr);
        return journal ? journal->commit() : Result::failure("This step is closed already.");
    }

    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

private:
    Journal* m_Journal;
};

/// Loading for the length of a block.
class LoadingScope {
public:
    explicit LoadingScope(Journal& journal) : m_Journal(journal), m_Open(journal.beginLoading().ok()) { }
    ~LoadingScope()
    {
        if (m_Open)
            (void)m_Journal.endLoading();
    }
    LoadingScope(const LoadingScope&) = delete;
    LoadingScope& operator=(const LoadingScope&) = delete;

private:
    Journal& m_Journal;
    bool m_Open;
};

} // namespace refhost
