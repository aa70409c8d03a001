// SPDX-License-Identifier: MIT
// Channel set-up of a module's package: one declaration after the other becomes a list of definitions.
#include "module/ChannelSetup.h"

#include "module/HostBinding.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace refhost {
namespace {

constexpr const char* kStorageType = "storage";
constexpr const char* kVectorLetters[] = {"XYZ", "RGB"};
constexpr std::size_t kHintLimit = 10000; // a table without an end

struct BoundRow {
    const char* key;
    bool isMinimum;
    double unit;
};
constexpr BoundRow kBounds[] = {
    {"%min", true, 1},
    {"%max", false, 1},
    {"%minDegrees", true, std::numbers::pi / 180},
    {"%maxDegrees", false, std::numbers::pi / 180},
};

} // namespace

AddChannelObject::AddChannelObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdAddChannel, "AddChannel", kTable.object, this)
{
}

std::vector<std::string> AddChannelObject::namesOf(const std::string& name, const std::string& letters)
{
    if (letters.empty())
        return {name};
    std::vector<std::string> names;
    for (const char letter : letters)
        names.push_back(name + "." + letter);
    return names;
}

bool AddChannelObject::isTaken(const std::string& name) const
{
    for (const Declared& one : m_Declared) {
        const auto names = namesOf(one.channel.name, one.letters);
        if (one.channel.name == name || std::find(names.begin(), names.end(), name) != names.end())
            return true;
    }
    return false;
}

bool AddChannelObject::hasNumber() const
{
    return !m_Declared.empty() && !m_Declared.back().needsStorage && isNumber(m_Declared.back().channel.type);
}

zxresult AddChannelObject::add(const char* name, const char* type)
{
    Declared declared;
    declared.needsStorage = std::strcmp(type, kStorageType) == 0;
    const auto known = channelTypeByName(type);
    if (*name == '\0' || isTaken(name)
        || (!declared.needsStorage && (!known || *known == ChannelType::Matrix4)))
        return kZxInvalidArgument;
    declared.channel.name = name;
    declared.channel.type = known.value_or(ChannelType::Matrix4);
    declared.index = m_Count++;
    m_Declared.push_back(std::move(declared));
    return kZxOk;
}

zxresult AddChannelObject::setStorage(const char* storage)
{
    if (m_Declared.empty() || !m_Declared.back().needsStorage || std::strcmp(storage, "matrix4") != 0)
        return kZxInvalidArgument;
    m_Declared.back().needsStorage = false;
    return kZxOk;
}

zxresult AddChannelObject::setVector(const char* components)
{
    const bool isKnown =
        std::any_of(std::begin(kVectorLetters), std::end(kVectorLetters),
                    [&](const char* letters) { return std::strcmp(letters, components) == 0; });
    if (!isKnown || !hasNumber() || !m_Declared.back().letters.empty())
        return kZxInvalidArgument;
    Declared& last = m_Declared.back();
    for (const std::string& name : namesOf(last.channel.name, components)) {
        if (isTaken(name))
            return kZxInvalidArgument;
    }
    last.letters = components;
    for (double& component : last.components)
        component = last.channel.defaultNumber;
    m_Count += 2;
    return kZxOk;
}

zxresult AddChannelObject::setDefault(double number, int32_t integer)
{
    if (!hasNumber() || !m_Declared.back().letters.empty() || !std::isfinite(number))
        return kZxInvalidArgument;
    m_Declared.back().channel.defaultNumber = number;
    m_Declared.back().channel.defaultInteger = integer;
    return kZxOk;
}

zxresult AddChannelObject::setDefaultVector(double x, double y, double z)
{
    if (m_Declared.empty() || m_Declared.back().letters.empty() || !std::isfinite(x) || !std::isfinite(y)
        || !std::isfinite(z))
        return kZxInvalidArgument;
    double* components = m_Declared.back().components;
    components[0] = x;
    components[1] = y;
    components[2] = z;
    return kZxOk;
}

zxresult AddChannelObject::setHint(const ZxHint* hints)
{
    if (!hasNumber())
        return kZxInvalidArgument;
    ChannelDefinition channel = m_Declared.back().channel;
    for (std::size_t i = 0; hints[i].text; ++i) {
        if (i == kHintLimit)
            return kZxInvalidArgument;
        const auto bound = std::find_if(std::begin(kBounds), std::end(kBounds), [&](const BoundRow& row) {
            return std::strcmp(row.key, hints[i].text) == 0;
        });
        if (bound != std::end(kBounds))
            (bound->isMinimum ? channel.minimum : channel.maximum) = hints[i].value * bound->unit;
        else
            channel.textHints.push_back({hints[i].value, hints[i].text});
    }
    m_Declared.back().channel = std::move(channel);
    return kZxOk;
}

zxresult AddChannelObject::index(uint32_t* index)
{
    if (m_Declared.empty())
        return kZxNotAvailable;
    *index = m_Declared.back().index;
    return kZxOk;
}

zxresult AddChannelObject::markSetupSwitch()
{
    if (m_Declared.empty())
        return kZxNotAvailable;
    m_Declared.back().channel.marked = true;
    return kZxOk;
}

ResultOf<std::vector<ChannelDefinition>> AddChannelObject::definitions() const
{
    ResultOf<std::vector<ChannelDefinition>> list;
    for (const Declared& declared : m_Declared) {
        const std::string& name = declared.channel.name;
        if (declared.needsStorage)
            return ResultOf<std::vector<ChannelDefinition>>::failure("the channel '" + name
                                                                     + "' doesn't say what it stores.");
        if (declared.letters.empty()) {
            list.value.push_back(declared.channel);
            continue;
        }
        std::size_t component = 0;
        for (const std::string& one : namesOf(name, declared.letters)) {
            ChannelDefinition& channel = list.value.emplace_back(declared.channel);
            channel.name = one;
            channel.vector = name;
            channel.defaultNumber = declared.components[component++];
            channel.defaultInteger = integerOf(channel.defaultNumber);
        }
    }
    return list;
}

namespace {
constexpr unsigned kSetupPhases = kLoadPhase | kEditPhase;
template <auto Op>
constexpr auto kSlot = hostSlot<AddChannelObject, Op, kSetupPhases>;
} // namespace

constinit const ZxAddChannelTable AddChannelObject::kTable = {
    .object = HostObject::kOps,
    .add = kSlot<&AddChannelObject::add>,
    .setStorage = kSlot<&AddChannelObject::setStorage>,
    .setVector = kSlot<&AddChannelObject::setVector>,
    .setDefault = kSlot<&AddChannelObject::setDefault>,
    .setDefaultVector = kSlot<&AddChannelObject::setDefaultVector>,
    .setHint = kSlot<&AddChannelObject::setHint>,
    .index = kSlot<&AddChannelObject::index>,
    .markSetupSwitch = kSlot<&AddChannelObject::markSetupSwitch>,
};

} // namespace refhost
