// SPDX-License-Identifier: MIT
// Selecting, unselecting, and asking in order of selection.
#include "refhost/Selection.h"

#include "refhost/Host.h"
#include "scene/ItemEdits.h"

#include <algorithm>

namespace refhost {
namespace {

/// The selection may also be changed without record, so a packet that stands as wanted already is left alone.
class SelectionEdit final : public Edit {
public:
    SelectionEdit(const Packet& packet, bool selects, std::size_t place)
        : m_Packet(packet), m_Selects(selects), m_Place(place)
    {
    }
    void redo(Scene& scene, ChangeCause cause) override { set(scene, cause, m_Selects); }
    void undo(Scene& scene, ChangeCause cause) override { set(scene, cause, !m_Selects); }
    bool changesDocument() const override { return false; }

private:
    void set(Scene& scene, ChangeCause cause, bool on)
    {
        Selection& selection = scene.desk().selection();
        if (selection.isSelected(m_Packet) == on)
            return;
        const Notice notice(scene,
                            {.kind = ChangeKind::SelectionChanged, .cause = cause, .item = m_Packet.item});
        if (on)
            DocumentAccess::insertPacket(selection, m_Packet, m_Place);
        else
            m_Place = DocumentAccess::removePacket(selection, m_Packet);
    }

    Packet m_Packet;
    bool m_Selects;
    std::size_t m_Place;
};

Result apply(const Packet& packet, bool selects, std::size_t place)
{
    Journal& journal = packet.scene->journal();
    auto edit = std::make_unique<SelectionEdit>(packet, selects, place);
    if (journal.isOpen() || journal.isLoading() || journal.isApplying())
        return journal.perform(std::move(edit));
    edit->redo(*packet.scene, ChangeCause::Edit);
    return {};
}

} // namespace

std::optional<SelectionType> selectionTypeByName(std::string_view name)
{
    for (int i = 0; i < kSelectionTypeCount; ++i) {
        if (name == kSelectionTypeNames[i])
            return static_cast<SelectionType>(i);
    }
    return std::nullopt;
}

Packet packetOf(Item& item) { return {&item.scene(), &item}; }
Packet packetOf(Scene& scene) { return {&scene, nullptr}; }

std::optional<Packet> Selection::mostRecent(SelectionType type) const
{
    const auto& selected = packets(type);
    return selected.empty() ? std::nullopt : std::optional(selected.back());
}

std::optional<Packet> Selection::next(const Packet& packet) const
{
    const auto& selected = packets(packet.type());
    const auto found = std::find(selected.begin(), selected.end(), packet);
    return found == selected.end() || found + 1 == selected.end() ? std::nullopt
                                                                  : std::optional(*(found + 1));
}

bool Selection::isSelected(const Packet& packet) const
{
    return list(packet.type()).members.contains(packet);
}

Result Selection::select(const Packet& packet)
{
    if (!packet.scene || &packet.scene->desk() != &m_Desk)
        return Result::failure("What is to be selected belongs to no scene of this desk.");
    if (packet.item) {
        if (&packet.item->scene() != packet.scene || !packet.item->isAlive())
            return Result::failure("The item is no longer in the scene and can't be selected.");
        if (packet.item->transformOwner())
            return Result::failure("'" + packet.item->label()
                                   + "' is a transform item; select the item that it moves.");
    }
    if (isSelected(packet))
        return {};
    return apply(packet, true, packets(packet.type()).size());
}

Result Selection::deselect(const Packet& packet)
{
    return isSelected(packet) ? apply(packet, false, 0) : Result{};
}

Result Selection::clear(SelectionType type)
{
    while (!packets(type).empty()) {
        if (Result done = deselect(packets(type).back()); !done.ok())
            return done;
    }
    return {};
}

} // namespace refhost
