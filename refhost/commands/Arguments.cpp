// SPDX-License-Identifier: MIT
// Argument values: read from text, set by code, and resolved to items when they are asked for.
#include "refhost/Arguments.h"

#include "commands/CommandText.h"
#include "commands/Lookup.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>

namespace refhost {

Arguments::Arguments(const Host& host, const std::vector<ArgumentSpec>& specs)
    : m_Host(&host), m_Specs(&specs), m_Values(specs.size())
{
}

int Arguments::find(std::string_view name) const
{
    for (int i = 0; i < count(); ++i) {
        if (spec(i).name == name)
            return i;
    }
    return -1;
}

const Arguments::Value& Arguments::at(int index) const
{
    static const Value kUnset;
    return index >= 0 && index < count() ? m_Values[static_cast<std::size_t>(index)] : kUnset;
}

Result Arguments::check(int index, ArgumentType type) const
{
    if (index < 0 || index >= count()) {
        return Result::failure("There is no argument " + std::to_string(index) + "; this command has "
                               + std::to_string(count()) + ".");
    }
    const ArgumentType own = spec(index).type;
    const bool integerFits =
        type == ArgumentType::Integer && (own == ArgumentType::Number || own == ArgumentType::Boolean);
    if (own == type || integerFits)
        return {};
    return Result::failure("The argument '" + spec(index).name + "' is of type "
                           + kArgumentTypeNames[static_cast<int>(own)] + ", not "
                           + kArgumentTypeNames[static_cast<int>(type)] + ".");
}

Result Arguments::setFromText(int index, std::string_view text)
{
    if (index < 0 || index >= count())
        return check(index, ArgumentType::Text);
    const ArgumentSpec& own = spec(index);
    Value& value = m_Values[static_cast<std::size_t>(index)];
    value = {};
    Value read;
    read.set = true;
    read.text = text;
    const auto refuse = [&](const std::string& what) {
        return Result::failure("'" + own.name + "' is " + shown(text) + ", but " + what);
    };
    switch (own.type) {
    case ArgumentType::Text:
        if (!own.words.empty() && std::find(own.words.begin(), own.words.end(), text) == own.words.end()) {
            std::string list;
            for (const std::string& word : own.words)
                list += (list.empty() ? "" : ", ") + word;
            return refuse("has to be one of: " + list + ".");
        }
        break;
    case ArgumentType::Integer:
        if (const auto number = integerFromText(text))
            read.number = *number;
        else
            return refuse("has to be a whole number such as 2, from -2147483648 to 2147483647.");
        break;
    case ArgumentType::Number:
        if (const auto number = numberFromText(text))
            read.number = *number;
        else
            return refuse("has to be a number such as 0.25 or 1e-3.");
        break;
    case ArgumentType::Boolean:
        if (const auto flag = booleanFromText(text))
            read.number = *flag ? 1 : 0;
        else
            return refuse("has to be true or false (on, off, yes, no, 1 and 0 will do).");
        break;
    case ArgumentType::Item: {
        Scene* scene = m_Host->currentScene();
        const ResultOf<Item*> item = scene
            ? findItem(*scene, text)
            : ResultOf<Item*>::failure("There is no scene to look for an item in.");
        if (item.ok()) {
            read.scene = scene;
            read.item = item.value->id();
        } else if (!own.mayBeUnknown) {
            return item.result();
        }
        break;
    }
    }
    value = std::move(read);
    return {};
}

Result Arguments::setText(int index, std::string_view value)
{
    if (Result result = check(index, ArgumentType::Text); !result.ok())
        return result;
    return setFromText(index, value);
}

Result Arguments::setInteger(int index, std::int32_t value)
{
    if (Result result = check(index, ArgumentType::Integer); !result.ok())
        return result;
    Value& own = m_Values[static_cast<std::size_t>(index)];
    own = {};
    own.set = true;
    own.number = value; // a boolean keeps it too: a command may read it as a number
    return {};
}

Result Arguments::setNumber(int index, double value)
{
    if (Result result = check(index, ArgumentType::Number); !result.ok())
        return result;
    if (!std::isfinite(value))
        return Result::failure("The argument '" + spec(index).name + "' has to be a finite number.");
    Value& own = m_Values[static_cast<std::size_t>(index)];
    own = {};
    own.set = true;
    own.number = value;
    return {};
}

Result Arguments::setItem(int index, const Item& value)
{
    if (Result result = check(index, ArgumentType::Item); !result.ok())
        return result;
    Value& own = m_Values[static_cast<std::size_t>(index)];
    own = {};
    own.set = true;
    own.scene = &value.scene();
    own.item = value.id();
    return {};
}

void Arguments::markSet(int index)
{
    if (index >= 0 && index < count())
        m_Values[static_cast<std::size_t>(index)].set = true;
}

void Arguments::unset(int index)
{
    if (index >= 0 && index < count())
        m_Values[static_cast<std::size_t>(index)] = {};
}

void Arguments::unsetAll() { m_Values.assign(m_Values.size(), {}); }

std::int32_t Arguments::integer(int index, std::int32_t otherwise) const
{
    return isSet(index) ? integerOf(at(index).number) : otherwise;
}

double Arguments::number(int index, double otherwise) const
{
    return isSet(index) ? at(index).number : otherwise;
}

bool Arguments::boolean(int index, bool otherwise) const
{
    return isSet(index) ? at(index).number != 0 : otherwise;
}

Item* Arguments::item(int index) const
{
    const Value& value = at(index);
    for (const auto& scene : m_Host->scenes()) {
        if (value.item != 0 && scene.get() == value.scene)
            return scene->find(value.item);
    }
    return nullptr;
}

} // namespace refhost
