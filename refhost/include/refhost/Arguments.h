// SPDX-License-Identifier: MIT
// Arguments of a command: what it declares, and the values of one execution.
#pragma once

#include "refhost/Item.h"
#include "refhost/Result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Host;

enum class ArgumentType : std::uint8_t { Text, Integer, Number, Boolean, Item };
/// By ArgumentType, as help shows them.
inline constexpr const char* kArgumentTypeNames[] = {"text", "integer", "number", "boolean", "item"};

struct ArgumentSpec {
    std::string name;
    ArgumentType type = ArgumentType::Text;
    bool required = false;
    std::string help{};
    std::vector<std::string> words{}; ///< the texts that are accepted; empty: every text
    /// An item that cannot be found reaches the command, whose enable test answers it; otherwise it is
    /// refused before.
    bool mayBeUnknown = false;
    bool hidden = false; ///< a user is not asked for it
};

/// Values by index of the argument. Items are kept by identifier, so a value outlives its item.
class Arguments {
public:
    Arguments(const Host& host, const std::vector<ArgumentSpec>& specs);

    int count() const { return static_cast<int>(m_Specs->size()); }
    const ArgumentSpec& spec(int index) const { return (*m_Specs)[static_cast<std::size_t>(index)]; }
    /// -1 when there is no such argument.
    int find(std::string_view name) const;

    /// Reads the text as the argument's type; items are looked up in the current scene. Refused
    /// with a sentence about the value; the argument is unset then.
    Result setFromText(int index, std::string_view text);
    /// Each of these is refused for an index out of range and for an argument of another type; an integer is
    /// taken for a number and a boolean too.
    Result setText(int index, std::string_view value);
    Result setInteger(int index, std::int32_t value);
    /// Numbers that are not finite are refused.
    Result setNumber(int index, double value);
    Result setItem(int index, const Item& value);
    /// Leaves the value as it is, or empty, and counts it as given.
    void markSet(int index);
    void unset(int index);
    void unsetAll();

    bool isSet(int index) const { return at(index).set; }
    /// The text as given; for other types than text only after setFromText. Empty when unset.
    const std::string& text(int index) const { return at(index).text; }
    /// Of integers, numbers (truncated) and booleans; `otherwise` when unset.
    std::int32_t integer(int index, std::int32_t otherwise = 0) const;
    double number(int index, double otherwise = 0) const;
    bool boolean(int index, bool otherwise = false) const;
    /// Null when unset, and when the item is not in its scene (any more).
    Item* item(int index) const;

private:
    struct Value {
        bool set = false;
        double number = 0;
        std::string text;
        Scene* scene = nullptr;
        ItemId item = 0;
    };
    const Value& at(int index) const;
    Result check(int index, ArgumentType type) const;

    const Host* m_Host;
    const std::vector<ArgumentSpec>* m_Specs;
    std::vector<Value> m_Values;
};

} // namespace refhost
