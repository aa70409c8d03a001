// SPDX-License-Identifier: MIT
// Kinds of items: a name, a code and the channels that every item of the kind has from birth.
#pragma once

#include "refhost/ChannelDefinition.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace refhost {

/// Made and owned by the host; lives as long as it.
class ItemType {
public:
    ItemType(std::string name, std::uint32_t code, const ItemType* base, std::string origin,
             bool hasTransforms, std::vector<ChannelDefinition> ownChannels);

    const std::string& name() const { return m_Name; }
    /// Unique in the host and never 0; not the same from run to run, so files say the name.
    std::uint32_t code() const { return m_Code; }
    const ItemType* base() const { return m_Base; }
    /// Who registered it: the host or a module.
    const std::string& origin() const { return m_Origin; }
    bool isOrDerivesFrom(const ItemType& other) const;
    bool isOrDerivesFrom(std::string_view name) const;
    /// Items of this type can have position, rotation and scale items.
    bool hasTransforms() const { return m_HasTransforms; }
    /// All channels of an item of this type: `visible`, those of the base types, then its own.
    const ChannelLayout& layout() const { return m_Layout; }

private:
    std::string m_Name, m_Origin;
    std::uint32_t m_Code;
    bool m_HasTransforms;
    const ItemType* m_Base;
    ChannelLayout m_Layout;
};

} // namespace refhost
