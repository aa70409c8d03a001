// SPDX-License-Identifier: MIT
// Primitive edits of items: coming, going, moving, names, tags and data.
#pragma once

#include "scene/DocumentAccess.h"

#include <utility>

namespace refhost {

/// Tells the listeners before, and after when it goes out of scope.
class Notice {
public:
    Notice(Scene& scene, const Change& change) : m_Scene(scene), m_Change(change)
    {
        scene.notifyBefore(change);
    }
    ~Notice() { m_Scene.notifyAfter(m_Change); }
    Notice(const Notice&) = delete;
    Notice& operator=(const Notice&) = delete;

private:
    Scene& m_Scene;
    const Change m_Change;
};

/// An edit whose way back is the same exchange again.
class SwapEdit : public Edit {
public:
    void redo(Scene& scene, ChangeCause cause) final { swap(scene, cause); }
    void undo(Scene& scene, ChangeCause cause) final { swap(scene, cause); }

protected:
    virtual void swap(Scene& scene, ChangeCause cause) = 0;
};

/// An edit that brings something, with a way back that takes it away; or the other way about.
class PresenceEdit : public Edit {
public:
    explicit PresenceEdit(bool removes) : m_Removes(removes) { }
    void redo(Scene& scene, ChangeCause cause) final { m_Removes ? remove(scene, cause) : add(scene, cause); }
    void undo(Scene& scene, ChangeCause cause) final { m_Removes ? add(scene, cause) : remove(scene, cause); }

protected:
    virtual void add(Scene& scene, ChangeCause cause) = 0;
    virtual void remove(Scene& scene, ChangeCause cause) = 0;

private:
    const bool m_Removes;
};

/// Brings an item or takes it away; holds it while it is away.
class ExistenceEdit final : public PresenceEdit {
public:
    /// Will add the item at the end of the children of `parent`, or as a transform item of `owner`.
    ExistenceEdit(std::unique_ptr<Item> item, Item* parent, Item* owner, std::size_t place)
        : PresenceEdit(false),
          m_Item(item.get()),
          m_Away(std::move(item)),
          m_Parent(parent),
          m_Owner(owner),
          m_Place(place)
    {
    }
    /// Will remove the item, which has no children, links and transform items left.
    ExistenceEdit(Scene& scene, Item& item)
        : PresenceEdit(true),
          m_Item(&item),
          m_Parent(item.parent()),
          m_Owner(item.transformOwner()),
          m_Place(0)
    {
        if (!m_Owner) {
            const auto& siblings = DocumentAccess::childList(scene, m_Parent);
            m_Place = placeOf(siblings, &item);
        }
    }

private:
    Change change(ChangeKind kind, ChangeCause cause) const
    {
        return {.kind = kind, .cause = cause, .item = m_Item, .other = m_Owner ? m_Owner : m_Parent};
    }
    void add(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, change(ChangeKind::ItemAdded, cause));
        if (m_Owner)
            DocumentAccess::attachTransform(scene, std::move(m_Away), *m_Owner);
        else
            DocumentAccess::attachItem(scene, std::move(m_Away), m_Parent, m_Place);
    }
    void remove(Scene& scene, ChangeCause cause) override
    {
        // Only a selection that was made without record can still be there; it must not outlive the item.
        if (const Packet packet{&scene, m_Item}; scene.desk().selection().isSelected(packet)) {
            const Notice notice(scene,
                                {.kind = ChangeKind::SelectionChanged, .cause = cause, .item = m_Item});
            DocumentAccess::removePacket(scene.desk().selection(), packet);
        }
        const Notice notice(scene, change(ChangeKind::ItemRemoved, cause));
        m_Away = DocumentAccess::detachItem(scene, *m_Item);
    }

    Item* m_Item;
    std::unique_ptr<Item> m_Away;
    Item* m_Parent;
    Item* m_Owner;
    std::size_t m_Place;
};

/// Moves an item between two places of the hierarchy.
class ParentEdit final : public Edit {
public:
    ParentEdit(Scene& scene, Item& item, Item* parent)
        : m_Item(item),
          m_Former{item.parent(), placeOf(DocumentAccess::childList(scene, item.parent()), &item)},
          m_New{parent, DocumentAccess::childList(scene, parent).size()}
    {
    }
    void redo(Scene& scene, ChangeCause cause) override { move(scene, cause, m_Former, m_New); }
    void undo(Scene& scene, ChangeCause cause) override { move(scene, cause, m_New, m_Former); }

private:
    struct Place {
        Item* parent;
        std::size_t index;
    };
    void move(Scene& scene, ChangeCause cause, const Place& from, const Place& to)
    {
        const Notice notice(scene,
                            {.kind = ChangeKind::ItemReparented,
                             .cause = cause,
                             .item = &m_Item,
                             .other = to.parent,
                             .former = from.parent});
        takeAt(DocumentAccess::childList(scene, from.parent), from.index);
        insertAt(DocumentAccess::childList(scene, to.parent), to.index, &m_Item);
        DocumentAccess::setParent(m_Item, to.parent);
    }

    Item& m_Item;
    const Place m_Former, m_New;
};

class NameEdit final : public SwapEdit {
public:
    NameEdit(Item& item, std::string name, std::string uniqueName)
        : m_Item(item), m_Name(std::move(name)), m_UniqueName(std::move(uniqueName))
    {
    }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const std::string former = m_Item.uniqueName(), next = m_UniqueName;
        const Notice notice(scene,
                            {.kind = ChangeKind::ItemRenamed,
                             .cause = cause,
                             .item = &m_Item,
                             .name = next,
                             .formerName = former});
        DocumentAccess::swapNames(scene, m_Item, m_Name, m_UniqueName);
    }

    Item& m_Item;
    std::string m_Name, m_UniqueName;
};

/// A tag of an item, or of the scene when the item is null.
class TagEdit final : public SwapEdit {
public:
    TagEdit(Item* item, TagCode code, std::unique_ptr<std::string> value)
        : m_Item(item), m_Code(code), m_Value(std::move(value))
    {
    }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene,
                            {.kind = m_Item ? ChangeKind::ItemTagChanged : ChangeKind::SceneTagChanged,
                             .cause = cause,
                             .tag = m_Code,
                             .item = m_Item});
        DocumentAccess::swapTag(DocumentAccess::tags(scene, m_Item), m_Code, m_Value);
    }

    Item* m_Item;
    TagCode m_Code;
    std::unique_ptr<std::string> m_Value;
};

/// Data of an item, or of the scene when the item is null.
class DataEdit final : public SwapEdit {
public:
    DataEdit(Item* item, std::string kind, std::shared_ptr<const DocumentData> value)
        : m_Item(item), m_Kind(std::move(kind)), m_Value(std::move(value))
    {
    }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene,
                            {.kind = m_Item ? ChangeKind::ItemDataChanged : ChangeKind::SceneDataChanged,
                             .cause = cause,
                             .item = m_Item,
                             .name = m_Kind});
        DocumentAccess::swapData(DocumentAccess::data(scene, m_Item), m_Kind, m_Value);
    }

    Item* m_Item;
    std::string m_Kind;
    std::shared_ptr<const DocumentData> m_Value;
};

} // namespace refhost
