// SPDX-License-Identifier: MIT
// Items coming, going, moving and being named.
#include "refhost/Host.h"
#include "refhost/Scene.h"
#include "scene/ItemEdits.h"

#include <algorithm>

namespace refhost {

Item* Scene::find(ItemId id) const
{
    const auto found = m_Items.find(id);
    return found == m_Items.end() ? nullptr : found->second.get();
}

Item* Scene::findByUniqueName(std::string_view uniqueName) const
{
    const auto found = m_UniqueNames.find(uniqueName);
    return found == m_UniqueNames.end() ? nullptr : found->second;
}

const std::vector<Item*>& Scene::items() const
{
    if (m_OrderedStale) {
        m_Ordered.clear();
        m_Ordered.reserve(m_Items.size());
        for (const auto& [id, item] : m_Items)
            m_Ordered.push_back(item.get());
        std::sort(m_Ordered.begin(), m_Ordered.end(),
                  [](const Item* a, const Item* b) { return a->id() < b->id(); });
        m_OrderedStale = false;
    }
    return m_Ordered;
}

std::vector<Item*> Scene::itemsOfType(const ItemType& type) const
{
    std::vector<Item*> out;
    for (Item* item : items()) {
        if (item->type().isOrDerivesFrom(type))
            out.push_back(item);
    }
    return out;
}

std::string Scene::makeUniqueName(std::string_view name, const ItemType& type, const Item* except) const
{
    const std::string base(name.empty() ? std::string_view(type.name()) : name);
    const auto isFree = [&](const std::string& candidate) {
        const Item* holder = findByUniqueName(candidate);
        return !holder || holder == except;
    };
    if (isFree(base))
        return base;
    if (except && except->name() == name)
        return except->uniqueName();
    std::uint64_t& next = m_NextSuffix.try_emplace(base, 2).first->second;
    for (;; ++next) {
        std::string candidate = base + "_" + std::to_string(next);
        if (isFree(candidate))
            return candidate;
    }
}

namespace {

Result checkId(const Scene& scene, ItemId id)
{
    if (id > kMaximumItemId)
        return Result::failure("The identifier " + std::to_string(id) + " is too large; "
                               + std::to_string(kMaximumItemId) + " is the largest.");
    if (id != 0 && scene.find(id))
        return Result::failure("The identifier " + std::to_string(id) + " is taken by '"
                               + scene.find(id)->label() + "'.");
    return {};
}

} // namespace

ItemId Scene::takeId(ItemId wanted)
{
    if (wanted == 0) {
        // A file may hold the largest identifier; counting goes on with the free ones below then.
        while (m_NextId > kMaximumItemId || find(m_NextId))
            m_NextId = m_NextId >= kMaximumItemId ? 1 : m_NextId + 1;
        wanted = m_NextId;
    }
    m_NextId = std::max(m_NextId, wanted + 1);
    return wanted;
}

ResultOf<Item*> Scene::createItem(const ItemType& type, std::string_view name, const CreateOptions& options)
{
    using Answer = ResultOf<Item*>;
    if (Result allowed = m_Journal.allowsEdit(); !allowed.ok())
        return Answer::failure(std::move(allowed.message));
    if (m_Host.findType(type.code()) != &type)
        return Answer::failure("The item type '" + type.name() + "' belongs to another host.");
    for (int kind = 0; kind < kTransformKindCount; ++kind) {
        if (&m_Host.transformType(static_cast<TransformKind>(kind)) == &type)
            return Answer::failure("Items of type '" + type.name()
                                   + "' are made by the item that they move.");
    }
    if (options.parent) {
        if (Result own = checkOwn(*options.parent); !own.ok())
            return Answer::failure(std::move(own.message));
        if (options.parent->transformOwner())
            return Answer::failure("'" + options.parent->label()
                                   + "' is a transform item and can't have children.");
    }
    if (Result free = checkId(*this, options.id); !free.ok())
        return Answer::failure(std::move(free.message));
    std::string uniqueName(options.uniqueName);
    if (uniqueName.empty())
        uniqueName = makeUniqueName(name, type, nullptr);
    else if (findByUniqueName(uniqueName))
        return Answer::failure("The unique name '" + uniqueName + "' is taken.");

    const ItemId id = takeId(options.id);
    auto item = DocumentAccess::makeItem(*this, id, type, std::string(name), std::move(uniqueName));
    Item* made = item.get();
    const std::size_t place = DocumentAccess::childList(*this, options.parent).size();
    Result done =
        m_Journal.perform(std::make_unique<ExistenceEdit>(std::move(item), options.parent, nullptr, place));
    return {done.ok() ? made : nullptr, std::move(done.message)};
}

ResultOf<Item*> Scene::addTransformItem(Item& owner, TransformKind kind, ItemId id)
{
    using Answer = ResultOf<Item*>;
    if (Result own = checkOwn(owner); !own.ok())
        return Answer::failure(std::move(own.message));
    if (!owner.type().hasTransforms())
        return Answer::failure("'" + owner.label() + "' is of type '" + owner.type().name()
                               + "', which has no position, rotation or scale.");
    if (Item* there = owner.transformItem(kind))
        return {there, {}};
    if (Result free = checkId(*this, id); !free.ok())
        return Answer::failure(std::move(free.message));
    const ItemId used = takeId(id);
    auto item = DocumentAccess::makeItem(*this, used, m_Host.transformType(kind), {}, {});
    DocumentAccess::makeTransformOf(*item, kind);
    Item* made = item.get();
    Result done = m_Journal.perform(std::make_unique<ExistenceEdit>(std::move(item), nullptr, &owner, 0));
    return {done.ok() ? made : nullptr, std::move(done.message)};
}

Result Scene::deleteItem(Item& item)
{
    if (Result own = checkOwn(item); !own.ok())
        return own;
    // Parents before children, without recursion; taken away from the end, every item is the last of its
    // siblings.
    std::vector<Item*> doomed{&item};
    for (std::size_t i = 0; i < doomed.size(); ++i) {
        for (Item* child : doomed[i]->children())
            doomed.push_back(child);
    }
    while (!doomed.empty()) {
        Item& last = *doomed.back();
        doomed.pop_back();
        for (int kind = kTransformKindCount - 1; kind >= 0; --kind) {
            Item* transform = last.transformItem(static_cast<TransformKind>(kind));
            if (!transform)
                continue;
            if (Result done = deleteOne(*transform); !done.ok())
                return done;
        }
        if (Result done = deleteOne(last); !done.ok())
            return done;
    }
    return {};
}

Result Scene::deleteOne(Item& item)
{
    if (Result done = m_Host.selection().deselect(packetOf(item)); !done.ok())
        return done;
    if (Result done = deleteLinksOf(item); !done.ok())
        return done;
    return m_Journal.perform(std::make_unique<ExistenceEdit>(*this, item));
}

Result Scene::setParent(Item& item, Item* parent)
{
    if (Result own = checkOwn(item); !own.ok())
        return own;
    if (item.transformOwner())
        return Result::failure("'" + item.label()
                               + "' is a transform item and stays with the item that it moves.");
    if (parent == item.parent())
        return {};
    if (parent) {
        if (Result own = checkOwn(*parent); !own.ok())
            return own;
        if (parent->transformOwner())
            return Result::failure("'" + parent->label() + "' is a transform item and can't have children.");
        // Without children nothing can be below the item: building deep chains from the top stays quick.
        if (parent == &item || (!item.children().empty() && parent->isBelow(item)))
            return Result::failure("'" + item.label() + "' can't be moved below itself.");
    }
    return m_Journal.perform(std::make_unique<ParentEdit>(*this, item, parent));
}

Result Scene::rename(Item& item, std::string_view name)
{
    if (Result own = checkOwn(item); !own.ok())
        return own;
    if (item.transformOwner())
        return Result::failure("'" + item.label() + "' is a transform item and has no name of its own.");
    std::string uniqueName = makeUniqueName(name, item.type(), &item);
    if (item.name() == name && item.uniqueName() == uniqueName)
        return {};
    return m_Journal.perform(std::make_unique<NameEdit>(item, std::string(name), std::move(uniqueName)));
}

} // namespace refhost
