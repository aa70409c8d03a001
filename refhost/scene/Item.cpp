// SPDX-License-Identifier: MIT
// Reading an item: channels by name, packages, tags, ancestry.
#include "refhost/Item.h"

#include "refhost/Scene.h"

#include <algorithm>

namespace refhost {

std::string tagText(TagCode code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = static_cast<unsigned char>(code >> shift & 0xff);
        text += c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?';
    }
    return text;
}

const std::string* TagList::find(TagCode code) const
{
    for (const auto& [own, text] : m_Tags) {
        if (own == code)
            return &text;
    }
    return nullptr;
}

std::shared_ptr<const DocumentData> DataList::find(std::string_view kind) const
{
    for (const auto& [own, data] : m_Data) {
        if (own == kind)
            return data;
    }
    return nullptr;
}

Item::Item(Scene& scene, ItemId id, const ItemType& type) : m_Scene(&scene), m_Id(id), m_Type(&type)
{
    m_Blocks.push_back(std::make_unique<ChannelBlock>(*this, type.layout(), nullptr, 0));
    m_Slots.reserve(static_cast<std::size_t>(type.layout().count()));
    for (int i = 0; i < type.layout().count(); ++i)
        m_Slots.push_back(&m_Blocks[0]->channel(i));
}

Item::~Item() = default;

std::string Item::label() const
{
    return m_TransformOwner ? m_TransformOwner->m_UniqueName + "." + m_Type->name() : m_UniqueName;
}

bool Item::isBelow(const Item& other) const
{
    const Item* above = m_Parent;
    while (above && above != &other)
        above = above->m_Parent;
    return above != nullptr;
}

bool Item::hasPackage(std::string_view name) const
{
    const auto isThis = [&](const auto& block) {
        return block->package() && block->package()->name() == name;
    };
    return std::any_of(m_Blocks.begin(), m_Blocks.end(), isThis) || isOfType(name);
}

std::vector<const Package*> Item::packages() const
{
    std::vector<const Package*> out;
    for (const auto& block : m_Blocks) {
        if (block->package())
            out.push_back(block->package());
    }
    return out;
}

Channel* Item::channel(std::string_view name) const
{
    for (const auto& block : m_Blocks) {
        if (const int offset = block->layout().find(name); offset >= 0)
            return &block->channel(offset);
    }
    return nullptr;
}

int Item::channelIndex(std::string_view name) const
{
    const Channel* found = channel(name);
    return found ? found->index() : -1;
}

} // namespace refhost
