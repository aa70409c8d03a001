// SPDX-License-Identifier: MIT
// What a channel is: its name, type, defaults and hints, shared by every item that has it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace refhost {

enum class ChannelType : std::uint8_t { Boolean, Integer, Float, Percent, Angle, Distance, Text, Matrix4 };

/// Names as files and modules write them, by ChannelType.
inline constexpr const char* kChannelTypeNames[] = {"boolean", "integer",  "float", "percent",
                                                    "angle",   "distance", "text",  "matrix4"};
/// Nothing for a name that is none of them.
std::optional<ChannelType> channelTypeByName(std::string_view name);

/// Boolean, integer and the four kinds of floating numbers.
inline bool isNumber(ChannelType type) { return type < ChannelType::Text; }
/// A number that is always whole.
inline bool isWhole(ChannelType type) { return type <= ChannelType::Integer; }
/// Keys of such a channel always step.
inline bool isStepped(ChannelType type) { return isWhole(type) || !isNumber(type); }

/// A whole number that the user sees as a word.
struct TextHint {
    std::int32_t value = 0;
    std::string text;
};

struct ChannelDefinition {
    std::string name{};
    ChannelType type = ChannelType::Float;
    double defaultNumber = 0; ///< radians for an angle
    std::int32_t defaultInteger = 0; ///< what an integer read of an unset channel gives
    std::string defaultText{};
    std::optional<double> minimum{}, maximum{}; ///< for the user interface; writes are not clamped
    std::vector<TextHint> textHints{};
    std::string package{}; ///< the package or type that the channel comes from
    std::string vector{}; ///< `rot` for `rot.X`; empty for a channel that stands alone
    bool marked = false; ///< a module marked it as the switch of its package
};

/// A definition whose integer form is the number truncated.
ChannelDefinition numberChannel(std::string_view name, ChannelType type, double initial = 0);
/// Appends `name.X`, `name.Y`, `name.Z` (or the letters given).
void appendVectorChannels(std::vector<ChannelDefinition>& out, std::string_view name, ChannelType type,
                          double initial = 0, std::string_view letters = "XYZ");
/// Truncates toward zero and stops at the ends of the range; not-a-number gives 0.
std::int32_t integerOf(double number);

/// A list of definitions with a name index, made once and shared by all items that have these channels.
class ChannelLayout {
public:
    explicit ChannelLayout(std::vector<ChannelDefinition> definitions);

    int count() const { return static_cast<int>(m_Definitions.size()); }
    const ChannelDefinition& operator[](int offset) const
    {
        return m_Definitions[static_cast<std::size_t>(offset)];
    }
    const std::vector<ChannelDefinition>& definitions() const { return m_Definitions; }
    /// Place of the name in this list, -1 when it is not there. Where a name stands twice the first counts.
    int find(std::string_view name) const;

    ChannelLayout(const ChannelLayout&) = delete;
    ChannelLayout& operator=(const ChannelLayout&) = delete;

private:
    std::vector<ChannelDefinition> m_Definitions;
    std::unordered_map<std::string_view, int> m_Index;
};

/// A named set of channels that can be added to an item.
class Package {
public:
    Package(std::string name, std::string origin, std::vector<ChannelDefinition> channels);

    const std::string& name() const { return m_Name; }
    /// Who registered it: the host or a module.
    const std::string& origin() const { return m_Origin; }
    const ChannelLayout& layout() const { return m_Layout; }

private:
    std::string m_Name, m_Origin;
    ChannelLayout m_Layout;
};

} // namespace refhost
