// SPDX-License-Identifier: MIT
// Packages coming to an item and leaving it.
#include "refhost/Host.h"
#include "refhost/Scene.h"
#include "scene/ItemEdits.h"

namespace refhost {
namespace {

class PackageEdit final : public PresenceEdit {
public:
    /// Will add the block behind the item's last index.
    PackageEdit(Item& item, std::unique_ptr<ChannelBlock> block)
        : PresenceEdit(false),
          m_Item(item),
          m_Package(*block->package()),
          m_Away(std::move(block)),
          m_Place(DocumentAccess::blocks(item).size()),
          m_SlotCount(static_cast<std::size_t>(item.channelSlotCount()))
    {
    }
    /// Will remove the block at this place, which has no links left; its indices stay empty.
    PackageEdit(Item& item, std::size_t place)
        : PresenceEdit(true),
          m_Item(item),
          m_Package(*DocumentAccess::blocks(item)[place]->package()),
          m_Place(place),
          m_SlotCount(static_cast<std::size_t>(item.channelSlotCount()))
    {
    }

private:
    Change change(ChangeKind kind, ChangeCause cause) const
    {
        return {.kind = kind, .cause = cause, .item = &m_Item, .name = m_Package.name()};
    }
    void add(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, change(ChangeKind::PackageAdded, cause));
        DocumentAccess::attachBlock(m_Item, std::move(m_Away), m_Place);
    }
    void remove(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, change(ChangeKind::PackageRemoved, cause));
        m_Away = DocumentAccess::detachBlock(m_Item, m_Place, m_SlotCount);
    }

    Item& m_Item;
    const Package& m_Package;
    std::unique_ptr<ChannelBlock> m_Away;
    std::size_t m_Place;
    std::size_t m_SlotCount; // of the item while the block is away
};

} // namespace

Result Scene::addPackage(Item& item, std::string_view name)
{
    if (Result own = checkOwn(item); !own.ok() || item.hasPackage(name))
        return own;
    const Package* package = m_Host.findPackage(name);
    if (!package) {
        if (m_Host.findType(name))
            return Result::failure("'" + std::string(name)
                                   + "' is an item type; only items made with it have it.");
        return Result::failure("There is no package '" + std::string(name)
                               + "'; load the module that brings it, or check the name.");
    }
    auto block = std::make_unique<ChannelBlock>(item, package->layout(), package, item.channelSlotCount());
    return m_Journal.perform(std::make_unique<PackageEdit>(item, std::move(block)));
}

Result Scene::removePackage(Item& item, std::string_view name)
{
    if (Result own = checkOwn(item); !own.ok())
        return own;
    const auto& blocks = DocumentAccess::blocks(item);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const ChannelBlock& block = *blocks[i];
        if (!block.package() || block.package()->name() != name)
            continue;
        for (int c = block.count() - 1; c >= 0; --c) {
            if (Result done = deleteLinksOf(block.channel(c)); !done.ok())
                return done;
        }
        return m_Journal.perform(std::make_unique<PackageEdit>(item, i));
    }
    if (item.isOfType(name))
        return Result::failure("'" + item.label() + "' has '" + std::string(name)
                               + "' from its type; it can't be removed.");
    return Result::failure("'" + item.label() + "' has no package '" + std::string(name) + "'.");
}

} // namespace refhost
